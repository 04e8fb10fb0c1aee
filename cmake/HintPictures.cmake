# Draws the hint pictures of a grid of crosses: N.svg shows which cross of the grid is number N, counted row after row
# from the top left. Run as: cmake -DROWS=7 -DCOLS=5 -DFOLDER=... -P HintPictures.cmake
set(cell 30)
set(margin 14)
math(EXPR width "${COLS} * ${cell} + 2 * ${margin}")
math(EXPR height "${ROWS} * ${cell} + 2 * ${margin}")
math(EXPR count "${ROWS} * ${COLS}")

# A cross 16 px long about a point.
function(cross_path out x y)
    math(EXPR left "${x} - 8")
    math(EXPR top "${y} - 8")
    set(${out} "M${left} ${y}h16M${x} ${top}v16" PARENT_SCOPE)
endfunction()

foreach(number RANGE 1 ${count})
    set(before "")
    set(after "")
    foreach(other RANGE 1 ${count})
        math(EXPR x "(${other} - 1) % ${COLS} * ${cell} + ${margin} + ${cell} / 2")
        math(EXPR y "(${other} - 1) / ${COLS} * ${cell} + ${margin} + ${cell} / 2")
        cross_path(path ${x} ${y})
        if(other LESS number)
            string(APPEND before "${path}")
        elseif(other GREATER number)
            string(APPEND after "${path}")
        else()
            math(EXPR baseline "${y} + 5")
            set(mark "  <circle cx=\"${x}\" cy=\"${y}\" r=\"13\" fill=\"#0b63b0\"/>
  <text x=\"${x}\" y=\"${baseline}\" text-anchor=\"middle\" font-family=\"sans-serif\" font-size=\"13\" \
font-weight=\"bold\" fill=\"#ffffff\">${number}</text>")
        endif()
    endforeach()
    math(EXPR card_width "${width} - 2")
    math(EXPR card_height "${height} - 2")
    file(WRITE ${FOLDER}/${number}.svg
"<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"${width}\" height=\"${height}\" viewBox=\"0 0 ${width} ${height}\">
  <rect x=\"1\" y=\"1\" width=\"${card_width}\" height=\"${card_height}\" rx=\"6\" fill=\"#ffffff\" stroke=\"#5a6675\" stroke-width=\"1.5\"/>
  <path d=\"${before}\" fill=\"none\" stroke=\"#2c3a49\" stroke-width=\"2\"/>
  <path d=\"${after}\" fill=\"none\" stroke=\"#aeb7c2\" stroke-width=\"2\"/>
${mark}
</svg>
")
endforeach()
