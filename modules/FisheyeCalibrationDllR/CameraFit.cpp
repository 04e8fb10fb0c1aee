#include "CameraFit.h"

#include <ceres/ceres.h>
#include <ceres/rotation.h>

#include <Eigen/Dense>

#include <opencv2/calib3d.hpp>

#include <cmath>
#include <limits>

namespace Fisheye
{

namespace
{

/// The unknowns, each of the order of 1 so that one step length suits all.
enum Unknown {
    LogFocal = 0,                  ///< ln(fx / width)
    LogAspect,                     ///< ln(fy / fx)
    PrincipalX,                    ///< (cx - centre) / width
    PrincipalY,                    ///< (cy - centre) / width
    Distortion,                    ///< k1 .. k4
    Turn = Distortion + 4,         ///< rotation vector, applied after the start's rotation
    Shift = Turn + 3,              ///< translation / kShiftUnitMm
    UnknownCount = kCameraUnknowns ///< what the blocks below are declared with
};
static_assert(Shift + 3 == UnknownCount);

constexpr double kShiftUnitMm = 500.0;
/// The loss tightens from step to step, in sigmas: a start is some ten pixels off.
constexpr double kLossSteps[] = {40.0, 10.0, 2.5};

using Unknowns = std::array<double, UnknownCount>;

/// What the unknowns are relative to.
struct Frame {
    cv::Size pictureSize;
    cv::Matx33d startRotation;
};

struct Reprojection {
    const Frame& frame;
    const MarkObservation& mark;
    cv::Vec3d turnedMm; ///< the mark after the start's rotation

    template <typename T> bool operator()(const T* const x, T* residual) const
    {
        const T point[3] = {T(turnedMm[0]), T(turnedMm[1]), T(turnedMm[2])};
        T camera[3];
        ceres::AngleAxisRotatePoint(x + Turn, point, camera);
        for (int i = 0; i < 3; ++i) {
            camera[i] += x[Shift + i] * kShiftUnitMm;
        }
        // A nanometre keeps the derivative of the root finite on the optical axis.
        const T lateral = sqrt(camera[0] * camera[0] + camera[1] * camera[1] + T(1.0e-12));
        const T theta = atan2(lateral, camera[2]);
        const T t2 = theta * theta;
        const T* const k = x + Distortion;
        const T radius = theta * (T(1.0) + t2 * (k[0] + t2 * (k[1] + t2 * (k[2] + t2 * k[3]))));
        const T fx = exp(x[LogFocal]) * static_cast<double>(frame.pictureSize.width);
        const T fy = fx * exp(x[LogAspect]);
        const double width = frame.pictureSize.width;
        const T u = fx * radius * camera[0] / lateral + x[PrincipalX] * width + 0.5 * (width - 1.0);
        const T v = fy * radius * camera[1] / lateral + x[PrincipalY] * width + 0.5 * (frame.pictureSize.height - 1.0);
        residual[0] = (u - mark.pixel.x) / mark.sigmaPx;
        residual[1] = (v - mark.pixel.y) / mark.sigmaPx;
        return true;
    }
};

struct Prior {
    static constexpr int nResiduals = 11;
    const Frame& frame;
    const FitPriors& priors;

    template <typename T> bool operator()(const T* const x, T* residual) const
    {
        T turn[9]; // column after column
        ceres::AngleAxisToRotationMatrix(x + Turn, turn);
        const cv::Matx33d& start = frame.startRotation;
        T normal[3]; // of the surface, seen by the camera
        for (int i = 0; i < 3; ++i) {
            normal[i] = turn[i] * start(0, 2) + turn[i + 3] * start(1, 2) + turn[i + 6] * start(2, 2);
        }
        const T heightMm = (normal[0] * x[Shift] + normal[1] * x[Shift + 1] + normal[2] * x[Shift + 2]) * kShiftUnitMm;
        int n = 0;
        residual[n++] = (x[LogFocal] - std::log(priors.focalInWidths)) / std::log(priors.focalFactor);
        residual[n++] = log(abs(heightMm) / priors.heightMm + T(1.0e-6)) / std::log(priors.heightFactor);
        residual[n++] = x[LogAspect] / priors.aspect;
        residual[n++] = x[PrincipalX] / priors.principalPointShare;
        residual[n++] = x[PrincipalY] / priors.principalPointShare;
        for (int i = 0; i < 4; ++i) {
            residual[n++] = x[Distortion + i] / priors.k[static_cast<std::size_t>(i)];
        }
        residual[n++] = normal[0] / priors.tiltRad;
        residual[n++] = normal[1] / priors.tiltRad;
        return true;
    }
};

struct Solution {
    FisheyeModel model;
    double cost = std::numeric_limits<double>::infinity();
};

FisheyeModel ModelFromUnknowns(const Unknowns& x, const Frame& frame)
{
    FisheyeModel model;
    model.nWidth = frame.pictureSize.width;
    model.nHeight = frame.pictureSize.height;
    model.fx = std::exp(x[LogFocal]) * model.nWidth;
    model.fy = model.fx * std::exp(x[LogAspect]);
    model.cx = x[PrincipalX] * model.nWidth + 0.5 * (model.nWidth - 1);
    model.cy = x[PrincipalY] * model.nWidth + 0.5 * (model.nHeight - 1);
    for (std::size_t i = 0; i < 4; ++i) {
        model.k[i] = x[Distortion + i];
    }
    FisheyeModel turn;
    turn.rotation = {x[Turn], x[Turn + 1], x[Turn + 2]};
    cv::Rodrigues(turn.RotationMatrix() * frame.startRotation, model.rotation);
    model.translationMm = cv::Vec3d(x[Shift], x[Shift + 1], x[Shift + 2]) * kShiftUnitMm;
    model.maxThetaRad = model.LargestMonotonicTheta(kThetaLimitRad);
    return model;
}

Unknowns UnknownsFromModel(const FisheyeModel& model)
{
    Unknowns x{};
    x[LogFocal] = std::log(model.fx / model.nWidth);
    x[LogAspect] = std::log(model.fy / model.fx);
    x[PrincipalX] = (model.cx - 0.5 * (model.nWidth - 1)) / model.nWidth;
    x[PrincipalY] = (model.cy - 0.5 * (model.nHeight - 1)) / model.nWidth;
    for (std::size_t i = 0; i < 4; ++i) {
        x[Distortion + i] = model.k[i];
    }
    for (std::size_t i = 0; i < 3; ++i) {
        x[Shift + i] = model.translationMm[static_cast<int>(i)] / kShiftUnitMm;
    }
    return x;
}

/// Two residuals a mark in the marks' order, then those of the priors.
/// @param frame, priors, x  outlive the problem
/// @param lossSigmas  infinite: none
void AddResiduals(const std::vector<MarkObservation>& marks, const Frame& frame, const FitPriors& priors,
                  double lossSigmas, Unknowns& x, ceres::Problem& problem)
{
    for (const MarkObservation& mark : marks) {
        const cv::Vec3d turnedMm =
            frame.startRotation * cv::Vec3d(mark.machineMm.x, mark.machineMm.y, mark.machineMm.z);
        problem.AddResidualBlock(
            new ceres::AutoDiffCostFunction<Reprojection, 2, UnknownCount>(new Reprojection{frame, mark, turnedMm}),
            std::isfinite(lossSigmas) ? new ceres::CauchyLoss(lossSigmas) : nullptr, x.data());
    }
    problem.AddResidualBlock(
        new ceres::AutoDiffCostFunction<Prior, Prior::nResiduals, UnknownCount>(new Prior{frame, priors}), nullptr,
        x.data());
}

/// Solves from one start with one width of the loss.
std::optional<Solution> Solve(const std::vector<MarkObservation>& marks, const FisheyeModel& start,
                              const FitPriors& priors, double lossSigmas)
{
    const Frame frame{{start.nWidth, start.nHeight}, start.RotationMatrix()};
    Unknowns x = UnknownsFromModel(start);
    ceres::Problem problem;
    AddResiduals(marks, frame, priors, lossSigmas, x, problem);

    ceres::Solver::Options options;
    options.linear_solver_type = ceres::DENSE_QR;
    options.num_threads = 1; // sums in one order: the same answer on every machine
    options.max_num_iterations = 300;
    options.function_tolerance = 1.0e-12;
    options.parameter_tolerance = 1.0e-12;
    options.gradient_tolerance = 1.0e-12;
    options.logging_type = ceres::SILENT;
    ceres::Solver::Summary summary;
    ceres::Solve(options, &problem, &summary);
    if (!summary.IsSolutionUsable() || !std::isfinite(summary.final_cost)) {
        return std::nullopt;
    }
    for (const double value : x) {
        if (!std::isfinite(value)) {
            return std::nullopt;
        }
    }
    return Solution{ModelFromUnknowns(x, frame), summary.final_cost};
}

/// Solves with a loss that tightens step by step.
std::optional<Solution> SolveInSteps(const std::vector<MarkObservation>& marks, const FisheyeModel& start,
                                     const FitPriors& priors)
{
    Solution solution{start, 0.0};
    for (const double lossSigmas : kLossSteps) {
        const std::optional<Solution> next = Solve(marks, solution.model, priors, lossSigmas);
        if (!next) {
            return std::nullopt;
        }
        solution = *next;
    }
    return solution;
}

/// Pose from the homography between the surface and points undistorted as an equidistant lens of this focal length
/// would have bent them. Zhang 2000, section 3.1.
std::optional<FisheyeModel> StartFromHomography(const std::vector<MarkObservation>& marks, cv::Size pictureSize,
                                                double focalPx)
{
    constexpr double kWidestRad = 1.45;
    FisheyeModel model;
    model.nWidth = pictureSize.width;
    model.nHeight = pictureSize.height;
    model.fx = model.fy = focalPx;
    model.cx = 0.5 * (pictureSize.width - 1);
    model.cy = 0.5 * (pictureSize.height - 1);
    std::vector<cv::Point2d> surface;
    std::vector<cv::Point2d> normalised;
    for (const MarkObservation& mark : marks) {
        const cv::Point2d offset((mark.pixel.x - model.cx) / focalPx, (mark.pixel.y - model.cy) / focalPx);
        const double theta = cv::norm(offset);
        if (theta > kWidestRad) {
            return std::nullopt;
        }
        surface.emplace_back(mark.machineMm.x, mark.machineMm.y);
        normalised.push_back(theta > 1.0e-9 ? offset * (std::tan(theta) / theta) : offset);
    }
    const cv::Mat found = cv::findHomography(surface, normalised, 0);
    if (found.rows != 3 || found.cols != 3) {
        return std::nullopt;
    }
    cv::Matx33d homography(found);
    double depth = 0.0;
    for (const cv::Point2d& point : surface) {
        depth += homography(2, 0) * point.x + homography(2, 1) * point.y + homography(2, 2);
    }
    const cv::Vec3d first(homography(0, 0), homography(1, 0), homography(2, 0));
    const cv::Vec3d second(homography(0, 1), homography(1, 1), homography(2, 1));
    const double length = 0.5 * (cv::norm(first) + cv::norm(second));
    if (!(length > 1.0e-15) || !std::isfinite(length)) {
        return std::nullopt;
    }
    homography *= (depth < 0.0 ? -1.0 : 1.0) / length;
    const cv::Vec3d x(homography(0, 0), homography(1, 0), homography(2, 0));
    const cv::Vec3d y(homography(0, 1), homography(1, 1), homography(2, 1));
    const cv::Vec3d z = x.cross(y);
    const cv::Matx33d nearly(x[0], y[0], z[0], x[1], y[1], z[1], x[2], y[2], z[2]);
    cv::Matx31d w;
    cv::Matx33d u;
    cv::Matx33d vt;
    cv::SVD::compute(nearly, w, u, vt);
    cv::Rodrigues(u * vt, model.rotation);
    model.translationMm = {homography(0, 2), homography(1, 2), homography(2, 2)};
    model.maxThetaRad = kThetaLimitRad;
    return model;
}

/// A polynomial that turns back inside the field of the marks is no lens.
bool SeesMostOf(const std::vector<MarkObservation>& marks, const FisheyeModel& model)
{
    const FisheyeProjector projector(model);
    std::size_t nSeen = 0;
    for (const MarkObservation& mark : marks) {
        nSeen += projector.PixelFromMachine(mark.machineMm).has_value() ? 1 : 0;
    }
    return 10 * nSeen >= 9 * marks.size();
}

} // namespace

std::optional<FisheyeModel> FitCamera(const std::vector<MarkObservation>& marks, cv::Size pictureSize,
                                      const FitPriors& priors)
{
    Solution best;
    for (const double focalInWidths : {0.3, 0.42, 0.6, 0.85, 1.2, 1.8, 3.0}) {
        const std::optional<FisheyeModel> start =
            StartFromHomography(marks, pictureSize, focalInWidths * pictureSize.width);
        const std::optional<Solution> solution = start ? SolveInSteps(marks, *start, priors) : std::nullopt;
        if (solution && solution->cost < best.cost && SeesMostOf(marks, solution->model)) {
            best = *solution;
        }
    }
    if (!std::isfinite(best.cost)) {
        return std::nullopt;
    }
    return best.model;
}

std::optional<FisheyeModel> RefitCamera(const std::vector<MarkObservation>& marks, const FisheyeModel& start,
                                        const FitPriors& priors)
{
    const std::optional<Solution> solution = SolveInSteps(marks, start, priors);
    if (!solution || !SeesMostOf(marks, solution->model)) {
        return std::nullopt;
    }
    return solution->model;
}

std::vector<double> ResidualsPx(const std::vector<MarkObservation>& marks, const FisheyeModel& model)
{
    const FisheyeProjector projector(model);
    std::vector<double> residuals;
    residuals.reserve(marks.size());
    for (const MarkObservation& mark : marks) {
        const std::optional<cv::Point2d> pixel = projector.PixelFromMachine(mark.machineMm);
        residuals.push_back(pixel ? cv::norm(*pixel - mark.pixel) : std::numeric_limits<double>::infinity());
    }
    return residuals;
}

std::vector<double> PredictedSigmasMm(const std::vector<MarkObservation>& marks, const FisheyeModel& model,
                                      const FitPriors& priors)
{
    const Frame frame{{model.nWidth, model.nHeight}, model.RotationMatrix()};
    Unknowns x = UnknownsFromModel(model);
    ceres::Problem problem;
    AddResiduals(marks, frame, priors, std::numeric_limits<double>::infinity(), x, problem);
    ceres::CRSMatrix sparse;
    ceres::Problem::EvaluateOptions options;
    options.num_threads = 1;
    if (!problem.Evaluate(options, nullptr, nullptr, nullptr, &sparse)) {
        return std::vector<double>(marks.size(), std::numeric_limits<double>::infinity());
    }
    Eigen::MatrixXd jacobian = Eigen::MatrixXd::Zero(sparse.num_rows, sparse.num_cols);
    for (int row = 0; row < sparse.num_rows; ++row) {
        for (int i = sparse.rows[static_cast<std::size_t>(row)]; i < sparse.rows[static_cast<std::size_t>(row) + 1];
             ++i) {
            jacobian(row, sparse.cols[static_cast<std::size_t>(i)]) = sparse.values[static_cast<std::size_t>(i)];
        }
    }
    const Eigen::MatrixXd covariance = (jacobian.transpose() * jacobian).inverse();
    const FisheyeProjector projector(model);
    std::vector<double> sigmas;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const Eigen::MatrixXd rows = marks[i].sigmaPx * jacobian.middleRows(2 * static_cast<Eigen::Index>(i), 2);
        const double variancePx = (rows * covariance * rows.transpose()).trace();
        const auto here = projector.PixelFromMachine(marks[i].machineMm);
        const auto beside = projector.PixelFromMachine(marks[i].machineMm + cv::Point3d(0.5, 0.5, 0.0));
        const double pxPerMm = here && beside ? cv::norm(*beside - *here) / std::sqrt(0.5) : 0.0;
        sigmas.push_back(pxPerMm > 0.0 ? std::sqrt(variancePx) / pxPerMm : std::numeric_limits<double>::infinity());
    }
    return sigmas;
}

} // namespace Fisheye
