#include "CoverageMap.h"

#include "MapDrawing.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace Workbench
{

namespace
{

constexpr int g_nFieldPx = 960;
constexpr int g_nMargin = 30;
constexpr int g_nLegend = 150;
const cv::Scalar g_leftOutColour(40, 40, 220);

cv::Size FieldSize(const LensReport& report)
{
    const double dScale =
        g_nFieldPx / static_cast<double>(std::max(report.pictureSize.width, report.pictureSize.height));
    return {std::max(1, cvRound(report.pictureSize.width * dScale)),
            std::max(1, cvRound(report.pictureSize.height * dScale))};
}

/// Into the reduced picture; the centre of the first pixel is (0, 0) in both.
cv::Point InField(const LensReport& report, const cv::Point2f& p)
{
    const double dScale = FieldSize(report).width / static_cast<double>(report.pictureSize.width);
    return {cvRound((p.x + 0.5) * dScale - 0.5), cvRound((p.y + 0.5) * dScale - 0.5)};
}

std::vector<cv::Point> Outline(const LensReport& report, const LensView& view)
{
    std::vector<cv::Point> points;
    for (const cv::Point2f& centre : view.centres) {
        points.push_back(InField(report, centre));
    }
    std::vector<cv::Point> hull;
    cv::convexHull(points, hull);
    return hull;
}

/// How many used charts cover each place of the field, CV_8U.
cv::Mat CountCharts(const LensReport& report)
{
    cv::Mat count = cv::Mat::zeros(FieldSize(report), CV_8U);
    for (const LensView& view : report.views) {
        if (view.IsUsed() && !view.centres.empty()) {
            cv::Mat one = cv::Mat::zeros(count.size(), CV_8U);
            cv::fillConvexPoly(one, Outline(report, view), cv::Scalar(1));
            count += one;
        }
    }
    return count;
}

void DrawLegend(cv::Mat& picture, const cv::Rect& field, int nMost)
{
    const cv::Rect bar(field.br().x + 30, field.y + 60, 30, std::min(300, field.height - 80));
    if (nMost == 0 || bar.height < 40) {
        return;
    }
    DrawMapBar(picture, bar, MapScale::Amount);
    MapText(picture, "charts", {bar.x, bar.y - 20});
    MapText(picture, std::to_string(nMost), {bar.br().x + 8, bar.y + 8}, 0.5);
    MapText(picture, "1", {bar.br().x + 8, bar.br().y}, 0.5);
}

std::string Summary(const LensReport& report)
{
    std::array<char, 160> text{};
    std::snprintf(text.data(), text.size(), "%zu of %zu pictures, residual %.2f px rms, %.0f %% of the picture covered",
                  report.Used(), report.views.size(), report.dRmsPx, 100.0 * CoverageOf(report).dShare);
    return text.data();
}

} // namespace

LensCoverage CoverageOf(const LensReport& report)
{
    constexpr double dLeast = 0.25;
    constexpr std::array<const char*, 9> aNames{"top left", "top",         "top right", "left",        "middle",
                                                "right",    "bottom left", "bottom",    "bottom right"};
    const cv::Mat covered = CountCharts(report) > 0;
    LensCoverage coverage;
    coverage.dShare = cv::countNonZero(covered) / static_cast<double>(covered.total());
    for (int i = 0; i < 9; ++i) {
        const cv::Point from(i % 3 * covered.cols / 3, i / 3 * covered.rows / 3);
        const cv::Point to((i % 3 + 1) * covered.cols / 3, (i / 3 + 1) * covered.rows / 3);
        const cv::Mat ninth = covered(cv::Rect(from, to));
        if (cv::countNonZero(ninth) < dLeast * static_cast<double>(ninth.total())) {
            coverage.missing.emplace_back(aNames[static_cast<std::size_t>(i)]);
        }
    }
    return coverage;
}

cv::Mat DrawCoverage(const LensReport& report)
{
    const cv::Mat count = CountCharts(report);
    double dMost = 0.0;
    cv::minMaxLoc(count, nullptr, &dMost);
    const cv::Rect field({g_nMargin, g_nMargin}, count.size());
    cv::Mat picture(count.rows + 2 * g_nMargin + 40, count.cols + g_nMargin + g_nLegend, CV_8UC3, cv::Scalar::all(250));

    // One chart is the bottom of the scale and most of them its top; where there is none the paper shows.
    cv::Mat levels;
    count.convertTo(levels, CV_8U, dMost > 1.0 ? 255.0 / (dMost - 1.0) : 0.0,
                    dMost > 1.0 ? -255.0 / (dMost - 1.0) : 0.0);
    cv::Mat place = picture(field);
    place.setTo(cv::Scalar::all(225));
    MapColours(levels, MapScale::Amount).copyTo(place, count > 0);
    for (const LensView& view : report.views) {
        if (view.IsUsed()) {
            for (const cv::Point2f& centre : view.centres) {
                cv::circle(place, InField(report, centre), 3, g_mapInk, cv::FILLED, cv::LINE_AA);
                cv::circle(place, InField(report, centre), 2, cv::Scalar::all(255), cv::FILLED, cv::LINE_AA);
            }
        } else if (!view.centres.empty()) {
            cv::polylines(place, Outline(report, view), true, g_leftOutColour, 2, cv::LINE_AA);
        }
    }
    cv::rectangle(picture, field, g_mapInk);
    DrawLegend(picture, field, static_cast<int>(dMost));
    MapText(picture, Summary(report), {field.x, field.br().y + 30}, 0.55);
    MapText(picture, "white: discs of charts that were used, red: outlines of charts that were left out",
            {field.x, field.br().y + 55}, 0.55);
    return picture;
}

} // namespace Workbench
