#pragma once

// The error over the bed as a picture: where how many millimetres.

#include "AccuracyReport.h"

#include <opencv2/core.hpp>

#include <vector>

namespace Workbench
{

/// CV_8UC3, one pixel a millimetre of the bed, axes around it and a legend beside it.
/// @param crossesMm  the calibration's crosses, drawn in
cv::Mat DrawErrorMap(const AccuracyReport& report, const std::vector<cv::Point2d>& crossesMm);

} // namespace Workbench
