#pragma once

// Brings a raw picture upright, as `ImageDirFlags` says. What blending, matching and the picture of the matches share,
// so that their frames are one.

#include "KorvaneVision.h"

#include <opencv2/core.hpp>

#include <string>

namespace Korvane
{

/// Turned first, then mirrored. May share memory with `picture`: to be read only.
cv::Mat Upright(const cv::Mat& picture, const CameraCalibration::ImageDirFlags& flags);

/// Empty when both are 8-bit pictures with the same 1, 3 or 4 channels, else what is wrong, in words.
std::string WhyNoPair(const cv::Mat& left, const cv::Mat& right);

} // namespace Korvane
