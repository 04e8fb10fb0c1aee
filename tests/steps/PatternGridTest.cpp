#include "PatternGrid.h"

#include "DeviceTypes.h"
#include "ModuleDoubles.h"
#include "PageParts.h"

#include <gmock/gmock.h>

#include <limits>

namespace
{

const QSize CANVAS(900, 600);

TEST(PatternGrid, AMaterialOf180By90HasDistancesOfExactly30)
{
    const PatternGrid grid = MaterialGrid(CANVAS, QSize(180, 90));
    EXPECT_EQ(grid.nRows, 3);
    EXPECT_EQ(grid.nCols, 6);
    EXPECT_EQ(grid.nColDistanceMm, 30);
    EXPECT_EQ(grid.nRowDistanceMm, 30);
    // From 15 to W - 15 and from 15 to H - 15 of a piece that lies in the middle.
    const QList<QPointF> points = GridPoints(grid);
    ASSERT_EQ(points.size(), 18);
    EXPECT_EQ(points.first(), QPointF(360 + 15, 255 + 15));
    EXPECT_EQ(points[1], QPointF(360 + 45, 255 + 15));
    EXPECT_EQ(points[6], QPointF(360 + 15, 255 + 45));
    EXPECT_EQ(points.last(), QPointF(360 + 165, 255 + 75));
}

TEST(PatternGrid, ASmallerMaterialsQuotientIsCutTowardZero)
{
    EXPECT_EQ(MaterialGrid(CANVAS, QSize(176, 90)).nColDistanceMm, 30);
    EXPECT_EQ(MaterialGrid(CANVAS, QSize(175, 90)).nColDistanceMm, 29);
    EXPECT_EQ(MaterialGrid(CANVAS, QSize(180, 89)).nRowDistanceMm, 30);
    EXPECT_EQ(MaterialGrid(CANVAS, QSize(180, 88)).nRowDistanceMm, 29);
}

TEST(PatternGrid, AMaterialOfTheCanvasSizeStartsAt15)
{
    const PatternGrid grid = MaterialGrid(CANVAS, CANVAS);
    EXPECT_EQ(grid.nStartXMm, 15);
    EXPECT_EQ(grid.nStartYMm, 15);
}

TEST(PatternGrid, AMaterialLargerThanTheCanvasStartsBelowZero)
{
    const PatternGrid grid = MaterialGrid(CANVAS, QSize(1001, 701));
    // -101 / 2 is -50.
    EXPECT_EQ(grid.nStartXMm, -35);
    EXPECT_EQ(grid.nStartYMm, -35);
}

TEST(PatternGrid, AMachinesGridTakesWholeMillimetres)
{
    const QStringList subModel{"400.00", "300.00", "2.90", "3.00", "12.60", "20.00", "30.99", "40.50", "1.00", "2.00"};
    EXPECT_EQ(GridPoints(MachineGrid(subModel)),
              QList<QPointF>({{12, 20}, {52, 20}, {92, 20}, {12, 50}, {52, 50}, {92, 50}}));
}

TEST(PatternGrid, AGridWithoutRowsOrWithTooManyPointsHasNone)
{
    Doubles::Reset();
    for (const QStringList& subModel :
         {QStringList{}, QStringList{"1", "1", "0", "3"}, QStringList{"1", "1", "-2", "-3"},
          QStringList{"1", "1", "101", "100"}, QStringList{"1", "1", "1e300", "1e300"},
          QStringList{"1", "1", "65536", "65536"}}) {
        EXPECT_TRUE(GridPoints(MachineGrid(subModel)).isEmpty());
    }
    EXPECT_EQ(Doubles::The().logLines.size(), 6u);
    EXPECT_EQ(GridPoints(MachineGrid({"1", "1", "100", "100"})).size(), 10000);
}

TEST(PatternGrid, HugeNumbersDoNotOverflow)
{
    const QStringList subModel{"1", "1", "100", "100", "1e300", "-1e300", "1e300", "nan"};
    const QList<QPointF> points = GridPoints(MachineGrid(subModel));
    ASSERT_EQ(points.size(), 10000);
    EXPECT_EQ(points.first(), QPointF(2147483647.0, -2147483648.0));
    EXPECT_EQ(points[99], points[0]);
    const int nMin = std::numeric_limits<int>::min();
    EXPECT_EQ(MaterialGrid(QSize(nMin, nMin), QSize(9999, 9999)).nStartXMm, (nMin - 9999LL) / 2 + 15);
}

TEST(WholePart, OfAnyDoubleIsAnInt)
{
    EXPECT_EQ(WholePart(12.6), 12);
    EXPECT_EQ(WholePart(-12.6), -12);
    EXPECT_EQ(WholePart(1e300), std::numeric_limits<int>::max());
    EXPECT_EQ(WholePart(-1e300), std::numeric_limits<int>::min());
    EXPECT_EQ(WholePart(std::numeric_limits<double>::infinity()), std::numeric_limits<int>::max());
    EXPECT_EQ(WholePart(std::numeric_limits<double>::quiet_NaN()), 0);
}

} // namespace
