#include "FusionPattern.h"

#include "DataRoot.h"
#include "FileStore.h"
#include "ModuleDoubles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

TEST(FusionPattern, EachKnownSizeHasItsOwnPattern)
{
    EXPECT_EQ(FusionPatternName(813, 508), "FusionImage_813_508.kv");
    EXPECT_EQ(FusionPatternName(1300, 900), "FusionImage_1300_900.kv");
    EXPECT_EQ(FusionPatternName(1600, 1000), "FusionImage_1600_1000.kv");
}

TEST(FusionPattern, BothSidesMustFitExactly)
{
    for (const auto& [dWidthMm, dHeightMm] : {std::pair(900.0, 600.0),
                                              {813.0, 900.0},
                                              {1300.0, 508.0},
                                              {900.0, 1300.0},
                                              {508.0, 813.0},
                                              {1301.0, 900.0},
                                              {1300.0, 899.0},
                                              {0.0, 0.0}}) {
        EXPECT_EQ(FusionPatternName(dWidthMm, dHeightMm), "FusionImage.kv") << dWidthMm << " by " << dHeightMm;
    }
}

TEST(FusionPattern, OnlyWholeMillimetresCount)
{
    EXPECT_EQ(FusionPatternName(813.999, 508.5), "FusionImage_813_508.kv");
    EXPECT_EQ(FusionPatternName(812.999, 508.5), "FusionImage.kv");
}

TEST(FusionPattern, NumbersThatAreNoneGetTheGeneralPattern)
{
    const double dInfinity = std::numeric_limits<double>::infinity();
    for (const double dValue : {std::nan(""), dInfinity, -dInfinity, 1e300}) {
        EXPECT_EQ(FusionPatternName(dValue, 900), "FusionImage.kv");
        EXPECT_EQ(FusionPatternName(1300, dValue), "FusionImage.kv");
    }
}

class FusionPatternFile : public testing::Test
{
protected:
    void SetUp() override { Doubles::Reset(); }

    QString Folder() const { return m_data.Root() + "/Vision/calib/Camera_Two/FusionCalibImages/"; }

    DataRoot m_data;
};

TEST_F(FusionPatternFile, WithoutASettingTheGeneralPatternIsTaken)
{
    EXPECT_EQ(FusionPatternPath(), Folder() + "FusionImage.kv");
}

TEST_F(FusionPatternFile, TheSettingsOfTheWorkAreaChoose)
{
    const QString strFile = m_data.Root() + "/Data/CameraSetting.ini";
    m_data.WriteFile(strFile, "[CANVAS_SIZE]\nWIDTH=1600.75\nHEIGHT=1000.0\n");
    EXPECT_EQ(FusionPatternPath(), Folder() + "FusionImage_1600_1000.kv");
    m_data.WriteFile(strFile, "[CANVAS_SIZE]\nWIDTH=1300\nHEIGHT=900\n");
    EXPECT_EQ(FusionPatternPath(), Folder() + "FusionImage_1300_900.kv");
    // The height's own default is 600.
    m_data.WriteFile(strFile, "[CANVAS_SIZE]\nWIDTH=1300\n");
    EXPECT_EQ(FusionPatternPath(), Folder() + "FusionImage.kv");
    // The width's is 900.
    m_data.WriteFile(strFile, "[CANVAS_SIZE]\nHEIGHT=900\n");
    EXPECT_EQ(FusionPatternPath(), Folder() + "FusionImage.kv");
}
