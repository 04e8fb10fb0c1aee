#pragma once

// A picture of engraved crosses with known truth, for the tests of the fisheye module: a camera, a material, crosses,
// light and noise, all following from one seed. The lens can be given a bend that the fitted model does not have.

#include "CalibrationPoint.h"
#include "FisheyeModel.h"

#include <opencv2/core.hpp>

#include <cstdint>
#include <vector>

namespace FisheyeScene
{

struct SceneOptions {
    std::uint64_t nSeed = 1;
    double lineWidthMm = 0.25;
    double armMm = 20.0;         ///< half the cross
    double depth = 90.0;         ///< grey levels that a fully covered pixel loses
    bool bBright = false;        ///< lines lighter than the material
    double textureSigma = 6.0;   ///< grey levels, several scales and a grain along X
    double unevenLight = 0.35;   ///< share of the light lost at the dark end
    double noiseSigma = 2.5;     ///< grey levels
    double blurPx = 0.7;         ///< sigma of the lens
    double extraBendPx = 0.0;    ///< at the corner of the picture, of terms that the model does not have
    std::vector<int> missingIds; ///< crosses that were not engraved
    std::vector<int> arrowIds;   ///< crosses with an arrow head that points along growing X
};

/// The truth.
struct Camera {
    Fisheye::FisheyeModel model;
    double extraBendPx = 0.0;

    cv::Point2d PixelFromMachine(const cv::Point2d& machineMm) const;
    /// False where the ray misses the surface.
    bool MachineFromPixel(const cv::Point2d& pixel, cv::Point2d& machineMm) const;
};

/// The right camera of a machine of 1300 x 900 mm; every seed has its own pose and lens.
Camera RightCamera(std::uint64_t nSeed);
/// The left camera, mounted turned by 180 degrees.
Camera LeftCamera(std::uint64_t nSeed);

/// Marks of a grid of 7 rows with `nCols` columns from `nFirstCol` on, ids over the whole grid of 8 columns; picture
/// coordinates are the exact ones.
std::vector<CalibrationPoint> ExactPoints(const Camera& camera, int nFirstCol, int nCols = 5);
/// The same, as a hand would click them.
std::vector<CalibrationPoint> Clicked(std::vector<CalibrationPoint> points, double sigmaPx, std::uint64_t nSeed);

/// CV_8UC1, of the size of the camera's picture.
cv::Mat Render(const Camera& camera, const std::vector<CalibrationPoint>& exactPoints, const SceneOptions& options);

struct ErrorMm {
    double rms = 0.0;
    double max = 0.0;
    int nPoints = 0;
};

/// Error of a fitted model over a rectangle of the surface, sampled every 10 mm where the camera's picture shows it.
ErrorMm SurfaceError(const Camera& camera, const Fisheye::FisheyeModel& fitted, const cv::Rect2d& areaMm);

} // namespace FisheyeScene
