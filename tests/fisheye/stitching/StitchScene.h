#pragma once

// Two small cameras over a bed of 1300 x 900 mm, the left one mounted upside down, and what they would see of a smooth
// pattern: exact, so that the stitching can be held against it.

#include "FisheyeCalibrationDllR.h"
#include "FisheyeModel.h"
#include "GridWarp.h"

#include <opencv2/core.hpp>

#include <cmath>
#include <vector>

namespace StitchScene
{

inline const cv::Size g_pictureSize(648, 486);

inline Fisheye::FisheyeModel MakeModel(double dXmm, double dTurnRad, double dTiltRad)
{
    Fisheye::FisheyeModel model;
    model.nWidth = g_pictureSize.width;
    model.nHeight = g_pictureSize.height;
    model.fx = 337.0;
    model.fy = 338.0;
    model.cx = 325.3;
    model.cy = 241.8;
    model.k = {-0.02, 0.003, 0.0, 0.0};
    model.rotation = cv::Vec3d(dTiltRad, -0.5 * dTiltRad, dTurnRad);
    const cv::Vec3d centre(dXmm, 450.0, -700.0);
    model.translationMm = -(model.RotationMatrix() * centre);
    model.maxThetaRad = model.LargestMonotonicTheta(1.5);
    return model;
}

/// The bed's pattern, smooth enough for bilinear sampling.
inline cv::Vec3d Pattern(const cv::Point2d& mm)
{
    return {120.0 + 50.0 * std::sin(mm.x / 60.0), 120.0 + 50.0 * std::cos(mm.y / 45.0),
            120.0 + 40.0 * std::sin((mm.x + mm.y) / 80.0)};
}

inline cv::Mat Render(const Fisheye::FisheyeModel& model, double dBrightness = 1.0)
{
    cv::Mat picture(g_pictureSize, CV_8UC3, cv::Scalar::all(0));
    const Fisheye::FisheyeProjector projector(model);
    for (int y = 0; y < picture.rows; ++y) {
        for (int x = 0; x < picture.cols; ++x) {
            if (const auto mm = projector.SurfaceFromPixel(cv::Point2d(x, y))) {
                const cv::Vec3d value = Pattern(*mm) * dBrightness;
                picture.at<cv::Vec3b>(y, x) =
                    cv::Vec3b(cv::saturate_cast<uchar>(value[0]), cv::saturate_cast<uchar>(value[1]),
                              cv::saturate_cast<uchar>(value[2]));
            }
        }
    }
    return picture;
}

struct Camera {
    Fisheye::FisheyeModel model;
    FishEyeCalibrationParam record;
    cv::Mat picture;

    Camera(double dXmm, double dTurnRad, double dTiltRad, double dBrightness = 1.0)
        : model(MakeModel(dXmm, dTurnRad, dTiltRad)), record(Fisheye::PackRecord(model)),
          picture(Render(model, dBrightness))
    {
    }

    int Bits() const { return 8 * picture.channels(); }
    Fisheye::PictureView View() const { return {picture.data, picture.cols, picture.rows, picture.channels()}; }
};

inline bool Stitch(const Camera& left, const Camera& right, cv::Mat& out, DualFishEyeCalibrationParam& dual)
{
    return FishEyeImageStitching(left.picture.data, left.picture.cols, left.picture.rows, left.Bits(), left.record, {},
                                 right.picture.data, right.picture.cols, right.picture.rows, right.Bits(), right.record,
                                 {}, out.data, out.cols, out.rows, 8 * out.channels(), dual);
}

} // namespace StitchScene
