#include "MapDrawing.h"

#include <opencv2/imgproc.hpp>

namespace Workbench
{

void MapText(cv::Mat& picture, const std::string& strText, const cv::Point& place, double dScale)
{
    cv::putText(picture, strText, place, cv::FONT_HERSHEY_SIMPLEX, dScale, g_mapInk, 1, cv::LINE_AA);
}

cv::Mat MapColours(const cv::Mat& levels, MapScale eScale)
{
    cv::Mat colours;
    cv::applyColorMap(levels, colours, eScale == MapScale::Error ? cv::COLORMAP_TURBO : cv::COLORMAP_VIRIDIS);
    return colours;
}

void DrawMapBar(cv::Mat& picture, const cv::Rect& bar, MapScale eScale)
{
    for (int i = 0; i < bar.height; ++i) {
        const cv::Mat level(1, 1, CV_8U, cv::Scalar(255.0 * (bar.height - 1 - i) / (bar.height - 1)));
        cv::line(picture, {bar.x, bar.y + i}, {bar.br().x, bar.y + i},
                 cv::Scalar(MapColours(level, eScale).at<cv::Vec3b>(0, 0)));
    }
    cv::rectangle(picture, bar, g_mapInk);
}

} // namespace Workbench
