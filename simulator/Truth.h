#pragma once

// What the simulated machine knows about itself. Only tests and accuracy reports include this; the plug-in and its
// modules never see it.

#include "HeldChart.h"
#include "Machine.h"

#include <optional>
#include <vector>

namespace Simulator
{

class Truth
{
public:
    explicit Truth(const Machine& machine);

    /// Exact raw pixel of a surface point; empty outside the lens.
    std::optional<cv::Point2d> PixelFromMachine(Side side, const cv::Point2d& machineMm) const;
    /// Surface point seen at a raw pixel; empty where the ray misses the surface.
    std::optional<cv::Point2d> MachineFromPixel(Side side, const cv::Point2d& pixel) const;
    /// True when a picture of this camera shows the surface point.
    bool Sees(Side side, const cv::Point2d& machineMm) const;
    /// Exact raw pixel of a point above the bed; empty outside the lens.
    std::optional<cv::Point2d> PixelFromSpace(Side side, const cv::Point3d& machineMm) const;
    /// Pictures of the centres of a held chart's discs, row by row; far outside where the lens does not see one.
    std::vector<cv::Point2d> ChartCentres(Side side, const HeldChart& chart) const;
    cv::Size PictureSize(Side side) const;
    cv::Point3d CameraCentreMm(Side side) const;
    /// The lens file of a camera that delivers rectified pictures: focal lengths and principal point, pixels.
    cv::Matx33d CameraMatrix(Side side) const;

private:
    const Machine& m_machine;
};

} // namespace Simulator
