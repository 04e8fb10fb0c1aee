#pragma once

// One simulated camera: lens, sensor and pose, exact in both directions. Only the machine and its truth use it. The
// lens is on purpose none that a calibration fits: a mix of two projections, zones of its own and a decentred group.

#include "Machine.h"

#include <opencv2/core.hpp>

#include <optional>

namespace Simulator
{

struct Lens {
    /// Radius in focal lengths at the angle theta is
    /// equisolid * 2 sin(theta / 2) + (1 - equisolid) * 2 tan(theta / 2) for a fisheye, tan(theta) for a rectified
    /// picture, plus zone * theta^2 * sin(zoneFrequency * theta) / (1 + theta^2): what polishing leaves.
    bool bRectified = false;
    double equisolid = 0.6;
    double zone = 0.0;
    double zoneFrequency = 0.0;
    /// Decentring after Brown 1966, on the plane of unit focal length.
    double p1 = 0.0;
    double p2 = 0.0;
    double fx = 0.0, fy = 0.0, cx = 0.0, cy = 0.0; ///< pixels
};

class CameraModel
{
public:
    CameraModel(const Lens& lens, const cv::Matx33d& cameraFromMachine, const cv::Point3d& centreMm, cv::Size size);

    cv::Size PictureSize() const { return m_size; }
    const Lens& GetLens() const { return m_lens; }
    const cv::Matx33d& CameraFromMachine() const { return m_cameraFromMachine; }
    cv::Point3d CentreMm() const { return m_centreMm; }

    /// Raw pixel of a point of the surface; empty beyond the lens.
    std::optional<cv::Point2d> PixelFromMachine(const cv::Point2d& machineMm) const;
    /// Point of the surface seen at a raw pixel; empty where the ray misses it.
    std::optional<cv::Point2d> MachineFromPixel(const cv::Point2d& pixel) const;
    /// Angle between the optical axis and the ray of a raw pixel, radians.
    std::optional<double> ThetaOfPixel(const cv::Point2d& pixel) const;

    double Radius(double theta) const;
    double RadiusDerivative(double theta) const;
    /// Empty beyond the lens. The search starts at `thetaStart`.
    std::optional<double> ThetaFromRadius(double radius, double thetaStart) const;
    double MaxTheta() const { return m_maxTheta; }
    /// A raw pixel on the plane of unit focal length, without the decentring.
    cv::Point2d Centred(const cv::Point2d& pixel) const;

    /// Rays that go down less steeply are taken to miss the surface.
    static constexpr double g_dLeastDescent = 0.05;

private:
    struct Ray {
        double theta;
        cv::Point2d direction; ///< unit vector in the picture plane
    };
    std::optional<Ray> RayOfPixel(const cv::Point2d& pixel) const;

    Lens m_lens;
    cv::Matx33d m_cameraFromMachine;
    cv::Matx33d m_machineFromCamera;
    cv::Point3d m_centreMm;
    cv::Size m_size;
    double m_maxTheta;
};

/// The camera that a machine of this kind and seed has on that side.
CameraModel MakeCamera(Machine::Kind kind, std::uint64_t nSeed, Side side);

/// Bed of a machine of this kind, millimetres.
cv::Size2d BedOf(Machine::Kind kind);

} // namespace Simulator
