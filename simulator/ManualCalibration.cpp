#include "CalibratedMachine.h"

#include "CalibrationFolder.h"
#include "KorvaneVision.h"
#include "SeededNoise.h"
#include "Truth.h"

#include <opencv2/calib3d.hpp>

#include <chrono>
#include <cmath>
#include <optional>
#include <tuple>

namespace Simulator
{

namespace
{

namespace Vision = Korvane::CameraCalibration;

const cv::Size kRawSize(2592, 1944);
/// How far matched features of one thing in two pictures are off.
constexpr double kMatchSigmaPx = 0.3;
/// The run-time road's scales for a canvas of 900 x 600, as it calls rectification and blending.
constexpr double kRectifyX = 1.0, kRectifyY = 0.800000011920929;
constexpr double kBlendX = 1.2499999813735487, kBlendY = 1.0;

std::string PathOf(const CalibrationFolder& folder, const char* pName)
{
    return folder.Result(pName).toLocal8Bit().toStdString();
}

/// Pixel of the picture turned by 90 degrees clockwise.
cv::Point2d Upright(const cv::Point2d& raw)
{
    return {kRawSize.height - 1 - raw.y, raw.x};
}

cv::Point2d Map(const cv::Mat& homography, const cv::Point2d& p)
{
    const cv::Vec3d q = cv::Matx33d(homography) * cv::Vec3d(p.x, p.y, 1.0);
    return {q[0] / q[2], q[1] / q[2]};
}

/// Full upright right picture to full upright left picture, from what both cameras see.
cv::Mat FitPair(const Machine& machine, Draw& draw)
{
    const Truth truth(machine);
    const auto match = [&](Side side, const cv::Point2d& mm) {
        const cv::Point2d off(kMatchSigmaPx * draw.Normal(), kMatchSigmaPx * draw.Normal());
        return Upright(*truth.PixelFromMachine(side, mm)) + off;
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

bool Blend(const cv::Mat& left, const cv::Mat& right, const Machine& machine, const cv::Mat& leftFromRight,
           cv::Mat& fused)
{
    const Truth truth(machine);
    const Vision::ImageDirFlags flags(cv::ROTATE_90_CLOCKWISE, false, false);
    cv::Mat leftRectified, rightRectified;
    double score = 0.0;
    for (const auto& [side, pRaw, pRectified] :
         {std::tuple{Side::Left, &left, &leftRectified}, std::tuple{Side::Right, &right, &rightRectified}}) {
        cv::Mat camera(truth.CameraMatrix(side));
        cv::Mat distortion = cv::Mat::zeros(1, 5, CV_64F);
        if (!Vision::UnDistortedImage(*pRaw, camera, distortion, kRectifyX, kRectifyY, *pRectified)) {
            return false;
        }
    }
    return Vision::DoBlendingImageForDualCam(leftRectified, flags, rightRectified, flags, kBlendX, kBlendY,
                                             leftFromRight, score, fused) &&
           !fused.empty();
}

/// Where the upright left picture's (0, 0) lies in the fused picture. Found by showing the module a bright square.
std::optional<cv::Point2d> AskOffset(const Machine& machine, const cv::Mat& leftFromRight, cv::Size& fusedSize)
{
    const cv::Point rawMiddle(1300, 1500); // far from the seam: upright x is small
    cv::Mat left = cv::Mat::zeros(kRawSize, CV_8UC3);
    left(cv::Rect(rawMiddle.x - 30, rawMiddle.y - 30, 61, 61)).setTo(cv::Scalar::all(200));
    cv::Mat fused;
    if (!Blend(left, cv::Mat::zeros(kRawSize, CV_8UC3), machine, leftFromRight, fused)) {
        return std::nullopt;
    }
    fusedSize = fused.size();
    double sum = 0.0, sumX = 0.0, sumY = 0.0;
    for (int y = 0; y < fused.rows; ++y) {
        for (int x = 0; x < fused.cols; ++x) {
            const double w = fused.at<cv::Vec3b>(y, x)[1];
            sum += w;
            sumX += w * x;
            sumY += w * y;
        }
    }
    if (!(sum > 0.0)) {
        return std::nullopt;
    }
    const cv::Point2d offset = cv::Point2d(sumX / sum, sumY / sum) - Upright(rawMiddle);
    // The centroid of a resampled square is good to a few hundredths; whole pixels are taken as such.
    const cv::Point2d whole(std::round(offset.x), std::round(offset.y));
    return cv::norm(offset - whole) < 0.1 ? whole : offset;
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
    const Truth truth(machine);

    Draw draw(options.nSeed, 0x61);
    const cv::Mat leftFromRight = FitPair(machine, draw);
    if (leftFromRight.empty()) {
        return fail("the two cameras see too little together");
    }
    if (!Vision::SaveHomography(PathOf(folder, "mapImgR2L.xml"), leftFromRight)) {
        return fail("cannot write " + PathOf(folder, "mapImgR2L.xml"));
    }
    cv::Size fusedSize;
    const std::optional<cv::Point2d> offset = AskOffset(machine, leftFromRight, fusedSize);
    if (!offset) {
        return fail("the module does not blend the two pictures");
    }
    report.nStitchedWidth = fusedSize.width;
    report.nStitchedHeight = fusedSize.height;

    const CrossGrid grid = machine.Grid();
    const std::vector<cv::Point2d> world = grid.PointsMm();
    std::vector<cv::Point2d> marks;
    for (std::size_t i = 0; i < world.size(); ++i) {
        const Side side = static_cast<int>(i) % grid.nCol < grid.nColSingle ? Side::Left : Side::Right;
        if (!truth.Sees(side, world[i])) {
            return fail("a cross lies outside the picture of its camera");
        }
        const cv::Point2d upright = Upright(*truth.PixelFromMachine(side, world[i]));
        const cv::Point2d off(options.sigmaPx * draw.Normal(), options.sigmaPx * draw.Normal());
        marks.push_back(*offset + (side == Side::Left ? upright : Map(leftFromRight, upright)) + off);
        CameraCalibrationReport& part = side == Side::Left ? report.left : report.right;
        ++part.nPoints;
        part.clickRmsPx += off.dot(off);
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
        const cv::Point2d error = Map(pixelFromMm, world[i]) - marks[i];
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
