// The fusion of the manual flow: the vision module blends by the homography that the calibration has left.

#include "FusionFixture.h"

#include <QFile>

#include <tuple>

using BlendedFusion = FusionFixture;

TEST_F(BlendedFusion, TheManualHomographyIsLoadedOnce)
{
    Touch("Output/mapImgR2L.xml");
    Touch("Result/mapImgR2L.xml");
    ASSERT_EQ(Fuse(true), 0);
    ASSERT_EQ(Fuse(false), 0);
    EXPECT_EQ(Doubles::The().Count("LoadHomography"), 1);
    EXPECT_EQ(Doubles::The().journal[0], "LoadHomography(Output/mapImgR2L.xml)");
    EXPECT_EQ(Doubles::The().journal[1], "ImageDirFlags(0,0,0)");
    EXPECT_EQ(Doubles::The().dBlendScore, -1.0);
}

TEST_F(BlendedFusion, TheManualFlowBlendsBothPicturesThroughTheHomography)
{
    Touch("Result/mapImgR2L.xml");
    Doubles::The().homography = cv::Mat(3, 3, CV_64F, cv::Scalar(4.0));
    ASSERT_EQ(Fuse(), 0);
    ASSERT_EQ(Doubles::The().blends.size(), 1U);
    const Doubles::Blend& blend = Doubles::The().blends[0];
    EXPECT_EQ(blend.left.data, m_matLeft.data);
    EXPECT_EQ(blend.right.data, m_matRight.data);
    EXPECT_EQ(blend.homography.at<double>(0, 0), 4.0);
    EXPECT_TRUE(blend.bSameFlags);
    EXPECT_EQ(cv::norm(m_matDst, m_matLeft, cv::NORM_INF), 0.0) << "what the blending gave";
}

TEST_F(BlendedFusion, AMissingManualHomographyFailsInSilence)
{
    EXPECT_EQ(Fuse(), -1);
    EXPECT_TRUE(Doubles::The().logLines.empty());
    EXPECT_TRUE(Doubles::The().journal.empty());
}

TEST_F(BlendedFusion, TheManualFileMustExistEvenWhenItIsLoaded)
{
    Touch("Result/mapImgR2L.xml");
    ASSERT_EQ(Fuse(false), 0);
    EXPECT_EQ(Fuse(true), -1);
    QFile::remove(m_data.CameraTwo("Result/mapImgR2L.xml"));
    EXPECT_EQ(Fuse(false), -1);
    EXPECT_EQ(Doubles::The().blends.size(), 1U);
}

TEST_F(BlendedFusion, TheStitchingsOwnFileTellsTheFlow)
{
    Touch("Result/mapImgR2L.xml");
    SetFlow(1);
    WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION", 0, Stitch());
    EXPECT_EQ(Fuse(), 0);
    EXPECT_EQ(Doubles::The().blends.size(), 1U) << "the cameras' files do not count here";
    SetFlow(0);
    WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION", -1, Stitch());
    WritePoints("", "");
    Fuse();
    EXPECT_EQ(Doubles::The().Count("FishEyeImageStitching"), 1);
    EXPECT_EQ(Doubles::The().blends.size(), 1U);
}

TEST_F(BlendedFusion, AFailedManualLoadFailsAndIsTriedAgain)
{
    Touch("Result/mapImgR2L.xml");
    Doubles::The().answers["LoadHomography"] = false;
    EXPECT_EQ(Fuse(), -1);
    Doubles::The().answers["LoadHomography"] = true;
    EXPECT_EQ(Fuse(), 0);
    EXPECT_EQ(Doubles::The().Count("LoadHomography"), 2);
    EXPECT_TRUE(Doubles::The().Logged(0, "Current WorkAreaWidth 1300,900"));
    EXPECT_EQ(Doubles::The().logLines.size(), 1U) << "a failed load is not told";
}

TEST_F(BlendedFusion, AnEmptyHomographyIsLoadedAgain)
{
    Touch("Result/mapImgR2L.xml");
    Doubles::The().homography = cv::Mat();
    ASSERT_EQ(Fuse(), 0);
    ASSERT_EQ(Fuse(), 0);
    EXPECT_EQ(Doubles::The().Count("LoadHomography"), 2);
}

TEST_F(BlendedFusion, AFailedBlendShowsItselfByAnEmptyPicture)
{
    Touch("Result/mapImgR2L.xml");
    Doubles::The().answers["DoBlendingImageForDualCam"] = false;
    Doubles::The().bBlendEmpty = true;
    EXPECT_EQ(Fuse(), 0);
    EXPECT_TRUE(m_matDst.empty());
}

TEST_F(BlendedFusion, AThrowingBlendFails)
{
    Touch("Result/mapImgR2L.xml");
    Doubles::The().throwFrom["DoBlendingImageForDualCam"] = "boom";
    EXPECT_EQ(Fuse(), -1);
    EXPECT_EQ(Doubles::The().logLines.back().first, 3);
}

TEST_F(BlendedFusion, WhatIsThrownAndNoExceptionOfAnyLibraryFailsToo)
{
    Touch("Result/mapImgR2L.xml");
    Doubles::The().strThrowInt = "DoBlendingImageForDualCam";
    EXPECT_EQ(Fuse(), -1);
    EXPECT_EQ(Doubles::The().logLines.back().first, 3);
}

TEST_F(BlendedFusion, SettingsOfTheWrongTypeReadAsTheManualFlowAndAsNoSize)
{
    m_data.WriteFile(Stitch(), "[CAMERA_PARAM]\nAUTO_CALIBRATION=yes\n");
    EXPECT_EQ(Fuse(), -1); // the manual road, and its file is missing
    EXPECT_TRUE(Doubles::The().journal.empty());
    for (const QByteArray& value : {QByteArray("wide"), QByteArray("1e9"), QByteArray("40, 50"),
                                    QByteArray("@Invalid()"), QByteArray("99999999999")}) {
        m_data.WriteFile(Stitch(), "[CAMERA_PARAM]\nAUTO_CALIBRATION=1\nAUTO_CALIBRATION_OUTPUT_WIDTH=" + value +
                                       "\nAUTO_CALIBRATION_OUTPUT_HEIGHT=25\n");
        EXPECT_EQ(Fuse(), -1) << value.constData();
        EXPECT_EQ(Doubles::The().Count("FishEyeImageStitching"), 0) << value.constData();
        EXPECT_NE(Doubles::The().logLines.back().second.find("AutoDualCalibrate_stitch.xml"), std::string::npos);
    }
}

TEST_F(BlendedFusion, TheCanvasPicksTheReciprocalsInTheOppositeOrder)
{
    Touch("Result/mapImgR2L.xml");
    const std::vector<std::tuple<double, double, double, double>> rows{
        {1299, 899, 1.2499999813735487, 1.0},
        {1300, 899, 1.4285714528998554, 1.4285714528998554},
        {1300, 900, 1.6666666004392863, 1.4285714528998554},
        {1500, 899, 1.6666666004392863, 1.4285714528998554},
    };
    for (const auto& [dWidth, dHeight, dA, dB] : rows) {
        SetCanvas(dWidth, dHeight);
        ASSERT_EQ(Fuse(), 0);
        EXPECT_EQ(Doubles::The().dScaleA, dA);
        EXPECT_EQ(Doubles::The().dScaleB, dB);
    }
}
