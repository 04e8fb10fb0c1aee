#include "Measurement.h"

#include "DataFolder.h"
#include "DotLocator.h"
#include "Failure.h"
#include "FisheyeCalibrationDllR.h"
#include "FusedFrame.h"
#include "KorvaneVision.h"
#include "Stopwatch.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <optional>

namespace Workbench
{

namespace
{

constexpr double g_dDotPitchMm = 25.0;
constexpr double g_dDotRadiusMm = 1.2;
/// Of the first dot, in pitches. Not the middle: a picture that is turned or mirrored must not show dots in the same
/// places.
constexpr double g_dFirstDot = 0.4;

DotOptions DotsToLocate()
{
    DotOptions options;
    options.radiusPx = g_dDotRadiusMm * g_dPxPerMm;
    return options;
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

QString ResultFolder()
{
    return DataRoot() + "/Vision/calib/Camera_Two/Result/";
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

/// Both pictures, each alone in the machine frame.
struct AlonePictures {
    cv::Mat left;
    cv::Mat right;
};

cv::Mat ReadHomography(const QString& strFile)
{
    cv::Mat homography;
    if (!Korvane::CameraCalibration::LoadHomography(strFile.toLocal8Bit().toStdString(), homography)) {
        throw Failure("The homography %1 cannot be read.", {strFile});
    }
    return homography;
}

AlonePictures EachAlone(const cv::Mat& left, const cv::Mat& right, const cv::Size& sizePx)
{
    return {StitchAlone(left, ResultFolder() + "L_AutoDualCalibrate.xml", sizePx),
            StitchAlone(right, ResultFolder() + "R_AutoDualCalibrate.xml", sizePx)};
}

/// Manual flow: the road of a work area picture, without the blending.
AlonePictures EachAlone(const cv::Mat& left, const cv::Mat& right, const cv::Size& sizePx,
                        const Simulator::Machine& machine)
{
    const cv::Mat leftFromRight = ReadHomography(ResultFolder() + "mapImgR2L.xml");
    const std::optional<Simulator::FusedFrame> frame = Simulator::AskFusedFrame(machine, leftFromRight);
    if (!frame) {
        throw Failure("One camera alone could not be brought into the machine frame.");
    }
    const cv::Matx33d mmFromFused(ReadHomography(ResultFolder() + "DualCamera_pix2mm.xml"));
    const cv::Matx33d areaFromMm = cv::Matx33d::diag({g_dPxPerMm, g_dPxPerMm, 1.0});
    const cv::Matx33d fusedFromLeft(1.0, 0.0, frame->originPx.x, 0.0, 1.0, frame->originPx.y, 0.0, 0.0, 1.0);
    const cv::Matx33d areaFromLeft = areaFromMm * mmFromFused * fusedFromLeft;
    AlonePictures alone;
    cv::warpPerspective(Grey(left), alone.left, areaFromLeft * Simulator::UprightFromRaw(left.size()), sizePx);
    cv::warpPerspective(Grey(right), alone.right,
                        areaFromLeft * cv::Matx33d(leftFromRight) * Simulator::UprightFromRaw(right.size()), sizePx);
    return alone;
}

/// True where a camera's picture alone shows all that the locator looks at around a place.
bool Shows(const cv::Mat& alone, const cv::Point2d& placePx)
{
    const DotOptions options = DotsToLocate();
    const int nHalf = static_cast<int>(std::ceil(options.radiusPx + options.searchPx));
    const cv::Rect window(cvRound(placePx.x) - nHalf, cvRound(placePx.y) - nHalf, 2 * nHalf + 1, 2 * nHalf + 1);
    const cv::Rect inside = window & cv::Rect(0, 0, alone.cols, alone.rows);
    return inside == window && cv::countNonZero(alone(window)) == window.area();
}

/// How far apart the two show the dot that was engraved there; empty where one of them does not show it.
std::optional<double> ApartMm(const AlonePictures& alone, const cv::Point2d& placePx)
{
    const auto a = LocateDot(alone.left, placePx, DotsToLocate());
    const auto b = LocateDot(alone.right, placePx, DotsToLocate());
    return a && b ? std::optional(cv::norm(*a - *b) / g_dPxPerMm) : std::nullopt;
}

} // namespace

std::vector<Simulator::EngravedDot> DotGrid(const cv::Size2d& areaMm)
{
    std::vector<Simulator::EngravedDot> dots;
    for (int nRow = 0; (nRow + g_dFirstDot) * g_dDotPitchMm < areaMm.height; ++nRow) {
        for (int nCol = 0; (nCol + g_dFirstDot) * g_dDotPitchMm < areaMm.width; ++nCol) {
            dots.push_back({cv::Point2d(nCol + g_dFirstDot, nRow + g_dFirstDot) * g_dDotPitchMm, g_dDotRadiusMm});
        }
    }
    return dots;
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

void MeasureDots(PluginHost& host, const cv::Mat& workArea, const std::vector<Simulator::EngravedDot>& dots,
                 const std::vector<cv::Point2d>& crosses, AccuracyReport& report)
{
    const cv::Rect2d hull = HullOf(crosses);
    const cv::Mat grey = Grey(workArea);
    report.nExpected = static_cast<int>(dots.size());
    for (const Simulator::EngravedDot& dot : dots) {
        const auto place = LocateDot(grey, dot.centreMm * g_dPxPerMm, DotsToLocate());
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

void MeasureSeam(const cv::Mat& left, const cv::Mat& right, const std::vector<Simulator::EngravedDot>& dots,
                 const Simulator::CrossGrid& grid, AccuracyReport& report)
{
    const double dFromMm = grid.startMm.x + grid.columnSpacingMm * (grid.nCol - grid.nColSingle);
    const double dToMm = grid.startMm.x + grid.columnSpacingMm * (grid.nColSingle - 1);
    const AlonePictures alone = EachAlone(left, right, report.picturePx);
    for (const Simulator::EngravedDot& dot : dots) {
        const cv::Point2d place = dot.centreMm * g_dPxPerMm;
        const bool bSeam = dot.centreMm.x >= dFromMm && dot.centreMm.x <= dToMm;
        const bool bOverlap = Shows(alone.left, place) && Shows(alone.right, place);
        if (!bSeam && !bOverlap) {
            continue;
        }
        report.nSeamExpected += bSeam ? 1 : 0;
        report.nOverlapExpected += bOverlap ? 1 : 0;
        const std::optional<double> apartMm = ApartMm(alone, place);
        if (apartMm && bSeam) {
            report.seamMm.push_back(*apartMm);
        }
        if (apartMm && bOverlap) {
            report.overlapMm.push_back(*apartMm);
        }
    }
}

void MeasureManualSeam(const cv::Mat& left, const cv::Mat& right, const std::vector<Simulator::EngravedDot>& dots,
                       const Simulator::Machine& machine, AccuracyReport& report)
{
    const AlonePictures alone = EachAlone(left, right, report.picturePx, machine);
    for (const Simulator::EngravedDot& dot : dots) {
        const cv::Point2d place = dot.centreMm * g_dPxPerMm;
        if (!Shows(alone.left, place) || !Shows(alone.right, place)) {
            continue;
        }
        ++report.nSeamExpected;
        if (const std::optional<double> apartMm = ApartMm(alone, place)) {
            report.seamMm.push_back(*apartMm);
        }
    }
}

} // namespace Workbench
