#pragma once

// The pattern has an arrow head at its first and at its last cross, both pointing along growing X. They alone tell
// which way round a picture is and where the pattern begins: a grid of crosses looks the same after half a turn and
// after a shift by a column, so that marks of the wrong camera or of the wrong columns fit a camera as well as the
// right ones. What is not there or cannot be seen contradicts nothing: other patterns have no arrow heads.

#include "FisheyeModel.h"

#include <opencv2/core.hpp>

#include <vector>

namespace Fisheye
{

/// A mark whose engraved cross was found in the picture.
struct FoundCross {
    int nId = 0;           ///< place in the whole pattern, from 1, row after row
    cv::Point2d machineMm; ///< where it was engraved, as the marks say
    cv::Point2d pixel;     ///< raw picture
};

/// @param gray       CV_8UC1, the raw picture
/// @param projector  the model fitted to the crosses
/// @param crosses    in any order
/// @param bBright    lines lighter than the material
/// @return what is wrong with the marks, for the log; null where nothing is, or nothing can be told
const char* ContradictionOfArrowHeads(const cv::Mat& gray, const FisheyeProjector& projector,
                                      const std::vector<FoundCross>& crosses, bool bBright);

} // namespace Fisheye
