# The few parts of OpenCV that this tree uses, as imported targets opencv_<part>. Debian ships a CMake configuration for
# OpenCV only with the whole of it, viewers and all, which is a gigabyte that nobody here needs.

find_path(OpenCVParts_INCLUDE_DIR opencv2/core.hpp PATH_SUFFIXES opencv4)
set(_required OpenCVParts_INCLUDE_DIR)
foreach(part ${OpenCVParts_FIND_COMPONENTS})
    find_library(OpenCVParts_${part}_LIBRARY opencv_${part})
    list(APPEND _required OpenCVParts_${part}_LIBRARY)
endforeach()

if(OpenCVParts_INCLUDE_DIR)
    file(STRINGS ${OpenCVParts_INCLUDE_DIR}/opencv2/core/version.hpp _lines REGEX "#define CV_VERSION_(MAJOR|MINOR) ")
    string(REGEX REPLACE ".*MAJOR +([0-9]+).*MINOR +([0-9]+).*" "\\1.\\2" OpenCVParts_VERSION "${_lines}")
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(OpenCVParts REQUIRED_VARS ${_required} VERSION_VAR OpenCVParts_VERSION)

foreach(part ${OpenCVParts_FIND_COMPONENTS})
    if(OpenCVParts_FOUND AND NOT TARGET opencv_${part})
        add_library(opencv_${part} UNKNOWN IMPORTED)
        set_target_properties(opencv_${part} PROPERTIES
            IMPORTED_LOCATION ${OpenCVParts_${part}_LIBRARY}
            INTERFACE_INCLUDE_DIRECTORIES ${OpenCVParts_INCLUDE_DIR})
    endif()
endforeach()
