#include "Machine.h"
#include "Truth.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <map>
#include <utility>

using namespace Simulator;

namespace
{

bool Same(const cv::Mat& a, const cv::Mat& b)
{
    return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0.0;
}

/// How much darker `engraved` is than `clean`, summed over the channels.
cv::Mat Darkening(const cv::Mat& clean, const cv::Mat& engraved)
{
    std::vector<cv::Mat> before, after;
    cv::split(clean, before);
    cv::split(engraved, after);
    cv::Mat sum = cv::Mat::zeros(clean.size(), CV_32FC1);
    for (int i = 0; i < 3; ++i) {
        cv::Mat difference;
        cv::subtract(before[static_cast<std::size_t>(i)], after[static_cast<std::size_t>(i)], difference, cv::noArray(),
                     CV_32F);
        sum += difference;
    }
    return sum;
}

cv::Point2d Centroid(const cv::Mat& weights, const cv::Rect& window)
{
    double sum = 0.0, sumX = 0.0, sumY = 0.0;
    for (int y = window.y; y < window.br().y; ++y) {
        for (int x = window.x; x < window.br().x; ++x) {
            const double w = weights.at<float>(y, x);
            sum += w;
            sumX += w * x;
            sumY += w * y;
        }
    }
    return {sumX / sum, sumY / sum};
}

constexpr std::uint64_t kSeed = 21;

/// The first picture of a machine of `kSeed` with nothing engraved: of the texture, and all but of the noise, of the
/// first picture of any machine of this seed.
const cv::Mat& Clean(Machine::Kind kind, Side side)
{
    static std::map<std::pair<Machine::Kind, Side>, cv::Mat> pictures;
    cv::Mat& picture = pictures[{kind, side}];
    if (picture.empty()) {
        picture = Machine(kind, kSeed).Snap(side);
    }
    return picture;
}

cv::Rect WindowAbout(const cv::Point2d& pixel, int nHalf)
{
    return {cvRound(pixel.x) - nHalf, cvRound(pixel.y) - nHalf, 2 * nHalf + 1, 2 * nHalf + 1};
}

} // namespace

TEST(CrossGrid, PointsRunRowAfterRow)
{
    const CrossGrid grid{2, 3, 2, {10, 20}, 5, 7, 4};
    const std::vector<cv::Point2d> points = grid.PointsMm();
    ASSERT_EQ(points.size(), 6u);
    EXPECT_EQ(points[0], cv::Point2d(10, 20));
    EXPECT_EQ(points[2], cv::Point2d(20, 20));
    EXPECT_EQ(points[3], cv::Point2d(10, 27));
    EXPECT_TRUE(CrossGrid().PointsMm().empty());
}

TEST(Machine, TheSameSeedGivesTheSamePictureBitForBitOnAnyNumberOfThreads)
{
    const int nThreads = cv::getNumThreads();
    Machine a(Machine::Kind::Automatic, 7), b(Machine::Kind::Automatic, 7);
    a.EngraveCrossGrid();
    b.EngraveCrossGrid();
    cv::setNumThreads(1);
    const cv::Mat picture = a.Snap(Side::Right);
    cv::setNumThreads(4);
    EXPECT_EQ(picture.size(), cv::Size(2592, 1944));
    EXPECT_EQ(picture.type(), CV_8UC3);
    EXPECT_TRUE(Same(picture, b.Snap(Side::Right)));
    EXPECT_FALSE(Same(picture, a.Snap(Side::Right))) << "noise must differ from snap to snap";
    cv::setNumThreads(nThreads);
}

TEST(Machine, AnotherSeedGivesAnotherPicture)
{
    Machine other(Machine::Kind::Automatic, 8);
    cv::Mat difference;
    cv::absdiff(Clean(Machine::Kind::Automatic, Side::Right), other.Snap(Side::Right), difference);
    EXPECT_GT(cv::mean(difference)[1], 2.0);
}

TEST(Machine, FreshMaterialHasNoEngraving)
{
    Machine machine(Machine::Kind::Automatic, 3);
    const Truth truth(machine);
    machine.EngraveDots({{{900, 450}, 20.0}});
    const cv::Point2d pixel = *truth.PixelFromMachine(Side::Right, {900, 450});
    const auto level = [&] { return cv::mean(machine.Snap(Side::Right)(WindowAbout(pixel, 5)))[1]; };
    EXPECT_LT(level(), 80.0);
    machine.PlaceMaterial();
    EXPECT_GT(level(), 110.0);
}

TEST(Machine, TheSheetIsBrightAndTheFrameIsDark)
{
    for (const std::uint64_t nSeed : {1u, 2u}) {
        Machine machine(Machine::Kind::Automatic, nSeed);
        const Truth truth(machine);
        const cv::Mat picture = machine.Snap(Side::Right);
        const auto level = [&](const cv::Point2d& mm) {
            return cv::mean(picture(WindowAbout(*truth.PixelFromMachine(Side::Right, mm), 4)))[1];
        };
        EXPECT_GT(level({1295, 450}), 70.0);
        EXPECT_LT(level({1312, 450}), 60.0);
        cv::Mat burnt;
        cv::inRange(picture, cv::Scalar(255, 255, 255), cv::Scalar(255, 255, 255), burnt);
        EXPECT_LT(cv::countNonZero(burnt), 1000) << "the sheet is overexposed";
    }
}

TEST(Machine, AnEngravedLineLiesWhereTheTruthSaysIt)
{
    for (const Machine::Kind kind : {Machine::Kind::Automatic, Machine::Kind::Manual}) {
        Machine engraved(kind, kSeed);
        const cv::Size2d bed = engraved.WorkAreaMm();
        const double xMm = 0.9 * bed.width, yMm = 0.12 * bed.height;
        engraved.EngraveLines({{{xMm, yMm - 20.0}, {xMm, yMm + 20.0}}});
        const cv::Mat dark = Darkening(Clean(kind, Side::Right), engraved.Snap(Side::Right));
        const Truth truth(engraved);
        double error = 0.0, weight = 0.0;
        for (double t = -15.0; t <= 15.0; t += 0.25) {
            // The profile along the picture's rows or columns, whichever the line crosses.
            const cv::Point2d pixel = *truth.PixelFromMachine(Side::Right, {xMm, yMm + t});
            const cv::Point2d along = *truth.PixelFromMachine(Side::Right, {xMm, yMm + t + 0.1}) - pixel;
            const bool bSteep = std::abs(along.y) > std::abs(along.x);
            const int nAcross = cvRound(bSteep ? pixel.x : pixel.y), nAlong = cvRound(bSteep ? pixel.y : pixel.x);
            const double slope = bSteep ? along.x / along.y : along.y / along.x;
            const double expected =
                bSteep ? pixel.x + slope * (nAlong - pixel.y) : pixel.y + slope * (nAlong - pixel.x);
            double sum = 0.0, sumPlace = 0.0;
            for (int i = nAcross - 4; i <= nAcross + 4; ++i) {
                const double w = bSteep ? dark.at<float>(nAlong, i) : dark.at<float>(i, nAlong);
                sum += w;
                sumPlace += w * i;
            }
            ASSERT_GT(sum, 50.0);
            EXPECT_NEAR(sumPlace / sum, expected, 0.15);
            error += sumPlace / sum - expected;
            weight += 1.0;
        }
        EXPECT_LT(std::abs(error / weight), 0.05);
        std::printf("line centroid off by %.4f px on average\n", error / weight);
    }
}

TEST(Machine, ADotLiesWhereTheTruthSaysIt)
{
    Machine engraved(Machine::Kind::Automatic, kSeed);
    std::vector<EngravedDot> dots;
    for (double y = 15.0; y < 900.0; y += 145.0) {
        for (double x = 15.0; x < 1300.0; x += 141.0) {
            dots.push_back({{x, y}, 1.5});
        }
    }
    engraved.EngraveDots(dots);
    const Truth truth(engraved);
    for (const Side side : {Side::Left, Side::Right}) {
        const cv::Mat dark = Darkening(Clean(Machine::Kind::Automatic, side), engraved.Snap(side));
        int nSeen = 0;
        double worst = 0.0;
        for (const EngravedDot& dot : dots) {
            const cv::Point2d pixel = *truth.PixelFromMachine(side, dot.centreMm);
            const cv::Rect window = WindowAbout(pixel, 9);
            if ((window & cv::Rect(0, 0, dark.cols, dark.rows)) != window) {
                continue;
            }
            ++nSeen;
            worst = std::max(worst, cv::norm(Centroid(dark, window) - pixel));
        }
        EXPECT_GT(nSeen, 30);
        EXPECT_LT(worst, 0.1);
        std::printf("%d dots, worst centroid off by %.4f px\n", nSeen, worst);
    }
}

TEST(Machine, EveryCrossOfTheGridIsEngraved)
{
    Machine engraved(Machine::Kind::Automatic, kSeed);
    engraved.EngraveCrossGrid();
    const Truth truth(engraved);
    const CrossGrid grid = engraved.Grid();
    const cv::Mat left = Darkening(Clean(Machine::Kind::Automatic, Side::Left), engraved.Snap(Side::Left));
    const cv::Mat right = Darkening(Clean(Machine::Kind::Automatic, Side::Right), engraved.Snap(Side::Right));
    const std::vector<cv::Point2d> points = grid.PointsMm();
    for (std::size_t i = 0; i < points.size(); ++i) {
        const int nCol = static_cast<int>(i) % grid.nCol;
        const Side side = nCol < grid.nColSingle ? Side::Left : Side::Right;
        const cv::Mat& dark = side == Side::Left ? left : right;
        const auto darkness = [&](const cv::Point2d& mm) {
            return cv::mean(dark(WindowAbout(*truth.PixelFromMachine(side, mm), 1)))[0];
        };
        for (const cv::Point2d& arm :
             {cv::Point2d(0, 0), cv::Point2d(18, 0), cv::Point2d(-18, 0), cv::Point2d(0, 18), cv::Point2d(0, -18)}) {
            EXPECT_GT(darkness(points[i] + arm), 20.0) << i << " " << arm;
        }
        EXPECT_LT(std::abs(darkness(points[i] + cv::Point2d(24, 0))), 8.0) << i;
        // Half way along a stroke of an arrow head.
        const bool bArrow = i == 0 || i + 1 == points.size();
        EXPECT_EQ(darkness(points[i] + cv::Point2d(15, -5)) > 15.0, bArrow) << i;
        EXPECT_EQ(darkness(points[i] + cv::Point2d(15, 5)) > 15.0, bArrow) << i;
    }
}

TEST(Machine, StrokesThatAreNoneOrOffTheBedChangeNothing)
{
    Machine engraved(Machine::Kind::Automatic, kSeed);
    const double nan = std::nan("");
    engraved.EngraveLines(
        {{{nan, 5}, {10, 10}}, {{5, 5}, {INFINITY, 5}}, {{-50, -50}, {-10, -60}}, {{-1e300, -1e300}, {-1e299, 1e300}}});
    engraved.EngraveDots({{{nan, 5}, 1.0}, {{500, 500}, nan}, {{500, 500}, -1.0}, {{500, 500}, 1e9}, {{-5, 50}, 1.0}});
    EXPECT_TRUE(Same(Clean(Machine::Kind::Automatic, Side::Left), engraved.Snap(Side::Left)));
}

TEST(Machine, AStrokeBeyondTheBedIsCutAtItsEdge)
{
    Machine engraved(Machine::Kind::Automatic, kSeed);
    engraved.EngraveLines({{{-1e7, 450}, {1e7, 450}}});
    const Truth truth(engraved);
    const cv::Mat dark = Darkening(Clean(Machine::Kind::Automatic, Side::Right), engraved.Snap(Side::Right));
    const auto darkness = [&](const cv::Point2d& mm) {
        return cv::mean(dark(WindowAbout(*truth.PixelFromMachine(Side::Right, mm), 1)))[0];
    };
    EXPECT_GT(darkness({1290, 450}), 20.0);
    EXPECT_LT(std::abs(darkness({1306, 450})), 8.0);
}
