#pragma once

// The bed under the seam of a manual machine as the fusion of its two pictures meets it: a pattern engraved where both
// cameras see, a thing that hides a part of it, light that differs from camera to camera; and how far a homography is
// off there. For tests and benchmarks.

#include "Machine.h"

#include <opencv2/core.hpp>

#include <cstdint>

namespace Simulator
{

struct SeamSceneOptions {
    bool bPattern = true; ///< strokes engraved all over what both cameras see
    double hiddenShare =
        0.0; ///< at least this share of it is hidden from one camera or from both, by a board in the way
    double boardAboveMm = 40.0; ///< how far the board lies above the bed
    double rightLight = 1.0;    ///< light in the right picture, of that in the left one
};

/// The two pictures as the cameras take them, and the regions that an operator would draw.
struct SeamScene {
    cv::Mat left, right; ///< raw, CV_8UC3
    cv::Rect leftRoi,
        rightRoi;             ///< in the pictures turned by 90 degrees clockwise; all that both cameras see of the bed
    double hiddenShare = 0.0; ///< what really is hidden
};

/// Fresh material on the bed of a manual machine.
SeamScene MakeSeamScene(Machine& machine, std::uint64_t nSeed, const SeamSceneOptions& options);

/// Largest distance in pixels, along the seam from one end of the bed to the other, between where a homography puts a
/// point of the right picture and where the left one shows it. Both turned by 90 degrees clockwise.
/// @param leftFromRight  3 x 3 CV_64F
double SeamErrorPx(const Machine& machine, const cv::Mat& leftFromRight);

/// A point of the raw picture in the one turned by 90 degrees clockwise.
cv::Point2d TurnedClockwise(const cv::Point2d& raw, const cv::Size& rawSize);

} // namespace Simulator
