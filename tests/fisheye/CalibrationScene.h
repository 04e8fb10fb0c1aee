#pragma once

// A camera over its share of the grid, the clicks on its crosses, and what the module fits to them.

#include "FisheyeCalibrationDllR.h"
#include "FisheyeModel.h"
#include "FisheyeScene.h"

#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

using Points = std::vector<CalibrationPoint>;

inline constexpr double kClickSigmaPx = 3.0;
inline constexpr double kBendPx = 0.3; // terms that the fitted model does not have

struct Fit {
    bool bGood = false;
    Points points;
    FishEyeCalibrationParam param;
    double errorPx = -1.0;
    Fisheye::FisheyeModel model;
};

inline Fit Calibrate(const cv::Mat& gray, Points points)
{
    Fit fit;
    fit.points = std::move(points);
    fit.bGood = SingleCamCalibration(gray.data, gray.cols, gray.rows, 8, fit.points, 2L * gray.cols, 2L * gray.rows,
                                     fit.param, fit.errorPx);
    if (const auto model = Fisheye::UnpackRecord(fit.param)) {
        fit.model = *model;
    }
    return fit;
}

/// A camera over its share of the grid.
struct Scene {
    bool bLeft;
    std::uint64_t nSeed;
    FisheyeScene::Camera camera;
    Points exact;

    Scene(bool bLeftCamera, std::uint64_t nSceneSeed)
        : bLeft(bLeftCamera), nSeed(nSceneSeed),
          camera(bLeft ? FisheyeScene::LeftCamera(nSeed) : FisheyeScene::RightCamera(nSeed))
    {
        camera.extraBendPx = kBendPx;
        exact = FisheyeScene::ExactPoints(camera, bLeft ? 0 : 3);
    }

    cv::Mat Picture(FisheyeScene::SceneOptions options = {}) const
    {
        options.nSeed = nSeed;
        return FisheyeScene::Render(camera, exact, options);
    }
    Points Clicks() const { return FisheyeScene::Clicked(exact, kClickSigmaPx, nSeed); }
    cv::Rect2d Hull() const { return {bLeft ? 55.0 : 565.0, 45.0, 680.0, 810.0}; }
    /// The part of the work area that a stitched picture takes from this camera.
    cv::Rect2d Share() const { return {bLeft ? 0.0 : 560.0, 0.0, 740.0, 900.0}; }
    double OffPx(const Fit& fit, std::size_t i) const
    {
        return std::hypot(fit.points[i].fImageX - exact[i].fImageX, fit.points[i].fImageY - exact[i].fImageY);
    }
};
