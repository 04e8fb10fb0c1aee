#pragma once

// The camera model of this module and how it is packed into the opaque 232-byte record. Everything that projects goes
// through `FisheyeModel`; nothing else reads the words of a record. Who projects many points makes a `FisheyeProjector`
// once and asks that.

#include "FishEyeParams.h"

#include <opencv2/core.hpp>

#include <array>
#include <optional>

namespace Fisheye
{

/// Kannala-Brandt camera over the machine plane.
/// With P_c = cameraFromMachineR * P_m + cameraFromMachineT (mm), theta = atan2(hypot(x, y), z) and
/// r = theta (1 + k1 theta^2 + k2 theta^4 + k3 theta^6 + k4 theta^8), the raw pixel is
/// (fx r x / hypot(x, y) + cx, fy r y / hypot(x, y) + cy). Kannala and Brandt 2006, eq. 6.
struct FisheyeModel {
    int nWidth = 0;                                ///< raw picture, pixels
    int nHeight = 0;                               ///< raw picture, pixels
    double fx = 0.0, fy = 0.0, cx = 0.0, cy = 0.0; ///< pixels
    std::array<double, 4> k{};
    cv::Vec3d rotation{};      ///< rotation vector of cameraFromMachine, radians
    cv::Vec3d translationMm{}; ///< translation of cameraFromMachine, millimetres
    double residualPx = 0.0;   ///< RMS of the fit
    double maxThetaRad = 0.0;  ///< the model grows monotonically up to here

    /// Rotation matrix of cameraFromMachine.
    cv::Matx33d RotationMatrix() const;
    /// Raw pixel of a machine point; empty behind the camera or beyond `maxThetaRad`.
    std::optional<cv::Point2d> PixelFromMachine(const cv::Point3d& machineMm) const;
    /// Point of the surface Z = 0 seen at a raw pixel; empty where the ray does not meet it or leaves the model.
    std::optional<cv::Point2d> SurfaceFromPixel(const cv::Point2d& pixel) const;
    /// Radius r(theta) in focal lengths and its derivative.
    double Radius(double thetaRad) const;
    double RadiusDerivative(double thetaRad) const;
    /// Angle whose radius this is, in focal lengths; empty beyond `maxThetaRad`.
    std::optional<double> ThetaFromRadius(double radius) const;
    /// Largest angle up to which r(theta) grows, at most `limitRad`.
    double LargestMonotonicTheta(double limitRad) const;
};

/// A model with its rotation matrix worked out, for many points. Keeps a copy of the model.
class FisheyeProjector
{
public:
    explicit FisheyeProjector(const FisheyeModel& model);

    const FisheyeModel& Model() const { return m_model; }
    /// As `FisheyeModel::PixelFromMachine`.
    std::optional<cv::Point2d> PixelFromMachine(const cv::Point3d& machineMm) const;
    /// As `FisheyeModel::SurfaceFromPixel`.
    std::optional<cv::Point2d> SurfaceFromPixel(const cv::Point2d& pixel) const;
    /// Angle between the optical axis and the ray to a machine point; pi behind the camera.
    double ThetaOfMachine(const cv::Point3d& machineMm) const;
    /// The camera's centre in the machine frame, millimetres.
    cv::Point3d CentreMm() const { return m_centreMm; }

private:
    FisheyeModel m_model;
    cv::Matx33d m_cameraFromMachine;
    cv::Point3d m_centreMm;
};

/// The longest side of a picture, pixels.
inline constexpr int kMaxSide = 65500;

/// Angles beyond this one are never used, however well behaved the polynomial.
inline constexpr double kThetaLimitRad = 1.55;

/// Packs a model; version and check word are added, unread words stay zero.
FishEyeCalibrationParam PackRecord(const FisheyeModel& model);
/// Unpacks a record. Empty, with the reason in `pReason` if given, for one that was never filled, is damaged or holds
/// numbers that no camera has.
std::optional<FisheyeModel> UnpackRecord(const FishEyeCalibrationParam& record, const char** pReason = nullptr);

} // namespace Fisheye
