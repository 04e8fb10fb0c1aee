#include "CalibGlobalParam.h"
#include "CalibrateTwoCameraIns.h"

#include "DataRoot.h"
#include "ModuleDoubles.h"

#include <gtest/gtest.h>

TEST(CalibGlobalParamTest, StartsWithNoCameraAndTheSmallWorkArea)
{
    const CalibGlobalParam fresh;
    EXPECT_EQ(fresh.strLeftCameraName, "None");
    EXPECT_EQ(fresh.strRightCameraName, "None");
    EXPECT_TRUE(fresh.strCalibResourcePath.isEmpty());
    EXPECT_EQ(fresh.nWorkAreaWidth, 900);
    EXPECT_EQ(fresh.nWorkAreaHeight, 600);
    EXPECT_EQ(fresh.nReservedFirst, 0);
    EXPECT_EQ(fresh.nReservedSecond, 0);
    EXPECT_EQ(g_calibGlobalParam.strLeftCameraName, "None");
    EXPECT_EQ(g_calibGlobalParam.strRightCameraName, "None");
    EXPECT_EQ(g_calibGlobalParam.nWorkAreaWidth, 900);
    EXPECT_EQ(g_calibGlobalParam.nWorkAreaHeight, 600);
}

TEST(InstanceTest, SettersFillTheProcessWideBlock)
{
    Doubles::Reset();
    CalibrateTwoCameraIns instance;
    instance.SetWorkAreaSize(1300, 901);
    EXPECT_EQ(instance.SetCameraNames("[0] Camera-Left", "\xe5\x8f\xb3"), 0);
    EXPECT_EQ(instance.SetReservedSize(3, 4), 0);
    EXPECT_EQ(instance.SetCalibrationResourcePath("/r\xc3\xa9s"), 0);
    EXPECT_EQ(g_calibGlobalParam.nWorkAreaWidth, 1300);
    EXPECT_EQ(g_calibGlobalParam.nWorkAreaHeight, 901);
    EXPECT_EQ(g_calibGlobalParam.strLeftCameraName, "[0] Camera-Left");
    EXPECT_EQ(g_calibGlobalParam.strRightCameraName, QString::fromUtf8("\xe5\x8f\xb3"));
    EXPECT_EQ(g_calibGlobalParam.nReservedFirst, 3);
    EXPECT_EQ(g_calibGlobalParam.nReservedSecond, 4);
    EXPECT_EQ(g_calibGlobalParam.strCalibResourcePath, QString::fromUtf8("/r\xc3\xa9s"));
    // The whole text is replaced, and no name is an empty one.
    EXPECT_EQ(instance.SetCameraNames("L", nullptr), 0);
    EXPECT_EQ(g_calibGlobalParam.strLeftCameraName, "L");
    EXPECT_EQ(g_calibGlobalParam.strRightCameraName, "");
    g_calibGlobalParam = CalibGlobalParam();
}

TEST(InstanceTest, TheBlockIsOneForAllInstances)
{
    {
        CalibrateTwoCameraIns first;
        first.SetWorkAreaSize(1600, 1000);
    }
    CalibrateTwoCameraIns second;
    EXPECT_EQ(g_calibGlobalParam.nWorkAreaWidth, 1600);
    EXPECT_EQ(second.SetReservedSize(1, 2), 0);
    EXPECT_EQ(g_calibGlobalParam.nWorkAreaHeight, 1000);
    g_calibGlobalParam = CalibGlobalParam();
}

TEST(InstanceTest, ReservedOperationsAnswerMinusOne)
{
    Doubles::Reset();
    CalibrateTwoCameraIns instance;
    EXPECT_EQ(instance.ReservedOperation3(1), -1);
    EXPECT_EQ(instance.ReservedOperation8(1, 2, true), -1);
    EXPECT_TRUE(Doubles::The().journal.empty());
}
