#pragma once

// Finds the chart of discs in one picture. What `FindCalibrationBoard` and `CalibrateDistortedCamera` share; it writes
// no log line and may be called on several threads.

#include "Discs.h"

#include <opencv2/core.hpp>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Korvane
{

struct FoundChart {
    std::vector<Disc> discs;          ///< outlines in the picture, row by row
    std::vector<cv::Point2d> centres; ///< pictures of the discs' centres
    std::vector<double> radii;        ///< of the printed discs, in pitches
    double dRmsPx = 0.0;              ///< distance of the centres from the fitted lattice
};

struct ChartSearch {
    std::optional<FoundChart> chart;
    std::string strReason; ///< why there is none
};

/// @param picture  8 bits, 1, 3 or 4 channels
/// @param board  discs in a row, rows; 3 to 60 each
ChartSearch FindChart(const cv::Mat& picture, const cv::Size& board);

/// How far the centre of a disc's picture lies from the picture of its centre: a tilted view and a lens shift it.
/// @param pixelFromChart  any smooth map of the chart into the picture
/// @param centre, radius  of the disc, in the map's unit
cv::Point2d DiscBias(const std::function<cv::Point2d(const cv::Point2d&)>& pixelFromChart, const cv::Point2d& centre,
                     double radius);

} // namespace Korvane
