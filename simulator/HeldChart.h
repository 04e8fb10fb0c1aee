#pragma once

// A chart of discs that an operator holds under a camera: paper with a lattice of discs, a pose, the light on it and
// the fingers that hold it. A host or a test makes one, or draws one with `DrawChart`, and hands it to
// Machine::HoldChart.

#include "Machine.h"

#include <opencv2/core.hpp>

#include <numbers>
#include <vector>

namespace Simulator
{

inline constexpr double kDegree = std::numbers::pi / 180.0; ///< rad

/// The print. Chart frame: millimetres, origin in the middle of the lattice, x along the rows, y down the rows.
struct ChartLayout {
    int nCols = 7;
    int nRows = 9;
    double pitchMm = 30.0;
    double discDiameterMm = 15.0;
    double borderMm = 22.0; ///< paper beyond the outermost discs

    cv::Point2d DiscMm(int nCol, int nRow) const;
    cv::Size2d SheetMm() const;
};

/// What hides a part of the chart: a stroke with round ends, chart millimetres.
struct ChartFinger {
    cv::Point2d fromMm;
    cv::Point2d toMm;
    double radiusMm = 8.0;
};

/// A bright spot that lifts paper and ink alike, chart millimetres.
struct ChartGlare {
    cv::Point2d centreMm;
    double reachMm = 80.0;
    double level = 0.0;
};

struct HeldChart {
    ChartLayout layout;
    cv::Matx33d machineFromChart = cv::Matx33d::eye(); ///< a rotation
    cv::Point3d middleMm;                              ///< machine frame; above the bed Z is negative
    double blurPx = 0.6;                               ///< sigma of all edges of the chart
    double paperLevel = 205.0;
    double inkLevel = 40.0;
    cv::Point2d lightSlopePerMm; ///< share of the light gained per millimetre of the chart
    ChartGlare glare;
    std::vector<ChartFinger> fingers;

    cv::Point3d MachineFromChart(const cv::Point2d& chartMm) const;
};

/// By `angle` radians about `axis`, whatever its length.
cv::Matx33d RotationAbout(const cv::Vec3d& axis, double angle);

enum class ChartShown {
    Whole, ///< every disc in view and free of fingers
    Part,  ///< at least one disc with its centre out of view or under a finger, at least one in view
};

/// A chart as an operator would hold it under that camera: near or far, tilted up to 40 degrees, turned any way, mostly
/// by right angles, sharp or blurred, well or badly lit. The same seed gives the same chart.
HeldChart DrawChart(const Machine& machine, Side side, std::uint64_t nSeed, ChartShown eShown);

} // namespace Simulator
