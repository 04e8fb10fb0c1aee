#include "DeviceTypes.h"
#include "Machine.h"

#include <gtest/gtest.h>

#include <QSet>

namespace
{

using DeviceTypeFile = DeviceTypesTest;

/// Half of the 40 mm crosses that the automatic flow engraves, and of the 30 mm ones of the manual flow.
int HalfCrossMm(const DeviceType& type)
{
    return type.IsManual() ? 15 : 20;
}

void ExpectMachine(const DeviceType& type, const Simulator::Machine& machine)
{
    const Simulator::CrossGrid grid = machine.Grid();
    EXPECT_EQ(type.Number("X"), machine.WorkAreaMm().width);
    EXPECT_EQ(type.Number("Y"), machine.WorkAreaMm().height);
    EXPECT_EQ(type.Number("Row"), grid.nRow);
    EXPECT_EQ(type.Number("Col"), grid.nCol);
    EXPECT_EQ(type.Number("StartPointX"), grid.startMm.x);
    EXPECT_EQ(type.Number("StartPointY"), grid.startMm.y);
    EXPECT_EQ(type.Number("LineSpacing"), grid.rowSpacingMm);
    EXPECT_EQ(type.Number("ColumnSpacing"), grid.columnSpacingMm);
    EXPECT_EQ(type.Number("ColForSingleCamera"), grid.nColSingle);
}

} // namespace

TEST_F(DeviceTypeFile, TheSimulatedAutomaticMachineIsTheOneThatIsChosenAtTheStart)
{
    EXPECT_EQ(m_types.front().Number("RowForSingleCamera") * m_types.front().Number("ColForSingleCamera"), 35);
    ExpectMachine(m_types.front(), Simulator::Machine(Simulator::Machine::Kind::Automatic, 1));
}

TEST_F(DeviceTypeFile, TheSimulatedManualMachineIsTheFirstOfTheManualOnes)
{
    for (const DeviceType& type : m_types) {
        if (type.IsManual()) {
            ExpectMachine(type, Simulator::Machine(Simulator::Machine::Kind::Manual, 1));
            return;
        }
    }
    FAIL() << "there is no manual machine";
}

TEST_F(DeviceTypeFile, EveryMachineHasTheTenNumbersAsWholeMillimetres)
{
    for (const DeviceType& type : m_types) {
        EXPECT_EQ(type.numbers.size(), 10) << qPrintable(type.strName);
        for (const char* pKey : {"X", "Y", "Row", "Col", "StartPointX", "StartPointY", "LineSpacing", "ColumnSpacing",
                                 "RowForSingleCamera", "ColForSingleCamera"}) {
            const QJsonValue value = type.numbers.value(QLatin1String(pKey));
            ASSERT_TRUE(value.isDouble()) << qPrintable(type.strName) << " " << pKey;
            EXPECT_GT(value.toDouble(), 0.0) << qPrintable(type.strName) << " " << pKey;
            EXPECT_EQ(value.toDouble(), value.toInt()) << qPrintable(type.strName) << " " << pKey;
        }
    }
}

TEST_F(DeviceTypeFile, BothCamerasTogetherSeeEveryColumn)
{
    for (const DeviceType& type : m_types) {
        EXPECT_EQ(type.Number("Row"), type.Number("RowForSingleCamera")) << qPrintable(type.strName);
        EXPECT_LE(type.Number("Col"), 2 * type.Number("ColForSingleCamera")) << qPrintable(type.strName);
        EXPECT_GE(type.Number("Col"), type.Number("ColForSingleCamera")) << qPrintable(type.strName);
    }
}

TEST_F(DeviceTypeFile, EveryCrossLiesOnTheBedAndClearOfItsNeighbours)
{
    for (const DeviceType& type : m_types) {
        const int nHalf = HalfCrossMm(type);
        EXPECT_GE(type.Number("StartPointX"), nHalf) << qPrintable(type.strName);
        EXPECT_GE(type.Number("StartPointY"), nHalf) << qPrintable(type.strName);
        const int nLastX = type.Number("StartPointX") + (type.Number("Col") - 1) * type.Number("ColumnSpacing");
        const int nLastY = type.Number("StartPointY") + (type.Number("Row") - 1) * type.Number("LineSpacing");
        EXPECT_LE(nLastX + nHalf, type.Number("X")) << qPrintable(type.strName);
        EXPECT_LE(nLastY + nHalf, type.Number("Y")) << qPrintable(type.strName);
        EXPECT_GT(type.Number("ColumnSpacing"), 2 * nHalf) << qPrintable(type.strName);
        EXPECT_GT(type.Number("LineSpacing"), 2 * nHalf) << qPrintable(type.strName);
    }
}

// The pattern step keeps the numbers under the sub-model's name alone.
TEST_F(DeviceTypeFile, NoTwoMachinesBearOneName)
{
    QSet<QString> names;
    for (const DeviceType& type : m_types) {
        EXPECT_FALSE(names.contains(type.strName)) << qPrintable(type.strName);
        names.insert(type.strName);
    }
    EXPECT_GE(names.size(), 5);
}
