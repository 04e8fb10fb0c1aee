#pragma once

// How far a fitted lens is from the camera that it was fitted to. For tests and reports.

#include "Machine.h"

#include <opencv2/core.hpp>

#include <vector>

namespace Simulator
{

/// RMS distance in pixels between where the fitted lens and the true camera show the same rays, over the hull of the
/// points that the fit was made from. The two camera frames may differ by a turn, which is fitted; nothing else is.
/// @param camera  3 x 3 CV_64F
/// @param lens    distortion of `camera`, as cv::projectPoints takes it
double LensMappingRmsPx(const Machine& machine, Side side, const cv::Mat& camera, const cv::Mat& lens,
                        const std::vector<cv::Point2f>& covered);

} // namespace Simulator
