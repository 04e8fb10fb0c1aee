#pragma once

// Where a spot of one picture lies in another, to a small part of a pixel, once it is known to a few pixels and the
// pictures agree in turn and size. Used by the search for matches only.

#include <opencv2/core.hpp>

#include <optional>

namespace Korvane
{

struct AlignmentOptions {
    int nHalfPx = 10;      ///< half the side of the patch that is compared
    double dReachPx = 5.0; ///< farthest from the start
    double dLeastCorrelation = 0.75;
    double dLargestDoubtPx = 0.25; ///< standard deviation in the worst direction, from what the noise leaves
};

/// Gauss and Newton on a shift, with brightness and contrast of the patch free (Lucas and Kanade 1981; gradients of
/// both patches as Malis 2004).
/// @param fixed, moving  CV_32FC1 of one size
/// @param point  of `fixed`; the start in `moving` too
/// @return the point of `moving` that shows the same; empty where the patches differ, leave the pictures, or do not
///         tell both directions
std::optional<cv::Point2d> AlignedPoint(const cv::Mat& fixed, const cv::Mat& moving, const cv::Point2d& point,
                                        const AlignmentOptions& options = {});

} // namespace Korvane
