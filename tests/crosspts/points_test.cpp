#include "CrossPtsDetectDllR.h"
#include "ExpectAllOne.h"
#include "SeededNoise.h"
#include "Truth.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <utility>

using namespace Simulator;

namespace
{

/// Clicks of one camera in no order, the true id kept in `dValue0`.
std::vector<CalibrationPoint> Clicks(const Machine& machine, Side side, double sigmaPx, std::uint64_t nSeed)
{
    const Truth truth(machine);
    const CrossGrid grid = machine.Grid();
    const std::vector<cv::Point2d> crosses = grid.PointsMm();
    Draw draw(nSeed, 1);
    std::vector<CalibrationPoint> points;
    for (std::size_t i = 0; i < crosses.size(); ++i) {
        const int nCol = static_cast<int>(i) % grid.nCol;
        if (side == Side::Left ? nCol >= grid.nColSingle : nCol < grid.nCol - grid.nColSingle) {
            continue;
        }
        const cv::Point2d pixel = *truth.PixelFromMachine(side, crosses[i]);
        CalibrationPoint point;
        point.nId = static_cast<int>(draw.Bits() % 1000);
        point.fImageX = static_cast<float>(pixel.x + sigmaPx * draw.Normal());
        point.fImageY = static_cast<float>(pixel.y + sigmaPx * draw.Normal());
        point.dValue0 = static_cast<double>(i + 1);
        points.push_back(point);
    }
    for (std::size_t i = points.size(); i > 1; --i) {
        std::swap(points[i - 1], points[draw.Bits() % i]);
    }
    return points;
}

void ExpectTrueIds(const std::vector<CalibrationPoint>& points)
{
    EXPECT_EQ(points.size(), 35u);
    int nLast = 0;
    for (const CalibrationPoint& point : points) {
        EXPECT_EQ(point.nId, static_cast<int>(point.dValue0));
        EXPECT_GT(point.nId, nLast) << "sorted by id";
        nLast = point.nId;
    }
}

} // namespace

TEST(Rearrange, EachClickGetsTheIdOfItsCrossWhateverTheOrder)
{
    for (std::uint64_t nSeed = 0; nSeed < 40; ++nSeed) {
        const Machine machine(Machine::Kind::Automatic, nSeed);
        std::vector<CalibrationPoint> left = Clicks(machine, Side::Left, 6.0, nSeed);
        std::vector<CalibrationPoint> right = Clicks(machine, Side::Right, 6.0, nSeed);
        LeftPtsRearrange(left, 7, 8);
        RightPtsRearrange(right, 7, 8);
        ExpectTrueIds(left);
        ExpectTrueIds(right);
    }
}

TEST(Rearrange, SharedColumnsBearTheSameIds)
{
    const Machine machine(Machine::Kind::Automatic, 1);
    std::vector<CalibrationPoint> left = Clicks(machine, Side::Left, 3.0, 1);
    std::vector<CalibrationPoint> right = Clicks(machine, Side::Right, 3.0, 2);
    LeftPtsRearrange(left, 7, 8);
    RightPtsRearrange(right, 7, 8);
    std::set<int> ids, shared;
    for (const CalibrationPoint& point : left) {
        ids.insert(point.nId);
    }
    for (const CalibrationPoint& point : right) {
        if (ids.count(point.nId) != 0) {
            shared.insert((point.nId - 1) % 8);
        }
    }
    EXPECT_EQ(shared, (std::set<int>{3, 4}));
}

TEST(Rearrange, OtherFieldsTravelWithTheirPoint)
{
    const Machine machine(Machine::Kind::Automatic, 2);
    std::vector<CalibrationPoint> points = Clicks(machine, Side::Right, 0.0, 1);
    for (CalibrationPoint& point : points) {
        point.dValue3 = point.fImageX;
        point.fWorldX = point.fImageY;
    }
    RightPtsRearrange(points, 7, 8);
    for (const CalibrationPoint& point : points) {
        EXPECT_EQ(point.dValue3, static_cast<double>(point.fImageX));
        EXPECT_EQ(point.fWorldX, point.fImageY);
    }
}

TEST(Rearrange, AnIncompleteGridGivesEveryPointTheIdOne)
{
    const Machine machine(Machine::Kind::Automatic, 3);
    for (const bool bLeft : {true, false}) {
        std::vector<CalibrationPoint> points = Clicks(machine, bLeft ? Side::Left : Side::Right, 1.0, 1);
        points.pop_back();
        (bLeft ? LeftPtsRearrange : RightPtsRearrange)(points, 7, 8);
        EXPECT_EQ(points.size(), 34u);
        ExpectAllOne(points);
    }
}

TEST(Rearrange, PointsThatFormNoLatticeGetTheIdOne)
{
    Draw draw(5, 5);
    std::vector<CalibrationPoint> scattered(35), same(35), line(35), bad(35);
    for (std::size_t i = 0; i < 35; ++i) {
        scattered[i].fImageX = static_cast<float>(draw.Between(0, 2592));
        scattered[i].fImageY = static_cast<float>(draw.Between(0, 1944));
        same[i].fImageX = same[i].fImageY = 100.0f;
        line[i].fImageX = line[i].fImageY = static_cast<float>(i);
        bad[i].fImageX = std::numeric_limits<float>::quiet_NaN();
        bad[i].fImageY = std::numeric_limits<float>::infinity();
    }
    for (std::vector<CalibrationPoint>* pPoints : {&scattered, &same, &line, &bad}) {
        LeftPtsRearrange(*pPoints, 7, 8);
        ExpectAllOne(*pPoints);
        RightPtsRearrange(*pPoints, 7, 8);
        ExpectAllOne(*pPoints);
    }
}

TEST(Rearrange, SizesThatNoGridHasAreSurvived)
{
    const Machine machine(Machine::Kind::Automatic, 4);
    const int nMax = std::numeric_limits<int>::max();
    for (const auto& [nRow, nCol] :
         {std::pair{0, 8}, {-7, 8}, {7, 0}, {7, -1}, {nMax, nMax}, {36, 8}, {7, 3}, {7, nMax}}) {
        std::vector<CalibrationPoint> points = Clicks(machine, Side::Left, 1.0, 1);
        LeftPtsRearrange(points, nRow, nCol);
        ExpectAllOne(points);
    }
    std::vector<CalibrationPoint> none;
    LeftPtsRearrange(none, 7, 8);
    RightPtsRearrange(none, 0, 0);
    EXPECT_TRUE(none.empty());
}

TEST(Rearrange, MorePointsThanAnyGridHasAreRefusedAtOnce)
{
    std::vector<CalibrationPoint> points(400000);
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i].fImageX = static_cast<float>(i % 400);
        points[i].fImageY = static_cast<float>(i / 400);
    }
    RightPtsRearrange(points, 1000, 400);
    ExpectAllOne(points);
}

TEST(Points, AnAddedPointTakesTheFirstFreeId)
{
    std::vector<CalibrationPoint> points;
    EXPECT_TRUE(AddCalibrationPt_Coordinate(1.5f, 2.5f, points));
    EXPECT_TRUE(AddCalibrationPt_Coordinate(3.5f, 4.5f, points));
    ASSERT_EQ(points.size(), 2u);
    EXPECT_EQ(points[0].nId, 1);
    EXPECT_EQ(points[1].nId, 2);
    EXPECT_EQ(points[1].fImageX, 3.5f);
    EXPECT_EQ(points[1].fImageY, 4.5f);
    EXPECT_TRUE(DeleteCalibrationPt_ID(1, points));
    EXPECT_TRUE(AddCalibrationPt_Coordinate(5.0f, 6.0f, points));
    EXPECT_EQ(points.back().nId, 1);
}

TEST(Points, ACoordinateThatIsNoNumberIsNotAdded)
{
    std::vector<CalibrationPoint> points;
    EXPECT_FALSE(AddCalibrationPt_Coordinate(std::numeric_limits<float>::quiet_NaN(), 1.0f, points));
    EXPECT_FALSE(AddCalibrationPt_Coordinate(1.0f, std::numeric_limits<float>::infinity(), points));
    EXPECT_TRUE(points.empty());
}

TEST(Points, DeletingDoesNotRenumber)
{
    std::vector<CalibrationPoint> points(3);
    points[0].nId = 1;
    points[1].nId = 2;
    points[2].nId = 3;
    EXPECT_TRUE(DeleteCalibrationPt_ID(2, points));
    ASSERT_EQ(points.size(), 2u);
    EXPECT_EQ(points[0].nId, 1);
    EXPECT_EQ(points[1].nId, 3);
    EXPECT_FALSE(DeleteCalibrationPt_ID(2, points));
    EXPECT_EQ(points.size(), 2u);
}
