#include "Material.h"

#include <algorithm>
#include <cmath>

namespace Simulator
{

namespace
{

/// 1 below a pixel per bump, fading to 0 where bumps get as small as pixels.
float Visible(float bumpMm, float mmPerPx)
{
    return std::clamp(bumpMm / (2.0f * mmPerPx) - 0.5f, 0.0f, 1.0f);
}

/// Beyond this a knot bends the grain by less than a tenth of a micrometre.
constexpr float g_fSquareOfKnotReach = 40.0f;

float Smooth(float x)
{
    const float t = std::clamp(x, 0.0f, 1.0f);
    return t * t * (3.0f - 2.0f * t);
}

} // namespace

Material::Material(std::uint64_t nSeed, const cv::Size2d& bedMm) : m_bedMm(bedMm)
{
    Draw draw(nSeed, 0x3a7);
    m_nGrain = static_cast<std::uint32_t>(draw.Bits());
    const auto brightness = static_cast<float>(draw.Between(0.93, 1.03));
    const auto warmth = static_cast<float>(draw.Within(0.04));
    m_tint = cv::Vec3f(138.0f * (1.0f - warmth), 172.0f, 200.0f * (1.0f + 0.5f * warmth)) * brightness;
    m_lightSlope = {static_cast<float>(draw.Within(0.10) / bedMm.width),
                    static_cast<float>(draw.Within(0.10) / bedMm.height)};
    for (cv::Vec4f& lamp : m_lamps) {
        lamp = {static_cast<float>(draw.Unit() * bedMm.width), static_cast<float>(draw.Unit() * bedMm.height),
                static_cast<float>(draw.Between(180.0, 380.0)), static_cast<float>(draw.Between(0.02, 0.09))};
    }
    for (Knot& knot : m_knots) {
        knot = {{static_cast<float>(draw.Unit() * bedMm.width), static_cast<float>(draw.Unit() * bedMm.height)},
                static_cast<float>(draw.Between(3.0, 9.0))};
    }
}

Material::Walk Material::NewWalk() const
{
    Walk walk;
    for (std::size_t i = 0; i < walk.sheet.size(); ++i) {
        walk.sheet[i] = NoiseWalk(m_nGrain + 1u + static_cast<std::uint32_t>(i));
    }
    walk.frame = NoiseWalk(m_nGrain + 20u);
    walk.burnt = NoiseWalk(m_nGrain + 30u);
    return walk;
}

float Material::LightAt(const cv::Point2f& mm) const
{
    float light =
        0.96f + (mm.x - 0.5f * m_bedMm.width) * m_lightSlope.x + (mm.y - 0.5f * m_bedMm.height) * m_lightSlope.y;
    for (const cv::Vec4f& lamp : m_lamps) {
        const float dx = (mm.x - lamp[0]) / lamp[2];
        const float dy = (mm.y - lamp[1]) / lamp[2];
        light += lamp[3] * std::exp(-dx * dx - dy * dy);
    }
    return light;
}

cv::Vec3f Material::SheetAt(cv::Point2f mm, float mmPerPx, Walk& walk) const
{
    // Rotary-cut veneer: rings drawn out along x, bent by slow waves and around the knots.
    float knotShade = 0.0f;
    float bend = 0.0f;
    for (const Knot& knot : m_knots) {
        const float dx = (mm.x - knot.centreMm.x) / (3.5f * knot.radiusMm);
        const float dy = (mm.y - knot.centreMm.y) / knot.radiusMm;
        const float square = dx * dx + dy * dy;
        if (square > g_fSquareOfKnotReach) {
            continue;
        }
        const float near = std::exp(-0.35f * square);
        bend += 2.2f * knot.radiusMm * near * (dy > 0.0f ? 1.0f : -1.0f) * std::min(std::abs(dy), 1.0f);
        const float core = std::sqrt(6.76f * dx * dx + 1.44f * dy * dy);
        knotShade += Smooth(1.4f - core);
    }
    const float wave =
        26.0f * walk.sheet[0].At(mm.x / 420.0f, mm.y / 190.0f) + 5.0f * walk.sheet[1].At(mm.x / 110.0f, mm.y / 45.0f);
    const float y = mm.y + wave + bend;

    float tone = 1.0f;
    tone += 0.045f * walk.sheet[2].At(mm.x / 260.0f, y / 38.0f);
    tone += 0.040f * walk.sheet[3].At(mm.x / 300.0f, y / 9.0f);
    tone += 0.030f * walk.sheet[4].At(mm.x / 120.0f, y / 3.2f);
    tone += 0.022f * walk.sheet[5].At(mm.x / 34.0f, y / 1.3f) * Visible(1.3f, mmPerPx);
    tone += 0.016f * walk.sheet[6].At(mm.x / 9.0f, y / 0.8f) * Visible(0.8f, mmPerPx);
    tone += 0.012f * walk.sheet[7].At(mm.x / 1.5f, mm.y / 1.5f) * Visible(1.5f, mmPerPx);
    // Pores: short dark dashes along the grain.
    const float pore = walk.sheet[8].At(mm.x / 14.0f, y / 1.1f);
    tone -= 0.07f * Smooth((pore - 0.62f) / 0.3f) * Visible(1.1f, mmPerPx);
    tone -= 0.42f * std::min(knotShade, 1.0f);

    const float warm = 0.02f * walk.sheet[9].At(mm.x / 150.0f, y / 25.0f) + 0.35f * (1.0f - tone);
    return {m_tint[0] * tone * (1.0f - 0.5f * warm), m_tint[1] * tone, m_tint[2] * tone * (1.0f + 0.3f * warm)};
}

cv::Vec3f Material::FrameAt(const cv::Point2f& mm, float distanceMm, Walk& walk)
{
    // An anodised rail with two grooves, then the inside of the housing.
    float level = 14.0f;
    if (distanceMm < 70.0f) {
        level = 40.0f - 0.12f * distanceMm;
        const float groove = std::fmod(distanceMm, 30.0f);
        level -= 18.0f * Smooth(1.0f - std::abs(groove - 18.0f) / 4.0f);
        level += 14.0f * Smooth(1.0f - std::abs(groove - 4.0f) / 2.0f);
    }
    level *= 1.0f + 0.08f * walk.frame.At(mm.x / 7.0f, mm.y / 7.0f);
    return {1.03f * level, level, 0.98f * level};
}

cv::Vec3f Material::ColourAt(const cv::Point2f& mm, float mmPerPx, Walk& walk) const
{
    const float dx = std::max(-mm.x, mm.x - m_bedMm.width);
    const float dy = std::max(-mm.y, mm.y - m_bedMm.height);
    // Positive outside the bed.
    const float distance = dx > 0.0f && dy > 0.0f ? std::hypot(dx, dy) : std::max(dx, dy);
    const float edge = Smooth(0.5f + 0.4f * distance / mmPerPx);
    const float light = LightAt(mm);
    cv::Vec3f colour(0.0f, 0.0f, 0.0f);
    if (edge < 1.0f) {
        colour += (1.0f - edge) * light * SheetAt(mm, mmPerPx, walk);
    }
    if (edge > 0.0f) {
        colour += edge * std::clamp(light, 0.3f, 1.2f) * FrameAt(mm, distance, walk);
    }
    return colour;
}

float Material::CharAt(const cv::Point2f& mm, Walk& walk)
{
    return 0.28f + 0.06f * walk.burnt.At(mm.x / 4.0f, mm.y / 4.0f);
}

} // namespace Simulator
