// Draws the pattern that the fusion step engraves, for one size of bed: a strip of hatched shapes down the middle of
// the bed, where both cameras see it. No two shapes are alike, so that each is found again in the other picture. The
// strip stays clear of the crosses that the coordinate step engraves later, on a grid whose columns lie apart from the
// middle. The same size always gives the same file.
//
// Run as: draw_fusion_pattern WIDTH HEIGHT FILE (millimetres)

#include "PatternFile.h"
#include "SeededNoise.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>

namespace
{

constexpr double g_dStripShare = 0.12; ///< of the bed's width
constexpr double g_dMarginMm = 15.0;   ///< above and below
constexpr int g_nColumns = 12;
constexpr double g_dHatchMm = 0.3;

using Points = std::vector<cv::Point2d>;

/// A star-shaped polygon about a point.
Points DrawShape(Simulator::Draw& draw, const cv::Point2d& centreMm, double dRadiusMm)
{
    const int nCorners = 3 + static_cast<int>(draw.Bits() % 4);
    const double dTurn = draw.Between(0.0, 2.0 * std::numbers::pi);
    Points corners;
    for (int i = 0; i < nCorners; ++i) {
        const double dAngle = dTurn + 2.0 * std::numbers::pi * (i + draw.Within(0.25)) / nCorners;
        const double dReach = dRadiusMm * draw.Between(0.5, 1.0);
        corners.push_back(centreMm + dReach * cv::Point2d(std::cos(dAngle), std::sin(dAngle)));
    }
    return corners;
}

/// Outline and hatching along X.
void AddShape(const Points& corners, std::vector<Simulator::EngravedLine>& lines)
{
    double dTop = corners[0].y;
    double dBottom = corners[0].y;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        lines.push_back({corners[i], corners[(i + 1) % corners.size()]});
        dTop = std::min(dTop, corners[i].y);
        dBottom = std::max(dBottom, corners[i].y);
    }
    for (double y = dTop + g_dHatchMm; y < dBottom; y += g_dHatchMm) {
        std::vector<double> crossings;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const cv::Point2d& a = corners[i];
            const cv::Point2d& b = corners[(i + 1) % corners.size()];
            if ((a.y <= y) != (b.y <= y)) {
                crossings.push_back(a.x + (y - a.y) / (b.y - a.y) * (b.x - a.x));
            }
        }
        std::sort(crossings.begin(), crossings.end());
        for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) {
            lines.push_back({{crossings[i], y}, {crossings[i + 1], y}});
        }
    }
}

Workbench::PatternFile DrawPattern(const cv::Size2d& bedMm)
{
    Workbench::PatternFile pattern{bedMm, {}};
    Simulator::Draw draw(0x4B56, static_cast<std::uint64_t>(bedMm.width * 10'000.0 + bedMm.height));
    const double dPitchMm = g_dStripShare * bedMm.width / g_nColumns;
    const double dLeftMm = 0.5 * (1.0 - g_dStripShare) * bedMm.width;
    const int nRows = static_cast<int>((bedMm.height - 2.0 * g_dMarginMm) / dPitchMm);
    const double dTopMm = 0.5 * (bedMm.height - nRows * dPitchMm);
    for (int r = 0; r < nRows; ++r) {
        for (int c = 0; c < g_nColumns; ++c) {
            // Within its cell, so that no two touch.
            const double dRadiusMm = dPitchMm * draw.Between(0.25, 0.45);
            const double dPlayMm = 0.48 * dPitchMm - dRadiusMm;
            const cv::Point2d centreMm(dLeftMm + (c + 0.5) * dPitchMm + draw.Within(dPlayMm),
                                       dTopMm + (r + 0.5) * dPitchMm + draw.Within(dPlayMm));
            AddShape(DrawShape(draw, centreMm, dRadiusMm), pattern.lines);
        }
    }
    return pattern;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: draw_fusion_pattern WIDTH HEIGHT FILE\n");
        return 2;
    }
    const cv::Size2d bedMm(std::atof(argv[1]), std::atof(argv[2]));
    if (!(bedMm.width >= 100.0 && bedMm.width <= 5000.0 && bedMm.height >= 100.0 && bedMm.height <= 5000.0)) {
        std::fprintf(stderr, "draw_fusion_pattern: a bed has 100 to 5000 mm a side\n");
        return 2;
    }
    const std::string strProblem = Workbench::WritePatternFile(DrawPattern(bedMm), argv[3]);
    if (!strProblem.empty()) {
        std::fprintf(stderr, "draw_fusion_pattern: %s: %s\n", argv[3], strProblem.c_str());
        return 1;
    }
    return 0;
}
