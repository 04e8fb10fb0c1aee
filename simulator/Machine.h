#pragma once

// A laser machine with two cameras that exists only in memory. A host or a test makes one, engraves lines into the
// material on its bed and takes pictures. What the machine knows about itself (lens, pose) is not here but in Truth.h,
// which only tests and reports include.

#include <opencv2/core.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct MicroLineDocument;

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

struct HeldChart;

/// What came of a pattern document.
struct MicroLineReading {
    std::size_t nSegments = 0; ///< segments read
    std::size_t nEngraved = 0; ///< of these, how many touch the bed
    bool bComplete = false;    ///< every ring came back to its first link and every number was one
    std::string strProblem;    ///< the first thing that was wrong otherwise, and how many more there are
};

/// Reads the segments of a document, walking `pNext` only. A broken ring ends where it breaks, a node without a segment
/// is passed over, and the walk is bounded whatever the links say; pointers to freed memory are the caller's fault.
/// @param lines  the segments are appended here
MicroLineReading ReadMicroLine(const MicroLineDocument& document, std::vector<EngravedLine>& lines);

/// Not to be used by two threads at once; its own work is spread over OpenCV's threads.
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
    /// @return how many of them touch the bed
    std::size_t EngraveLines(const std::vector<EngravedLine>& lines);
    void EngraveDots(const std::vector<EngravedDot>& dots);
    /// The calibration crosses with the arrow heads at the first and last one.
    void EngraveCrossGrid();
    /// What a machine does with a pattern that it was sent: engraves all of it that can be read and lies on the bed.
    MicroLineReading EngraveMicroLine(const MicroLineDocument& document);

    /// A chart of discs in an operator's hand between cameras and bed, until it is taken away. Both cameras see it.
    void HoldChart(const HeldChart& chart);
    void TakeChartAway();

    /// How bright the light over the bed is: 1 as built, 0 dark. Held to 0 to 4; what is no number counts as 1.
    void SetLight(double dShare);

    /// One raw picture, CV_8UC3 BGR. Sensor noise differs from snap to snap but follows from the seed and the count.
    cv::Mat Snap(Side side);

private:
    friend class Truth;
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

} // namespace Simulator
