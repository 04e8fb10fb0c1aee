#pragma once

// The scale pairs by canvas size. Rectification shrinks with a pair and the blending undoes it with the reciprocals in
// the opposite order, so both columns stand in one row here. Each value is a 32-bit float constant widened to double.

namespace Pipeline
{

struct ScaleRow {
    double dRectifyFourth;
    double dRectifyFifth;
    double dBlendFifth;
    double dBlendSixth;
};

/// @param nCanvasWidth, nCanvasHeight  work area, millimetres; the boundaries are strict
inline ScaleRow ScalesOfCanvas(int nCanvasWidth, int nCanvasHeight)
{
    if (nCanvasWidth < 1300 && nCanvasHeight < 900) {
        return {1.0, 0.800000011920929, 1.2499999813735487, 1.0};
    }
    if (nCanvasWidth < 1500 && nCanvasHeight < 900) {
        return {0.699999988079071, 0.699999988079071, 1.4285714528998554, 1.4285714528998554};
    }
    return {0.699999988079071, 0.6000000238418579, 1.6666666004392863, 1.4285714528998554};
}

} // namespace Pipeline
