#include "PipelineFixture.h"

#include <opencv2/imgproc.hpp>

#include <QFile>

#include <limits>
#include <utility>

class CanvasWarp : public PipelineFixture
{
protected:
    void SetUp() override
    {
        PipelineFixture::SetUp();
        Doubles::The().homography = (cv::Mat_<double>(3, 3) << 2, 0, 0, 0, 2, 0, 0, 0, 1);
        for (int y = 0; y < m_matSrc.rows; ++y) {
            for (int x = 0; x < m_matSrc.cols; ++x) {
                m_matSrc.at<cv::Vec3b>(y, x) = cv::Vec3b(static_cast<uchar>(x), static_cast<uchar>(y), 7);
            }
        }
    }

    int Warp(int nWidth, int nHeight) { return m_instance.WarpImage(m_matSrc, nWidth, nHeight, m_matDst); }

    cv::Mat m_matSrc = cv::Mat(90, 120, CV_8UC3);
    cv::Mat m_matDst;
};

TEST_F(CanvasWarp, TheWorkAreaIsCutOutOfTheStitchedPicture)
{
    SetFlow(1);
    Doubles::The().fPairX = 2.0f; // the machine's origin lies at pixel (12, 6)
    Doubles::The().fPairY = 1.0f;
    ASSERT_EQ(Warp(10, 5), 0);
    EXPECT_EQ(m_matDst.size(), cv::Size(60, 30));
    EXPECT_EQ(m_matDst.at<cv::Vec3b>(0, 0), cv::Vec3b(12, 6, 7));
    EXPECT_TRUE(Doubles::The().Logged(0, "WarpImage AutoDualCalib : 12, 6,72, 36"));
    // One answer of 0 for each corner ends the asking.
    EXPECT_EQ(Doubles::The().Count("DualCam_WorldToSecondCorrectedImagePoint"), 2);
}

TEST_F(CanvasWarp, APartlyVisibleAreaIsClippedWithoutABorder)
{
    SetFlow(1);
    Doubles::The().fPairX = -5.0f;
    ASSERT_EQ(Warp(20, 20), 0);
    EXPECT_EQ(m_matDst.size(), cv::Size(90, 90));
}

TEST_F(CanvasWarp, AnAreaOutsideOfThePictureFailsAndLeavesTheClone)
{
    SetFlow(1);
    Doubles::The().fPairX = 1000.0f;
    EXPECT_EQ(Warp(10, 5), -1);
    EXPECT_EQ(m_matDst.size(), m_matSrc.size());
    EXPECT_NE(m_matDst.data, m_matSrc.data);
}

TEST_F(CanvasWarp, MirroredCornersGiveTheSameRectangle)
{
    SetFlow(1);
    Doubles::The().bMirrorPair = true;
    Doubles::The().fPairX = 12.0f; // from pixel 72 back to pixel 12
    ASSERT_EQ(Warp(10, 5), 0);
    EXPECT_EQ(m_matDst.size(), cv::Size(60, 30));
    EXPECT_EQ(m_matDst.at<cv::Vec3b>(0, 0), cv::Vec3b(12, 0, 7));
}

TEST_F(CanvasWarp, NumbersThatAreNoneFail)
{
    SetFlow(1);
    Doubles::The().fPairX = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(Warp(10, 5), -1);
}

TEST_F(CanvasWarp, TheTargetMayBeTheSource)
{
    SetFlow(1);
    cv::Mat picture = m_matSrc.clone();
    ASSERT_EQ(m_instance.WarpImage(picture, 10, 5, picture), 0);
    EXPECT_EQ(picture.size(), cv::Size(60, 30));
}

TEST_F(CanvasWarp, TheManualRoadPaintsSixPixelsAMillimetre)
{
    Touch("Result/DualCamera_pix2mm.xml");
    ASSERT_EQ(Warp(10, 5), 0);
    EXPECT_EQ(m_matDst.size(), cv::Size(60, 30));
    EXPECT_EQ(Doubles::The().dExpansionScale, 6.0);
    // The double's expansion gives the homography back, so that source (10, 5) goes to (20, 10).
    EXPECT_EQ(m_matDst.at<cv::Vec3b>(10, 20), cv::Vec3b(10, 5, 7));
    ASSERT_EQ(Warp(10, 5), 0);
    EXPECT_EQ(Doubles::The().Count("LoadHomography"), 1);
}

TEST_F(CanvasWarp, TheManualFileMustExistEvenWhenItIsLoaded)
{
    EXPECT_EQ(Warp(10, 5), -1);
    Touch("Result/DualCamera_pix2mm.xml");
    ASSERT_EQ(Warp(10, 5), 0);
    QFile::remove(m_data.CameraTwo("Result/DualCamera_pix2mm.xml"));
    EXPECT_EQ(Warp(10, 5), -1);
}

TEST_F(CanvasWarp, AFailedManualLoadFails)
{
    Touch("Result/DualCamera_pix2mm.xml");
    Doubles::The().answers["LoadHomography"] = false;
    EXPECT_EQ(Warp(10, 5), -1);
    EXPECT_TRUE(m_matDst.empty());
    EXPECT_TRUE(Doubles::The().logLines.empty());
    Doubles::The().answers["LoadHomography"] = true;
    EXPECT_EQ(Warp(10, 5), 0);
    EXPECT_EQ(Doubles::The().Count("LoadHomography"), 2);
}

TEST_F(CanvasWarp, TheManualHomographyIsTheResultsOwn)
{
    Touch("Output/DualCamera_pix2mm.xml");
    EXPECT_EQ(Warp(10, 5), -1);
    EXPECT_TRUE(Doubles::The().journal.empty());
    EXPECT_TRUE(Doubles::The().logLines.empty());
    Touch("Result/DualCamera_pix2mm.xml");
    EXPECT_EQ(Warp(10, 5), 0);
    EXPECT_EQ(Doubles::The().journal[0], "LoadHomography(Result/DualCamera_pix2mm.xml)");
}

TEST_F(CanvasWarp, TheStitchingsOwnFileTellsTheFlow)
{
    Touch("Result/DualCamera_pix2mm.xml");
    SetFlow(1);
    WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION", 0, Stitch());
    EXPECT_EQ(Warp(10, 5), 0);
    EXPECT_EQ(Doubles::The().Count("LoadHomography"), 1);
    EXPECT_EQ(Doubles::The().Count("DualCam_WorldToSecondCorrectedImagePoint"), 0);
}

TEST_F(CanvasWarp, ANewManualResultCountsForTheNextInstance)
{
    Touch("Result/DualCamera_pix2mm.xml");
    ASSERT_EQ(Warp(10, 5), 0);
    Doubles::The().homography = cv::Mat::eye(3, 3, CV_64F);
    ASSERT_EQ(Warp(10, 5), 0);
    EXPECT_EQ(m_matDst.at<cv::Vec3b>(10, 20), cv::Vec3b(10, 5, 7)) << "the one before";
    CalibrateTwoCameraIns next;
    ASSERT_EQ(next.WarpImage(m_matSrc, 10, 5, m_matDst), 0);
    EXPECT_EQ(m_matDst.at<cv::Vec3b>(10, 20), cv::Vec3b(20, 10, 7));
}

TEST_F(CanvasWarp, MalformedMatricesAndSizesAreLoggedAndFail)
{
    Touch("Result/DualCamera_pix2mm.xml");
    Doubles::The().homography = cv::Mat::eye(2, 2, CV_64F);
    EXPECT_EQ(Warp(10, 5), -1);
    EXPECT_EQ(Doubles::The().logLines.back().first, 3);
}

TEST_F(CanvasWarp, AWorkAreaThatNoMachineHasFails)
{
    Touch("Result/DualCamera_pix2mm.xml");
    for (const auto& [nWidth, nHeight] : {std::pair(2000000000, 2000000000), std::pair(20000, 5), std::pair(5, -20000),
                                          std::pair(10000, 10000), std::pair(-2147483647 - 1, 5)}) {
        Doubles::The().logLines.clear();
        EXPECT_EQ(Warp(nWidth, nHeight), -1) << nWidth << " x " << nHeight;
        EXPECT_TRUE(m_matDst.empty());
        ASSERT_EQ(Doubles::The().logLines.size(), 1U);
        EXPECT_EQ(Doubles::The().logLines[0].first, 3);
    }
    ASSERT_EQ(Warp(1300, 900), 0);
    EXPECT_EQ(m_matDst.size(), cv::Size(7800, 5400));
}

TEST_F(CanvasWarp, ASizeOfNothingIsPassedOnAndGivesTheSizeOfTheSource)
{
    Touch("Result/DualCamera_pix2mm.xml");
    for (const auto& [nWidth, nHeight] : {std::pair(0, 5), std::pair(10, 0), std::pair(0, 0), std::pair(-3, 5)}) {
        m_matDst = cv::Mat();
        EXPECT_EQ(Warp(nWidth, nHeight), 0) << nWidth << " x " << nHeight;
        EXPECT_EQ(m_matDst.size(), m_matSrc.size());
        EXPECT_EQ(m_matDst.at<cv::Vec3b>(10, 20), cv::Vec3b(10, 5, 7));
    }
}

TEST_F(CanvasWarp, TheManualRoadSamplesWithLanczos)
{
    Touch("Result/DualCamera_pix2mm.xml");
    Doubles::The().homography = (cv::Mat_<double>(3, 3) << 1.3, 0.1, -2.5, -0.05, 1.2, 1.7, 1e-4, 0, 1);
    cv::theRNG().state = 5;
    cv::randu(m_matSrc, 0, 255);
    ASSERT_EQ(Warp(10, 5), 0);
    cv::Mat expected;
    cv::warpPerspective(m_matSrc, expected, Doubles::The().homography, cv::Size(60, 30), cv::INTER_LANCZOS4);
    EXPECT_EQ(cv::norm(m_matDst, expected, cv::NORM_INF), 0.0);
}

TEST_F(CanvasWarp, WhatTheHomographyDoesNotReachIsBlack)
{
    Touch("Result/DualCamera_pix2mm.xml");
    Doubles::The().homography = (cv::Mat_<double>(3, 3) << 1, 0, 30, 0, 1, 0, 0, 0, 1);
    m_matSrc.setTo(cv::Scalar::all(200));
    ASSERT_EQ(Warp(10, 5), 0);
    EXPECT_EQ(m_matDst.at<cv::Vec3b>(10, 10), cv::Vec3b(0, 0, 0));
    EXPECT_EQ(m_matDst.at<cv::Vec3b>(10, 50), cv::Vec3b(200, 200, 200));
}

namespace
{

/// Fails `nFailures` times, then answers what the first answer would have been.
class StubbornInstance : public CalibrateTwoCameraIns
{
public:
    int WorldToPixel(double dX, double dY, double* pX, double* pY, bool) override
    {
        ++nAsked;
        if (nAsked <= nFailures) {
            return 5;
        }
        *pX = 6.0 * dX;
        *pY = 6.0 * dY;
        return 0;
    }

    int nFailures = 0;
    int nAsked = 0;
};

} // namespace

TEST_F(CanvasWarp, AFailingConversionIsAskedAgain)
{
    SetFlow(1);
    StubbornInstance instance;
    instance.nFailures = 2;
    ASSERT_EQ(instance.WarpImage(m_matSrc, 10, 5, m_matDst), 0);
    EXPECT_EQ(instance.nAsked, 4);
    EXPECT_EQ(m_matDst.size(), cv::Size(60, 30));
}

TEST_F(CanvasWarp, AConversionThatNeverAnswersIsAskedTwentyTimesForEachCorner)
{
    SetFlow(1);
    StubbornInstance instance;
    instance.nFailures = 1000;
    EXPECT_EQ(instance.WarpImage(m_matSrc, 10, 5, m_matDst), -1);
    EXPECT_EQ(instance.nAsked, 40);
    EXPECT_EQ(m_matDst.size(), m_matSrc.size());
}

TEST_F(CanvasWarp, PixelsAreTruncatedTowardZero)
{
    SetFlow(1);
    Doubles::The().fPairX = 0.25f;   // 1.5 px
    Doubles::The().fPairY = -0.125f; // -0.75 px
    ASSERT_EQ(Warp(10, 5), 0);
    EXPECT_EQ(m_matDst.size(), cv::Size(60, 30));
    EXPECT_EQ(m_matDst.at<cv::Vec3b>(0, 0), cv::Vec3b(1, 0, 7));
}

TEST_F(CanvasWarp, AnEmptyPictureFails)
{
    Touch("Result/DualCamera_pix2mm.xml");
    m_matSrc = cv::Mat();
    EXPECT_EQ(Warp(10, 5), -1);
}
