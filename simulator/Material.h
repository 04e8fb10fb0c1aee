#pragma once

// What the bed looks like in the machine's own light: a sheet of wood on a dark frame. Colours are camera levels, BGR,
// 0 to 255, before the camera's own shading. Used by the machine only.

#include <opencv2/core.hpp>

#include <array>
#include <cstdint>

namespace Simulator
{

class Material
{
public:
    Material(std::uint64_t nSeed, const cv::Size2d& bedMm);

    /// @param mm       where on the surface
    /// @param mmPerPx  how much surface a pixel covers; finer grain is left out and edges are softened
    cv::Vec3f ColourAt(const cv::Point2f& mm, float mmPerPx) const;
    /// How much light char gives back compared with the sheet, 0 to 1.
    float CharAt(const cv::Point2f& mm) const;

private:
    struct Knot {
        cv::Point2f centreMm;
        float radiusMm;
    };

    cv::Vec3f SheetAt(cv::Point2f mm, float mmPerPx) const;
    cv::Vec3f FrameAt(const cv::Point2f& mm, float distanceMm) const;
    float LightAt(const cv::Point2f& mm) const;

    cv::Size2f m_bedMm;
    std::uint32_t m_nGrain;
    cv::Vec3f m_tint;
    cv::Point2f m_lightSlope;         ///< per millimetre from the middle of the bed
    std::array<cv::Vec4f, 3> m_lamps; ///< x, y, reach in millimetres, strength
    std::array<Knot, 5> m_knots;
};

} // namespace Simulator
