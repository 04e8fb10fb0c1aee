#pragma once

// What the bed looks like in the machine's own light: a sheet of wood on a dark frame. Colours are camera levels, BGR,
// 0 to 255, before the camera's own shading. Used by the machine only.

#include "SeededNoise.h"

#include <opencv2/core.hpp>

#include <array>
#include <cstdint>

namespace Simulator
{

class Material
{
public:
    Material(std::uint64_t nSeed, const cv::Size2d& bedMm);

    /// What is kept from one pixel of a row to the next; one for each thread.
    struct Walk {
        std::array<NoiseWalk, 10> sheet;
        NoiseWalk frame;
        NoiseWalk burnt;
    };
    Walk NewWalk() const;

    /// @param mm       where on the surface
    /// @param mmPerPx  how much surface a pixel covers; finer grain is left out and edges are softened
    cv::Vec3f ColourAt(const cv::Point2f& mm, float mmPerPx, Walk& walk) const;
    /// How much light char gives back compared with the sheet, 0 to 1.
    static float CharAt(const cv::Point2f& mm, Walk& walk);

private:
    struct Knot {
        cv::Point2f centreMm;
        float radiusMm;
    };

    cv::Vec3f SheetAt(cv::Point2f mm, float mmPerPx, Walk& walk) const;
    static cv::Vec3f FrameAt(const cv::Point2f& mm, float distanceMm, Walk& walk);
    float LightAt(const cv::Point2f& mm) const;

    cv::Size2f m_bedMm;
    std::uint32_t m_nGrain;
    cv::Vec3f m_tint;
    cv::Point2f m_lightSlope;         ///< per millimetre from the middle of the bed
    std::array<cv::Vec4f, 3> m_lamps; ///< x, y, reach in millimetres, strength
    std::array<Knot, 5> m_knots;
};

} // namespace Simulator
