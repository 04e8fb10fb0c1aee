#pragma once

#include <opencv2/imgproc.hpp>

namespace Korvane
{

/// @param picture  CV_8UC1, CV_8UC3 (BGR) or CV_8UC4 (BGRA)
/// @return CV_8UC1; the picture itself, not a copy, where it is grey
inline cv::Mat Grey(const cv::Mat& picture)
{
    if (picture.channels() == 1) {
        return picture;
    }
    cv::Mat grey;
    cv::cvtColor(picture, grey, picture.channels() == 3 ? cv::COLOR_BGR2GRAY : cv::COLOR_BGRA2GRAY);
    return grey;
}

} // namespace Korvane
