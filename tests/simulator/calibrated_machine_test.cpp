#include "CalibratedMachine.h"
#include "FisheyeCalibrationDllR.h"
#include "Truth.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <cmath>

using namespace Simulator;

namespace
{

/// One calibrated machine for all tests of this file: making it takes seconds.
class CalibratedMachine : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_pFolder = new QTemporaryDir;
        s_pMachine = new Machine(Machine::Kind::Automatic, 1);
        s_pReport = new CalibrationReport;
        ClickOptions options;
        options.nSeed = 11;
        WriteCalibrationFiles(*s_pMachine, s_pFolder->path().toStdString(), options, *s_pReport);
    }

    static void TearDownTestSuite()
    {
        delete s_pReport;
        delete s_pMachine;
        delete s_pFolder;
    }

    static QString Result(const char* pName) { return s_pFolder->path() + "/Vision/calib/Camera_Two/Result/" + pName; }

    static inline QTemporaryDir* s_pFolder = nullptr;
    static inline Machine* s_pMachine = nullptr;
    static inline CalibrationReport* s_pReport = nullptr;
};

} // namespace

TEST_F(CalibratedMachine, CalibrationSucceeds)
{
    EXPECT_TRUE(s_pReport->bSuccess) << s_pReport->strProblem;
    EXPECT_EQ(s_pReport->left.nPoints, 35u);
    EXPECT_EQ(s_pReport->right.nPoints, 35u);
    std::printf(
        "clicks off by %.3f / %.3f px, refined by %.3f / %.3f px, residual %.3f / %.3f px, stitched %d x %d, %.2f "
        "s\n",
        s_pReport->left.clickRmsPx, s_pReport->right.clickRmsPx, s_pReport->left.refinedRmsPx,
        s_pReport->right.refinedRmsPx, s_pReport->left.residualPx, s_pReport->right.residualPx,
        s_pReport->nStitchedWidth, s_pReport->nStitchedHeight, s_pReport->secondsCalibrate);
}

TEST_F(CalibratedMachine, ClicksAreOffAndRefinementFindsTheCrosses)
{
    for (const CameraCalibrationReport& side : {s_pReport->left, s_pReport->right}) {
        EXPECT_GT(side.clickRmsPx, 3.0);
        EXPECT_LT(side.clickRmsPx, 6.0);
        EXPECT_LT(side.refinedRmsPx, 0.3);
        EXPECT_LT(side.residualPx, 0.3);
    }
}

TEST_F(CalibratedMachine, EveryFileOfTheFlowIsThere)
{
    for (const char* pName :
         {"LeftCalPts.txt", "RightCalPts.txt", "LeftCameraParam.ini", "RightCameraParam.ini", "L_AutoDualCalibrate.xml",
          "R_AutoDualCalibrate.xml", "AutoDualCalibrate_stitch.xml", "DualCamerasCalibrationParam.ini"}) {
        EXPECT_TRUE(QFile::exists(Result(pName))) << pName;
    }
    const QString strPictures = s_pFolder->path() + "/Vision/calib/Camera_Two/Temp/";
    for (const char* pName :
         {"DualCamBeforeCalibrate_LeftTemp.bmp", "DualCamBeforeCalibrate_RightTemp.bmp", "DImage.bmp"}) {
        EXPECT_TRUE(QFile::exists(strPictures + pName)) << pName;
    }
}

TEST_F(CalibratedMachine, SettingsTellFlowAndSizes)
{
    for (const char* pName : {"LeftCameraParam.ini", "RightCameraParam.ini"}) {
        const QSettings settings(Result(pName), QSettings::IniFormat);
        EXPECT_EQ(settings.value("CAMERA_PARAM/CAMERA_TYPE").toInt(), 1);
        EXPECT_EQ(settings.value("CAMERA_PARAM/AUTO_CALIBRATION").toInt(), 1);
        EXPECT_EQ(settings.value("CAMERA_PARAM/AUTO_CALIBRATION_OUTPUT_WIDTH").toInt(), 5184);
        EXPECT_EQ(settings.value("CAMERA_PARAM/AUTO_CALIBRATION_OUTPUT_HEIGHT").toInt(), 3888);
    }
    const QSettings stitch(Result("AutoDualCalibrate_stitch.xml"), QSettings::IniFormat);
    EXPECT_EQ(stitch.value("CAMERA_PARAM/CAMERA_TYPE").toInt(), 1);
    EXPECT_EQ(stitch.value("CAMERA_PARAM/AUTO_CALIBRATION").toInt(), 1);
    EXPECT_EQ(stitch.value("CAMERA_PARAM/AUTO_CALIBRATION_OUTPUT_WIDTH").toInt(), s_pReport->nStitchedWidth);
    EXPECT_EQ(stitch.value("CAMERA_PARAM/AUTO_CALIBRATION_OUTPUT_HEIGHT").toInt(), s_pReport->nStitchedHeight);
    EXPECT_EQ(stitch.value("CAMERA_PARAM/AUTO_CALIBRATION_OUTPUT_STITCHEDIMAGE_BIT").toInt(), 24);
    const QSettings machine(s_pFolder->path() + "/Data/CameraSetting.ini", QSettings::IniFormat);
    EXPECT_EQ(machine.value("CANVAS_SIZE/WIDTH").toDouble(), 1300.0);
    EXPECT_EQ(machine.value("CANVAS_SIZE/HEIGHT").toDouble(), 900.0);
    const QSettings cameras(s_pFolder->path() + "/Vision/calib/cameraDevices.ini", QSettings::IniFormat);
    EXPECT_EQ(cameras.value("VISION/CAMERA_NUMBER").toInt(), 2);
    EXPECT_EQ(cameras.value("VISION/CAMERA_RIGHT_NAME").toString(), "Camera-Right");
}

TEST_F(CalibratedMachine, PointFilesHoldTheRearrangedClicks)
{
    const std::vector<cv::Point2d> crosses = s_pMachine->Grid().PointsMm();
    const Truth truth(*s_pMachine);
    for (const Side side : {Side::Left, Side::Right}) {
        QFile file(Result(side == Side::Left ? "LeftCalPts.txt" : "RightCalPts.txt"));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly | QIODevice::Text));
        const QList<QByteArray> lines = file.readAll().trimmed().split('\n');
        ASSERT_EQ(lines.size(), 35);
        int nLastId = 0;
        for (const QByteArray& line : lines) {
            const QList<QByteArray> values = line.split(' ');
            ASSERT_EQ(values.size(), 12) << line.constData();
            const int nId = values[0].toInt();
            EXPECT_GT(nId, nLastId) << "sorted by id";
            nLastId = nId;
            const int nCol = (nId - 1) % 8;
            EXPECT_TRUE(side == Side::Left ? nCol < 5 : nCol >= 3) << nId;
            const cv::Point2d mm = crosses[static_cast<std::size_t>(nId - 1)];
            EXPECT_EQ(values[3].toDouble(), mm.x);
            EXPECT_EQ(values[4].toDouble(), mm.y);
            EXPECT_EQ(values[5].toDouble(), 0.0);
            const cv::Point2d pixel(values[6].toDouble(), values[7].toDouble());
            const double distance = cv::norm(pixel - *truth.PixelFromMachine(side, mm));
            EXPECT_LT(distance, 15.0) << "the click, before any refinement";
        }
    }
}

TEST_F(CalibratedMachine, TheStitchedPictureShowsEachCrossAtSixPixelsPerMillimetre)
{
    const cv::Mat picture = cv::imread((s_pFolder->path() + "/Vision/calib/Camera_Two/Temp/DImage.bmp").toStdString(),
                                       cv::IMREAD_GRAYSCALE);
    ASSERT_EQ(picture.size(), cv::Size(s_pReport->nStitchedWidth, s_pReport->nStitchedHeight));
    ASSERT_GE(picture.cols, 7800);
    ASSERT_GE(picture.rows, 5400);
    const std::vector<cv::Point2d> crosses = s_pMachine->Grid().PointsMm();
    // The arms' middles, half way out: the darkest place of the averaged profile across the arm.
    const auto darkest = [&](const cv::Rect& window, int nDimension) {
        cv::Mat profile;
        cv::reduce(picture(window), profile, nDimension, cv::REDUCE_AVG, CV_32F);
        cv::Point place;
        cv::minMaxLoc(profile, nullptr, nullptr, &place, nullptr);
        return nDimension == 0 ? window.x + place.x : window.y + place.y;
    };
    for (std::size_t i = 0; i < crosses.size(); ++i) {
        const cv::Point centre(cvRound(6 * crosses[i].x), cvRound(6 * crosses[i].y));
        EXPECT_NEAR(darkest({centre.x - 9, centre.y - 95, 19, 70}, 0), centre.x, 2) << i;
        EXPECT_NEAR(darkest({centre.x - 95, centre.y - 9, 70, 19}, 1), centre.y, 2) << i;
    }
}

TEST_F(CalibratedMachine, AnotherCalibrationOverTheFirstOneWorks)
{
    QTemporaryDir folder;
    Machine machine(Machine::Kind::Automatic, 4);
    CalibrationReport first, second;
    ClickOptions options;
    ASSERT_TRUE(WriteCalibrationFiles(machine, folder.path().toStdString(), options, first)) << first.strProblem;
    options.nSeed = 2;
    ASSERT_TRUE(WriteCalibrationFiles(machine, folder.path().toStdString(), options, second)) << second.strProblem;
    EXPECT_NE(first.left.clickRmsPx, second.left.clickRmsPx);
}

TEST(CalibratedMachineFailures, AFolderThatCannotBeMadeIsReported)
{
    QTemporaryDir folder;
    QFile file(folder.path() + "/Vision");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    Machine machine(Machine::Kind::Automatic, 1);
    CalibrationReport report;
    EXPECT_FALSE(WriteCalibrationFiles(machine, folder.path().toStdString(), {}, report));
    EXPECT_FALSE(report.bSuccess);
    EXPECT_NE(report.strProblem.find(folder.path().toStdString()), std::string::npos) << report.strProblem;
}

TEST(CalibratedMachineFailures, ClicksFarFromEveryCrossAreReported)
{
    QTemporaryDir folder;
    Machine machine(Machine::Kind::Automatic, 1);
    CalibrationReport report;
    ClickOptions options;
    options.sigmaPx = 400.0;
    EXPECT_FALSE(WriteCalibrationFiles(machine, folder.path().toStdString(), options, report));
    EXPECT_FALSE(report.strProblem.empty());
}

TEST(CalibratedMachineFailures, AManualMachineIsRefusedByTheAutomaticFlow)
{
    QTemporaryDir folder;
    Machine machine(Machine::Kind::Manual, 1);
    CalibrationReport report;
    EXPECT_FALSE(WriteCalibrationFiles(machine, folder.path().toStdString(), {}, report));
    EXPECT_FALSE(report.strProblem.empty());
}
