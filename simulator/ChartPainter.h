#pragma once

// Paints a held chart over a camera's picture, pixel by pixel. Used by the machine only.

#include "CameraModel.h"
#include "HeldChart.h"

#include <vector>

namespace Simulator
{

/// Exact raw pixel of a point anywhere in front of the camera, machine millimetres; empty outside the lens.
std::optional<cv::Point2d> PixelFromSpace(const CameraModel& model, const cv::Point3d& machineMm);

class ChartPainter
{
public:
    ChartPainter(const CameraModel& model, const HeldChart& chart);

    /// Where the rays of a row of pixels meet the chart's plane, millimetres from its middle.
    /// @param pSurface  the surface points that the pixels would see without a chart
    void ChartFromSurface(const cv::Point2f* pSurface, std::vector<cv::Point2d>& row) const;

    /// What covers a pixel. Edges are the chart's own, softened by its blur.
    /// @param p  the point of the chart's plane that the pixel sees
    /// @param right, below  those of its neighbours
    struct Cover {
        float share = 0.0f; ///< of the pixel, 0 to 1
        cv::Vec3f colour;   ///< BGR levels; for a share above 0
    };
    Cover At(const cv::Point2d& p, const cv::Point2d& right, const cv::Point2d& below) const;

private:
    const HeldChart& m_chart;
    cv::Matx33d m_chartFromSurface; ///< both planes are seen from one point: a homography
    cv::Size2d m_sheetMm;
    double m_sigmaPx;
};

} // namespace Simulator
