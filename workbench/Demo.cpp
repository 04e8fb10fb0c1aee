#include "Demo.h"

#include "AccuracyReport.h"
#include "CalibratedMachine.h"
#include "DataFolder.h"
#include "DotLocator.h"
#include "ErrorMap.h"
#include "Failure.h"
#include "FisheyeCalibrationDllR.h"
#include "FolderLock.h"
#include "PictureFile.h"
#include "PluginHost.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <QDir>
#include <QFile>

#include <sys/resource.h>

#include <chrono>
#include <cstdio>

namespace Workbench
{

namespace
{

constexpr double g_dPxPerMm = 6.0;
constexpr double g_dDotPitchMm = 25.0;
constexpr double g_dDotRadiusMm = 1.2;

void Say(const QString& strText)
{
    std::printf("%s\n", qPrintable(strText));
    std::fflush(stdout);
}

class Stopwatch
{
public:
    double Seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count(); }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

double PeakMemoryMib()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

DotOptions DotsOfThisDemo()
{
    DotOptions options;
    options.radiusPx = g_dDotRadiusMm * g_dPxPerMm;
    return options;
}

std::vector<Simulator::EngravedDot> DotGrid(const cv::Size2d& areaMm)
{
    std::vector<Simulator::EngravedDot> dots;
    for (int nRow = 0; (nRow + 0.5) * g_dDotPitchMm < areaMm.height; ++nRow) {
        for (int nCol = 0; (nCol + 0.5) * g_dDotPitchMm < areaMm.width; ++nCol) {
            dots.push_back({cv::Point2d(nCol + 0.5, nRow + 0.5) * g_dDotPitchMm, g_dDotRadiusMm});
        }
    }
    return dots;
}

cv::Mat Grey(const cv::Mat& picture)
{
    cv::Mat grey;
    cv::cvtColor(picture, grey, cv::COLOR_BGR2GRAY);
    return grey;
}

/// The crosses form an upright rectangle, so their hull is their bounding box.
cv::Rect2d HullOf(const std::vector<cv::Point2d>& crosses)
{
    cv::Point2d low = crosses.front();
    cv::Point2d high = low;
    for (const cv::Point2d& cross : crosses) {
        low = {std::min(low.x, cross.x), std::min(low.y, cross.y)};
        high = {std::max(high.x, cross.x), std::max(high.y, cross.y)};
    }
    return {low, high};
}

void MakeFolder(const QString& strFolder)
{
    if (!QDir().mkpath(strFolder)) {
        throw Failure(QString("The folder %1 cannot be made.").arg(strFolder));
    }
}

/// Of an earlier run; they must not stand beside the new pictures should this one be interrupted.
void RemoveResults(const QString& strOut)
{
    for (const char* pName : {"report.json", "error_map.png", "work_area.png"}) {
        QFile::remove(strOut + "/" + pName);
    }
}

void Write(const QString& strFile, const cv::Mat& picture)
{
    WritePicture(strFile, picture, {cv::IMWRITE_PNG_COMPRESSION, 1});
}

void Calibrate(Simulator::Machine& machine, const CommandLine& line, AccuracyReport& report)
{
    Simulator::ClickOptions clicks;
    clicks.sigmaPx = line.dClickErrorPx;
    clicks.nSeed = line.nSeed;
    Simulator::CalibrationReport calibration;
    if (!Simulator::WriteCalibrationFiles(machine, DataRoot().toStdString(), clicks, calibration)) {
        throw Failure(QString("The simulated machine could not be calibrated: %1")
                          .arg(QString::fromStdString(calibration.strProblem)));
    }
    report.dSecondsCalibrate = calibration.secondsCalibrate;
    Say(QString("  %1 and %2 crosses, residual %3 px left, %4 px right")
            .arg(calibration.left.nPoints)
            .arg(calibration.right.nPoints)
            .arg(calibration.left.residualPx, 0, 'f', 3)
            .arg(calibration.right.residualPx, 0, 'f', 3));
}

cv::Mat MakeWorkAreaPicture(PluginHost& host, const cv::Mat& left, const cv::Mat& right, AccuracyReport& report)
{
    const Stopwatch stopwatch;
    cv::Mat fused;
    if (host.Calibrate().CalibAndFusionImage(left, right, fused, false) != 0 || fused.empty()) {
        throw Failure("The plug-in could not stitch the two pictures.");
    }
    cv::Mat workArea;
    if (host.Calibrate().WarpImage(fused, report.workAreaMm.width, report.workAreaMm.height, workArea) != 0) {
        throw Failure("The plug-in could not cut out the work area.");
    }
    report.dSecondsPicture = stopwatch.Seconds();
    report.picturePx = workArea.size();
    report.dPxPerMm = g_dPxPerMm;
    return workArea;
}

double Coverage(const cv::Mat& workArea, const cv::Size& areaMm)
{
    std::size_t nShown = 0;
    for (int y = 0; y < workArea.rows; ++y) {
        const auto* pRow = workArea.ptr<cv::Vec3b>(y);
        for (int x = 0; x < workArea.cols; ++x) {
            nShown += pRow[x] != cv::Vec3b(0, 0, 0) ? 1 : 0;
        }
    }
    return static_cast<double>(nShown) / (areaMm.area() * g_dPxPerMm * g_dPxPerMm);
}

/// Every dot is located in the picture, sent through the plug-in, and held against where it was engraved.
void MeasureDots(PluginHost& host, const cv::Mat& workArea, const std::vector<Simulator::EngravedDot>& dots,
                 const cv::Rect2d& hull, AccuracyReport& report)
{
    const cv::Mat grey = Grey(workArea);
    report.nExpected = static_cast<int>(dots.size());
    for (const Simulator::EngravedDot& dot : dots) {
        const auto place = LocateDot(grey, dot.centreMm * g_dPxPerMm, DotsOfThisDemo());
        if (!place) {
            continue;
        }
        MeasuredPoint point;
        point.truthMm = dot.centreMm;
        host.Calibrate().PixelToWorld(place->x, place->y, &point.measuredMm.x, &point.measuredMm.y, false);
        point.bInsideCrosses = hull.contains(dot.centreMm);
        report.points.push_back(point);
    }
}

/// One camera's picture alone in the machine frame: it takes both places of the stitching.
cv::Mat StitchAlone(const cv::Mat& picture, const QString& strRecord, const cv::Size& sizePx)
{
    FishEyeCalibrationParam param;
    DualFishEyeCalibrationParam dual;
    cv::Mat alone(sizePx, CV_8UC3);
    if (!LoadCalibrationParam(strRecord.toLocal8Bit().constData(), param) ||
        !FishEyeImageStitching(picture.data, picture.cols, picture.rows, 24, param, {}, picture.data, picture.cols,
                               picture.rows, 24, param, {}, alone.data, alone.cols, alone.rows, 24, dual)) {
        throw Failure("One camera alone could not be brought into the machine frame.");
    }
    return Grey(alone);
}

/// True where a camera's picture alone shows all that the locator looks at around a place.
bool Shows(const cv::Mat& alone, const cv::Point2d& placePx)
{
    const DotOptions options = DotsOfThisDemo();
    const int nHalf = static_cast<int>(std::ceil(options.radiusPx + options.searchPx));
    const cv::Rect window(cvRound(placePx.x) - nHalf, cvRound(placePx.y) - nHalf, 2 * nHalf + 1, 2 * nHalf + 1);
    const cv::Rect inside = window & cv::Rect(0, 0, alone.cols, alone.rows);
    return inside == window && cv::countNonZero(alone(window)) == window.area();
}

/// Each camera's picture alone in the machine frame; how far apart the two show the same dot. The seam is the band in
/// which both have crosses, from the right camera's first column to the left one's last; the pictures blend inside it.
void MeasureSeam(const cv::Mat& left, const cv::Mat& right, const std::vector<Simulator::EngravedDot>& dots,
                 const Simulator::CrossGrid& grid, AccuracyReport& report)
{
    const double dFromMm = grid.startMm.x + grid.columnSpacingMm * (grid.nCol - grid.nColSingle);
    const double dToMm = grid.startMm.x + grid.columnSpacingMm * (grid.nColSingle - 1);
    const QString strResult = DataRoot() + "/Vision/calib/Camera_Two/Result/";
    const cv::Mat leftAlone = StitchAlone(left, strResult + "L_AutoDualCalibrate.xml", report.picturePx);
    const cv::Mat rightAlone = StitchAlone(right, strResult + "R_AutoDualCalibrate.xml", report.picturePx);
    for (const Simulator::EngravedDot& dot : dots) {
        const cv::Point2d place = dot.centreMm * g_dPxPerMm;
        const bool bSeam = dot.centreMm.x >= dFromMm && dot.centreMm.x <= dToMm;
        const bool bOverlap = Shows(leftAlone, place) && Shows(rightAlone, place);
        if (!bSeam && !bOverlap) {
            continue;
        }
        report.nSeamExpected += bSeam ? 1 : 0;
        report.nOverlapExpected += bOverlap ? 1 : 0;
        const auto a = LocateDot(leftAlone, place, DotsOfThisDemo());
        const auto b = LocateDot(rightAlone, place, DotsOfThisDemo());
        if (!a || !b) {
            continue;
        }
        const double dApartMm = cv::norm(*a - *b) / g_dPxPerMm;
        if (bSeam) {
            report.seamMm.push_back(dApartMm);
        }
        if (bOverlap) {
            report.overlapMm.push_back(dApartMm);
        }
    }
}

} // namespace

int RunDemo(const CommandLine& line)
{
    const QString strOut = line.strOut;
    const QString strData = line.strDataFolder.isEmpty() ? strOut + "/data" : line.strDataFolder;
    MakeFolder(strOut);
    UseDataFolder(strData);
    MakeFolder(DataRoot());
    const FolderLock lockOut(strOut);
    const FolderLock lockData(DataRoot());
    RemoveResults(strOut);

    AccuracyReport report;
    report.strFlow = "automatic";
    report.nSeed = line.nSeed;
    report.dClickErrorPx = line.dClickErrorPx;

    Say(QString("Setting up the simulated machine, seed %1").arg(line.nSeed));
    Simulator::Machine machine(Simulator::Machine::Kind::Automatic, line.nSeed);
    report.workAreaMm = cv::Size(machine.WorkAreaMm());
    const Simulator::CrossGrid grid = machine.Grid();
    const std::vector<cv::Point2d> crosses = grid.PointsMm();

    Say(QString("Engraving %1 crosses, photographing them and calibrating both cameras").arg(crosses.size()));
    Calibrate(machine, line, report);

    Say("Engraving the dots that the picture is measured by");
    machine.PlaceMaterial();
    const std::vector<Simulator::EngravedDot> dots = DotGrid(machine.WorkAreaMm());
    machine.EngraveDots(dots);
    const cv::Mat left = machine.Snap(Simulator::Side::Left);
    const cv::Mat right = machine.Snap(Simulator::Side::Right);

    Write(strOut + "/left.png", left);
    Write(strOut + "/right.png", right);

    Say("Making the work area picture");
    PluginHost host;
    host.Calibrate().SetWorkAreaSize(report.workAreaMm.width, report.workAreaMm.height);
    host.Calibrate().SetCameraNames("[0] Camera-Left", "[1] Camera-Right");
    {
        const cv::Mat workArea = MakeWorkAreaPicture(host, left, right, report);
        report.dCoverage = Coverage(workArea, report.workAreaMm);
        Say(QString("Locating %1 dots").arg(dots.size()));
        MeasureDots(host, workArea, dots, HullOf(crosses), report);
        Write(strOut + "/work_area.png", workArea);
    }
    MeasureSeam(left, right, dots, grid, report);
    Write(strOut + "/error_map.png", DrawErrorMap(report, crosses));
    report.dMemoryMib = PeakMemoryMib();
    if (!WriteReport(report, strOut + "/report.json")) {
        throw Failure(QString("The report cannot be written to %1/report.json.").arg(strOut));
    }
    Say(QString("Wrote work_area.png, error_map.png, report.json, left.png and right.png to %1").arg(strOut));
    Say(ReportTable(report));
    for (const QString& strMissed : report.MissedMeasures()) {
        std::fprintf(stderr, "Measure missed: %s.\n", qPrintable(strMissed));
    }
    return report.MissedMeasures().isEmpty() ? Success : MeasureMissed;
}

} // namespace Workbench
