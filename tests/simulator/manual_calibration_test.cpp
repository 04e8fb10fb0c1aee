#include "CalibratedMachine.h"
#include "KorvaneVision.h"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <cmath>

using namespace Simulator;
namespace Module = Korvane::CameraCalibration;

namespace
{

/// The run-time road of the manual flow, spelled out: rectify, blend, spread over the canvas at 6 px per mm.
cv::Mat CanvasOf(Machine& machine, const QString& strResult)
{
    const auto path = [&](const char* pName) { return (strResult + pName).toLocal8Bit().toStdString(); };
    const auto rectify = [&](Side side, const char* pName) {
        cv::Mat camera, distortion, picture;
        double error = 0.0;
        EXPECT_TRUE(Module::LoadCameraParameters(path(pName), camera, distortion, error));
        EXPECT_TRUE(Module::UnDistortedImage(machine.Snap(side), camera, distortion, 1.0, 0.8f, picture));
        return picture;
    };
    cv::Mat pair, mmFromPixel, fused, canvas;
    EXPECT_TRUE(Module::LoadHomography(path("mapImgR2L.xml"), pair));
    EXPECT_TRUE(Module::LoadHomography(path("DualCamera_pix2mm.xml"), mmFromPixel));
    const Module::ImageDirFlags flags(0, false, false);
    double score = 0.0;
    EXPECT_TRUE(Module::DoBlendingImageForDualCam(rectify(Side::Left, "cameraL_calibrateMap.xml"), flags,
                                                  rectify(Side::Right, "cameraR_calibrateMap.xml"), flags,
                                                  1.0 / double(0.8f), 1.0, pair, score, fused));
    cv::warpPerspective(fused, canvas, Korvane::UtilityFunctions::CalculateExpansionHomography(mmFromPixel, 6.0),
                        cv::Size(5400, 3600), cv::INTER_LINEAR);
    return canvas;
}

/// Centroid of what is darker than its surroundings near a canvas pixel.
cv::Point2d DarkSpot(const cv::Mat& canvas, const cv::Point2d& about)
{
    const int nHalf = 24;
    cv::Mat grey, dark;
    cv::cvtColor(canvas(cv::Rect(cvRound(about.x) - nHalf, cvRound(about.y) - nHalf, 2 * nHalf + 1, 2 * nHalf + 1)),
                 grey, cv::COLOR_BGR2GRAY);
    cv::threshold(grey, dark, 0.65 * cv::mean(grey)[0], 255, cv::THRESH_BINARY_INV);
    const cv::Moments moments = cv::moments(dark, true);
    if (moments.m00 < 20) {
        return {NAN, NAN};
    }
    return about - cv::Point2d(about.x - cvRound(about.x), about.y - cvRound(about.y)) - cv::Point2d(nHalf, nHalf) +
           cv::Point2d(moments.m10 / moments.m00, moments.m01 / moments.m00);
}

} // namespace

TEST(ManualCalibration, DotsComeOutWhereTheyWereEngraved)
{
    QTemporaryDir folder;
    Machine machine(Machine::Kind::Manual, 3);
    CalibrationReport report;
    ClickOptions options;
    options.sigmaPx = 0.3;
    ASSERT_TRUE(WriteManualCalibrationFiles(machine, folder.path().toStdString(), options, report))
        << report.strProblem;
    EXPECT_EQ(report.left.nPoints, 9u);
    EXPECT_EQ(report.right.nPoints, 9u);
    const QString strResult = folder.path() + "/Vision/calib/Camera_Two/Result/";
    for (const char* pName : {"cameraL_calibrateMap.xml", "cameraR_calibrateMap.xml", "mapImgR2L.xml",
                              "DualCamera_pix2mm.xml", "DualCamera_mm2pix.xml", "CameraParam.ini"}) {
        EXPECT_TRUE(QFile::exists(strResult + pName)) << pName;
    }
    EXPECT_FALSE(QFile::exists(strResult + "LeftCameraParam.ini")) << "its absence marks a manual calibration";
    EXPECT_FALSE(QFile::exists(strResult + "AutoDualCalibrate_stitch.xml"));

    std::vector<EngravedDot> dots;
    for (double y = 30.0; y < 600.0; y += 90.0) {
        for (double x = 30.0; x < 900.0; x += 70.0) {
            dots.push_back({{x, y}, 2.0});
        }
    }
    machine.EngraveDots(dots);
    const cv::Mat canvas = CanvasOf(machine, strResult);
    double sum = 0.0, worst = 0.0;
    for (const EngravedDot& dot : dots) {
        const cv::Point2d spot = DarkSpot(canvas, 6.0 * dot.centreMm);
        ASSERT_TRUE(std::isfinite(spot.x)) << dot.centreMm;
        const double error = cv::norm(spot / 6.0 - dot.centreMm);
        worst = std::max(worst, error);
        sum += error * error;
    }
    const double rms = std::sqrt(sum / static_cast<double>(dots.size()));
    std::printf("%zu dots, rms %.3f mm, worst %.3f mm, fused %d x %d, %.2f s\n", dots.size(), rms, worst,
                report.nStitchedWidth, report.nStitchedHeight, report.secondsCalibrate);
    EXPECT_LT(rms, 0.15);
    EXPECT_LT(worst, 0.4);
}

TEST(ManualCalibration, AnAutomaticCalibrationBeforeItLeavesNoTrace)
{
    QTemporaryDir folder;
    const QString strResult = folder.path() + "/Vision/calib/Camera_Two/Result/";
    QDir().mkpath(strResult);
    QSettings(strResult + "AutoDualCalibrate_stitch.xml", QSettings::IniFormat)
        .setValue("CAMERA_PARAM/AUTO_CALIBRATION", 1);
    ASSERT_TRUE(QFile::exists(strResult + "AutoDualCalibrate_stitch.xml"));
    Machine machine(Machine::Kind::Manual, 1);
    CalibrationReport report;
    EXPECT_TRUE(WriteManualCalibrationFiles(machine, folder.path().toStdString(), {}, report)) << report.strProblem;
    EXPECT_FALSE(QFile::exists(strResult + "AutoDualCalibrate_stitch.xml"));
}

TEST(ManualCalibration, AnAutomaticMachineIsRefused)
{
    QTemporaryDir folder;
    Machine machine(Machine::Kind::Automatic, 1);
    CalibrationReport report;
    EXPECT_FALSE(WriteManualCalibrationFiles(machine, folder.path().toStdString(), {}, report));
    EXPECT_FALSE(report.strProblem.empty());
}
