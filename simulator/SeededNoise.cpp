#include "SeededNoise.h"

#include <array>
#include <cmath>
#include <numbers>

namespace Simulator
{

double Draw::Normal()
{
    const double a = 1.0 - Unit();
    const double b = Unit();
    return std::sqrt(-2.0 * std::log(a)) * std::cos(2.0 * std::numbers::pi * b);
}

namespace
{

inline float Lattice(std::uint32_t nSeed, std::int32_t x, std::int32_t y)
{
    std::uint32_t h =
        nSeed ^ (static_cast<std::uint32_t>(x) * 0x9E3779B1u) ^ (static_cast<std::uint32_t>(y) * 0x85EBCA77u);
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 12;
    h *= 0x297A2D39u;
    h ^= h >> 15;
    return static_cast<float>(h) * (2.0f / 4294967296.0f) - 1.0f;
}

/// Quantile of the normal distribution by bisection; only fills a table once.
double NormalQuantile(double share)
{
    double low = -6.0, high = 6.0;
    for (int i = 0; i < 60; ++i) {
        const double middle = 0.5 * (low + high);
        (0.5 * std::erfc(-middle / std::numbers::sqrt2) < share ? low : high) = middle;
    }
    return 0.5 * (low + high);
}

} // namespace

float NoiseWalk::At(float x, float y)
{
    const float fx = std::floor(x);
    const float fy = std::floor(y);
    const auto ix = static_cast<std::int32_t>(fx);
    const auto iy = static_cast<std::int32_t>(fy);
    if (!m_bKnown || ix != m_nX || iy != m_nY) {
        m_nX = ix;
        m_nY = iy;
        m_bKnown = true;
        m_corners[0] = Lattice(m_nSeed, ix, iy);
        m_corners[1] = Lattice(m_nSeed, ix + 1, iy);
        m_corners[2] = Lattice(m_nSeed, ix, iy + 1);
        m_corners[3] = Lattice(m_nSeed, ix + 1, iy + 1);
    }
    const float u = x - fx;
    const float v = y - fy;
    const float su = u * u * (3.0f - 2.0f * u);
    const float sv = v * v * (3.0f - 2.0f * v);
    const float top = m_corners[0] + (m_corners[1] - m_corners[0]) * su;
    const float bottom = m_corners[2] + (m_corners[3] - m_corners[2]) * su;
    return top + (bottom - top) * sv;
}

const float* NormalTable()
{
    static const std::array<float, 4096> table = [] {
        std::array<float, 4096> values{};
        for (std::size_t i = 0; i < values.size(); ++i) {
            values[i] = static_cast<float>(NormalQuantile((static_cast<double>(i) + 0.5) / 4096.0));
        }
        return values;
    }();
    return table.data();
}

} // namespace Simulator
