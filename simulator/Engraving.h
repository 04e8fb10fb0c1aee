#pragma once

// What the laser has burnt so far, and how much of each pixel of a camera it covers. Used by the machine only.

#include "CameraModel.h"
#include "Machine.h"

#include <opencv2/core.hpp>

#include <vector>

namespace Simulator
{

/// Width of an engraved line.
inline constexpr double kLineWidthMm = 0.25;
/// Blur of lens and pixel together, sigma of a normal distribution.
inline constexpr double kBlurPx = 0.65;
/// Strokes and dots that one sheet of material takes; more are dropped.
inline constexpr std::size_t kMaxMarks = 2000000;

class Engraving
{
public:
    explicit Engraving(const cv::Size2d& bedMm) : m_bedMm(bedMm) {}

    void Clear();
    /// Cut to the bed; false when nothing of it is on the bed, or it is no stroke at all.
    bool Add(const EngravedLine& line);
    /// False for a dot that is off the bed, not finite, or not between 0 and 200 mm in radius.
    bool Add(const EngravedDot& dot);
    bool IsEmpty() const { return m_vecStrokes.empty() && m_vecDots.empty(); }

    /// CV_16UC1, 65535 where a pixel sees burnt material only.
    /// @param surfaceMm  CV_32FC2, the surface point of each pixel, NaN where there is none
    cv::Mat Coverage(const CameraModel& camera, const cv::Mat& surfaceMm) const;

private:
    struct Stroke {
        cv::Point2d fromMm;
        cv::Point2d along; ///< unit vector
        double lengthMm;
    };

    cv::Size2d m_bedMm;
    std::vector<Stroke> m_vecStrokes;
    std::vector<EngravedDot> m_vecDots;
};

} // namespace Simulator
