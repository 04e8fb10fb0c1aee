// Calibration of one camera from one picture of engraved crosses. Clicks give a first model; the model tells where each
// cross lies and how its arms run; the measured crosses give the next model.

#include "ArrowHeads.h"
#include "CameraFit.h"
#include "CrossRefinement.h"
#include "RobustStatistics.h"

#include "FisheyeCalibrationDllR.h"
#include "Log.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <set>

namespace Fisheye
{

namespace
{

constexpr long kLargestSide = 32768;
constexpr std::size_t kMostPoints = 1000;
constexpr double kUsualClickSigmaPx = 3.0;  ///< of a hand, in a picture of the usual size
constexpr double kBestClickSigmaPx = 0.3;   ///< of points that something else has refined before
constexpr double kSystematicFloorPx = 0.03; ///< no cross is known better than this
constexpr int kPasses = 4;

/// One point on its way from click to measured cross.
struct Mark {
    cv::Point3d machineMm;
    cv::Point2d click;
    cv::Point2d pixel; ///< measured, or still the click
    double sigmaPx = kUsualClickSigmaPx;
    double contrast = 0.0; ///< of the cross's lines, grey levels
    bool bOnCross = false;
};

/// Smaller over larger standard deviation along the principal axes of points in the plane.
double Flatness(const std::vector<cv::Point2d>& points)
{
    cv::Point2d mean;
    for (const cv::Point2d& point : points) {
        mean += point / static_cast<double>(points.size());
    }
    double xx = 0.0;
    double xy = 0.0;
    double yy = 0.0;
    for (const cv::Point2d& point : points) {
        const cv::Point2d d = point - mean;
        xx += d.x * d.x;
        xy += d.x * d.y;
        yy += d.y * d.y;
    }
    const double half = 0.5 * (xx + yy);
    const double root = std::hypot(0.5 * (xx - yy), xy);
    return half + root > 0.0 ? std::sqrt(std::max(0.0, half - root) / (half + root)) : 0.0;
}

double NearestDistance(const std::vector<cv::Point2d>& points)
{
    double nearest = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < points.size(); ++i) {
        for (std::size_t j = i + 1; j < points.size(); ++j) {
            nearest = std::min(nearest, cv::norm(points[i] - points[j]));
        }
    }
    return nearest;
}

/// What makes the points useless for a calibration, or null.
const char* WhatIsWrongWith(const std::vector<CalibrationPoint>& points, long width, long height)
{
    if (2 * points.size() < static_cast<std::size_t>(kCameraUnknowns)) {
        return "there are fewer points than the camera has unknowns";
    }
    if (points.size() > kMostPoints) {
        return "there are more points than any grid has";
    }
    std::set<int> ids;
    std::vector<cv::Point2d> surface;
    std::vector<cv::Point2d> picture;
    for (const CalibrationPoint& point : points) {
        for (const float value : {point.fWorldX, point.fWorldY, point.fWorldZ, point.fImageX, point.fImageY}) {
            if (!std::isfinite(value) || std::abs(value) > 1.0e6f) {
                return "a coordinate is no finite number";
            }
        }
        constexpr float kOutsidePx = 10.0f;
        if (point.fImageX < -kOutsidePx || point.fImageY < -kOutsidePx ||
            point.fImageX > static_cast<float>(width) + kOutsidePx ||
            point.fImageY > static_cast<float>(height) + kOutsidePx) {
            return "a point lies outside the picture";
        }
        if (!ids.insert(point.nId).second) {
            return "two points have the same id";
        }
        surface.emplace_back(point.fWorldX, point.fWorldY);
        picture.emplace_back(point.fImageX, point.fImageY);
    }
    if (NearestDistance(surface) < 0.01 || NearestDistance(picture) < 0.5) {
        return "two points lie on the same place";
    }
    if (Flatness(surface) < 0.02 || Flatness(picture) < 0.02) {
        return "the points lie on one line";
    }
    return nullptr;
}

std::vector<MarkObservation> Observations(const std::vector<Mark>& marks)
{
    std::vector<MarkObservation> observations;
    observations.reserve(marks.size());
    for (const Mark& mark : marks) {
        observations.push_back({mark.machineMm, mark.pixel, mark.sigmaPx});
    }
    return observations;
}

/// Typical residual of the marks on crosses (of all marks, before there are any), pixels per axis.
double TypicalResidualPx(const std::vector<Mark>& marks, const FisheyeModel& model)
{
    const std::vector<double> residuals = ResidualsPx(Observations(marks), model);
    std::vector<double> chosen;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        if (marks[i].bOnCross) {
            chosen.push_back(residuals[i]);
        }
    }
    const std::vector<double>& values = 2 * chosen.size() >= marks.size() ? chosen : residuals;
    // Median of a distance in the plane is 1.18 sigma; the fit has swallowed its share of the freedom.
    const double freedom = std::max(0.2, 1.0 - 0.5 * kCameraUnknowns / static_cast<double>(values.size()));
    return MedianOf(values) / 1.18 / std::sqrt(freedom);
}

/// Half the length of arm that is looked at: inside the usual cross, and clear of the neighbours.
double ArmToLookAtMm(const std::vector<Mark>& marks)
{
    std::vector<cv::Point2d> surface;
    surface.reserve(marks.size());
    for (const Mark& mark : marks) {
        surface.emplace_back(mark.machineMm.x, mark.machineMm.y);
    }
    constexpr double kUsualArmMm = 18.0;
    return std::min(kUsualArmMm, 0.3 * NearestDistance(surface));
}

double MedianContrast(const std::vector<Mark>& marks)
{
    std::vector<double> contrasts;
    for (const Mark& mark : marks) {
        if (mark.bOnCross) {
            contrasts.push_back(mark.contrast);
        }
    }
    return MedianOf(std::move(contrasts));
}

/// Grain and scratches may look like a cross, but a far fainter one than all others.
void DropFaintCrosses(double clickSigmaPx, std::vector<Mark>& marks)
{
    constexpr double kFaint = 0.35;
    const double leastContrast = kFaint * MedianContrast(marks);
    for (Mark& mark : marks) {
        if (mark.bOnCross && mark.contrast < leastContrast) {
            mark.bOnCross = false;
            mark.pixel = mark.click;
            mark.sigmaPx = clickSigmaPx;
        }
    }
}

/// What the passes before have taught.
struct Pass {
    int nPass = 0;
    double typicalPx = 1.0;    ///< residual of the marks on crosses
    double clickSigmaPx = 1.0; ///< of the marks on none
};

/// One pass over all marks with the model of the pass before.
void MeasureMarks(const cv::Mat& gray, const FisheyeModel& model, const Pass& pass, const CrossSearch& base,
                  std::vector<Mark>& marks)
{
    const double typicalPx = pass.typicalPx;
    const int nPass = pass.nPass;
    const FisheyeProjector projector(model);
    for (Mark& mark : marks) {
        const std::optional<cv::Point2d> predicted = projector.PixelFromMachine(mark.machineMm);
        if (!predicted) {
            continue;
        }
        CrossSearch search = base;
        // Slopes are free while the model comes from clicks; later it knows them better than a single arm does.
        search.slope = nPass == 0 ? 0.02 : 0.003;
        search.radiusPx = nPass == 0 ? base.radiusPx : std::min(base.radiusPx, 2.0 + 4.0 * typicalPx);
        const double offPx = cv::norm(mark.pixel - *predicted);
        std::optional<CrossCentre> centre;
        if (mark.bOnCross && offPx < 1.0 + 6.0 * typicalPx) {
            centre = LocateCross(gray, projector, mark.pixel, search, false);
        }
        if (!centre) {
            centre = LocateCross(gray, projector, *predicted, search, true);
        }
        if (!centre && nPass == 0 && offPx > 0.5 * search.radiusPx) {
            centre = LocateCross(gray, projector, mark.click, search, true);
        }
        if (!centre && nPass > 0) {
            // Grain along an arm can hide a cross from the search; where the model knows the place none is needed.
            centre = LocateCross(gray, projector, *predicted, search, false);
            if (centre && cv::norm(centre->pixel - *predicted) > 0.5 + 4.0 * typicalPx) {
                centre.reset();
            }
        }
        mark.bOnCross = centre.has_value();
        mark.contrast = centre ? centre->contrast : 0.0;
        mark.pixel = centre ? centre->pixel : mark.click;
        mark.sigmaPx = centre ? std::hypot(centre->sigmaPx, kSystematicFloorPx) : pass.clickSigmaPx;
    }
    DropFaintCrosses(pass.clickSigmaPx, marks);
}

std::size_t CountOnCross(const std::vector<Mark>& marks)
{
    return static_cast<std::size_t>(
        std::count_if(marks.begin(), marks.end(), [](const Mark& mark) { return mark.bOnCross; }));
}

/// The fit is told how well its model can follow the lens: errors common to all marks are no reason to doubt one.
void AddSystematic(double typicalPx, std::vector<Mark>& marks)
{
    for (Mark& mark : marks) {
        if (mark.bOnCross) {
            mark.sigmaPx = std::hypot(mark.sigmaPx, typicalPx);
        }
    }
}

/// Alternates measuring and fitting.
std::optional<FisheyeModel> MeasureAndFit(const cv::Mat& gray, const FisheyeModel& fromClicks, double clickSigmaPx,
                                          const CrossSearch& search, std::vector<Mark>& marks)
{
    FisheyeModel model = fromClicks;
    Pass pass{0, clickSigmaPx, clickSigmaPx};
    for (; pass.nPass < kPasses; ++pass.nPass) {
        MeasureMarks(gray, model, pass, search, marks);
        AddSystematic(pass.nPass == 0 ? 0.1 : std::min(pass.typicalPx, 1.0), marks);
        const auto next = RefitCamera(Observations(marks), model);
        if (!next) {
            return std::nullopt;
        }
        model = *next;
        const double typicalPx = TypicalResidualPx(marks, model);
        pass.typicalPx = std::clamp(typicalPx, 0.01, clickSigmaPx);
        if (2 * CountOnCross(marks) < marks.size()) {
            // The clicks are all there is; the better they agree, the sooner one of them is wrong.
            pass.clickSigmaPx = std::clamp(typicalPx, kBestClickSigmaPx, pass.clickSigmaPx);
        }
    }
    return model;
}

/// RMS over the marks on crosses; over all marks where most lie on none.
double RmsResidualPx(const std::vector<Mark>& marks, const FisheyeModel& model)
{
    const bool bCrossesOnly = 2 * CountOnCross(marks) >= marks.size();
    const std::vector<double> residuals = ResidualsPx(Observations(marks), model);
    double sum = 0.0;
    double n = 0.0;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        if (marks[i].bOnCross || !bCrossesOnly) {
            sum += residuals[i] * residuals[i];
            n += 1.0;
        }
    }
    return std::sqrt(sum / n);
}

/// How far off the model may be on the surface, from what the marks leave open: RMS over the marks, millimetres.
double PredictedRmsMm(const std::vector<Mark>& marks, const FisheyeModel& model)
{
    double sum = 0.0;
    for (const double sigmaMm : PredictedSigmasMm(Observations(marks), model)) {
        sum += sigmaMm * sigmaMm;
    }
    return std::sqrt(sum / static_cast<double>(marks.size()));
}

/// True where too much rests on clicks, which are off by more than a laser may be.
bool RestsOnClicks(const std::vector<Mark>& marks, const FisheyeModel& model)
{
    constexpr double kLooseMm = 0.12;
    if (2 * CountOnCross(marks) >= marks.size() && PredictedRmsMm(marks, model) < kLooseMm) {
        return false;
    }
    // Points that something else has refined agree with a camera as no click does.
    constexpr double kRefinedPx = 0.3;
    const std::vector<double> residuals = ResidualsPx(Observations(marks), model);
    std::vector<double> offCross;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        if (!marks[i].bOnCross) {
            offCross.push_back(residuals[i]);
        }
    }
    return !offCross.empty() && !(MedianOf(std::move(offCross)) < kRefinedPx);
}

/// What the picture says against a model that fits the marks, or null.
const char* ContradictionOfPicture(const cv::Mat& gray, const std::vector<CalibrationPoint>& points,
                                   const std::vector<Mark>& marks, const FisheyeModel& model, bool bBright)
{
    if (RestsOnClicks(marks, model)) {
        return "too many points lie on no engraved cross: the picture is too dark, or does not show the pattern";
    }
    const FisheyeProjector projector(model);
    std::vector<FoundCross> crosses;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        // Where grain hides a cross the model knows its place.
        if (const auto pixel = projector.PixelFromMachine(marks[i].machineMm)) {
            crosses.push_back({points[i].nId, {marks[i].machineMm.x, marks[i].machineMm.y}, *pixel});
        }
    }
    return ContradictionOfArrowHeads(gray, projector, crosses, bBright);
}

/// @return why there is no model, or null
const char* Calibrate(const cv::Mat& gray, std::vector<CalibrationPoint>& points, FisheyeModel& model)
{
    std::vector<Mark> marks;
    for (const CalibrationPoint& point : points) {
        Mark mark;
        mark.machineMm = {point.fWorldX, point.fWorldY, point.fWorldZ};
        mark.click = mark.pixel = {point.fImageX, point.fImageY};
        marks.push_back(mark);
    }
    const auto fromClicks = FitCamera(Observations(marks), gray.size());
    if (!fromClicks) {
        return "no camera sees the points where they were marked";
    }
    if (FisheyeProjector(*fromClicks).CentreMm().z > 0.0) {
        // Only a camera that looks up through the surface sees them like this.
        return "the points are mirrored: X grows to the right and Y downward, seen from above";
    }
    const double clickSigmaPx = std::clamp(TypicalResidualPx(marks, *fromClicks), 1.0, 10.0);
    CrossSearch search;
    search.armMm = ArmToLookAtMm(marks);
    search.radiusPx = std::clamp(4.0 * clickSigmaPx + 4.0, 10.0, 24.0);

    std::vector<Mark> best = marks;
    auto fitted = MeasureAndFit(gray, *fromClicks, clickSigmaPx, search, best);
    bool bBright = false;
    if (!fitted || RestsOnClicks(best, *fitted)) {
        // Some materials turn light where they are engraved; the edges of their lines are dark beside the lines.
        std::vector<Mark> bright = marks;
        search.bBright = true;
        const auto fittedBright = MeasureAndFit(gray, *fromClicks, clickSigmaPx, search, bright);
        if (fittedBright && CountOnCross(bright) > CountOnCross(best)) {
            fitted = fittedBright;
            best = bright;
            bBright = true;
        }
    }
    if (!fitted) {
        return "no camera sees the crosses where they were found";
    }
    fitted->residualPx = RmsResidualPx(best, *fitted);
    constexpr double kHopelessShare = 0.03; // of the width: the points are not those of the grid
    if (!(fitted->residualPx < kHopelessShare * gray.cols)) {
        return "the points do not fit any camera";
    }
    if (const char* pText = ContradictionOfPicture(gray, points, best, *fitted, bBright)) {
        return pText;
    }
    for (std::size_t i = 0; i < best.size(); ++i) {
        points[i].fImageX = static_cast<float>(best[i].pixel.x);
        points[i].fImageY = static_cast<float>(best[i].pixel.y);
        if (!best[i].bOnCross) {
            ILog_WriteLogF(2, "SingleCamCalibration: point %d shows no engraved cross near (%.1f, %.1f)", points[i].nId,
                           best[i].click.x, best[i].click.y);
        }
    }
    model = *fitted;
    ILog_WriteLogF(1, "SingleCamCalibration: %d of %d points on crosses, residual %.3f px",
                   static_cast<int>(CountOnCross(best)), static_cast<int>(best.size()), model.residualPx);
    return nullptr;
}

} // namespace

} // namespace Fisheye

bool SingleCamCalibration(unsigned char* gray, long width, long height, int bits, std::vector<CalibrationPoint>& points,
                          long /*outWidth*/, long /*outHeight*/, FishEyeCalibrationParam& param, double& error)
{
    const auto refuse = [](const char* pText) {
        ILog_WriteLogF(3, "SingleCamCalibration: %s", pText);
        return false;
    };
    try {
        if (!gray) {
            return refuse("there is no picture");
        }
        if (bits != 8) {
            return refuse("the picture is not grey with 8 bits");
        }
        constexpr long kSmallestSide = 16;
        if (width < kSmallestSide || height < kSmallestSide || width > Fisheye::kLargestSide ||
            height > Fisheye::kLargestSide) {
            return refuse("the picture has a size that no camera has");
        }
        if (const char* pText = Fisheye::WhatIsWrongWith(points, width, height)) {
            return refuse(pText);
        }
        const cv::Mat picture(static_cast<int>(height), static_cast<int>(width), CV_8UC1, gray);
        Fisheye::FisheyeModel model;
        if (const char* pText = Fisheye::Calibrate(picture, points, model)) {
            return refuse(pText);
        }
        const FishEyeCalibrationParam record = Fisheye::PackRecord(model);
        const char* pReason = "";
        if (!Fisheye::UnpackRecord(record, &pReason)) {
            return refuse(pReason);
        }
        param = record;
        error = model.residualPx;
        return true;
    } catch (const std::exception& exception) {
        return refuse(exception.what());
    }
}
