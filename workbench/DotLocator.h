#pragma once

// Finds engraved dots in a work area picture to a few thousandths of a millimetre, so that what is measured is the
// picture's error and not the finder's.

#include <opencv2/core.hpp>

#include <optional>

namespace Workbench
{

struct DotOptions {
    double radiusPx = 0.0;      ///< of the dot
    double blurPx = 2.7;        ///< sigma of its edge
    double searchPx = 18.0;     ///< how far from the expected place it is looked for
    double leastContrast = 8.0; ///< grey levels; a fainter one is not found
};

/// The dot's centre in pixels, by fitting a blurred disc on a sloping background; empty when there is none.
/// @param grey        CV_8UC1
/// @param expectedPx  where it should be
std::optional<cv::Point2d> LocateDot(const cv::Mat& grey, const cv::Point2d& expectedPx, const DotOptions& options);

} // namespace Workbench
