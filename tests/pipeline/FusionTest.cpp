#include "PipelineFixture.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <tuple>

class Fusion : public PipelineFixture
{
protected:
    void SetUp() override
    {
        PipelineFixture::SetUp();
        Doubles::The().homography = cv::Mat::eye(3, 3, CV_64F);
    }

    int Fuse(bool bUseOutput = false) { return m_instance.FusionImage(m_matLeft, m_matRight, m_matDst, bUseOutput); }

    /// The journal's line of the last call.
    static std::string LastStitching()
    {
        const auto& journal = Doubles::The().journal;
        const auto it = std::find_if(journal.rbegin(), journal.rend(), [](const std::string& strLine) {
            return strLine.rfind("FishEyeImageStitching(", 0) == 0;
        });
        return it == journal.rend() ? std::string() : *it;
    }

    cv::Mat m_matDst;
};

namespace
{
const QByteArray g_line = "1 0 0 1 2 0 3 4 0 0 0 0\n";
const std::string g_unequal =
    "CalibrateTwoCameraIns::FusionImage, Failed to complete the stitching of the fisheye lens!";
const std::string g_refused =
    "CalibrateTwoCameraIns::FusionImage, Failed to complete the stitching of the fisheye lens.!";
} // namespace

TEST_F(Fusion, TheStitchedPictureArrivesInColourByWayOfItsFile)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints(g_line + g_line, g_line + g_line);
    ASSERT_EQ(Calib(), 0);
    ASSERT_EQ(Fuse(), 0);
    EXPECT_EQ(m_matDst.size(), cv::Size(40, 25));
    EXPECT_EQ(m_matDst.type(), CV_8UC3);
    EXPECT_EQ(m_matDst.at<cv::Vec3b>(0, 0), cv::Vec3b(77, 77, 77));
    EXPECT_EQ(Doubles::The().journal.back(), "Save_Image(DstImage.bmp 40x25 24)");
    EXPECT_TRUE(Doubles::The().bStitchBufferZero);
    EXPECT_TRUE(QFile::exists(m_data.CameraTwo("DstImage.bmp")));
}

TEST_F(Fusion, TheBufferIsZeroedForEveryPicture)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    ASSERT_EQ(Calib(), 0);
    ASSERT_EQ(Fuse(), 0);
    Doubles::The().bStitchBufferZero = false;
    ASSERT_EQ(Fuse(), 0);
    EXPECT_TRUE(Doubles::The().bStitchBufferZero);
}

TEST_F(Fusion, TheDepthIsTheLeftPicturesAndTheBufferHoldsBoth)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 8);
    WritePoints("", "");
    ASSERT_EQ(Calib(), 0);
    // A stored depth of 8 with pictures of 24: the double writes all of 24 bits into the buffer.
    ASSERT_EQ(Fuse(), 0);
    EXPECT_EQ(LastStitching().substr(LastStitching().rfind("to ")), "to 40x25 24)");
}

TEST_F(Fusion, TwoEmptyPointFilesAreStillStitched)
{
    SetFlow(1);
    WritePoints("", "");
    ASSERT_EQ(Calib(), 0);
    EXPECT_EQ(Fuse(), 0);
    EXPECT_EQ(Doubles::The().Count("FishEyeImageStitching"), 1);
    // Without the keys the size is 1 x 1.
    EXPECT_EQ(LastStitching(), "FishEyeImageStitching(first byte 10 30x20 24 record 1 ids ; "
                               "first byte 40 30x20 24 record 2 ids ; to 1x1 24)");
}

TEST_F(Fusion, WithoutKeysAndPicturesTheBufferHasNoByte)
{
    SetFlow(1);
    WritePoints("", "");
    EXPECT_EQ(Fuse(), -1);
    EXPECT_EQ(LastStitching(),
              "FishEyeImageStitching(null 0x0 0 record 0 ids ; null 0x0 0 record 0 ids ; to null 1x1 0)");
}

TEST_F(Fusion, BothSidesReachTheStitchingInTheirOrder)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("5 0 0 1 2 0 3 4 0 0 0 0\n6 0 0 1 2 0 3 4 0 0 0 0\n",
                "7 0 0 1 2 0 3 4 0 0 0 0\n8 0 0 1 2 0 3 4 0 0 0 0\n");
    m_matRight = cv::Mat(10, 12, CV_8UC3, cv::Scalar(41, 2, 3));
    ASSERT_EQ(Calib(), 0);
    ASSERT_EQ(Fuse(), 0);
    EXPECT_EQ(LastStitching(), "FishEyeImageStitching(first byte 10 30x20 24 record 1 ids 5,6,; "
                               "first byte 41 12x10 24 record 2 ids 7,8,; to 40x25 24)");
}

TEST_F(Fusion, APictureThatIsNotReadBackIsNotReplacedByTheOneBefore)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    ASSERT_EQ(Calib(), 0);
    ASSERT_EQ(Fuse(), 0);
    Doubles::The().answers["Read_Image"] = false;
    ASSERT_EQ(Calib(), 0);
    EXPECT_EQ(Fuse(), -1);
    EXPECT_NE(LastStitching().find("(null"), std::string::npos);
    EXPECT_NE(LastStitching().find("; null"), std::string::npos);
    EXPECT_TRUE(Doubles::The().Logged(1, g_refused));
}

TEST_F(Fusion, APictureThatCannotBeWrittenIsNotReplacedByTheOneBefore)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    ASSERT_EQ(Calib(), 0);
    const QString strTemp = m_data.CameraTwo("DualCamBeforeCalibrate_LeftTemp.bmp");
    ASSERT_TRUE(QFile::remove(strTemp));
    ASSERT_TRUE(QDir().mkdir(strTemp));
    EXPECT_EQ(Calib(), 0);
    EXPECT_EQ(Doubles::The().logLines.back().first, 3);
    EXPECT_NE(Doubles::The().logLines.back().second.find("DualCamBeforeCalibrate_LeftTemp.bmp"), std::string::npos);
    EXPECT_EQ(Fuse(), -1);
    EXPECT_NE(LastStitching().find("(null"), std::string::npos);
}

TEST_F(Fusion, ARecordThatCannotBeReadIsNotReplacedByTheOneBefore)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    ASSERT_EQ(Calib(), 0);
    Doubles::The().answers["LoadCalibrationParam"] = false;
    ASSERT_EQ(Calib(), 0);
    Fuse();
    EXPECT_NE(LastStitching().find("24 record 0 ids ; first byte 40 30x20 24 record 0"), std::string::npos)
        << LastStitching();
}

TEST_F(Fusion, UnequalPointListsFailWithTheirOwnText)
{
    SetFlow(1);
    WritePoints(g_line, "");
    ASSERT_EQ(Calib(), 0);
    EXPECT_EQ(Fuse(), -1);
    EXPECT_TRUE(Doubles::The().Logged(3, g_unequal));
    EXPECT_EQ(Doubles::The().Count("FishEyeImageStitching"), 0);
}

TEST_F(Fusion, MissingPointFilesCountAsTwoEmptyLists)
{
    SetFlow(1);
    ASSERT_EQ(Calib(), 0);
    EXPECT_EQ(Fuse(), 0);
    EXPECT_TRUE(Doubles::The().Logged(3, "CalibrateTwoCameraIns::GetCalPtsSeqFile: Failed to open the left file!"));
}

TEST_F(Fusion, ARefusedStitchingFailsWithThePointBeforeTheMark)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    Doubles::The().answers["FishEyeImageStitching"] = false;
    ASSERT_EQ(Calib(), 0);
    EXPECT_EQ(Fuse(), -1);
    EXPECT_TRUE(Doubles::The().Logged(1, g_refused));
    EXPECT_TRUE(m_matDst.empty());
}

TEST_F(Fusion, WithoutPicturesTheStitchingGetsNullPixelsAndFails)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    EXPECT_EQ(Fuse(), -1);
    EXPECT_NE(LastStitching().find("(null"), std::string::npos);
    EXPECT_TRUE(Doubles::The().Logged(1, g_refused));
}

TEST_F(Fusion, AFailedSaveGivesAnEmptyPictureAndNeverTheOneBefore)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    ASSERT_EQ(Calib(), 0);
    ASSERT_EQ(Fuse(), 0);
    ASSERT_FALSE(m_matDst.empty());
    Doubles::The().answers["Save_Image"] = false;
    EXPECT_EQ(Fuse(), 0);
    EXPECT_TRUE(m_matDst.empty());
    EXPECT_EQ(Doubles::The().logLines.back().first, 3);
    EXPECT_NE(Doubles::The().logLines.back().second.find("DstImage.bmp"), std::string::npos);
}

TEST_F(Fusion, AModuleThatSavesSomethingElseDecidesWhatTheCallerGets)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    Doubles::The().bSaveOther = true;
    ASSERT_EQ(Calib(), 0);
    ASSERT_EQ(Fuse(), 0);
    EXPECT_EQ(cv::norm(m_matDst, cv::Mat(25, 40, CV_8UC3, cv::Scalar::all(255)), cv::NORM_INF), 0.0);
}

TEST_F(Fusion, APictureThatTheCallerKeepsIsNotTouchedByTheNext)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    ASSERT_EQ(Calib(), 0);
    ASSERT_EQ(Fuse(), 0);
    const cv::Mat kept = m_matDst;
    m_matDst.release();
    for (const unsigned char nGrey : {5, 6, 7}) {
        Doubles::The().nStitchGrey = nGrey;
        Doubles::The().bStitchBufferZero = false;
        ASSERT_EQ(Fuse(), 0);
        EXPECT_TRUE(Doubles::The().bStitchBufferZero);
        EXPECT_EQ(cv::norm(m_matDst, cv::Mat(25, 40, CV_8UC3, cv::Scalar::all(nGrey)), cv::NORM_INF), 0.0);
        EXPECT_EQ(cv::norm(kept, cv::Mat(25, 40, CV_8UC3, cv::Scalar::all(77)), cv::NORM_INF), 0.0);
        m_matDst.release();
    }
}

TEST_F(Fusion, ThePictureOutlivesTheInstance)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    cv::Mat fused;
    {
        CalibrateTwoCameraIns instance;
        ASSERT_EQ(instance.CalibAndFusionImage(m_matLeft, m_matRight, fused, false), 0);
    }
    EXPECT_EQ(cv::norm(fused, cv::Mat(25, 40, CV_8UC3, cv::Scalar::all(77)), cv::NORM_INF), 0.0);
}

TEST_F(Fusion, SizesThatNoPictureHasFailWithALineThatNamesTheFile)
{
    SetFlow(1);
    WritePoints("", "");
    ASSERT_EQ(Calib(), 0);
    const std::vector<std::tuple<int, int, int>> sizes{
        {-40, 25, 24}, {40, 0, 24}, {2000000000, 2000000000, 24}, {100000, 100000, 24}, {40, 25, 2000000000}};
    for (const auto& [nWidth, nHeight, nBits] : sizes) {
        Doubles::The().logLines.clear();
        SetStitchedSize(nWidth, nHeight, nBits);
        EXPECT_EQ(Fuse(), -1) << nWidth << " " << nHeight << " " << nBits;
        ASSERT_EQ(Doubles::The().logLines.size(), 1U);
        EXPECT_NE(Doubles::The().logLines[0].second.find("AutoDualCalibrate_stitch.xml"), std::string::npos);
    }
    EXPECT_EQ(Doubles::The().Count("FishEyeImageStitching"), 0);
}

TEST_F(Fusion, TheOutputFolderMeansNothingToTheAutomaticFlow)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    ASSERT_EQ(Calib(true), 0);
    EXPECT_EQ(Fuse(true), 0);
    EXPECT_EQ(m_matDst.size(), cv::Size(40, 25));
}

TEST_F(Fusion, TheManualHomographyIsLoadedOnce)
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

TEST_F(Fusion, TheManualFlowBlendsBothPicturesThroughTheHomography)
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

TEST_F(Fusion, AMissingManualHomographyFailsInSilence)
{
    EXPECT_EQ(Fuse(), -1);
    EXPECT_TRUE(Doubles::The().logLines.empty());
    EXPECT_TRUE(Doubles::The().journal.empty());
}

TEST_F(Fusion, TheManualFileMustExistEvenWhenItIsLoaded)
{
    Touch("Result/mapImgR2L.xml");
    ASSERT_EQ(Fuse(false), 0);
    EXPECT_EQ(Fuse(true), -1);
    QFile::remove(m_data.CameraTwo("Result/mapImgR2L.xml"));
    EXPECT_EQ(Fuse(false), -1);
    EXPECT_EQ(Doubles::The().blends.size(), 1U);
}

TEST_F(Fusion, TheStitchingsOwnFileTellsTheFlow)
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

TEST_F(Fusion, AFailedManualLoadFailsAndIsTriedAgain)
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

TEST_F(Fusion, AnEmptyHomographyIsLoadedAgain)
{
    Touch("Result/mapImgR2L.xml");
    Doubles::The().homography = cv::Mat();
    ASSERT_EQ(Fuse(), 0);
    ASSERT_EQ(Fuse(), 0);
    EXPECT_EQ(Doubles::The().Count("LoadHomography"), 2);
}

TEST_F(Fusion, AFailedBlendShowsItselfByAnEmptyPicture)
{
    Touch("Result/mapImgR2L.xml");
    Doubles::The().answers["DoBlendingImageForDualCam"] = false;
    Doubles::The().bBlendEmpty = true;
    EXPECT_EQ(Fuse(), 0);
    EXPECT_TRUE(m_matDst.empty());
}

TEST_F(Fusion, AThrowingBlendFails)
{
    Touch("Result/mapImgR2L.xml");
    Doubles::The().throwFrom["DoBlendingImageForDualCam"] = "boom";
    EXPECT_EQ(Fuse(), -1);
    EXPECT_EQ(Doubles::The().logLines.back().first, 3);
}

TEST_F(Fusion, WhatIsThrownAndNoExceptionOfAnyLibraryFailsToo)
{
    Touch("Result/mapImgR2L.xml");
    Doubles::The().strThrowInt = "DoBlendingImageForDualCam";
    EXPECT_EQ(Fuse(), -1);
    EXPECT_EQ(Doubles::The().logLines.back().first, 3);
}

TEST_F(Fusion, SettingsOfTheWrongTypeReadAsTheManualFlowAndAsNoSize)
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

TEST_F(Fusion, TheCanvasPicksTheReciprocalsInTheOppositeOrder)
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

TEST_F(Fusion, BothStagesInOneCall)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    EXPECT_EQ(m_instance.CalibAndFusionImage(m_matLeft, m_matRight, m_matDst, false), 0);
    EXPECT_EQ(m_matDst.size(), cv::Size(40, 25));
}

TEST_F(Fusion, AFailingStageLeavesTheTargetAlone)
{
    cv::Mat dst(3, 4, CV_8UC1, cv::Scalar(5));
    const unsigned char* pBefore = dst.data;
    // No calibration at all: the rectification fails.
    EXPECT_EQ(m_instance.CalibAndFusionImage(m_matLeft, m_matRight, dst, false), -1);
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    Doubles::The().answers["FishEyeImageStitching"] = false;
    EXPECT_EQ(m_instance.CalibAndFusionImage(m_matLeft, m_matRight, dst, false), -1);
    EXPECT_EQ(dst.data, pBefore);
    EXPECT_EQ(dst.size(), cv::Size(4, 3));
    EXPECT_EQ(cv::countNonZero(dst != 5), 0);
}

TEST_F(Fusion, BothStagesAreReachedThroughTheTable)
{
    // What a host's own instance overrides takes part; its answers, whatever they are but 0, become -1.
    class Own : public CalibrateTwoCameraIns
    {
    public:
        int CalibImage(const cv::Mat&, const cv::Mat&, cv::Mat& leftOut, cv::Mat& rightOut, bool bUseOutput) override
        {
            EXPECT_TRUE(leftOut.empty() && rightOut.empty() && bUseOutput);
            leftOut = cv::Mat(1, 1, CV_8UC1, cv::Scalar(3));
            rightOut = cv::Mat(2, 2, CV_8UC1, cv::Scalar(4));
            return nCalib;
        }
        int FusionImage(const cv::Mat& left, const cv::Mat& right, cv::Mat& dst, bool bUseOutput) override
        {
            EXPECT_TRUE(dst.empty() && bUseOutput);
            EXPECT_EQ(left.size(), cv::Size(1, 1));
            EXPECT_EQ(right.size(), cv::Size(2, 2));
            dst = cv::Mat(7, 7, CV_8UC1, cv::Scalar(9));
            ++nFusions;
            return nFusion;
        }
        int nCalib = 0, nFusion = 0, nFusions = 0;
    };
    Own own;
    m_matDst = cv::Mat(3, 3, CV_8UC1, cv::Scalar(1));
    own.nCalib = 5;
    EXPECT_EQ(own.CalibAndFusionImage(m_matLeft, m_matRight, m_matDst, true), -1);
    EXPECT_EQ(own.nFusions, 0);
    own.nCalib = 0;
    own.nFusion = 5;
    EXPECT_EQ(own.CalibAndFusionImage(m_matLeft, m_matRight, m_matDst, true), -1);
    EXPECT_EQ(own.nFusions, 1);
    EXPECT_EQ(m_matDst.size(), cv::Size(3, 3));
    own.nFusion = 0;
    EXPECT_EQ(own.CalibAndFusionImage(m_matLeft, m_matRight, m_matDst, true), 0);
    EXPECT_EQ(m_matDst.size(), cv::Size(7, 7));
}
