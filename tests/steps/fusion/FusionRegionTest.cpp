#include "FusionRegion.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <tuple>

namespace
{

constexpr QSize g_both(400, 300);

/// `QRect` by its edges as the page reads them.
QRect Edges(int nLeft, int nTop, int nRight, int nBottom)
{
    return {QPoint(nLeft, nTop), QPoint(nRight, nBottom)};
}

} // namespace

TEST(FusionRegion, IsCutAtTheSeam)
{
    const FusionRegion region = SplitAtSeam(Edges(50, 60, 350, 160), g_both);
    EXPECT_EQ(region.pProblem, nullptr);
    EXPECT_EQ(region.left, cv::Rect(50, 60, 150, 100));
    EXPECT_EQ(region.right, cv::Rect(0, 60, 150, 100));
}

TEST(FusionRegion, ARightEdgeOnTheSeamIsRefused)
{
    EXPECT_STREQ(SplitAtSeam(Edges(50, 60, 200, 160), g_both).pProblem, "[Fusion]The left roi is empty!");
    EXPECT_EQ(SplitAtSeam(Edges(50, 60, 201, 160), g_both).pProblem, nullptr);
}

TEST(FusionRegion, ALeftEdgeOnTheSeamIsRefused)
{
    EXPECT_STREQ(SplitAtSeam(Edges(200, 60, 350, 160), g_both).pProblem, "[Fusion]The right roi is empty!");
    EXPECT_EQ(SplitAtSeam(Edges(199, 60, 350, 160), g_both).pProblem, nullptr);
}

TEST(FusionRegion, OneBelowThePictureIsCutInBothHalves)
{
    const FusionRegion region = SplitAtSeam(Edges(50, 60, 350, 900), g_both);
    EXPECT_EQ(region.left, cv::Rect(50, 60, 150, 240));
    EXPECT_EQ(region.right, cv::Rect(0, 60, 150, 240));
}

TEST(FusionRegion, OneBesideThePictureIsNotCut)
{
    const FusionRegion region = SplitAtSeam(Edges(-30, -10, 600, 100), g_both);
    EXPECT_EQ(region.left, cv::Rect(-30, -10, 230, 110));
    EXPECT_EQ(region.right, cv::Rect(0, -10, 400, 110));
}

TEST(FusionRegion, OneThatWasDrawnToTheLeftCrossesNothing)
{
    EXPECT_NE(SplitAtSeam(Edges(350, 60, 50, 160), g_both).pProblem, nullptr);
}

TEST(FusionRegion, TheSeamOfAnOddWidthIsRoundedDown)
{
    EXPECT_EQ(SplitAtSeam(Edges(50, 60, 350, 160), QSize(401, 300)).left.width, 150);
}

TEST(FusionRegion, WithoutAPictureThereIsNoSeam)
{
    EXPECT_NE(SplitAtSeam(QRect(), QSize(-1, -1)).pProblem, nullptr);
}

TEST(UprightPicture, FollowsTheCodeAndIsEmptyForAnyOther)
{
    const cv::Mat picture = (cv::Mat_<uchar>(1, 2) << 1, 2);
    const cv::Mat clockwise = Upright(picture, cv::ROTATE_90_CLOCKWISE);
    ASSERT_EQ(clockwise.size(), cv::Size(1, 2));
    EXPECT_EQ(clockwise.at<uchar>(0, 0), 1);
    EXPECT_EQ(Upright(picture, cv::ROTATE_180).at<uchar>(0, 0), 2);
    EXPECT_EQ(Upright(picture, cv::ROTATE_90_COUNTERCLOCKWISE).at<uchar>(0, 0), 2);
    EXPECT_TRUE(Upright(picture, 3).empty());
    EXPECT_TRUE(Upright(picture, -1).empty());
    EXPECT_TRUE(Upright(cv::Mat(), 0).empty());
}

TEST(SideBySidePictures, HaveTheTypeOfTheLeftOne)
{
    for (const auto& [nLeft, nRight] : {std::pair(CV_8UC1, CV_8UC3),
                                        {CV_8UC1, CV_8UC4},
                                        {CV_8UC3, CV_8UC1},
                                        {CV_8UC3, CV_8UC4},
                                        {CV_8UC4, CV_8UC1},
                                        {CV_8UC4, CV_8UC3}}) {
        const cv::Mat both =
            SideBySide(cv::Mat(2, 3, nLeft, cv::Scalar::all(7)), cv::Mat(2, 4, nRight, cv::Scalar::all(9)));
        ASSERT_EQ(both.type(), nLeft);
        ASSERT_EQ(both.size(), cv::Size(7, 2));
        EXPECT_EQ(both.ptr(1)[2 * CV_MAT_CN(nLeft)], 7);
        EXPECT_EQ(both.ptr(1)[3 * CV_MAT_CN(nLeft)], 9);
    }
}
