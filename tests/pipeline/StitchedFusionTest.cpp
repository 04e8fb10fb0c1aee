// The fusion of the automatic flow: the fish-eye module stitches, by way of point files and a picture file.

#include "FullDisk.h"
#include "FusionFixture.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

#include <algorithm>

class StitchedFusion : public FusionFixture
{
protected:
    /// The journal's line of the last call.
    static std::string LastStitching()
    {
        const auto& journal = Doubles::The().journal;
        const auto it = std::find_if(journal.rbegin(), journal.rend(), [](const std::string& strLine) {
            return strLine.rfind("FishEyeImageStitching(", 0) == 0;
        });
        return it == journal.rend() ? std::string() : *it;
    }
};

namespace
{
const QByteArray g_line = "1 0 0 1 2 0 3 4 0 0 0 0\n";
const std::string g_unequal =
    "CalibrateTwoCameraIns::FusionImage, Failed to complete the stitching of the fisheye lens!";
const std::string g_refused =
    "CalibrateTwoCameraIns::FusionImage, Failed to complete the stitching of the fisheye lens.!";
} // namespace

TEST_F(StitchedFusion, TheStitchedPictureArrivesInColourByWayOfItsFile)
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

TEST_F(StitchedFusion, TheBufferIsZeroedForEveryPicture)
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

TEST_F(StitchedFusion, TheDepthIsTheLeftPicturesAndTheBufferHoldsBoth)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 8);
    WritePoints("", "");
    ASSERT_EQ(Calib(), 0);
    // A stored depth of 8 with pictures of 24: the double writes all of 24 bits into the buffer.
    ASSERT_EQ(Fuse(), 0);
    EXPECT_EQ(LastStitching().substr(LastStitching().rfind("to ")), "to 40x25 24)");
}

TEST_F(StitchedFusion, TwoEmptyPointFilesAreStillStitched)
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

TEST_F(StitchedFusion, WithoutKeysAndPicturesTheBufferHasNoByte)
{
    SetFlow(1);
    WritePoints("", "");
    EXPECT_EQ(Fuse(), -1);
    EXPECT_EQ(LastStitching(),
              "FishEyeImageStitching(null 0x0 0 record 0 ids ; null 0x0 0 record 0 ids ; to null 1x1 0)");
}

TEST_F(StitchedFusion, BothSidesReachTheStitchingInTheirOrder)
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

TEST_F(StitchedFusion, APictureThatIsNotReadBackIsNotReplacedByTheOneBefore)
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

TEST_F(StitchedFusion, APictureThatCannotBeWrittenIsNotReplacedByTheOneBefore)
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

TEST_F(StitchedFusion, APictureThatAFullDiskRefusesIsNotReplacedByTheOneBeforeWhichCanStillBeRead)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    ASSERT_EQ(Calib(), 0);
    {
        const FullDisk full;
        EXPECT_EQ(Calib(), 0);
    }
    EXPECT_EQ(Fuse(), -1);
    EXPECT_NE(LastStitching().find("(null"), std::string::npos) << LastStitching();
    EXPECT_NE(LastStitching().find("; null"), std::string::npos) << LastStitching();
}

TEST_F(StitchedFusion, ARecordThatCannotBeReadIsNotReplacedByTheOneBefore)
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

TEST_F(StitchedFusion, UnequalPointListsFailWithTheirOwnText)
{
    SetFlow(1);
    WritePoints(g_line, "");
    ASSERT_EQ(Calib(), 0);
    EXPECT_EQ(Fuse(), -1);
    EXPECT_TRUE(Doubles::The().Logged(3, g_unequal));
    Doubles::The().logLines.clear();
    WritePoints(g_line, g_line + g_line);
    EXPECT_EQ(Fuse(), -1);
    EXPECT_TRUE(Doubles::The().Logged(3, g_unequal));
    EXPECT_EQ(Doubles::The().Count("FishEyeImageStitching"), 0);
}

TEST_F(StitchedFusion, MissingPointFilesCountAsTwoEmptyLists)
{
    SetFlow(1);
    ASSERT_EQ(Calib(), 0);
    EXPECT_EQ(Fuse(), 0);
    EXPECT_TRUE(Doubles::The().Logged(3, "CalibrateTwoCameraIns::GetCalPtsSeqFile: Failed to open the left file!"));
}

TEST_F(StitchedFusion, ARefusedStitchingFailsWithThePointBeforeTheMark)
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

TEST_F(StitchedFusion, WithoutPicturesTheStitchingGetsNullPixelsAndFails)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    EXPECT_EQ(Fuse(), -1);
    EXPECT_NE(LastStitching().find("(null"), std::string::npos);
    EXPECT_TRUE(Doubles::The().Logged(1, g_refused));
}

TEST_F(StitchedFusion, AFailedSaveGivesAnEmptyPictureAndNeverTheOneBefore)
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

TEST_F(StitchedFusion, APipeInPlaceOfTheStitchedPictureIsNotWaitedFor)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    ASSERT_EQ(mkfifo(m_data.CameraTwo("DstImage.bmp").toLocal8Bit().constData(), 0600), 0);
    Doubles::The().answers["Save_Image"] = false;
    ASSERT_EQ(Calib(), 0);
    EXPECT_EQ(Fuse(), 0);
    EXPECT_TRUE(m_matDst.empty());
    EXPECT_NE(Doubles::The().logLines.back().second.find("DstImage.bmp"), std::string::npos);
}

TEST_F(StitchedFusion, AModuleThatSavesSomethingElseDecidesWhatTheCallerGets)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    ASSERT_EQ(Calib(), 0);
    const cv::Scalar stitched = cv::Scalar::all(Doubles::The().nStitchGrey);
    Doubles::The().savedInstead = cv::Mat(25, 40, CV_8UC3, stitched);
    Doubles::The().savedInstead.at<cv::Vec3b>(24, 39)[2] = 255;
    ASSERT_EQ(Fuse(), 0);
    EXPECT_EQ(m_matDst.at<cv::Vec3b>(24, 39), cv::Vec3b(77, 77, 255));
    for (const cv::Size& size : {cv::Size(40, 20), cv::Size(36, 25), cv::Size(36, 20)}) {
        Doubles::The().savedInstead = cv::Mat(size, CV_8UC3, stitched);
        ASSERT_EQ(Fuse(), 0);
        EXPECT_EQ(m_matDst.size(), size);
    }
}

TEST_F(StitchedFusion, APictureThatTheCallerKeepsIsNotTouchedByTheNext)
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

TEST_F(StitchedFusion, ThePictureOutlivesTheInstance)
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

TEST_F(StitchedFusion, SizesThatNoPictureHasFailWithALineThatNamesTheFile)
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

TEST_F(StitchedFusion, TheOutputFolderMeansNothingToTheAutomaticFlow)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    ASSERT_EQ(Calib(true), 0);
    EXPECT_EQ(Fuse(true), 0);
    EXPECT_EQ(m_matDst.size(), cv::Size(40, 25));
}
