#include "Discs.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace Korvane
{

namespace
{

constexpr double g_dSmallestAreaPx = 12.0;
constexpr double g_dSmallestAxisRatio = 0.3;
/// How much of the ellipse of equal moments an outline fills: 1 for an ellipse, 0.955 for a square.
constexpr double g_dSmallestFill = 0.93;
constexpr int g_nRays = 48;
/// A disc with fewer good rays is hidden in part.
constexpr int g_nFewestRays = 40;
constexpr double g_dLeastContrast = 8.0;
/// Of the outline, as a share of the radius; a pixel's share is added for small discs.
constexpr double g_dLargestRoughness = 0.035;

/// Beyond the picture its border goes on: the paper around a disc near the border.
double Sample(const cv::Mat& grey, const cv::Point2d& place)
{
    const cv::Point2d p(std::clamp(place.x, 0.0, grey.cols - 1.001), std::clamp(place.y, 0.0, grey.rows - 1.001));
    const int x = static_cast<int>(p.x);
    const int y = static_cast<int>(p.y);
    const double u = p.x - x;
    const double v = p.y - y;
    const std::uint8_t* pTop = grey.ptr<std::uint8_t>(y) + x;
    const std::uint8_t* pBottom = grey.ptr<std::uint8_t>(y + 1) + x;
    return (1.0 - v) * ((1.0 - u) * pTop[0] + u * pTop[1]) + v * ((1.0 - u) * pBottom[0] + u * pBottom[1]);
}

/// Lower triangle L with L * L^T = m; empty unless m is positive definite.
std::optional<cv::Matx22d> Cholesky(const cv::Matx22d& m)
{
    if (!(m(0, 0) > 0.0)) {
        return std::nullopt;
    }
    const double a = std::sqrt(m(0, 0));
    const double b = m(1, 0) / a;
    const double c = m(1, 1) - b * b;
    if (!(c > 0.0) || !std::isfinite(c)) {
        return std::nullopt;
    }
    return cv::Matx22d(a, 0.0, b, std::sqrt(c));
}

std::optional<Disc> DiscOfOutline(const std::vector<cv::Point>& outline, double maxAreaPx)
{
    if (outline.size() < 8) {
        return std::nullopt;
    }
    const cv::Moments m = cv::moments(outline);
    if (m.m00 < g_dSmallestAreaPx || m.m00 > maxAreaPx) {
        return std::nullopt;
    }
    const cv::Matx22d covariance(m.mu20 / m.m00, m.mu11 / m.m00, m.mu11 / m.m00, m.mu02 / m.m00);
    const double determinant = cv::determinant(covariance);
    const double trace = cv::trace(covariance);
    const double root = std::sqrt(std::max(0.25 * trace * trace - determinant, 0.0));
    const double ratio = (0.5 * trace - root) / (0.5 * trace + root);
    const double fill = m.m00 / (4.0 * std::numbers::pi * std::sqrt(std::max(determinant, 0.0)));
    if (!(ratio > g_dSmallestAxisRatio * g_dSmallestAxisRatio) || !(fill > g_dSmallestFill)) {
        return std::nullopt;
    }
    const auto axes = Cholesky(4.0 * covariance);
    if (!axes) {
        return std::nullopt;
    }
    // The outline runs through the centres of the outermost pixels, half a pixel inside of the edge.
    const double radius = std::sqrt(cv::determinant(*axes));
    return Disc{{m.m10 / m.m00, m.m01 / m.m00}, *axes * ((radius + 0.5) / radius)};
}

/// Levels around a disc, as rays see them.
struct Surroundings {
    double ink = 0.0;
    cv::Vec3d paper; ///< constant, cos, sin of the angle: light may fall off across the disc

    double PaperAt(double angle) const { return paper[0] + paper[1] * std::cos(angle) + paper[2] * std::sin(angle); }
};

constexpr double g_dInner = 0.45;
constexpr double g_dOuter = 1.4;

Surroundings LookAround(const cv::Mat& grey, const Disc& disc)
{
    Surroundings levels;
    for (int k = 0; k < g_nRays; ++k) {
        const double angle = 2.0 * std::numbers::pi * k / g_nRays;
        const cv::Point2d offset = disc.At(angle) - disc.centre;
        levels.ink += Sample(grey, disc.centre + g_dInner * offset) / g_nRays;
        const double paper = Sample(grey, disc.centre + g_dOuter * offset);
        // Evenly spaced angles: the sums are the least squares.
        levels.paper += cv::Vec3d(paper, 2.0 * paper * std::cos(angle), 2.0 * paper * std::sin(angle)) / g_nRays;
    }
    return levels;
}

/// Where the outline crosses the level halfway between ink and paper, seen from outside. Empty where it does not.
std::optional<cv::Point2d> EdgeOnRay(const cv::Mat& grey, const Disc& disc, double angle, const Surroundings& levels)
{
    const cv::Point2d offset = disc.At(angle) - disc.centre;
    const double radius = std::hypot(offset.x, offset.y);
    const double step = std::max(0.5 / radius, 0.02);
    const double halfway = 0.5 * (levels.ink + levels.PaperAt(angle));
    const cv::Rect2d view(0.0, 0.0, grey.cols - 1.0, grey.rows - 1.0);
    if (!view.contains(disc.centre + offset)) {
        return std::nullopt;
    }
    double outside = Sample(grey, disc.centre + g_dOuter * offset);
    if (outside <= halfway) {
        return std::nullopt;
    }
    const int nSteps = static_cast<int>((g_dOuter - g_dInner) / step);
    for (int i = 1; i <= nSteps; ++i) {
        const double t = g_dOuter - i * step;
        const double inside = Sample(grey, disc.centre + t * offset);
        if (inside <= halfway) {
            const double share = (halfway - inside) / (outside - inside);
            return disc.centre + (t + share * step) * offset;
        }
        outside = inside;
    }
    return std::nullopt;
}

} // namespace

double Disc::AreaPx() const
{
    return std::numbers::pi * std::abs(cv::determinant(axes));
}

double Disc::MeanRadiusPx() const
{
    return std::sqrt(std::abs(cv::determinant(axes)));
}

cv::Point2d Disc::At(double angle) const
{
    const cv::Vec2d offset = axes * cv::Vec2d(std::cos(angle), std::sin(angle));
    return {centre.x + offset[0], centre.y + offset[1]};
}

std::vector<Disc> FindDiscs(const cv::Mat& grey, const DiscThreshold& threshold, double maxAreaPx)
{
    const int nWindow = 2 * cvRound(0.5 * threshold.windowShare * std::max(grey.cols, grey.rows)) + 1;
    cv::Mat mean;
    cv::boxFilter(grey, mean, CV_8U, {nWindow, nWindow}, {-1, -1}, true, cv::BORDER_REFLECT_101);
    cv::Mat level;
    mean.convertTo(level, CV_8U, 1.0 - threshold.darkShare, -1.0);
    const cv::Mat dark = grey < level;
    std::vector<std::vector<cv::Point>> outlines;
    std::vector<cv::Vec4i> hierarchy;
    cv::findContours(dark, outlines, hierarchy, cv::RETR_CCOMP, cv::CHAIN_APPROX_NONE);
    std::vector<Disc> discs;
    for (std::size_t i = 0; i < outlines.size(); ++i) {
        const bool bHole = hierarchy[i][3] >= 0;
        if (bHole) {
            continue;
        }
        if (const auto disc = DiscOfOutline(outlines[i], maxAreaPx)) {
            discs.push_back(*disc);
        }
    }
    return discs;
}

std::optional<Disc> FitEllipse(const std::vector<cv::Point2d>& points, const Disc& start, double* pResidual)
{
    const cv::Matx22d toUnit = start.axes.inv();
    std::vector<cv::Point2d> unit;
    unit.reserve(points.size());
    for (const cv::Point2d& p : points) {
        const cv::Vec2d q = toUnit * cv::Vec2d(p.x - start.centre.x, p.y - start.centre.y);
        unit.emplace_back(q[0], q[1]);
    }
    cv::Vec2d centre;
    cv::Matx22d shape; // y^T shape y = 1 for y from the centre
    double residual = 0.0;
    for (int nRound = 0; nRound < 2; ++nRound) {
        cv::Matx<double, 5, 5> normal = cv::Matx<double, 5, 5>::zeros();
        cv::Vec<double, 5> right = cv::Vec<double, 5>::zeros();
        const double limit = nRound == 0 ? 1.0e9 : std::max(3.0 * residual, 1.0e-9);
        int nUsed = 0;
        const auto distance = [&](const cv::Point2d& q) {
            const cv::Vec2d y = cv::Vec2d(q.x, q.y) - centre;
            return std::sqrt(std::max(y.dot(shape * y), 0.0)) - 1.0;
        };
        for (const cv::Point2d& q : unit) {
            if (nRound > 0 && std::abs(distance(q)) > limit) {
                continue;
            }
            const cv::Vec<double, 5> row(q.x * q.x, q.x * q.y, q.y * q.y, q.x, q.y);
            normal += row * row.t();
            right += row;
            ++nUsed;
        }
        cv::Vec<double, 5> conic;
        if (nUsed < 6 || !cv::solve(normal, right, conic, cv::DECOMP_CHOLESKY)) {
            return std::nullopt;
        }
        const cv::Matx22d m(conic[0], 0.5 * conic[1], 0.5 * conic[1], conic[2]);
        if (!(cv::determinant(m) > 1.0e-6) || !(m(0, 0) > 0.0)) {
            return std::nullopt;
        }
        centre = m.inv() * cv::Vec2d(-0.5 * conic[3], -0.5 * conic[4]);
        shape = m * (1.0 / (1.0 + centre.dot(m * centre)));
        double sum = 0.0;
        int nSummed = 0;
        for (const cv::Point2d& q : unit) {
            const double d = distance(q);
            if (std::abs(d) <= limit) {
                sum += d * d;
                ++nSummed;
            }
        }
        residual = nSummed > 0 ? std::sqrt(sum / nSummed) : 0.0;
    }
    const auto unitAxes = Cholesky(shape.inv());
    if (!unitAxes) {
        return std::nullopt;
    }
    if (pResidual != nullptr) {
        *pResidual = residual;
    }
    const cv::Vec2d offset = start.axes * centre;
    return Disc{start.centre + cv::Point2d(offset[0], offset[1]), start.axes * *unitAxes};
}

std::optional<Disc> RefineDisc(const cv::Mat& grey, const Disc& start)
{
    Disc disc = start;
    std::vector<cv::Point2d> edge;
    for (int nRound = 0; nRound < 2; ++nRound) {
        if (!cv::Rect2d(0.0, 0.0, grey.cols - 1.0, grey.rows - 1.0).contains(disc.centre)) {
            return std::nullopt;
        }
        const Surroundings levels = LookAround(grey, disc);
        if (levels.paper[0] - levels.ink < g_dLeastContrast) {
            return std::nullopt;
        }
        edge.clear();
        for (int k = 0; k < g_nRays; ++k) {
            if (const auto p = EdgeOnRay(grey, disc, 2.0 * std::numbers::pi * k / g_nRays, levels)) {
                edge.push_back(*p);
            }
        }
        if (static_cast<int>(edge.size()) < g_nFewestRays) {
            return std::nullopt;
        }
        double roughness = 0.0;
        const auto fitted = FitEllipse(edge, disc, &roughness);
        if (!fitted || roughness > g_dLargestRoughness + 0.35 / disc.MeanRadiusPx()) {
            return std::nullopt;
        }
        const cv::Point2d moved = fitted->centre - disc.centre;
        const double growth = fitted->MeanRadiusPx() / start.MeanRadiusPx();
        if (std::hypot(moved.x, moved.y) > 0.4 * start.MeanRadiusPx() + 1.0 || growth > 1.6 || growth < 0.6) {
            return std::nullopt;
        }
        disc = *fitted;
    }
    return disc;
}

} // namespace Korvane
