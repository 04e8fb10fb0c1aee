#pragma once

// What the charts of a lens calibration covered, as figures and as a picture: where no chart was, the lens is a guess.

#include "LensViews.h"

#include <opencv2/core.hpp>

#include <string>
#include <vector>

namespace Workbench
{

struct LensCoverage {
    double dShare = 0.0;              ///< of the camera's picture that used charts cover, 0 to 1
    std::vector<std::string> missing; ///< the ninths of the picture that are covered to less than a quarter
};

LensCoverage CoverageOf(const LensReport& report);

/// CV_8UC3, the camera's picture reduced or enlarged to 960 px, a legend beside and below it: how many of the used
/// charts cover each place, their discs, and the outlines of charts that were found and left out.
cv::Mat DrawCoverage(const LensReport& report);

} // namespace Workbench
