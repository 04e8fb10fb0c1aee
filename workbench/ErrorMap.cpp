#include "ErrorMap.h"

#include "MapDrawing.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

namespace Workbench
{

namespace
{

constexpr int g_nMargin = 70;
constexpr int g_nLegend = 170;

std::string Millimetres(double dValue)
{
    char szText[32];
    std::snprintf(szText, sizeof szText, "%.3f mm", dValue);
    return szText;
}

/// Error at every pixel of the bed: a mean of the dots around, weighted by nearness.
cv::Mat ErrorField(const AccuracyReport& report, const cv::Size& size, double dPxPerMm)
{
    constexpr double dReachMm = 10.0;
    const cv::Size coarse(size.width / 10 + 1, size.height / 10 + 1);
    cv::Mat field(coarse, CV_32F);
    for (int y = 0; y < coarse.height; ++y) {
        for (int x = 0; x < coarse.width; ++x) {
            const cv::Point2d place(x * 10.0 / dPxPerMm, y * 10.0 / dPxPerMm);
            double dSum = 0.0;
            double dWeight = 0.0;
            for (const MeasuredPoint& point : report.points) {
                const cv::Point2d d = point.truthMm - place;
                const double w = std::exp(-0.5 * d.dot(d) / (dReachMm * dReachMm));
                dSum += w * point.ErrorMm();
                dWeight += w;
            }
            field.at<float>(y, x) = static_cast<float>(dWeight > 0.0 ? dSum / dWeight : 0.0);
        }
    }
    cv::resize(field, field, size, 0.0, 0.0, cv::INTER_CUBIC);
    return field;
}

void DrawAxes(cv::Mat& picture, const cv::Rect& bed, const cv::Size& areaMm, double dPxPerMm)
{
    cv::rectangle(picture, bed, g_mapInk);
    for (int nMm = 0; nMm <= areaMm.width; nMm += 100) {
        const int x = bed.x + static_cast<int>(nMm * dPxPerMm);
        cv::line(picture, {x, bed.y - 6}, {x, bed.y}, g_mapInk);
        MapText(picture, std::to_string(nMm), {x - 14, bed.y - 12}, 0.5);
    }
    for (int nMm = 0; nMm <= areaMm.height; nMm += 100) {
        const int y = bed.y + static_cast<int>(nMm * dPxPerMm);
        cv::line(picture, {bed.x - 6, y}, {bed.x, y}, g_mapInk);
        MapText(picture, std::to_string(nMm), {bed.x - 48, y + 5}, 0.5);
    }
    MapText(picture, "machine X, mm", {bed.x + bed.width / 2 - 60, bed.y - 38});
    MapText(picture, "Y, mm", {8, bed.y - 30});
}

void DrawLegend(cv::Mat& picture, const cv::Rect& bed, double dTop)
{
    const cv::Rect bar(bed.br().x + 30, bed.y + 60, 30, 400);
    DrawMapBar(picture, bar, MapScale::Error);
    MapText(picture, "error", {bar.x, bar.y - 20});
    for (int i = 0; i <= 4; ++i) {
        MapText(picture, Millimetres(dTop * i / 4), {bar.br().x + 8, bar.br().y - i * bar.height / 4 + 5}, 0.5);
    }
}

} // namespace

cv::Mat DrawErrorMap(const AccuracyReport& report, const std::vector<cv::Point2d>& crossesMm)
{
    const double dPxPerMm = 1.0;
    const cv::Size size(static_cast<int>(report.workAreaMm.width * dPxPerMm),
                        static_cast<int>(report.workAreaMm.height * dPxPerMm));
    const cv::Rect bed(g_nMargin, g_nMargin, size.width, size.height);
    cv::Mat picture(size.height + g_nMargin + 60, size.width + g_nMargin + g_nLegend, CV_8UC3, cv::Scalar::all(250));

    // The top of the scale lies above the largest error, and its quarters are whole hundredths.
    const double dMax = std::max(0.01, report.WholeArea().max);
    const double dTop = std::ceil(dMax * 25.0) / 25.0;
    cv::Mat levels;
    ErrorField(report, size, dPxPerMm).convertTo(levels, CV_8U, 255.0 / dTop);
    MapColours(levels, MapScale::Error).copyTo(picture(bed));

    for (const cv::Point2d& cross : crossesMm) {
        cv::drawMarker(picture, bed.tl() + cv::Point(cvRound(cross.x * dPxPerMm), cvRound(cross.y * dPxPerMm)),
                       cv::Scalar::all(255), cv::MARKER_CROSS, 14, 1, cv::LINE_AA);
    }
    DrawAxes(picture, bed, report.workAreaMm, dPxPerMm);
    DrawLegend(picture, bed, dTop);
    MapText(picture,
            "rms inside the crosses " + Millimetres(report.InsideCrosses().rms) + ", whole area " +
                Millimetres(report.WholeArea().rms) + ", largest " + Millimetres(report.WholeArea().max) +
                ", white: crosses of the calibration",
            {bed.x, bed.br().y + 35});
    return picture;
}

} // namespace Workbench
