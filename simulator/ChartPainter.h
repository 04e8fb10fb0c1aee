#pragma once

// Paints a held chart over a camera's picture, pixel by pixel. Used by the machine only.

#include "CameraModel.h"
#include "HeldChart.h"

namespace Simulator
{

/// Exact raw pixel of a point anywhere in front of the camera, machine millimetres; empty outside the lens.
std::optional<cv::Point2d> PixelFromSpace(const CameraModel& model, const cv::Point3d& machineMm);

class ChartPainter
{
public:
    ChartPainter(const CameraModel& model, const HeldChart& chart);

    /// What covers a pixel. Edges are the chart's own, softened by its blur.
    /// @param surface  the surface point that the pixel would see without a chart
    /// @param right, below  those of its neighbours
    struct Cover {
        float share = 0.0f; ///< of the pixel, 0 to 1
        cv::Vec3f colour;   ///< BGR levels
    };
    Cover At(const cv::Point2f& surface, const cv::Point2f& right, const cv::Point2f& below) const;

private:
    cv::Point2d ChartFromSurface(const cv::Point2f& surface) const;

    const HeldChart& m_chart;
    cv::Matx33d m_chartFromSurface; ///< both planes are seen from one point: a homography
    cv::Size2d m_sheetMm;
    double m_sigmaPx;
};

} // namespace Simulator
