#include "CoverageMap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Workbench;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

/// A chart that fills a rectangle of the picture.
LensView View(const cv::Rect2f& r, const QString& strLeftOut = {})
{
    LensView view;
    view.strLeftOut = strLeftOut;
    view.centres = {r.tl(), {r.x + r.width, r.y}, {r.x, r.y + r.height}, r.br()};
    return view;
}

LensReport Report(const std::vector<LensView>& views)
{
    LensReport report;
    report.pictureSize = {1920, 960};
    report.views = views;
    return report;
}

/// Where a pixel of the camera's picture lies in the map.
cv::Vec3b At(const cv::Mat& map, int x, int y)
{
    constexpr int nMarginPx = 30;
    return map.at<cv::Vec3b>(nMarginPx + y / 2, nMarginPx + x / 2);
}

} // namespace

TEST(CoverageMap, TellsTheShareThatChartsCover)
{
    EXPECT_EQ(CoverageOf(Report({})).dShare, 0.0);
    EXPECT_NEAR(CoverageOf(Report({View({0, 0, 960, 960})})).dShare, 0.5, 0.01);
    const auto twice = Report({View({0, 0, 960, 960}), View({480, 0, 960, 960})});
    EXPECT_NEAR(CoverageOf(twice).dShare, 0.75, 0.01) << "a place counts once";
    EXPECT_NEAR(CoverageOf(Report({View({0, 0, 1919, 959})})).dShare, 1.0, 0.01);
}

TEST(CoverageMap, AChartThatWasLeftOutCoversNothing)
{
    EXPECT_EQ(CoverageOf(Report({View({0, 0, 960, 960}, "blurred")})).dShare, 0.0);
}

TEST(CoverageMap, NamesThePartsThatNoChartReached)
{
    EXPECT_THAT(CoverageOf(Report({View({0, 0, 1919, 959})})).missing, IsEmpty());
    EXPECT_THAT(CoverageOf(Report({View({0, 0, 1280, 640})})).missing,
                ElementsAre("top right", "right", "bottom left", "bottom", "bottom right"));
    EXPECT_EQ(CoverageOf(Report({})).missing.size(), 9U);
    // Two ninths in a row and so much of the third.
    EXPECT_THAT(CoverageOf(Report({View({0, 0, 1280 + 0.3F * 640, 959})})).missing, IsEmpty());
    EXPECT_THAT(CoverageOf(Report({View({0, 0, 1280 + 0.2F * 640, 959})})).missing,
                ElementsAre("top right", "right", "bottom right"));
}

TEST(CoverageMap, ShowsHowManyChartsCoverAPlace)
{
    const cv::Mat map =
        DrawCoverage(Report({View({100, 100, 800, 800}), View({500, 100, 800, 800}), View({900, 100, 900, 800})}));
    ASSERT_EQ(map.type(), CV_8UC3);
    const cv::Vec3b none = At(map, 50, 50);
    const cv::Vec3b one = At(map, 300, 300);
    const cv::Vec3b two = At(map, 700, 300);
    EXPECT_EQ(none[0], none[2]) << "paper has no colour";
    EXPECT_NE(one, none);
    EXPECT_NE(two, none);
    EXPECT_NE(two, one);
    EXPECT_EQ(At(map, 700, 700), two);
    EXPECT_EQ(At(map, 1500, 300), one);
    EXPECT_EQ(At(map, 96, 500), none) << "just before the chart's edge";
    EXPECT_EQ(At(map, 104, 500), one) << "just behind it";
}

TEST(CoverageMap, OutlinesAChartThatWasLeftOutInRed)
{
    const cv::Mat map = DrawCoverage(Report({View({100, 100, 800, 800}), View({1000, 100, 800, 800}, "blurred")}));
    const cv::Vec3b outline = At(map, 1400, 100);
    EXPECT_GT(outline[2], outline[0] + 100);
    EXPECT_EQ(At(map, 1400, 500), At(map, 50, 50));
}

TEST(CoverageMap, PicturesOfAnyShapeHaveAMap)
{
    for (const cv::Size& size : {cv::Size(32, 32766), cv::Size(32766, 32), cv::Size(33, 32), cv::Size(960, 960)}) {
        LensReport report = Report({View({4, 4, 20, 20})});
        report.pictureSize = size;
        EXPECT_FALSE(DrawCoverage(report).empty());
    }
}
