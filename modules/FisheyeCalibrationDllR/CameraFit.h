#pragma once

// Fits the camera model and its pose to marks on the surface. All fourteen numbers are free; weak priors hold what one
// flat view cannot tell apart. The result depends on the input only, not on the number of threads.

#include "FisheyeModel.h"

#include <optional>
#include <vector>

namespace Fisheye
{

/// One mark as seen by the camera.
struct MarkObservation {
    cv::Point3d machineMm;
    cv::Point2d pixel;
    double sigmaPx = 1.0; ///< how far off the pixel may be
};

/// What is believed of a camera before it is seen, each the sigma of a normal distribution. They matter only along the
/// valleys of one flat view: focal length against distance, tilt against principal point.
struct FitPriors {
    double focalInWidths = 0.6; ///< expected focal length, in picture widths
    double focalFactor = 2.2;   ///< one sigma is this factor up or down
    double heightMm = 700.0;    ///< expected distance of camera and surface
    double heightFactor = 1.8;
    double aspect = 0.02;              ///< fy / fx around 1
    double principalPointShare = 0.03; ///< of the picture's width, around its centre
    std::array<double, 4> k{0.15, 0.10, 0.07, 0.05};
    double tiltRad = 0.12;
};

/// Unknowns of the fit.
inline constexpr int kCameraUnknowns = 14;

/// Fits from nothing: homographies on points undistorted with several nominal focal lengths start it, each start is
/// followed through a loss that tightens step by step, the lowest cost wins.
/// @param marks  at least seven, not on one line
/// @param pictureSize  raw picture, pixels
/// @return the model with its largest angle; empty when no start leads to a camera that sees all it should
std::optional<FisheyeModel> FitCamera(const std::vector<MarkObservation>& marks, cv::Size pictureSize,
                                      const FitPriors& priors = {});
/// Fits again from a model that is nearly right.
std::optional<FisheyeModel> RefitCamera(const std::vector<MarkObservation>& marks, const FisheyeModel& start,
                                        const FitPriors& priors = {});

/// Distance of each mark's pixel from where the model sees the mark, pixels; infinite where it sees none.
std::vector<double> ResidualsPx(const std::vector<MarkObservation>& marks, const FisheyeModel& model);

/// How far off the fitted model may be at each mark, sigma, millimetres on the surface: what the marks' own sigmas and
/// the priors leave open. Infinite where the model sees no mark.
std::vector<double> PredictedSigmasMm(const std::vector<MarkObservation>& marks, const FisheyeModel& model,
                                      const FitPriors& priors = {});

} // namespace Fisheye
