#pragma once

// What the pictures that a report draws have alike: text, colours, and the bar that explains them.

#include <opencv2/core.hpp>

#include <string>

namespace Workbench
{

inline const cv::Scalar g_mapInk(40, 40, 40);

void MapText(cv::Mat& picture, const std::string& strText, const cv::Point& place, double dScale = 0.6);

enum class MapScale {
    Error,  ///< red is much
    Amount, ///< dark is little; nothing in it looks like an alarm
};

/// @param levels  CV_8U, 0 for the bottom of the scale
/// @return CV_8UC3
cv::Mat MapColours(const cv::Mat& levels, MapScale eScale);

/// The scale's colours from bottom to top, framed.
void DrawMapBar(cv::Mat& picture, const cv::Rect& bar, MapScale eScale);

} // namespace Workbench
