#include "CalibratedMachine.h"

#include "CalibrationFolder.h"
#include "CrossPtsDetectDllR.h"
#include "FisheyeCalibrationDllR.h"
#include "Truth.h"

#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace Simulator
{

namespace
{

/// A stitched picture beyond this is a mistake of the module, not a picture.
constexpr std::size_t kMaxStitchedBytes = std::size_t{2} << 30;

/// What the wizard calls the files of one camera.
struct CameraFiles {
    Side side;
    QString strPicture;
    QString strSettings;
    QString strPoints;
    QString strRecord;
};

CameraFiles FilesOf(const CalibrationFolder& folder, Side side)
{
    const bool bLeft = side == Side::Left;
    const QString strSide = bLeft ? "Left" : "Right";
    return {side, folder.Picture("DualCamBeforeCalibrate_" + strSide + "Temp.bmp"),
            folder.Result(strSide + "CameraParam.ini"), folder.Result(strSide + "CalPts.txt"),
            folder.Result(bLeft ? "L_AutoDualCalibrate.xml" : "R_AutoDualCalibrate.xml")};
}

/// A picture as the module hands it out. The module never frees it and uses it again when the pointer comes back, so
/// one thread keeps one a side for good.
struct RawPicture {
    unsigned char* pPixels = nullptr;
    long nWidth = 0;
    long nHeight = 0;
    int nBits = 0;
};

RawPicture& PictureOf(Side side)
{
    thread_local RawPicture left, right;
    return side == Side::Left ? left : right;
}

bool Read(const CameraFiles& files, std::string& strProblem)
{
    RawPicture& picture = PictureOf(files.side);
    if (!Read_Image(picture.pPixels, picture.nWidth, picture.nHeight, picture.nBits,
                    files.strPicture.toLocal8Bit().constData())) {
        strProblem = "cannot read the picture " + files.strPicture.toStdString();
        return false;
    }
    return true;
}

bool Click(const Machine& machine, Side side, const ClickOptions& options, std::vector<CalibrationPoint>& clicks,
           CameraCalibrationReport& report, std::string& strProblem)
{
    const CrossGrid grid = machine.Grid();
    clicks.clear();
    for (const cv::Point2d& pixel : ClickCrosses(machine, side, options, &report.clickRmsPx)) {
        const int nId = static_cast<int>(clicks.size()) + 1;
        CalibrationPoint click;
        click.nId = nId;
        click.nRow = (nId - 1) / grid.nColSingle;
        click.nCol = (nId - 1) % grid.nRow;
        click.fImageX = static_cast<float>(pixel.x);
        click.fImageY = static_cast<float>(pixel.y);
        clicks.push_back(click);
    }
    report.nPoints = clicks.size();
    if (clicks.empty()) {
        strProblem = "a cross lies outside the picture of its camera";
        return false;
    }
    return true;
}

/// Distance of the points' pixels from where the truth has the crosses that they say they are.
double RmsFromTruth(const Machine& machine, Side side, const std::vector<CalibrationPoint>& points)
{
    const Truth truth(machine);
    double sum = 0.0;
    for (const CalibrationPoint& point : points) {
        const auto pixel = truth.PixelFromMachine(side, cv::Point2d(point.fWorldX, point.fWorldY));
        if (!pixel) {
            return INFINITY;
        }
        const cv::Point2d error = *pixel - cv::Point2d(point.fImageX, point.fImageY);
        sum += error.dot(error);
    }
    return points.empty() ? 0.0 : std::sqrt(sum / static_cast<double>(points.size()));
}

/// What confirming the page of one camera does.
bool CalibrateCamera(Machine& machine, const CameraFiles& files, std::vector<CalibrationPoint> points,
                     CameraCalibrationReport& report, std::string& strProblem)
{
    const CrossGrid grid = machine.Grid();
    const std::string strSide = files.side == Side::Left ? "left" : "right";
    (files.side == Side::Left ? LeftPtsRearrange : RightPtsRearrange)(points, grid.nRow, grid.nCol);
    if (!Read(files, strProblem)) {
        return false;
    }
    const RawPicture& picture = PictureOf(files.side);
    std::vector<unsigned char> grey(static_cast<std::size_t>(picture.nWidth) *
                                    static_cast<std::size_t>(picture.nHeight));
    ConvertRGBToGray(picture.pPixels, picture.nWidth, picture.nHeight, picture.nBits, grey.data());

    const std::vector<cv::Point2d> world = grid.PointsMm();
    for (CalibrationPoint& point : points) {
        if (point.nId < 1 || static_cast<std::size_t>(point.nId) > world.size()) {
            strProblem = "the rearranging gave a point of the " + strSide + " camera the id " +
                         std::to_string(point.nId) + ", which the grid does not have";
            return false;
        }
        const cv::Point2d& mm = world[static_cast<std::size_t>(point.nId - 1)];
        point.fWorldX = static_cast<float>(static_cast<int>(mm.x));
        point.fWorldY = static_cast<float>(static_cast<int>(mm.y));
        point.fWorldZ = 0.0f;
    }
    if (!WritePoints(files.strPoints, points)) {
        strProblem = "cannot write " + files.strPoints.toStdString();
        return false;
    }

    const long nOutWidth = 2 * picture.nWidth;
    const long nOutHeight = 2 * picture.nHeight;
    FishEyeCalibrationParam record;
    if (!SingleCamCalibration(grey.data(), picture.nWidth, picture.nHeight, 8, points, nOutWidth, nOutHeight, record,
                              report.residualPx)) {
        strProblem = "the calibration of the " + strSide + " camera failed";
        return false;
    }
    report.refinedRmsPx = RmsFromTruth(machine, files.side, points);
    if (!WriteCameraParam(files.strSettings, "AUTO_CALIBRATION_OUTPUT_WIDTH", static_cast<int>(nOutWidth)) ||
        !WriteCameraParam(files.strSettings, "AUTO_CALIBRATION_OUTPUT_HEIGHT", static_cast<int>(nOutHeight)) ||
        !WriteCameraParam(files.strSettings, "CAMERA_TYPE", 1) ||
        !WriteCameraParam(files.strSettings, "AUTO_CALIBRATION", 1)) {
        strProblem = "cannot write " + files.strSettings.toStdString();
        return false;
    }
    if (!SaveCalibrationParam(files.strRecord.toLocal8Bit().constData(), record)) {
        strProblem = "cannot write " + files.strRecord.toStdString();
        return false;
    }
    return true;
}

/// What the stitching page does.
bool Stitch(const CalibrationFolder& folder, const CameraFiles& leftFiles, const CameraFiles& rightFiles,
            CalibrationReport& report)
{
    const QString strFile = folder.Result("AutoDualCalibrate_stitch.xml");
    if (!WriteCameraParam(strFile, "CAMERA_TYPE", 1) || !WriteCameraParam(strFile, "AUTO_CALIBRATION", 1)) {
        report.strProblem = "cannot write " + strFile.toStdString();
        return false;
    }
    if (!Read(leftFiles, report.strProblem) || !Read(rightFiles, report.strProblem)) {
        return false;
    }
    const RawPicture& left = PictureOf(Side::Left);
    const RawPicture& right = PictureOf(Side::Right);
    FishEyeCalibrationParam leftRecord, rightRecord;
    std::vector<CalibrationPoint> leftPoints, rightPoints;
    if (!LoadCalibrationParam(leftFiles.strRecord.toLocal8Bit().constData(), leftRecord) ||
        !LoadCalibrationParam(rightFiles.strRecord.toLocal8Bit().constData(), rightRecord) ||
        !ReadPoints(leftFiles.strPoints, leftPoints) || !ReadPoints(rightFiles.strPoints, rightPoints)) {
        report.strProblem = "what was just written does not read back in " + folder.Result("").toStdString();
        return false;
    }
    long nWidth = 0;
    long nHeight = 0;
    int nBits = 24;
    if (!ComputeStitchedImageSize(left.pPixels, left.nWidth, left.nHeight, left.nBits, leftRecord, leftPoints,
                                  right.pPixels, right.nWidth, right.nHeight, right.nBits, rightRecord, rightPoints,
                                  nWidth, nHeight, nBits)) {
        report.strProblem = "the module gives no size of the stitched picture";
        return false;
    }
    const std::size_t nPixelBytes = static_cast<std::size_t>(std::max(nBits, left.nBits)) / 8;
    if (nWidth <= 0 || nHeight <= 0 || nPixelBytes == 0 ||
        static_cast<std::size_t>(nWidth) > kMaxStitchedBytes / nPixelBytes / static_cast<std::size_t>(nHeight)) {
        report.strProblem = "the module wants a stitched picture of " + std::to_string(nWidth) + " x " +
                            std::to_string(nHeight) + " pixels";
        return false;
    }
    std::vector<unsigned char> stitched(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight) *
                                        nPixelBytes);
    DualFishEyeCalibrationParam pairRecord;
    if (!FishEyeImageStitching(left.pPixels, left.nWidth, left.nHeight, left.nBits, leftRecord, leftPoints,
                               right.pPixels, right.nWidth, right.nHeight, right.nBits, rightRecord, rightPoints,
                               stitched.data(), nWidth, nHeight, left.nBits, pairRecord)) {
        report.strProblem = "the stitching failed";
        return false;
    }
    report.nStitchedWidth = static_cast<int>(nWidth);
    report.nStitchedHeight = static_cast<int>(nHeight);
    const QString strPairRecord = folder.Result("DualCamerasCalibrationParam.ini");
    const QString strStitched = folder.Picture("DImage.bmp");
    if (!WriteCameraParam(strFile, "AUTO_CALIBRATION_OUTPUT_HEIGHT", report.nStitchedHeight) ||
        !WriteCameraParam(strFile, "AUTO_CALIBRATION_OUTPUT_WIDTH", report.nStitchedWidth) ||
        !WriteCameraParam(strFile, "AUTO_CALIBRATION_OUTPUT_STITCHEDIMAGE_BIT", left.nBits)) {
        report.strProblem = "cannot write " + strFile.toStdString();
        return false;
    }
    if (!SaveDualCamerasCalibrationParam(strPairRecord.toLocal8Bit().constData(), pairRecord)) {
        report.strProblem = "cannot write " + strPairRecord.toStdString();
        return false;
    }
    if (!Save_Image(stitched.data(), nWidth, nHeight, left.nBits, strStitched.toLocal8Bit().constData())) {
        report.strProblem = "cannot write " + strStitched.toStdString();
        return false;
    }
    return true;
}

} // namespace

bool WriteCalibrationFiles(Machine& machine, const std::string& strRoot, const ClickOptions& options,
                           CalibrationReport& report)
{
    report = CalibrationReport();
    if (machine.GetKind() != Machine::Kind::Automatic) {
        report.strProblem = "only an automatic machine has a calibration of this kind";
        return false;
    }
    const CalibrationFolder folder(QString::fromStdString(strRoot));
    folder.RemoveResults();
    if (!folder.Create() || !folder.WriteMachineSettings(machine.WorkAreaMm()) || !folder.WriteCameraNames()) {
        report.strProblem = "cannot write below " + strRoot;
        return false;
    }
    machine.PlaceMaterial();
    machine.EngraveCrossGrid();
    const CameraFiles leftFiles = FilesOf(folder, Side::Left);
    const CameraFiles rightFiles = FilesOf(folder, Side::Right);
    for (const CameraFiles& files : {leftFiles, rightFiles}) {
        if (!cv::imwrite(files.strPicture.toStdString(), machine.Snap(files.side))) {
            report.strProblem = "cannot write " + files.strPicture.toStdString();
            return false;
        }
    }
    const auto start = std::chrono::steady_clock::now();
    for (const CameraFiles& files : {leftFiles, rightFiles}) {
        CameraCalibrationReport& side = files.side == Side::Left ? report.left : report.right;
        std::vector<CalibrationPoint> clicks;
        if (!Click(machine, files.side, options, clicks, side, report.strProblem) ||
            !CalibrateCamera(machine, files, clicks, side, report.strProblem)) {
            return false;
        }
    }
    if (!Stitch(folder, leftFiles, rightFiles, report)) {
        return false;
    }
    report.secondsCalibrate = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    report.bSuccess = true;
    return true;
}

} // namespace Simulator
