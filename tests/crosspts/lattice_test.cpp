#include "CrossPtsDetectDllR.h"
#include "ExpectAllOne.h"
#include "SeededNoise.h"

#include <gtest/gtest.h>
#include <opencv2/core/types.hpp>

#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

using Simulator::Draw;

namespace
{

/// How a camera of its own making sees the grid. Angles in radians, lengths in millimetres, noise in pixels.
struct View {
    int nRows = 7;
    int nCols = 5; ///< of this camera
    cv::Point2d spacingMm{170, 135};
    double dTurn = 0.0;
    double dTiltX = 0.0;
    double dTiltY = 0.0;
    double dHeightMm = 700.0;
    double dSigmaPx = 0.0;
};

/// Marks in an upright equidistant fisheye picture (1350 px a radian), row by row.
std::vector<cv::Point2d> Marks(const View& view, Draw& draw)
{
    std::vector<cv::Point2d> marks;
    for (int r = 0; r < view.nRows; ++r) {
        for (int c = 0; c < view.nCols; ++c) {
            const double dXmm = (c - 0.5 * (view.nCols - 1)) * view.spacingMm.x;
            const double dYmm = (r - 0.5 * (view.nRows - 1)) * view.spacingMm.y;
            const double dX1 = std::cos(view.dTurn) * dXmm - std::sin(view.dTurn) * dYmm;
            const double dY1 = std::sin(view.dTurn) * dXmm + std::cos(view.dTurn) * dYmm;
            const double dX = std::cos(view.dTiltY) * dX1;
            const double dY = std::cos(view.dTiltX) * dY1;
            const double dZ = view.dHeightMm + std::sin(view.dTiltX) * dY1 + std::sin(view.dTiltY) * dX1;
            const double dAcross = std::hypot(dX, dY);
            const double dScale = dAcross > 0.0 ? 1350.0 * std::atan2(dAcross, dZ) / dAcross : 0.0;
            marks.emplace_back(1295.5 + dScale * dX + view.dSigmaPx * draw.Normal(),
                               971.5 + dScale * dY + view.dSigmaPx * draw.Normal());
        }
    }
    return marks;
}

/// Clicks on `marks` in no order; the raw left picture is upside down. The mark's place stands in `dValue0`.
std::vector<CalibrationPoint> Clicks(const std::vector<cv::Point2d>& marks, bool bLeft, Draw& draw)
{
    std::vector<CalibrationPoint> points;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        CalibrationPoint point;
        point.nId = static_cast<int>(draw.Bits() % 50);
        point.fImageX = static_cast<float>(bLeft ? 2591.0 - marks[i].x : marks[i].x);
        point.fImageY = static_cast<float>(bLeft ? 1943.0 - marks[i].y : marks[i].y);
        point.dValue0 = static_cast<double>(i);
        points.push_back(point);
    }
    for (std::size_t i = points.size(); i > 1; --i) {
        std::swap(points[i - 1], points[draw.Bits() % i]);
    }
    return points;
}

/// Whether both cameras' rearranging finds each mark's id in a grid of `nGridCols` columns.
bool FindsIds(const View& view, int nGridCols, std::uint64_t nSeed)
{
    Draw draw(nSeed, 7);
    const std::vector<cv::Point2d> marks = Marks(view, draw);
    for (const bool bLeft : {true, false}) {
        std::vector<CalibrationPoint> points = Clicks(marks, bLeft, draw);
        (bLeft ? LeftPtsRearrange : RightPtsRearrange)(points, view.nRows, nGridCols);
        const int nFirstCol = bLeft ? 0 : nGridCols - view.nCols;
        for (std::size_t i = 0; i < points.size(); ++i) {
            const int nRow = static_cast<int>(i) / view.nCols;
            const int nCol = static_cast<int>(i) % view.nCols;
            if (points[i].dValue0 != static_cast<double>(i) ||
                points[i].nId != nRow * nGridCols + nFirstCol + nCol + 1) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

TEST(Lattice, IsFoundUnderTurnTiltFisheyeAndShakyClicks)
{
    for (std::uint64_t nSeed = 0; nSeed < 300; ++nSeed) {
        Draw draw(nSeed, 3);
        View view;
        view.dTurn = draw.Between(-0.35, 0.35);
        view.dTiltX = draw.Between(-0.15, 0.15);
        view.dTiltY = draw.Between(-0.15, 0.15);
        view.dHeightMm = draw.Between(450.0, 900.0);
        view.dSigmaPx = draw.Between(0.0, 8.0);
        EXPECT_TRUE(FindsIds(view, 8, nSeed))
            << "seed " << nSeed << " turn " << view.dTurn << " tilt " << view.dTiltX << " " << view.dTiltY << " height "
            << view.dHeightMm << " sigma " << view.dSigmaPx;
    }
}

TEST(Lattice, AsManyRowsAsColumnsAreNotConfused)
{
    for (std::uint64_t nSeed = 0; nSeed < 50; ++nSeed) {
        Draw draw(nSeed, 4);
        View view{.nRows = 5, .nCols = 5, .spacingMm = {150, 150}};
        view.dTurn = draw.Between(-0.35, 0.35);
        EXPECT_TRUE(FindsIds(view, 9, nSeed)) << nSeed;
    }
}

TEST(Lattice, SingleRowsColumnsAndPointsAreLattices)
{
    for (const auto& [nRows, nCols] : {std::pair{1, 5}, {5, 1}, {1, 2}, {2, 1}, {2, 2}, {1, 1}}) {
        for (const double dTurn : {-0.3, 0.0, 0.3}) {
            const View view{.nRows = nRows, .nCols = nCols, .dTurn = dTurn, .dSigmaPx = 3.0};
            EXPECT_TRUE(FindsIds(view, 8, 1)) << nRows << " x " << nCols << " turned by " << dTurn;
        }
    }
}

TEST(Lattice, UnequalSpacingIsBorne)
{
    for (const cv::Point2d spacingMm : {cv::Point2d(200, 90), cv::Point2d(80, 160)}) {
        for (const double dTurn : {-0.2, 0.0, 0.2}) {
            const View view{.spacingMm = spacingMm, .dTurn = dTurn, .dSigmaPx = 2.0};
            EXPECT_TRUE(FindsIds(view, 8, 2)) << spacingMm.x << " x " << spacingMm.y << " turned by " << dTurn;
        }
    }
}

TEST(Lattice, AMarkClickedTwiceInPlaceOfAnotherIsNoLattice)
{
    Draw draw(1, 1);
    const std::vector<cv::Point2d> marks = Marks(View{}, draw);
    for (std::size_t nMissing = 0; nMissing < marks.size(); ++nMissing) {
        std::vector<cv::Point2d> twice = marks;
        twice[nMissing] = marks[(nMissing + 11) % marks.size()] + cv::Point2d(4, 3);
        std::vector<CalibrationPoint> points = Clicks(twice, false, draw);
        RightPtsRearrange(points, 7, 8);
        ExpectAllOne(points);
    }
}

TEST(Lattice, AClickFarFromItsMarkIsNoLattice)
{
    Draw draw(2, 1);
    const std::vector<cv::Point2d> marks = Marks(View{}, draw);
    for (std::size_t nWrong = 0; nWrong < marks.size(); ++nWrong) {
        std::vector<cv::Point2d> wrong = marks;
        wrong[nWrong] += cv::Point2d(140, 115);
        std::vector<CalibrationPoint> points = Clicks(wrong, true, draw);
        LeftPtsRearrange(points, 7, 8);
        ExpectAllOne(points);
    }
}

TEST(Lattice, OneCoordinateThatIsNoNumberRefusesThemAll)
{
    Draw draw(3, 1);
    std::vector<CalibrationPoint> points = Clicks(Marks(View{}, draw), false, draw);
    points[17].fImageY = std::nanf("");
    RightPtsRearrange(points, 7, 8);
    ExpectAllOne(points);
}

TEST(Lattice, MoreColumnsThanTheGridHasAreNoLattice)
{
    Draw draw(4, 1);
    std::vector<CalibrationPoint> points = Clicks(Marks(View{}, draw), false, draw);
    RightPtsRearrange(points, 7, 4);
    ExpectAllOne(points);
}
