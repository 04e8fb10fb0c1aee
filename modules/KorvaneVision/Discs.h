#pragma once

// Dark discs in a grey picture: candidates from a reduced picture, and each one's outline at full size. Knows nothing
// of charts; ChartFinder puts the discs on their lattice.

#include <opencv2/core.hpp>

#include <optional>
#include <vector>

namespace Korvane
{

/// An ellipse: centre + axes * (cos, sin). `axes` is any of the matrices that map the unit circle onto it.
struct Disc {
    cv::Point2d centre;
    cv::Matx22d axes;

    double AreaPx() const;
    double MeanRadiusPx() const;
    cv::Point2d At(double angle) const;
};

/// How a picture is split into dark and bright.
struct DiscThreshold {
    double windowShare = 0.12; ///< side of the window whose mean is the local level, of the picture's longer side
    double darkShare = 0.10;   ///< how much darker than that mean, as a share of it
};

/// Dark spots with the outline of an ellipse.
/// @param grey  CV_8UC1
/// @param maxAreaPx  larger ones are left out
std::vector<Disc> FindDiscs(const cv::Mat& grey, const DiscThreshold& threshold, double maxAreaPx);

/// The ellipse through points around a start; empty where they lie on none. Least squares on the conic's equation in
/// the frame where the start is the unit circle, points far off left out once.
/// @param pResidual  RMS distance of the points from the ellipse, as a share of its radius
std::optional<Disc> FitEllipse(const std::vector<cv::Point2d>& points, const Disc& start, double* pResidual);

/// The disc's outline where the level is halfway between ink and paper, along rays from the centre.
/// @return empty where the picture shows no disc there
std::optional<Disc> RefineDisc(const cv::Mat& grey, const Disc& start);

} // namespace Korvane
