# The four kinds of target that this tree has, each built and registered in one place.

set(CTC_LIB_DIR ${CMAKE_BINARY_DIR}/lib)
set(CTC_BIN_DIR ${CMAKE_BINARY_DIR}/bin)

add_library(ctc_warnings INTERFACE)
target_compile_options(ctc_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wformat=2
    -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # False alarms inside of std::string's + (GCC bugs 105651, 105329), which precompiled headers no longer keep quiet.
    target_compile_options(ctc_warnings INTERFACE -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow
        -Wno-stringop-overread)
endif()
# The compiler takes the sources of a batch for headers that several sources include.
target_compile_options(ctc_warnings INTERFACE $<$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>:-Wno-subobject-linkage>)

# Symbols are exported by MODULE_EXPORT only.
function(ctc_common target)
    target_link_libraries(${target} PRIVATE ctc_warnings)
    set_target_properties(${target} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON
        LIBRARY_OUTPUT_DIRECTORY ${CTC_LIB_DIR}
        RUNTIME_OUTPUT_DIRECTORY ${CTC_BIN_DIR}
        BUILD_RPATH_USE_ORIGIN ON)
    # RUNPATH, not RPATH: a library of the same name found through LD_LIBRARY_PATH comes first.
    target_link_options(${target} PRIVATE -Wl,--enable-new-dtags)
endfunction()

# The headers that rooms share precompiled: reading OpenCV and Qt takes half of a source's compile time.
function(ctc_room_headers)
    foreach(kind room widget_room)
        set(target ctc_${kind}_headers)
        file(WRITE ${CMAKE_BINARY_DIR}/${target}.cpp "")
        add_library(${target} STATIC ${CMAKE_BINARY_DIR}/${target}.cpp)
        ctc_common(${target})
        target_link_libraries(${target} PRIVATE opencv_core Qt6::Core)
        target_compile_options(${target} PRIVATE -fpch-preprocess)
    endforeach()
    target_link_libraries(ctc_widget_room_headers PRIVATE Qt6::Widgets)
    target_precompile_headers(ctc_room_headers PRIVATE cmake/headers/RoomHeaders.h)
    target_precompile_headers(ctc_widget_room_headers PRIVATE cmake/headers/WidgetRoomHeaders.h)
endfunction()

function(ctc_share_headers target)
    if("Qt6::Widgets" IN_LIST ARGN)
        target_precompile_headers(${target} REUSE_FROM ctc_widget_room_headers)
    else()
        target_precompile_headers(${target} REUSE_FROM ctc_room_headers)
    endif()
    target_compile_options(${target} PRIVATE -fpch-preprocess)
endfunction()

# ctc_room(name SOURCES ... PUBLIC ... PRIVATE ...): the static library of a room.
function(ctc_room name)
    cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    ctc_common(${name})
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC interfaces ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
    ctc_share_headers(${name} ${ARG_PUBLIC} ${ARG_PRIVATE})
endfunction()

# ctc_source_by_source(target): never compiled in batches, for tests link single objects of it.
function(ctc_source_by_source target)
    set_target_properties(${target} PROPERTIES UNITY_BUILD OFF)
endfunction()

# ctc_hot(target): works on each pixel, or on Eigen's templates; unoptimised it takes most of the time of the sanitizers'
# tests. Null pointers and objects that are too small the address sanitizer sees too.
function(ctc_hot target)
    if(CMAKE_CXX_FLAGS MATCHES "undefined")
        target_compile_options(${target} PRIVATE -O2 -fno-sanitize=null,alignment,object-size)
        set_target_properties(${target} PROPERTIES DISABLE_PRECOMPILE_HEADERS ON)
    endif()
endfunction()

# ctc_module(name SOURCES ... LIBS ...): a replaceable module, lib<name>.so. A static twin <name>_objects lets tests reach
# what the module does not export.
function(ctc_module name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_library(${name}_objects STATIC ${ARG_SOURCES})
    ctc_common(${name}_objects)
    target_include_directories(${name}_objects PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name}_objects PUBLIC interfaces ${ARG_LIBS})
    ctc_share_headers(${name}_objects ${ARG_LIBS})
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/${name}_anchor.cpp "")
    add_library(${name} SHARED ${CMAKE_CURRENT_BINARY_DIR}/${name}_anchor.cpp)
    ctc_common(${name})
    target_link_libraries(${name} PRIVATE -Wl,--whole-archive ${name}_objects -Wl,--no-whole-archive)
    target_link_options(${name} PRIVATE -Wl,--no-undefined)
endfunction()

# What a program must have in common with the headers that it shares precompiled: reading gmock and Qt takes most of a
# test's compile time.
function(ctc_test_options target)
    ctc_common(${target})
    # Quicker to compile; what a test calls is optimised in full.
    target_compile_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-Og> $<$<CONFIG:RelWithDebInfo>:-g1> -fpch-preprocess)
    if(CMAKE_CXX_FLAGS MATCHES "undefined")
        # The checks of each pointer, a third of a test's compile time here, are made in what it calls.
        target_compile_options(${target} PRIVATE -fno-sanitize=null,alignment,object-size,vptr)
    endif()
    target_link_libraries(${target} PRIVATE GTest::gmock Qt6::Widgets opencv_core opencv_imgproc)
endfunction()

function(ctc_test_headers)
    add_executable(ctc_test_headers ${CMAKE_CURRENT_SOURCE_DIR}/headers/Nothing.cpp)
    ctc_test_options(ctc_test_headers)
    target_precompile_headers(ctc_test_headers PRIVATE headers/CommonHeaders.h)
endfunction()

# The longest begin first, so that no core waits for the last of them; the number is about their seconds under sanitizers.
set(CTC_LONG_TESTS end_to_end_test 140 manual_command_test 130 calibrate_command_test 120 fisheye_calibration_test 90
    workbench_gui_tests 80 workbench_host_tests 60 korvane_chart_tests 50 korvane_matching_tests 50 simulator_tests 45
    automatic_wrong_use_test 45 workbench_command_tests 45 bad_input_test 40 calibrated_machine_tests 40
    distortion_page_charts_test 35 workbench_lens_tests 35)

# ctc_require_all_tests(): fails where a file of tests below this folder belongs to no program. Call it last.
function(ctc_require_all_tests)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS *Test.cpp *_test.cpp)
    get_property(built GLOBAL PROPERTY CTC_TEST_FILES)
    list(REMOVE_ITEM found ${built})
    if(found)
        message(FATAL_ERROR "No test program has these files: ${found}")
    endif()
endfunction()

# ctc_test(name SOURCES ... LIBS ... [TIMEOUT s]): a test program, registered with ctest.
function(ctc_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 600)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    list(TRANSFORM ARG_SOURCES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ OUTPUT_VARIABLE files)
    set_property(GLOBAL APPEND PROPERTY CTC_TEST_FILES ${files})
    ctc_test_options(${name})
    target_precompile_headers(${name} REUSE_FROM ctc_test_headers)
    if(CTC_TESTS_IN_BATCHES)
        set_target_properties(${name} PROPERTIES UNITY_BUILD ON)
    endif()
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest_main)
    add_test(NAME ${name} COMMAND ${name})
    if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=thread")
        target_sources(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests/support/VisibleThreads.cpp)
        target_link_libraries(${name} PRIVATE opencv_core)
        set(sanitizer "TSAN_OPTIONS=suppressions='${CMAKE_SOURCE_DIR}/scripts/tsan.supp'")
    endif()
    list(FIND CTC_LONG_TESTS ${name} place)
    if(NOT place EQUAL -1)
        math(EXPR place "${place} + 1")
        list(GET CTC_LONG_TESTS ${place} cost)
        set_tests_properties(${name} PROPERTIES COST ${cost})
    endif()
    # The log of a test is not the user's.
    set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT
        "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8;XDG_STATE_HOME=${CMAKE_BINARY_DIR}/tests/state/${name};${sanitizer}")
endfunction()
