# Draws the schematic pictures of the calibration chart in the operator's hand: chart_N.svg shows where and how it is
# held for picture number N, 1 to 9; 10 stands for any pose that is still missing. A picture shows what one camera sees.
# Run as: cmake -DFOLDER=... -P ChartPictures.cmake

# Number, middle of the chart, and a matrix for its tilt in hundredths.
set(poses
    "1 150 200 100 0 0 100"
    "2 88 102 86 10 -8 94"
    "3 150 100 104 0 0 74"
    "4 212 102 86 -10 8 94"
    "5 84 200 72 14 0 100"
    "6 216 200 72 -14 0 100"
    "7 88 298 88 -10 12 90"
    "8 150 300 -10 74 -104 0"
    "9 212 298 88 12 -12 90"
    "10 150 200 88 34 -40 80")

# 7 discs in 9 rows about the middle, 14 px apart; a disc is a dot of the pen.
set(discs "")
foreach(row RANGE 0 8)
    foreach(col RANGE 0 6)
        math(EXPR x "(${col} - 3) * 14")
        math(EXPR y "(${row} - 4) * 14")
        string(APPEND discs "M${x} ${y}h0.1")
    endforeach()
endforeach()

# Hundredths as a decimal number.
function(decimal out hundredths)
    set(sign "")
    if(hundredths LESS 0)
        set(sign "-")
        math(EXPR hundredths "-(${hundredths})")
    endif()
    math(EXPR whole "${hundredths} / 100")
    math(EXPR rest "${hundredths} % 100")
    if(rest LESS 10)
        set(rest "0${rest}")
    endif()
    set(${out} "${sign}${whole}.${rest}" PARENT_SCOPE)
endfunction()

foreach(pose ${poses})
    separate_arguments(pose)
    list(GET pose 0 number)
    list(GET pose 1 x)
    list(GET pose 2 y)
    set(tilt "")
    foreach(place RANGE 3 6)
        list(GET pose ${place} hundredths)
        decimal(entry ${hundredths})
        string(APPEND tilt "${entry} ")
    endforeach()

    # The places of the pictures before this one stay as marks.
    set(taken "")
    foreach(other ${poses})
        separate_arguments(other)
        list(GET other 0 other_number)
        list(GET other 1 other_x)
        list(GET other 2 other_y)
        if(other_number LESS number)
            string(APPEND taken "M${other_x} ${other_y}m-7 0l5 6l9 -11")
        endif()
    endforeach()

    set(arrows "")
    if(number EQUAL 10)
        set(arrows "  <path d=\"M150 44v-30m-8 8l8 -8l8 8M150 356v30m-8 -8l8 8l8 -8M36 200h-24m8 -8l-8 8l8 8M264 200h24m-8 -8l8 8l-8 8\" \
fill=\"none\" stroke=\"#0b63b0\" stroke-width=\"4\"/>
")
    endif()

    file(WRITE ${FOLDER}/chart_${number}.svg
"<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"300\" height=\"400\" viewBox=\"0 0 300 400\">
  <rect x=\"2\" y=\"2\" width=\"296\" height=\"396\" rx=\"8\" fill=\"#e6eaef\" stroke=\"#5a6675\" stroke-width=\"3\"/>
  <path d=\"M101 10v380M199 10v380M10 134h280M10 266h280\" fill=\"none\" stroke=\"#c3cad3\" stroke-width=\"1.5\" stroke-dasharray=\"5 5\"/>
  <path d=\"${taken}\" fill=\"none\" stroke=\"#1d7f43\" stroke-width=\"3\"/>
  <g transform=\"matrix(${tilt}${x} ${y})\">
    <rect x=\"-52\" y=\"-62\" width=\"116\" height=\"136\" rx=\"3\" fill=\"#aab3be\"/>
    <rect x=\"-58\" y=\"-68\" width=\"116\" height=\"136\" rx=\"3\" fill=\"#ffffff\" stroke=\"#5a6675\" stroke-width=\"1.5\"/>
    <path d=\"${discs}\" fill=\"none\" stroke=\"#1c2530\" stroke-width=\"8\" stroke-linecap=\"round\"/>
  </g>
${arrows}</svg>
")
endforeach()
