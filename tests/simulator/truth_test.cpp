#include "Truth.h"

#include <gtest/gtest.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <cmath>
#include <limits>

using namespace Simulator;

namespace
{

const std::vector<std::uint64_t> kSeeds{1, 2, 3, 77, 123456789};

/// Points of the bed on a lattice, edges included.
std::vector<cv::Point2d> BedPoints(const Machine& machine, double spacingMm)
{
    std::vector<cv::Point2d> points;
    for (double y = 0.0; y <= machine.WorkAreaMm().height; y += spacingMm) {
        for (double x = 0.0; x <= machine.WorkAreaMm().width; x += spacingMm) {
            points.emplace_back(x, y);
        }
    }
    return points;
}

/// Fits the polynomial with four coefficients, all fourteen numbers free, by Gauss and Newton with a damped start.
/// @return where the fitted camera sees the points
std::vector<cv::Point2d> BestPolynomial(const std::vector<cv::Point3d>& mm, const std::vector<cv::Point2d>& px,
                                        Side side)
{
    // The frame is moved under the camera, and turned with it, so that the start is near.
    const double turn = side == Side::Left ? -1.0 : 1.0;
    std::vector<cv::Point3d> near;
    for (const cv::Point3d& p : mm) {
        near.emplace_back(turn * (p.x - (side == Side::Left ? 370.0 : 930.0)), turn * (p.y - 450.0), 0.0);
    }
    cv::Mat x = (cv::Mat_<double>(14, 1) << 1350, 1350, 1295.5, 971.5, 0, 0, 0, 0, 1e-4, 0, 0, 0, 0, 700);
    std::vector<cv::Point2d> predicted;
    double damping = 1e-3;
    double lastCost = 1e300;
    cv::Mat good = x.clone(), residual, jacobian, scaled, right;
    for (int i = 0; i < 200; ++i) {
        const cv::Matx33d camera(x.at<double>(0), 0, x.at<double>(2), 0, x.at<double>(1), x.at<double>(3), 0, 0, 1);
        cv::Mat jacobianAll;
        cv::fisheye::projectPoints(near, predicted, x.rowRange(8, 11), x.rowRange(11, 14), camera, x.rowRange(4, 8),
                                   0.0, jacobianAll);
        cv::Mat difference = cv::Mat(px) - cv::Mat(predicted);
        difference = difference.reshape(1, 2 * static_cast<int>(px.size())).clone();
        const double cost = cv::norm(difference, cv::NORM_L2SQR);
        if (cost <= lastCost) {
            good = x.clone();
            damping = std::max(damping * 0.2, 1e-15);
            lastCost = cost;
            jacobian = jacobianAll.colRange(0, 14).clone();
            scaled = jacobian.t() * jacobian;
            right = jacobian.t() * difference;
        } else {
            damping *= 10.0;
        }
        cv::Mat normal = scaled.clone();
        for (int k = 0; k < 14; ++k) {
            normal.at<double>(k, k) *= 1.0 + damping;
        }
        cv::Mat step;
        cv::solve(normal, right, step, cv::DECOMP_SVD);
        x = good + step;
    }
    const cv::Matx33d camera(good.at<double>(0), 0, good.at<double>(2), 0, good.at<double>(1), good.at<double>(3), 0, 0,
                             1);
    cv::fisheye::projectPoints(near, predicted, good.rowRange(8, 11), good.rowRange(11, 14), camera,
                               good.rowRange(4, 8));
    return predicted;
}

} // namespace

TEST(Truth, PixelAndSurfacePointAreInverse)
{
    for (const Machine::Kind kind : {Machine::Kind::Automatic, Machine::Kind::Manual}) {
        for (const std::uint64_t nSeed : kSeeds) {
            const Machine machine(kind, nSeed);
            const Truth truth(machine);
            for (const Side side : {Side::Left, Side::Right}) {
                int nSeen = 0;
                for (const cv::Point2d& mm : BedPoints(machine, 50.0)) {
                    if (!truth.Sees(side, mm)) {
                        continue;
                    }
                    ++nSeen;
                    const auto pixel = truth.PixelFromMachine(side, mm);
                    ASSERT_TRUE(pixel);
                    const auto back = truth.MachineFromPixel(side, *pixel);
                    ASSERT_TRUE(back);
                    EXPECT_LT(cv::norm(*back - mm), 1e-6);
                }
                EXPECT_GT(nSeen, 50);
            }
        }
    }
}

TEST(Truth, EveryPointOfTheBedIsSeenByACamera)
{
    for (const Machine::Kind kind : {Machine::Kind::Automatic, Machine::Kind::Manual}) {
        for (std::uint64_t nSeed = 0; nSeed < 50; ++nSeed) {
            const Machine machine(kind, nSeed);
            const Truth truth(machine);
            for (const cv::Point2d& mm : BedPoints(machine, 25.0)) {
                EXPECT_TRUE(truth.Sees(Side::Left, mm) || truth.Sees(Side::Right, mm)) << nSeed << " " << mm;
            }
        }
    }
}

TEST(Truth, EachCameraSeesItsWholeCrosses)
{
    for (const Machine::Kind kind : {Machine::Kind::Automatic, Machine::Kind::Manual}) {
        for (std::uint64_t nSeed = 0; nSeed < 50; ++nSeed) {
            const Machine machine(kind, nSeed);
            const Truth truth(machine);
            const CrossGrid grid = machine.Grid();
            const std::vector<cv::Point2d> points = grid.PointsMm();
            const double half = 0.5 * grid.crossSizeMm;
            for (std::size_t i = 0; i < points.size(); ++i) {
                const int nCol = static_cast<int>(i) % grid.nCol;
                for (const cv::Point2d& end :
                     {cv::Point2d(half, 0), cv::Point2d(-half, 0), cv::Point2d(0, half), cv::Point2d(0, -half)}) {
                    if (nCol < grid.nColSingle) {
                        EXPECT_TRUE(truth.Sees(Side::Left, points[i] + end)) << nSeed << " " << i;
                    }
                    if (nCol >= grid.nCol - grid.nColSingle) {
                        EXPECT_TRUE(truth.Sees(Side::Right, points[i] + end)) << nSeed << " " << i;
                    }
                }
            }
        }
    }
}

TEST(Truth, TheLeftAutomaticCameraHangsUpsideDown)
{
    const Machine machine(Machine::Kind::Automatic, 5);
    const Truth truth(machine);
    const cv::Point2d middle(650.0, 450.0);
    const auto way = [&](Side side, const cv::Point2d& step) {
        return *truth.PixelFromMachine(side, middle + step) - *truth.PixelFromMachine(side, middle);
    };
    EXPECT_LT(way(Side::Left, {10, 0}).x, -10.0);
    EXPECT_LT(way(Side::Left, {0, 10}).y, -10.0);
    EXPECT_GT(way(Side::Right, {10, 0}).x, 10.0);
    EXPECT_GT(way(Side::Right, {0, 10}).y, 10.0);
}

TEST(Truth, AQuarterTurnClockwiseMakesManualPicturesUpright)
{
    const Machine machine(Machine::Kind::Manual, 5);
    const Truth truth(machine);
    for (const Side side : {Side::Left, Side::Right}) {
        const cv::Point2d middle(450.0, 300.0);
        // cv::ROTATE_90_CLOCKWISE takes (x, y) to (height - 1 - y, x).
        const auto upright = [&](const cv::Point2d& mm) {
            const cv::Point2d raw = *truth.PixelFromMachine(side, mm);
            return cv::Point2d(1943.0 - raw.y, raw.x);
        };
        EXPECT_GT((upright(middle + cv::Point2d(10, 0)) - upright(middle)).x, 20.0);
        EXPECT_GT((upright(middle + cv::Point2d(0, 10)) - upright(middle)).y, 20.0);
    }
}

TEST(Truth, TheManualPicturesAreAllButRectified)
{
    for (const std::uint64_t nSeed : kSeeds) {
        const Machine machine(Machine::Kind::Manual, nSeed);
        const Truth truth(machine);
        for (const Side side : {Side::Left, Side::Right}) {
            std::vector<cv::Point2d> mm, px;
            for (const cv::Point2d& p : BedPoints(machine, 20.0)) {
                if (truth.Sees(side, p)) {
                    mm.push_back(p);
                    px.push_back(*truth.PixelFromMachine(side, p));
                }
            }
            const cv::Mat homography = cv::findHomography(mm, px, 0);
            std::vector<cv::Point2d> predicted;
            cv::perspectiveTransform(mm, predicted, homography);
            double worst = 0.0;
            for (std::size_t i = 0; i < px.size(); ++i) {
                worst = std::max(worst, cv::norm(predicted[i] - px[i]));
            }
            EXPECT_LT(worst, 0.5) << nSeed;
        }
    }
}

TEST(Truth, TheFishEyeLensIsNotTheFittedPolynomialAndNotFarFromIt)
{
    double least = 1e9, most = 0.0;
    for (const std::uint64_t nSeed : kSeeds) {
        const Machine machine(Machine::Kind::Automatic, nSeed);
        const Truth truth(machine);
        for (const Side side : {Side::Left, Side::Right}) {
            // Two views of the same lens are not at hand: the one surface, far more densely than any calibration has
            // it.
            std::vector<cv::Point3d> mm;
            std::vector<cv::Point2d> px;
            for (const cv::Point2d& p : BedPoints(machine, 25.0)) {
                if (truth.Sees(side, p)) {
                    mm.emplace_back(p.x, p.y, 0.0);
                    px.push_back(*truth.PixelFromMachine(side, p));
                }
            }
            const std::vector<cv::Point2d> predicted = BestPolynomial(mm, px, side);
            double worst = 0.0, sum = 0.0;
            for (std::size_t i = 0; i < px.size(); ++i) {
                const double distance = cv::norm(predicted[i] - px[i]);
                worst = std::max(worst, distance);
                sum += distance * distance;
            }
            const double rms = std::sqrt(sum / static_cast<double>(px.size()));
            std::printf("seed %llu side %d: best polynomial leaves %.4f px rms, %.4f px at most\n",
                        static_cast<unsigned long long>(nSeed), static_cast<int>(side), rms, worst);
            least = std::min(least, rms);
            most = std::max(most, worst);
        }
    }
    EXPECT_GT(least, 0.02);
    EXPECT_LT(most, 0.5);
}

TEST(Truth, NoPixelAndNoPointMakesItStumble)
{
    const Machine machine(Machine::Kind::Automatic, 1);
    const Truth truth(machine);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    for (const double bad : {nan, infinite, -infinite, 1e300}) {
        EXPECT_FALSE(truth.MachineFromPixel(Side::Left, {bad, 5.0}));
        EXPECT_FALSE(truth.PixelFromMachine(Side::Left, {5.0, bad}));
        EXPECT_FALSE(truth.Sees(Side::Left, {bad, bad}));
    }
    EXPECT_FALSE(truth.MachineFromPixel(Side::Left, {1e5, 1e5}));
    EXPECT_FALSE(truth.Sees(Side::Left, {5000.0, 450.0}));
}
