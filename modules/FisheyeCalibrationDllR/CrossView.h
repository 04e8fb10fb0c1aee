#pragma once

// How crosses and the figures beside them are looked at: grey values between pixels, and the picture seen in
// millimetres around a machine point.

#include "FisheyeModel.h"

#include <opencv2/core.hpp>

#include <optional>

namespace Fisheye
{

/// Grey value between pixels; empty outside the picture.
/// @param gray  CV_8UC1
std::optional<float> GreyAt(const cv::Mat& gray, const cv::Point2d& pixel);

/// Millimetres around a machine point, seen through the model.
struct LocalView {
    const FisheyeProjector& projector;
    cv::Point2d originMm;
    double pxPerMmX = 0.0; ///< picture pixels per millimetre along machine X, at the origin
    double pxPerMmY = 0.0;

    std::optional<cv::Point2d> Pixel(double xMm, double yMm) const
    {
        return projector.PixelFromMachine({originMm.x + xMm, originMm.y + yMm, 0.0});
    }
};

/// Empty where the model does not see the pixel on the surface, or so small that nothing of a cross would be left.
/// @param pixel  raw picture, the origin of the view
std::optional<LocalView> MakeLocalView(const FisheyeProjector& projector, const cv::Point2d& pixel);

} // namespace Fisheye
