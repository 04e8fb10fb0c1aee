#include "KorvaneVision.h"
#include "SeededNoise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Korvane::CameraCalibration;

namespace
{

using Points = std::vector<cv::Point2f>;

const cv::Matx33d g_truth(1.02, 0.015, -1480.0, -0.012, 0.99, 21.0, 4.0e-6, -3.0e-6, 1.0);

cv::Point2d Map(const cv::Matx33d& h, const cv::Point2d& p)
{
    const cv::Vec3d q = h * cv::Vec3d(p.x, p.y, 1.0);
    return {q[0] / q[2], q[1] / q[2]};
}

struct Pairs {
    Points source, target;
    cv::Mat homography = cv::Mat::eye(3, 3, CV_64F);
    double dError = 7.0;

    bool Fit() { return CreateHomography(source, target, homography, dError, 3.0, 2000, 0.995); }

    /// Largest distance from the truth over the strip that the points come from.
    double WorstPx() const
    {
        double worst = 0.0;
        for (const cv::Point2d& p : {cv::Point2d(0, 0), cv::Point2d(400, 0), cv::Point2d(0, 2500),
                                     cv::Point2d(400, 2500), cv::Point2d(200, 1250)}) {
            worst = std::max(worst, cv::norm(Map(cv::Matx33d(homography), p) - Map(g_truth, p)));
        }
        return worst;
    }
};

/// Pairs on a strip as high as a picture, `sigmaPx` off.
Pairs Strip(int nPairs, double sigmaPx, std::uint64_t nSeed)
{
    Simulator::Draw draw(nSeed, 0x40);
    Pairs pairs;
    for (int i = 0; i < nPairs; ++i) {
        const cv::Point2d p(draw.Between(0.0, 400.0), draw.Between(0.0, 2500.0));
        pairs.source.emplace_back(p);
        pairs.target.emplace_back(Map(g_truth, p) + sigmaPx * cv::Point2d(draw.Normal(), draw.Normal()));
    }
    return pairs;
}

void ExpectRefused(Pairs& pairs, const char* pWhy)
{
    EXPECT_FALSE(pairs.Fit());
    EXPECT_TRUE(pairs.homography.empty()) << "callers ask for that";
    EXPECT_EQ(pairs.dError, -1.0);
    EXPECT_NE(GetLastError().find(pWhy), std::string::npos) << GetLastError();
}

} // namespace

TEST(CreateHomography, MapsTheFirstPointsToTheSecondOnes)
{
    Pairs pairs = Strip(100, 0.0, 1);
    ASSERT_TRUE(pairs.Fit());
    EXPECT_EQ(pairs.homography.type(), CV_64F);
    EXPECT_EQ(pairs.homography.size(), cv::Size(3, 3));
    EXPECT_DOUBLE_EQ(pairs.homography.at<double>(2, 2), 1.0);
    EXPECT_LT(pairs.WorstPx(), 0.02);
    EXPECT_LT(pairs.dError, 0.01);
}

TEST(CreateHomography, TheErrorIsTheScatterOfThePairsThatAgree)
{
    Pairs pairs = Strip(400, 0.4, 2);
    ASSERT_TRUE(pairs.Fit());
    EXPECT_NEAR(pairs.dError, 0.4 * std::sqrt(2.0), 0.06);
    EXPECT_LT(pairs.WorstPx(), 0.3);
}

TEST(CreateHomography, PairsThatAreWrongDoNotPullAtIt)
{
    for (const std::uint64_t nSeed : {3U, 4U, 5U}) {
        Pairs pairs = Strip(200, 0.3, nSeed);
        Simulator::Draw draw(nSeed, 0x41);
        for (std::size_t i = 0; i < 120; ++i) {
            pairs.target[i] = cv::Point2f(cv::Point2d(draw.Between(-1500.0, -1000.0), draw.Between(0.0, 2500.0)));
        }
        ASSERT_TRUE(pairs.Fit());
        EXPECT_LT(pairs.WorstPx(), 0.6);
        EXPECT_LT(pairs.dError, 0.6);
    }
}

TEST(CreateHomography, IsTheSameEveryTime)
{
    Pairs pairs = Strip(200, 0.5, 6);
    ASSERT_TRUE(pairs.Fit());
    const cv::Mat first = pairs.homography.clone();
    ASSERT_TRUE(pairs.Fit());
    EXPECT_EQ(cv::norm(first, pairs.homography), 0.0);
}

TEST(CreateHomography, FourPointsAreEnoughAndThreeAreNot)
{
    Pairs pairs;
    pairs.source = {{0, 0}, {400, 10}, {390, 2500}, {5, 2450}};
    for (const cv::Point2f& p : pairs.source) {
        pairs.target.emplace_back(Map(g_truth, p));
    }
    ASSERT_TRUE(pairs.Fit());
    EXPECT_LT(pairs.WorstPx(), 0.02);
    pairs.source.pop_back();
    pairs.target.pop_back();
    ExpectRefused(pairs, "3 pairs of points");
    Pairs none;
    ExpectRefused(none, "0 pairs of points");
}

TEST(CreateHomography, MillimetresOfAMirroredPictureAreNoLessAHomography)
{
    Pairs pairs;
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 6; ++x) {
            pairs.source.emplace_back(300.0f + 550.0f * static_cast<float>(x), 250.0f + 830.0f * static_cast<float>(y));
            pairs.target.emplace_back(75.0f + 150.0f * static_cast<float>(x), 525.0f - 225.0f * static_cast<float>(y));
        }
    }
    ASSERT_TRUE(pairs.Fit());
    EXPECT_LT(pairs.dError, 1.0e-3);
    std::swap(pairs.source, pairs.target);
    ASSERT_TRUE(pairs.Fit());
    EXPECT_LT(pairs.dError, 1.0e-2);
}

TEST(CreateHomography, PointsOnALineAreRefused)
{
    for (const double sigmaPx : {0.0, 0.3}) {
        Pairs pairs = Strip(60, sigmaPx, 7);
        Simulator::Draw draw(7, 0x42);
        for (std::size_t i = 0; i < pairs.source.size(); ++i) {
            const cv::Point2d p(200.0 + 0.1 * 40.0 * static_cast<double>(i), 40.0 * static_cast<double>(i));
            pairs.source[i] = cv::Point2f(p);
            pairs.target[i] = cv::Point2f(Map(g_truth, p) + sigmaPx * cv::Point2d(draw.Normal(), draw.Normal()));
        }
        ExpectRefused(pairs, "line");
    }
}

TEST(CreateHomography, AllPointsButOneOnALineAreRefused)
{
    Pairs pairs;
    for (int i = 0; i < 12; ++i) {
        const cv::Point2d p = i == 11 ? cv::Point2d(380, 300) : cv::Point2d(50, 200 * i);
        pairs.source.emplace_back(p);
        pairs.target.emplace_back(Map(g_truth, p));
    }
    ExpectRefused(pairs, "line");
    pairs.source = {{0, 0}, {100, 0}, {200, 0}, {50, 300}};
    pairs.target = {{10, 0}, {110, 0}, {210, 0}, {60, 300}};
    ExpectRefused(pairs, "line");
}

TEST(CreateHomography, PointsThatAreAllTheSameAreRefused)
{
    Pairs pairs;
    pairs.source.assign(20, {100.0f, 100.0f});
    pairs.target.assign(20, {50.0f, 80.0f});
    ExpectRefused(pairs, "line");
}

TEST(CreateHomography, PairsThatChanceCouldHaveMadeAreRefused)
{
    for (const std::uint64_t nSeed : {8U, 9U, 10U}) {
        Pairs pairs = Strip(60, 0.0, nSeed);
        Simulator::Draw draw(nSeed, 0x43);
        for (cv::Point2f& p : pairs.target) {
            p = cv::Point2f(cv::Point2d(draw.Between(-1500.0, -1000.0), draw.Between(0.0, 2500.0)));
        }
        ExpectRefused(pairs, "agree");
    }
}

TEST(CreateHomography, BadInputIsRefused)
{
    Pairs uneven = Strip(20, 0.0, 11);
    uneven.target.pop_back();
    ExpectRefused(uneven, "20 points for 19");
    for (const float f : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 1.0e30f}) {
        Pairs pairs = Strip(20, 0.0, 11);
        pairs.target[3].x = f;
        ExpectRefused(pairs, "no pixels");
    }
    Pairs pairs = Strip(20, 0.0, 12);
    for (const auto& [threshold, iterations, confidence] :
         {std::tuple{0.0, 2000, 0.995}, std::tuple{std::nan(""), 2000, 0.995}, std::tuple{3.0, 0, 0.995},
          std::tuple{3.0, -5, 0.995}, std::tuple{3.0, 2000, 0.0}, std::tuple{3.0, 2000, 1.0}}) {
        pairs.homography = cv::Mat::eye(3, 3, CV_64F);
        EXPECT_FALSE(CreateHomography(pairs.source, pairs.target, pairs.homography, pairs.dError, threshold, iterations,
                                      confidence));
        EXPECT_TRUE(pairs.homography.empty());
    }
    EXPECT_TRUE(CreateHomography(pairs.source, pairs.target, pairs.homography, pairs.dError, 3.0,
                                 std::numeric_limits<int>::max(), 0.995));
}
