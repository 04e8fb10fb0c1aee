#include "CalibratedMachine.h"

#include "CalibrationFolder.h"
#include "FusedFrame.h"
#include "KorvaneVision.h"
#include "SeededNoise.h"
#include "Truth.h"

#include <opencv2/calib3d.hpp>

#include <chrono>
#include <cmath>
#include <optional>

namespace Simulator
{

namespace
{

namespace Vision = Korvane::CameraCalibration;

/// How far matched features of one thing in two pictures are off.
constexpr double kMatchSigmaPx = 0.3;

std::string PathOf(const CalibrationFolder& folder, const char* pName)
{
    return folder.Result(pName).toLocal8Bit().toStdString();
}

/// Full upright right picture to full upright left picture, from what both cameras see.
cv::Mat FitPair(const Machine& machine, Draw& draw)
{
    const Truth truth(machine);
    const auto match = [&](Side side, const cv::Point2d& mm) {
        const cv::Point2d off(kMatchSigmaPx * draw.Normal(), kMatchSigmaPx * draw.Normal());
        return UprightPoint(*truth.PixelFromMachine(side, mm), truth.PictureSize(side)) + off;
    };
    std::vector<cv::Point2d> left, right;
    const cv::Size2d bed = machine.WorkAreaMm();
    for (int y = 5; y < bed.height; y += 10) {
        for (int x = 5; x < bed.width; x += 10) {
            const cv::Point2d mm(x, y);
            if (truth.Sees(Side::Left, mm) && truth.Sees(Side::Right, mm)) {
                left.push_back(match(Side::Left, mm));
                right.push_back(match(Side::Right, mm));
            }
        }
    }
    return left.size() < 20 ? cv::Mat() : cv::findHomography(right, left, 0);
}

} // namespace

bool WriteLensFiles(const Machine& machine, const std::string& strFolder)
{
    const Truth truth(machine);
    for (const Side side : {Side::Left, Side::Right}) {
        const std::string strFile =
            strFolder + (side == Side::Left ? "/cameraL_calibrateMap.xml" : "/cameraR_calibrateMap.xml");
        if (!Vision::SaveCameraParameters(strFile, cv::Mat(truth.CameraMatrix(side)), cv::Mat::zeros(1, 5, CV_64F),
                                          0.0)) {
            return false;
        }
    }
    return true;
}

bool WriteManualCalibrationFiles(Machine& machine, const std::string& strRoot, const ClickOptions& options,
                                 CalibrationReport& report)
{
    report = CalibrationReport();
    const auto fail = [&](const std::string& strProblem) {
        report.strProblem = strProblem;
        return false;
    };
    if (machine.GetKind() != Machine::Kind::Manual) {
        return fail("only a manual machine has a calibration of this kind");
    }
    const CalibrationFolder folder(QString::fromStdString(strRoot));
    folder.RemoveResults();
    if (!folder.Create() || !folder.WriteMachineSettings(machine.WorkAreaMm()) || !folder.WriteCameraNames()) {
        return fail("cannot write below " + strRoot);
    }
    const auto start = std::chrono::steady_clock::now();
    if (!WriteLensFiles(machine, PathOf(folder, ""))) {
        return fail("cannot write the lens files in " + PathOf(folder, ""));
    }
    Draw draw(options.nSeed, 0x61);
    const cv::Mat leftFromRight = FitPair(machine, draw);
    if (leftFromRight.empty()) {
        return fail("the two cameras see too little together");
    }
    if (!Vision::SaveHomography(PathOf(folder, "mapImgR2L.xml"), leftFromRight)) {
        return fail("cannot write " + PathOf(folder, "mapImgR2L.xml"));
    }
    const std::optional<FusedFrame> frame = AskFusedFrame(machine, leftFromRight);
    if (!frame) {
        return fail("the module does not blend the two pictures");
    }
    report.nStitchedWidth = frame->sizePx.width;
    report.nStitchedHeight = frame->sizePx.height;

    const CrossGrid grid = machine.Grid();
    const std::vector<cv::Point2d> world = grid.PointsMm();
    std::vector<cv::Point2d> marks;
    for (const CrossMark& mark : MarksOf(machine, leftFromRight, *frame, options)) {
        marks.push_back(mark.place);
        CameraCalibrationReport& part = mark.side == Side::Left ? report.left : report.right;
        ++part.nPoints;
        part.clickRmsPx += mark.off.dot(mark.off);
    }
    if (marks.empty()) {
        return fail("a cross lies outside the picture of its camera");
    }
    const cv::Mat mmFromPixel = cv::findHomography(marks, world, 0);
    const cv::Mat pixelFromMm = cv::findHomography(world, marks, 0);
    if (mmFromPixel.empty() || pixelFromMm.empty()) {
        return fail("no homography fits the marks");
    }
    for (CameraCalibrationReport* pPart : {&report.left, &report.right}) {
        pPart->clickRmsPx = std::sqrt(pPart->clickRmsPx / static_cast<double>(pPart->nPoints));
        pPart->refinedRmsPx = pPart->clickRmsPx;
    }
    double sumLeft = 0.0, sumRight = 0.0;
    for (std::size_t i = 0; i < world.size(); ++i) {
        const cv::Point2d error = Mapped(pixelFromMm, world[i]) - marks[i];
        (static_cast<int>(i) % grid.nCol < grid.nColSingle ? sumLeft : sumRight) += error.dot(error);
    }
    report.left.residualPx = std::sqrt(sumLeft / static_cast<double>(report.left.nPoints));
    report.right.residualPx = std::sqrt(sumRight / static_cast<double>(report.right.nPoints));
    if (!Vision::SaveHomography(PathOf(folder, "DualCamera_pix2mm.xml"), mmFromPixel) ||
        !Vision::SaveHomography(PathOf(folder, "DualCamera_mm2pix.xml"), pixelFromMm)) {
        return fail("cannot write " + PathOf(folder, "DualCamera_pix2mm.xml"));
    }
    if (!WriteCameraParam(folder.Result("CameraParam.ini"), "CAMERA_TYPE", 0)) {
        return fail("cannot write " + PathOf(folder, "CameraParam.ini"));
    }
    report.secondsCalibrate = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    report.bSuccess = true;
    return true;
}

} // namespace Simulator
