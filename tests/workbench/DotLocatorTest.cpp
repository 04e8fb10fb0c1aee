#include "DotLocator.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Workbench;

namespace
{

constexpr double g_dRadiusPx = 7.2;

/// A dark disc on a sloping background: coverage by 8 x 8 samples a pixel, so that it is made another way than it is
/// found.
cv::Mat Picture(const cv::Point2d& centre, double dContrast, double dNoise = 0.0)
{
    cv::Mat picture(80, 100, CV_8UC1);
    cv::RNG random(5);
    constexpr int nSamples = 8;
    for (int y = 0; y < picture.rows; ++y) {
        for (int x = 0; x < picture.cols; ++x) {
            double dDark = 0.0;
            for (int i = 0; i < nSamples * nSamples; ++i) {
                const double sx = x - 0.5 + (i % nSamples + 0.5) / nSamples;
                const double sy = y - 0.5 + (i / nSamples + 0.5) / nSamples;
                const double t = std::hypot(sx - centre.x, sy - centre.y) - g_dRadiusPx;
                dDark += 0.5 * std::erfc(t / (2.0 * std::sqrt(2.0))) / (nSamples * nSamples);
            }
            const double dGrey = 150.0 + 0.2 * x - 0.1 * y - dContrast * dDark + random.gaussian(dNoise);
            picture.at<unsigned char>(y, x) = cv::saturate_cast<unsigned char>(dGrey);
        }
    }
    return picture;
}

DotOptions Options()
{
    DotOptions options;
    options.radiusPx = g_dRadiusPx;
    return options;
}

} // namespace

TEST(DotLocator, ACleanDotIsFoundToAHundredthOfAPixel)
{
    for (const cv::Point2d centre : {cv::Point2d(50.0, 40.0), cv::Point2d(47.31, 42.77), cv::Point2d(53.5, 37.5)}) {
        const auto found = LocateDot(Picture(centre, 80.0), {50.0, 40.0}, Options());
        ASSERT_TRUE(found);
        EXPECT_LT(cv::norm(*found - centre), 0.01) << centre;
    }
}

TEST(DotLocator, ANoisyDotIsFoundToATenthOfAPixel)
{
    const cv::Point2d centre(48.4, 41.2);
    const auto found = LocateDot(Picture(centre, 80.0, 5.0), {50.0, 40.0}, Options());
    ASSERT_TRUE(found);
    EXPECT_LT(cv::norm(*found - centre), 0.1);
}

TEST(DotLocator, ADotTwoMillimetresOffIsStillFound)
{
    const cv::Point2d centre(58.0, 40.0);
    const auto found = LocateDot(Picture(centre, 80.0), {46.0, 40.0}, Options());
    ASSERT_TRUE(found);
    EXPECT_LT(cv::norm(*found - centre), 0.02);
}

TEST(DotLocator, AnEmptyPlaceHasNoDot)
{
    EXPECT_FALSE(LocateDot(Picture({50.0, 40.0}, 0.0), {50.0, 40.0}, Options()));
    EXPECT_FALSE(LocateDot(cv::Mat::zeros(80, 100, CV_8UC1), {50.0, 40.0}, Options()));
}

TEST(DotLocator, ABrightDotIsNoDot)
{
    EXPECT_FALSE(LocateDot(Picture({50.0, 40.0}, -80.0), {50.0, 40.0}, Options()));
}

TEST(DotLocator, ADotAtThePicturesEdgeIsNotGuessed)
{
    EXPECT_FALSE(LocateDot(Picture({2.0, 40.0}, 80.0), {2.0, 40.0}, Options()));
}

TEST(DotLocator, APlaceOutsideOfThePictureHasNoDot)
{
    EXPECT_FALSE(LocateDot(Picture({50.0, 40.0}, 80.0), {-500.0, 9000.0}, Options()));
    EXPECT_FALSE(LocateDot(cv::Mat::zeros(1, 1, CV_8UC1), {0.0, 0.0}, Options()));
}
