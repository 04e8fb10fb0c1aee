#include "PipelineFixture.h"

class Coordinates : public PipelineFixture
{
protected:
    cv::Point2d ToWorld(double dX, double dY)
    {
        cv::Point2d p(-1, -1);
        EXPECT_EQ(m_instance.PixelToWorld(dX, dY, &p.x, &p.y, true), 0);
        return p;
    }

    cv::Point2d ToPixel(double dX, double dY)
    {
        cv::Point2d p(-1, -1);
        EXPECT_EQ(m_instance.WorldToPixel(dX, dY, &p.x, &p.y, false), 0);
        return p;
    }
};

TEST_F(Coordinates, TheManualFlowScalesBySix)
{
    EXPECT_EQ(ToWorld(0, 0), cv::Point2d(0, 0));
    EXPECT_EQ(ToWorld(600, 601), cv::Point2d(100, 601.0 / 6.0));
    EXPECT_EQ(ToPixel(100, 0.5), cv::Point2d(600, 3));
    EXPECT_TRUE(Doubles::The().journal.empty());
}

TEST_F(Coordinates, TheStitchingsOwnFileTellsTheFlow)
{
    SetFlow(1);
    WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION", 0, Stitch());
    EXPECT_EQ(ToWorld(600, 60), cv::Point2d(100, 10));
    EXPECT_EQ(ToPixel(100, 10), cv::Point2d(600, 60));
    EXPECT_TRUE(Doubles::The().journal.empty());
}

TEST_F(Coordinates, TheManualFlowGoesThereAndBackExactly)
{
    for (const double dMm : {0.0, 1.0, 12.5, 899.0, 1300.0}) {
        const cv::Point2d pixel = ToPixel(dMm, dMm);
        EXPECT_EQ(ToWorld(pixel.x, pixel.y), cv::Point2d(dMm, dMm));
    }
}

TEST_F(Coordinates, TheAutomaticFlowAsksTheModuleAndLoadsEveryTime)
{
    SetFlow(1);
    Doubles::The().fPairX = 2.0f;
    EXPECT_EQ(ToWorld(60, 6), cv::Point2d(8, 1));
    EXPECT_EQ(ToPixel(8, 1), cv::Point2d(60, 6));
    const std::vector<std::string> expected{"LoadDualCamerasCalibrationParam(DualCamerasCalibrationParam.ini)",
                                            "DualCam_CorrectedImageToWorldPoint()",
                                            "LoadDualCamerasCalibrationParam(DualCamerasCalibrationParam.ini)",
                                            "DualCam_WorldToSecondCorrectedImagePoint(z 0)"};
    EXPECT_EQ(Doubles::The().journal, expected);
}

TEST_F(Coordinates, FailuresOfTheModuleAreNotReported)
{
    SetFlow(1);
    Doubles::The().answers["LoadDualCamerasCalibrationParam"] = false;
    Doubles::The().answers["DualCam_CorrectedImageToWorldPoint"] = false;
    ToWorld(1, 2);
    Doubles::The().throwFrom["LoadDualCamerasCalibrationParam"] = "boom";
    // What was asked for stays as it was.
    EXPECT_EQ(ToWorld(1, 2), cv::Point2d(-1, -1));
}

TEST_F(Coordinates, ANewCalibrationTakesEffectAtTheNextPoint)
{
    EXPECT_EQ(ToWorld(6, 6), cv::Point2d(1, 1));
    SetFlow(1);
    Doubles::The().fPairX = 1.0f;
    EXPECT_EQ(ToWorld(6, 6), cv::Point2d(0, 1));
}

TEST_F(Coordinates, TheReservedArgumentIsNotRead)
{
    for (const int nAuto : {0, 1}) {
        SetFlow(nAuto);
        cv::Point2d a, b;
        EXPECT_EQ(m_instance.PixelToWorld(7, 9, &a.x, &a.y, false), 0);
        EXPECT_EQ(m_instance.PixelToWorld(7, 9, &b.x, &b.y, true), 0);
        EXPECT_EQ(a, b);
        EXPECT_EQ(m_instance.WorldToPixel(7, 9, &a.x, &a.y, false), 0);
        EXPECT_EQ(m_instance.WorldToPixel(7, 9, &b.x, &b.y, true), 0);
        EXPECT_EQ(a, b);
    }
}

TEST_F(Coordinates, TheAutomaticFlowNarrowsToFloat)
{
    SetFlow(1);
    const double dFine = 100.000001;
    ASSERT_NE(dFine, static_cast<double>(static_cast<float>(dFine)));
    EXPECT_EQ(ToPixel(dFine, 0).x, 600.0);
    SetFlow(0);
    EXPECT_EQ(ToPixel(dFine, 0).x, dFine * 6);
}
