#include "ErrorMap.h"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

using namespace Workbench;

namespace
{

constexpr int g_nMarginPx = 70; ///< the bed's top left corner in the map

AccuracyReport Report()
{
    AccuracyReport report;
    report.workAreaMm = {400, 300};
    for (int y = 10; y < 300; y += 20) {
        for (int x = 10; x < 400; x += 20) {
            const double dError = x > 300 && y > 200 ? 0.2 : 0.01;
            report.points.push_back({cv::Point2d(x, y), cv::Point2d(x + dError, y), true});
        }
    }
    return report;
}

/// Warm colours stand for large errors.
bool IsWarm(const cv::Mat& map, int nXmm, int nYmm)
{
    const auto colour = map.at<cv::Vec3b>(g_nMarginPx + nYmm, g_nMarginPx + nXmm);
    return colour[2] > colour[0];
}

} // namespace

TEST(ErrorMap, ShowsWhereTheErrorIs)
{
    const cv::Mat map = DrawErrorMap(Report(), {});
    ASSERT_EQ(map.type(), CV_8UC3);
    EXPECT_TRUE(IsWarm(map, 360, 260));
    EXPECT_FALSE(IsWarm(map, 60, 60));
    EXPECT_FALSE(IsWarm(map, 360, 60));
    EXPECT_FALSE(IsWarm(map, 60, 260));
}

TEST(ErrorMap, MarksTheCrosses)
{
    const cv::Mat map = DrawErrorMap(Report(), {cv::Point2d(100, 100)});
    const cv::Mat without = DrawErrorMap(Report(), {});
    cv::Mat changed;
    cv::extractChannel(map != without, changed, 2);
    const cv::Rect mark = cv::boundingRect(changed);
    EXPECT_NEAR(0.5 * (mark.tl() + mark.br() - cv::Point(1, 1)).x, g_nMarginPx + 100, 1);
    EXPECT_NEAR(0.5 * (mark.tl() + mark.br() - cv::Point(1, 1)).y, g_nMarginPx + 100, 1);
    EXPECT_GT(mark.width, 8);
    EXPECT_LT(mark.width, 20);
}

TEST(ErrorMap, HasALegendBesideTheBed)
{
    const cv::Mat map = DrawErrorMap(Report(), {});
    const cv::Mat beside = map(cv::Rect(g_nMarginPx + 402, 0, map.cols - g_nMarginPx - 402, map.rows));
    cv::Mat hsv;
    cv::cvtColor(beside, hsv, cv::COLOR_BGR2HSV);
    cv::Mat saturation;
    cv::extractChannel(hsv, saturation, 1);
    EXPECT_GT(cv::countNonZero(saturation > 150), 5000);
}

TEST(ErrorMap, OfNoDotsIsStillAPicture)
{
    AccuracyReport report = Report();
    report.points.clear();
    EXPECT_FALSE(DrawErrorMap(report, {}).empty());
}
