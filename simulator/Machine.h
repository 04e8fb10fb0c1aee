#pragma once

// A laser machine with two cameras that exists only in memory. A host or a test makes one, engraves lines into the
// material on its bed and takes pictures. What the machine knows about itself (lens, pose) is not here but in Truth.h,
// which only tests and reports include.

#include <opencv2/core.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace Simulator
{

enum class Side { Left, Right };

/// One engraved stroke, machine millimetres.
struct EngravedLine {
    cv::Point2d fromMm;
    cv::Point2d toMm;
};

/// One engraved filled dot, machine millimetres.
struct EngravedDot {
    cv::Point2d centreMm;
    double radiusMm = 1.0;
};

/// The pattern of crosses that a machine engraves for its own calibration.
struct CrossGrid {
    int nRow = 0;
    int nCol = 0;
    int nColSingle = 0;  ///< columns that each camera sees
    cv::Point2d startMm; ///< first cross
    double columnSpacingMm = 0.0;
    double rowSpacingMm = 0.0;
    double crossSizeMm = 0.0; ///< full length of an arm pair

    /// Crosses row after row.
    std::vector<cv::Point2d> PointsMm() const;
};

class Machine
{
public:
    enum class Kind { Automatic, Manual };

    /// Everything random (pose, lens, texture, light, noise) follows from `nSeed`; the same seed gives the same
    /// machine.
    Machine(Kind kind, std::uint64_t nSeed);
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    Kind GetKind() const;
    cv::Size2d WorkAreaMm() const;
    CrossGrid Grid() const;

    /// Fresh material: every engraving is gone.
    void PlaceMaterial();
    void EngraveLines(const std::vector<EngravedLine>& lines);
    void EngraveDots(const std::vector<EngravedDot>& dots);
    /// The calibration crosses with the arrow heads at the first and last one.
    void EngraveCrossGrid();

    /// One raw picture, CV_8UC3 BGR. Sensor noise differs from snap to snap but follows from the seed and the count.
    cv::Mat Snap(Side side);

private:
    friend class Truth;
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

} // namespace Simulator
