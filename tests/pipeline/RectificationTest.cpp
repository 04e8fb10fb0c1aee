#include "PipelineFixture.h"

#include <opencv2/imgcodecs.hpp>

#include <QDir>
#include <QFile>

#include <sys/stat.h>

#include <tuple>

class Rectification : public PipelineFixture
{
protected:
    void WriteMaps(const QString& strFolder)
    {
        Touch(strFolder + "/cameraL_calibrateMap.xml");
        Touch(strFolder + "/cameraR_calibrateMap.xml");
    }
};

TEST_F(Rectification, TheAutomaticRoadMakesItsCallsInOrderAndReturnsNoPictures)
{
    SetFlow(1);
    ASSERT_EQ(Calib(), 0);
    EXPECT_TRUE(m_matLeftOut.empty());
    EXPECT_TRUE(m_matRightOut.empty());
    const std::vector<std::string> expected{
        "Read_Image(DualCamBeforeCalibrate_LeftTemp.bmp)",  "ConvertRGBToGray(24)",
        "Read_Image(DualCamBeforeCalibrate_RightTemp.bmp)", "ConvertRGBToGray(24)",
        "LoadCalibrationParam(L_AutoDualCalibrate.xml)",    "SingleCamCorrected(30x20 24 record 1 to 60x40)",
        "LoadCalibrationParam(R_AutoDualCalibrate.xml)",    "SingleCamCorrected(30x20 24 record 2 to 60x40)"};
    EXPECT_EQ(Doubles::The().journal, expected);
    EXPECT_FALSE(Doubles::The().bCorrectedNull);
    EXPECT_FALSE(QFile::exists(m_data.CameraTwo("SingleCamAfterCailbrate_Temp.bmp")));
    EXPECT_TRUE(Doubles::The().logLines.empty());
}

TEST_F(Rectification, TheAutomaticRoadLeavesTheTargetsAlone)
{
    SetFlow(1);
    m_matLeftOut = cv::Mat(2, 3, CV_8UC1, cv::Scalar(4));
    m_matRightOut = cv::Mat(5, 6, CV_8UC1, cv::Scalar(7));
    const unsigned char* pLeft = m_matLeftOut.data;
    const unsigned char* pRight = m_matRightOut.data;
    ASSERT_EQ(Calib(true), 0);
    EXPECT_EQ(m_matLeftOut.data, pLeft);
    EXPECT_EQ(m_matRightOut.data, pRight);
    EXPECT_EQ(m_matLeftOut.size(), cv::Size(3, 2));
}

TEST_F(Rectification, AnyValueOfTheFlagButNoneIsAutomatic)
{
    for (const int nFlag : {1, 2, -1}) {
        SetFlow(nFlag);
        EXPECT_EQ(Calib(), 0) << nFlag;
    }
    SetFlow(0);
    EXPECT_EQ(Calib(), -1);
}

TEST_F(Rectification, AScratchPictureThatCannotBeWrittenIsNamedInTheLog)
{
    SetFlow(1);
    ASSERT_TRUE(QDir().mkpath(m_data.CameraTwo("DualCamBeforeCalibrate_LeftTemp.bmp")));
    Doubles::The().failAt["Read_Image"] = 1;
    Calib();
    ASSERT_FALSE(Doubles::The().logLines.empty());
    EXPECT_EQ(Doubles::The().logLines[0].first, 3);
    EXPECT_NE(Doubles::The().logLines[0].second.find("DualCamBeforeCalibrate_LeftTemp.bmp cannot be written"),
              std::string::npos);
}

TEST_F(Rectification, APipeInPlaceOfAScratchPictureIsNotWaitedFor)
{
    SetFlow(1);
    const QString strPipe = m_data.CameraTwo("DualCamBeforeCalibrate_LeftTemp.bmp");
    ASSERT_EQ(mkfifo(strPipe.toLocal8Bit().constData(), 0600), 0);
    // Grey pictures are written by OpenCV, colour ones by our own writer.
    for (const int nType : {CV_8UC1, CV_8UC3}) {
        m_matLeft = cv::Mat(20, 30, nType, cv::Scalar::all(9));
        m_matRight = m_matLeft.clone();
        Doubles::Reset();
        Doubles::The().failAt["Read_Image"] = 1;
        Calib();
        ASSERT_FALSE(Doubles::The().logLines.empty());
        EXPECT_NE(Doubles::The().logLines[0].second.find("DualCamBeforeCalibrate_LeftTemp.bmp cannot be written"),
                  std::string::npos);
    }
}

TEST_F(Rectification, BothAreRectifiedIntoTheDoubledSizeOfTheLeftPicture)
{
    SetFlow(1);
    m_matRight = cv::Mat(10, 12, CV_8UC3, cv::Scalar(1, 2, 3));
    ASSERT_EQ(Calib(), 0);
    EXPECT_EQ(Doubles::The().journal.back(), "SingleCamCorrected(12x10 24 record 2 to 60x40)");
}

TEST_F(Rectification, GreyPicturesAreNotConverted)
{
    SetFlow(1);
    m_matLeft = cv::Mat(20, 30, CV_8UC1, cv::Scalar(9));
    m_matRight = m_matLeft.clone();
    ASSERT_EQ(Calib(), 0);
    EXPECT_EQ(Doubles::The().Count("ConvertRGBToGray"), 0);
}

TEST_F(Rectification, PicturesOf32BitsAreConvertedToo)
{
    SetFlow(1);
    Doubles::The().nReadBits = 32;
    ASSERT_EQ(Calib(), 0);
    EXPECT_EQ(Doubles::The().Count("ConvertRGBToGray"), 2);
    EXPECT_EQ(Doubles::The().journal[1], "ConvertRGBToGray(32)");
    EXPECT_EQ(Doubles::The().journal.back(), "SingleCamCorrected(30x20 32 record 2 to 60x40)");
}

TEST_F(Rectification, TheScratchFilesHoldThePicturesWhateverTheirLayout)
{
    SetFlow(1);
    cv::Mat big(40, 50, CV_8UC3);
    cv::randu(big, 0, 255);
    m_matLeft = big(cv::Rect(3, 4, 31, 20));
    // The second is smaller than what the file held before.
    for (const cv::Rect& area : {cv::Rect(0, 0, 50, 40), cv::Rect(0, 7, 50, 20)}) {
        m_matRight = big(area);
        ASSERT_EQ(Calib(), 0);
        const auto read = [this](const char* pName) {
            return cv::imread(m_data.CameraTwo(pName).toStdString(), cv::IMREAD_UNCHANGED);
        };
        EXPECT_EQ(cv::norm(read("DualCamBeforeCalibrate_LeftTemp.bmp"), m_matLeft, cv::NORM_INF), 0.0);
        EXPECT_EQ(cv::norm(read("DualCamBeforeCalibrate_RightTemp.bmp"), m_matRight, cv::NORM_INF), 0.0);
    }
}

TEST_F(Rectification, DifferentDepthsFailAfterBothFilesWereWritten)
{
    SetFlow(1);
    m_matLeft = cv::Mat(20, 30, CV_8UC1, cv::Scalar(9));
    EXPECT_EQ(Calib(), -1);
    EXPECT_TRUE(QFile::exists(m_data.CameraTwo("DualCamBeforeCalibrate_LeftTemp.bmp")));
    EXPECT_TRUE(QFile::exists(m_data.CameraTwo("DualCamBeforeCalibrate_RightTemp.bmp")));
    EXPECT_TRUE(Doubles::The().Logged(1, "CalibrateTwoCameraIns::CalibImage, The depth of the left and right images is "
                                         "inconsistent. !"));
    EXPECT_EQ(Doubles::The().Count("LoadCalibrationParam"), 0);
}

TEST_F(Rectification, FailedModuleCallsPassInSilence)
{
    SetFlow(1);
    Doubles::The().answers = {{"Read_Image", false}, {"LoadCalibrationParam", false}, {"SingleCamCorrected", false}};
    EXPECT_EQ(Calib(), 0);
    EXPECT_TRUE(Doubles::The().logLines.empty());
}

TEST_F(Rectification, AnEmptyPictureIsLoggedAndFails)
{
    SetFlow(1);
    m_matLeft = cv::Mat();
    EXPECT_EQ(Calib(), -1);
    ASSERT_EQ(Doubles::The().logLines.size(), 1U);
    EXPECT_EQ(Doubles::The().logLines[0].first, 3);
}

TEST_F(Rectification, AThrowingModuleIsLoggedAndFails)
{
    SetFlow(1);
    Doubles::The().throwFrom["SingleCamCorrected"] = "boom";
    EXPECT_EQ(Calib(), -1);
    EXPECT_EQ(Doubles::The().logLines.size(), 1U);
    // A user's own module may throw anything.
    Doubles::The().throwFrom.clear();
    Doubles::The().strThrowInt = "SingleCamCorrected";
    EXPECT_EQ(Calib(), -1);
    EXPECT_EQ(Doubles::The().logLines.size(), 2U);
}

TEST_F(Rectification, PicturesOfAnyKindDoNotCrash)
{
    SetFlow(1);
    for (const int nType : {CV_8UC1, CV_8UC3, CV_8UC4, CV_16UC1, CV_16UC3}) {
        for (const int nSide : {1, 2, 7}) {
            m_matLeft = cv::Mat(nSide, nSide, nType, cv::Scalar::all(100));
            m_matRight = m_matLeft.clone();
            const int nAnswer = Calib();
            EXPECT_TRUE(nAnswer == 0 || nAnswer == -1);
        }
    }
}

TEST_F(Rectification, WithoutTheLeftFileTheManualRoadIsTaken)
{
    EXPECT_EQ(Calib(), -1);
    EXPECT_TRUE(Doubles::The().journal.empty());
    EXPECT_TRUE(Doubles::The().logLines.empty());
}

TEST_F(Rectification, OnlyTheLeftFileTellsTheFlow)
{
    WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION", 1, m_data.CameraTwo("Result/RightCameraParam.ini"));
    WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION", 1, Stitch());
    EXPECT_EQ(Calib(), -1);
    EXPECT_EQ(Doubles::The().Count("Read_Image"), 0);
}

TEST_F(Rectification, ManualMapsAreLoadedOnceFromTheFirstFolder)
{
    WriteMaps("Output");
    WriteMaps("Result");
    ASSERT_EQ(Calib(true), 0);
    ASSERT_EQ(Calib(false), 0);
    const std::vector<std::string> loads{"LoadCameraParameters(Output/cameraL_calibrateMap.xml)",
                                         "LoadCameraParameters(Output/cameraR_calibrateMap.xml)"};
    EXPECT_EQ(Doubles::The().Count("LoadCameraParameters"), 2);
    EXPECT_EQ(Doubles::The().journal[0], loads[0]);
    EXPECT_EQ(Doubles::The().journal[1], loads[1]);
    EXPECT_EQ(Doubles::The().dLoadError, -1.0);
    EXPECT_FALSE(m_matLeftOut.empty());
    EXPECT_FALSE(m_matRightOut.empty());
}

TEST_F(Rectification, TheFilesMustExistEvenWhenTheyAreLoaded)
{
    WriteMaps("Result");
    ASSERT_EQ(Calib(false), 0);
    EXPECT_EQ(Calib(true), -1);
    QFile::remove(m_data.CameraTwo("Result/cameraR_calibrateMap.xml"));
    EXPECT_EQ(Calib(false), -1);
}

TEST_F(Rectification, AFailedLoadIsTriedAgain)
{
    WriteMaps("Result");
    Doubles::The().answers["LoadCameraParameters"] = false;
    EXPECT_EQ(Calib(), -1);
    EXPECT_EQ(Calib(), -1);
    EXPECT_EQ(Doubles::The().Count("LoadCameraParameters"), 2);
    Doubles::The().answers["LoadCameraParameters"] = true;
    EXPECT_EQ(Calib(), 0);
    EXPECT_TRUE(Doubles::The().Logged(0, "Current WorkAreaWidth 1300,900"));
}

TEST_F(Rectification, OnlyTheCameraWhoseLoadFailedIsLoadedAgain)
{
    WriteMaps("Result");
    Doubles::The().failAt["LoadCameraParameters"] = 2;
    EXPECT_EQ(Calib(), -1);
    EXPECT_EQ(Doubles::The().Count("UnDistortedImage"), 0);
    EXPECT_EQ(Calib(), 0);
    ASSERT_EQ(Doubles::The().Count("LoadCameraParameters"), 3);
    EXPECT_EQ(Doubles::The().journal[2], "LoadCameraParameters(Result/cameraR_calibrateMap.xml)");
    EXPECT_TRUE(m_matRightOut.data && m_matLeftOut.data);
}

TEST_F(Rectification, EachPictureIsRectifiedWithItsOwnCamera)
{
    WriteMaps("Result");
    m_matRight = cv::Mat(10, 12, CV_8UC3, cv::Scalar(1, 2, 3));
    ASSERT_EQ(Calib(), 0);
    EXPECT_EQ(Doubles::The().undistortWith, (std::vector<double>{10.0, 1.0, 20.0, 2.0}));
    EXPECT_EQ(m_matLeftOut.size(), cv::Size(30, 20));
    EXPECT_EQ(m_matRightOut.size(), cv::Size(12, 10));
}

TEST_F(Rectification, ARightPictureThatFailsLeavesTheLeftOneFilled)
{
    WriteMaps("Result");
    Doubles::The().failAt["UnDistortedImage"] = 2;
    EXPECT_EQ(Calib(), -1);
    EXPECT_FALSE(m_matLeftOut.empty());
    EXPECT_TRUE(m_matRightOut.empty());
    EXPECT_EQ(Doubles::The().logLines.size(), 1U) << "only the size of the work area";
}

TEST_F(Rectification, OneMissingMapIsEnoughToFail)
{
    Touch("Result/cameraL_calibrateMap.xml");
    EXPECT_EQ(Calib(), -1);
    QFile::remove(m_data.CameraTwo("Result/cameraL_calibrateMap.xml"));
    Touch("Result/cameraR_calibrateMap.xml");
    EXPECT_EQ(Calib(), -1);
    EXPECT_TRUE(Doubles::The().journal.empty());
    EXPECT_TRUE(Doubles::The().logLines.empty());
}

TEST_F(Rectification, DamagedSettingsMeanTheManualFlowAndTheLargeMachine)
{
    WriteMaps("Result");
    QByteArray binary(3000, '\0');
    for (int i = 0; i < binary.size(); ++i) {
        binary[i] = static_cast<char>((i * 131 + 7) & 0xff);
    }
    const QByteArray huge(17 * 1024 * 1024, '[');
    for (const QByteArray& content : {QByteArray(), QByteArray("[CAMERA_PA"), QByteArray("[CAMERA_PARAM]\nAUTO_CALIB"),
                                      QByteArray("[CAMERA_PARAM]\nAUTO_CALIBRATION=yes\n"), binary, huge}) {
        m_data.WriteFile(m_data.CameraTwo("Result/LeftCameraParam.ini"), content);
        EXPECT_EQ(Calib(), 0) << content.left(40).constData();
        EXPECT_EQ(Doubles::The().Count("Read_Image"), 0) << content.left(40).constData();
    }
    QFile::remove(m_data.CameraTwo("Result/LeftCameraParam.ini"));
    for (const QByteArray& content :
         {QByteArray(), QByteArray("[CANVAS_SI"), QByteArray("[CANVAS_SIZE]\nWID"), binary, huge}) {
        m_data.WriteFile(m_data.Root() + "/Data/CameraSetting.ini", content);
        EXPECT_EQ(Calib(), 0);
        EXPECT_EQ(Doubles::The().dScaleA, static_cast<double>(0.7f)) << content.left(40).constData();
        EXPECT_EQ(Doubles::The().dScaleB, static_cast<double>(0.6f)) << content.left(40).constData();
    }
}

TEST_F(Rectification, AFailedRectificationFails)
{
    WriteMaps("Result");
    Doubles::The().answers["UnDistortedImage"] = false;
    EXPECT_EQ(Calib(), -1);
    EXPECT_EQ(Doubles::The().Count("UnDistortedImage"), 1);
}

TEST_F(Rectification, TheCanvasPicksTheScales)
{
    WriteMaps("Result");
    const double d07 = static_cast<double>(0.7f);
    const double d08 = static_cast<double>(0.8f);
    const double d06 = static_cast<double>(0.6f);
    const std::vector<std::tuple<double, double, double, double>> rows{
        {900, 600, 1.0, d08},  {1299, 899, 1.0, d08}, {1300, 899, d07, d07}, {1499, 899, d07, d07},
        {1300, 900, d07, d06}, {1500, 899, d07, d06}, {1299, 900, d07, d06}, {1299.9, 899.9, 1.0, d08},
    };
    for (const auto& [dWidth, dHeight, dA, dB] : rows) {
        SetCanvas(dWidth, dHeight);
        ASSERT_EQ(Calib(), 0);
        EXPECT_EQ(Doubles::The().dScaleA, dA) << dWidth << " x " << dHeight;
        EXPECT_EQ(Doubles::The().dScaleB, dB) << dWidth << " x " << dHeight;
    }
}

TEST_F(Rectification, AbsurdCanvasSizesAreBorne)
{
    WriteMaps("Result");
    for (const double dSize : {-5.0, 1.0e300, -1.0e300}) {
        SetCanvas(dSize, dSize);
        EXPECT_EQ(Calib(), 0);
    }
    m_data.WriteFile(m_data.Root() + "/Data/CameraSetting.ini", "[CANVAS_SIZE]\nWIDTH=nan\nHEIGHT=wide\n");
    EXPECT_EQ(Calib(), 0);
    EXPECT_EQ(Doubles::The().dScaleB, static_cast<double>(0.8f));
}
