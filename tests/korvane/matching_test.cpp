#include "KorvaneVision.h"
#include "SeamScene.h"
#include "SeededNoise.h"
#include "Truth.h"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <limits>

using namespace Korvane::CameraCalibration;
using namespace Simulator;

namespace
{

const ImageDirFlags g_turned(cv::ROTATE_90_CLOCKWISE, false, false);

/// As the fusion page asks.
constexpr double g_dScale = static_cast<double>(0.8f);
constexpr double g_dRatio = static_cast<double>(0.7f);

struct Matches {
    std::vector<cv::Point2f> first, second;
    cv::Mat homography;
    double dError = -1.0;

    bool Find(const SeamScene& scene, const cv::Rect& leftRoi, const cv::Rect& rightRoi,
              const ImageDirFlags& leftFlags = g_turned, const ImageDirFlags& rightFlags = g_turned)
    {
        return CalibrationMatchPointsForDualCam(scene.left, leftFlags, leftRoi, scene.right, rightFlags, rightRoi,
                                                g_dScale, g_dScale, g_dRatio, first, second);
    }

    bool Fit() { return CreateHomography(first, second, homography, dError, 3.0, 2000, 0.995); }
};

/// A machine and its pictures that several tests only read.
struct Bench {
    Machine machine{Machine::Kind::Manual, 21};
    SeamScene scene = MakeSeamScene(machine, 21, {});
};

const Bench& TheBench()
{
    static const Bench s_bench;
    return s_bench;
}

/// Noise of a sensor over a surface without any mark.
cv::Mat Blank(const cv::Size& size, std::uint64_t nSeed)
{
    cv::Mat picture(size, CV_8UC3);
    cv::RNG random(nSeed);
    random.fill(picture, cv::RNG::NORMAL, 150.0, 1.6);
    return picture;
}

void ExpectNone(bool bFound, const Matches& matches, const char* pWhy)
{
    EXPECT_FALSE(bFound);
    EXPECT_TRUE(matches.first.empty());
    EXPECT_TRUE(matches.second.empty());
    EXPECT_NE(GetLastError().find(pWhy), std::string::npos) << GetLastError();
}

} // namespace

class MatchingOfMachine : public testing::TestWithParam<std::uint64_t>
{
};

TEST_P(MatchingOfMachine, HoldsTheSeamWithAThirdHiddenAndAStepInBrightness)
{
    Machine machine(Machine::Kind::Manual, GetParam());
    SeamSceneOptions options;
    options.hiddenShare = 0.3;
    options.rightLight = 0.7;
    const SeamScene scene = MakeSeamScene(machine, GetParam(), options);
    ASSERT_GE(scene.hiddenShare, 0.3);
    Matches matches;
    ASSERT_TRUE(matches.Find(scene, scene.leftRoi, scene.rightRoi)) << GetLastError();
    ASSERT_TRUE(matches.Fit()) << GetLastError();
    EXPECT_LT(SeamErrorPx(machine, matches.homography), 0.3);
    EXPECT_LT(matches.dError, 0.5);
}

INSTANTIATE_TEST_SUITE_P(Seeds, MatchingOfMachine, testing::Values(1, 2, 3));

TEST(Matching, FirstIsOfTheRightPictureAndSecondOfTheLeftOneInTurnedFullPictures)
{
    const Bench& bench = TheBench();
    Matches matches;
    ASSERT_TRUE(matches.Find(bench.scene, bench.scene.leftRoi, bench.scene.rightRoi)) << GetLastError();
    ASSERT_EQ(matches.first.size(), matches.second.size());
    ASSERT_GT(matches.first.size(), 100U);
    const Truth truth(bench.machine);
    const cv::Size raw = bench.scene.left.size();
    int nClose = 0;
    for (std::size_t i = 0; i < matches.first.size(); ++i) {
        // Back to the raw pictures: turned x is the raw height less y, turned y is raw x.
        const auto mm = [&](Side side, const cv::Point2f& p) {
            return truth.MachineFromPixel(side, cv::Point2d(p.y, raw.height - 1.0 - p.x));
        };
        const auto right = mm(Side::Right, matches.first[i]);
        const auto left = mm(Side::Left, matches.second[i]);
        ASSERT_TRUE(left && right);
        nClose += cv::norm(*left - *right) < 0.25 ? 1 : 0;
    }
    EXPECT_GT(nClose, 95 * static_cast<int>(matches.first.size()) / 100) << "the same spot of the bed, in millimetres";
}

TEST(Matching, StaysInsideTheTwoRegions)
{
    const SeamScene& scene = TheBench().scene;
    const cv::Rect leftRoi(scene.leftRoi.x + 40, 700, scene.leftRoi.width - 60, 900);
    const cv::Rect rightRoi(scene.rightRoi.x + 10, 650, scene.rightRoi.width - 50, 1000);
    Matches matches;
    ASSERT_TRUE(matches.Find(scene, leftRoi, rightRoi)) << GetLastError();
    ASSERT_GT(matches.first.size(), 30U);
    for (std::size_t i = 0; i < matches.first.size(); ++i) {
        EXPECT_TRUE(leftRoi.contains(matches.second[i]));
        EXPECT_TRUE(rightRoi.contains(matches.first[i]));
    }
}

TEST(Matching, RegionsThatShowDifferentPartsOfTheBedHaveNoMatches)
{
    const SeamScene& scene = TheBench().scene;
    Matches matches;
    const bool bFound = matches.Find(scene, cv::Rect(scene.leftRoi.x, 200, scene.leftRoi.width, 800),
                                     cv::Rect(scene.rightRoi.x, 1500, scene.rightRoi.width, 800));
    ExpectNone(bFound, matches, "");
}

TEST(Matching, ARegionMayReachBeyondItsPicture)
{
    const SeamScene& scene = TheBench().scene;
    constexpr int nMost = std::numeric_limits<int>::max();
    Matches exact, beyond;
    const int nLeft = scene.leftRoi.x;
    ASSERT_TRUE(exact.Find(scene, cv::Rect(nLeft, 0, 1944 - nLeft, 2592), cv::Rect(0, 0, 400, 2592)));
    ASSERT_TRUE(beyond.Find(scene, cv::Rect(nLeft, -50, nMost, nMost), cv::Rect(-100, -7, 500, nMost)));
    EXPECT_EQ(exact.first, beyond.first);
    EXPECT_EQ(exact.second, beyond.second);
}

TEST(Matching, AnotherTurnGivesTheSamePairsInTheOtherFrame)
{
    const Bench& bench = TheBench();
    SeamScene turned;
    cv::rotate(bench.scene.left, turned.left, cv::ROTATE_90_CLOCKWISE);
    cv::flip(bench.scene.right, turned.right, 0);
    cv::rotate(turned.right, turned.right, cv::ROTATE_90_CLOCKWISE);
    Matches matches, expected;
    ASSERT_TRUE(expected.Find(bench.scene, bench.scene.leftRoi, bench.scene.rightRoi));
    // The left picture comes upright, the right one comes turned and mirrored.
    ASSERT_TRUE(matches.Find(turned, bench.scene.leftRoi, bench.scene.rightRoi, ImageDirFlags(-1, false, false),
                             ImageDirFlags(7, true, false)))
        << GetLastError();
    EXPECT_EQ(matches.first, expected.first);
    EXPECT_EQ(matches.second, expected.second);
}

TEST(Matching, GreyPicturesMatchAsColouredOnesDo)
{
    const Bench& bench = TheBench();
    SeamScene grey = bench.scene;
    cv::cvtColor(bench.scene.left, grey.left, cv::COLOR_BGR2GRAY);
    cv::cvtColor(bench.scene.right, grey.right, cv::COLOR_BGR2GRAY);
    Matches matches;
    ASSERT_TRUE(matches.Find(grey, grey.leftRoi, grey.rightRoi)) << GetLastError();
    ASSERT_TRUE(matches.Fit());
    EXPECT_LT(SeamErrorPx(bench.machine, matches.homography), 0.3);
}

TEST(Matching, ASurfaceWithoutMarksFailsWithAReason)
{
    SeamScene scene = TheBench().scene;
    scene.left = Blank(scene.left.size(), 1);
    scene.right = Blank(scene.right.size(), 2);
    Matches matches;
    ExpectNone(matches.Find(scene, scene.leftRoi, scene.rightRoi), matches, "needed");
    scene.left.setTo(cv::Scalar::all(90));
    ExpectNone(matches.Find(scene, scene.leftRoi, scene.rightRoi), matches, "only 0 features are seen in the left");
    matches.homography = cv::Mat::eye(3, 3, CV_64F);
    EXPECT_FALSE(matches.Fit());
    EXPECT_TRUE(matches.homography.empty());
    EXPECT_NE(GetLastError().find("0 pairs of points"), std::string::npos);
}

TEST(Matching, ADarkPictureFailsWithAReason)
{
    SeamScene scene = TheBench().scene;
    // Never in place: the pictures are those of every test.
    cv::Mat dark;
    scene.right.convertTo(dark, -1, 0.004);
    scene.right = dark;
    Matches matches;
    ExpectNone(matches.Find(scene, scene.leftRoi, scene.rightRoi), matches, "right region");
}

TEST(Matching, ABareBedIsRefusedOrRight)
{
    for (const std::uint64_t nSeed : {4U, 5U}) {
        Machine machine(Machine::Kind::Manual, nSeed);
        SeamSceneOptions options;
        options.bPattern = false;
        const SeamScene scene = MakeSeamScene(machine, nSeed, options);
        Matches matches;
        if (matches.Find(scene, scene.leftRoi, scene.rightRoi) && matches.Fit()) {
            EXPECT_LT(SeamErrorPx(machine, matches.homography), 3.0) << nSeed;
        } else {
            EXPECT_TRUE(matches.homography.empty());
            EXPECT_FALSE(GetLastError().empty());
        }
    }
}

TEST(Matching, MatchesInOneCornerOfTheRegionAreTooLittle)
{
    const Bench& bench = TheBench();
    SeamScene scene = bench.scene;
    // Blank but for a spot: raw x is turned y.
    cv::Mat left = Blank(scene.left.size(), 3), right = Blank(scene.right.size(), 4);
    const cv::Range columns(1200, 1330);
    scene.left.colRange(columns).copyTo(left.colRange(columns));
    scene.right.colRange(columns).copyTo(right.colRange(columns));
    scene.left = left;
    scene.right = right;
    Matches matches;
    ExpectNone(matches.Find(scene, scene.leftRoi, scene.rightRoi), matches, "match");
}

TEST(Matching, RegionsOutsideOfThePictureAreRefused)
{
    const SeamScene& scene = TheBench().scene;
    const cv::Rect good = scene.leftRoi;
    for (const cv::Rect& bad : {cv::Rect(), cv::Rect(1944, 0, 300, 300), cv::Rect(-400, 10, 400, 300),
                                cv::Rect(10, 2592, 300, 300), cv::Rect(10, 10, -300, 300), cv::Rect(10, 10, 300, 20),
                                cv::Rect(std::numeric_limits<int>::max(), 0, std::numeric_limits<int>::max(), 400),
                                cv::Rect(std::numeric_limits<int>::min(), 0, std::numeric_limits<int>::max(), 400)}) {
        Matches matches;
        ExpectNone(matches.Find(scene, bad, scene.rightRoi), matches, "the left region");
        ExpectNone(matches.Find(scene, good, bad), matches, "the right region");
    }
}

TEST(Matching, ARegionThatIsNothingAtTheScaleOfTheSearchFailsWithAReason)
{
    const SeamScene& scene = TheBench().scene;
    Matches matches;
    const bool bFound = CalibrationMatchPointsForDualCam(scene.left, g_turned, cv::Rect(scene.leftRoi.x, 500, 32, 32),
                                                         scene.right, g_turned, cv::Rect(scene.rightRoi.x, 500, 32, 32),
                                                         0.05, 0.05, 0.7, matches.first, matches.second);
    ExpectNone(bFound, matches, "only 0 features");
}

TEST(Matching, BadPicturesAndNumbersAreRefused)
{
    const SeamScene& scene = TheBench().scene;
    cv::Mat deep, grey;
    scene.right.convertTo(deep, CV_16U);
    cv::cvtColor(scene.right, grey, cv::COLOR_BGR2GRAY);
    for (const cv::Mat& bad : {cv::Mat(), deep, grey, cv::Mat(scene.right.size(), CV_8UC2)}) {
        Matches matches;
        SeamScene broken = scene;
        broken.right = bad;
        ExpectNone(matches.Find(broken, scene.leftRoi, scene.rightRoi), matches, "8-bit pictures");
        broken = scene;
        broken.left = bad;
        ExpectNone(matches.Find(broken, scene.leftRoi, scene.rightRoi), matches, "8-bit pictures");
    }
    for (const auto& [a, b, ratio] :
         {std::tuple{0.0, 0.8, 0.7}, std::tuple{0.8, -1.0, 0.7}, std::tuple{0.8, 1.0e9, 0.7},
          std::tuple{std::nan(""), 0.8, 0.7}, std::tuple{0.8, 0.8, 0.0}, std::tuple{0.8, 0.8, 1.5},
          std::tuple{0.8, 0.8, std::nan("")}}) {
        Matches matches;
        const bool bFound =
            CalibrationMatchPointsForDualCam(scene.left, g_turned, scene.leftRoi, scene.right, g_turned, scene.rightRoi,
                                             a, b, ratio, matches.first, matches.second);
        ExpectNone(bFound, matches, "of the search");
    }
}
