#pragma once

// The stitched picture of a pair: the surface seen from above in the machine frame. What the exported operations check
// and log stands here; the painting itself is GridWarp's.

#include "FisheyeModel.h"
#include "GridWarp.h"

#include <array>
#include <functional>
#include <optional>

namespace Fisheye
{

/// Angle up to which a camera's view of the surface is used: inside the model, and where the surface is seen with at
/// least `kLeastResolution` of the density that the camera has straight below it.
double UsableTheta(const FisheyeModel& model);
inline constexpr double kLeastResolution = 0.5;

/// Where stitched pixel (x, y) lies in a camera's raw picture.
class StitchProjection
{
public:
    StitchProjection(const FisheyeModel& model, double dPxPerMm);
    SourcePlace operator()(double x, double y) const;

private:
    FisheyeModel m_model;
    cv::Matx33d m_cameraFromPixel; ///< stitched pixel (x, y, 1) to camera millimetres
    double m_dUsableTheta;
};

/// Brightness of one picture against the other where both see the surface, per channel, as a line along y.
struct BrightnessMatch {
    std::array<double, 3> logRatio{}; ///< log(second / first) at `yMidPx`
    std::array<double, 3> slope{};    ///< per stitched pixel
    double yMidPx = 0.0, yLowPx = 0.0, yHighPx = 0.0;

    /// Factor that brings the first (or second) picture half the way to the other one.
    std::array<double, 3> Gain(double yPx, bool bFirst) const;
};

/// Compares small patches over the overlap; robust against what only one picture shows. All gains are 1 without
/// overlap.
BrightnessMatch MatchBrightness(const PictureView& first, const StitchProjection& firstPlace, const PictureView& second,
                                const StitchProjection& secondPlace, int nWidth, int nHeight);

} // namespace Fisheye
