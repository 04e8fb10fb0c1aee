#include "Engraving.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace Simulator
{

namespace
{

constexpr int kTilePx = 32;
/// Far more than it takes to burn a tile all over; what comes on top would only cost time.
constexpr std::size_t kMaxMarksOfTile = 4096;
constexpr double kStepMm = 2.0;
/// Half a step at the highest density of pixels, and the blur.
constexpr double kReachPx = 10.0;
constexpr double kMaxDotRadiusMm = 200.0;

bool IsFinite(const cv::Point2d& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y);
}

/// Liang and Barsky 1984; false when nothing is left.
bool ClipToBed(const cv::Size2d& bedMm, cv::Point2d& from, cv::Point2d& to)
{
    const cv::Point2d way = to - from;
    const double p[4] = {-way.x, way.x, -way.y, way.y};
    const double q[4] = {from.x, bedMm.width - from.x, from.y, bedMm.height - from.y};
    double first = 0.0;
    double last = 1.0;
    for (int i = 0; i < 4; ++i) {
        if (p[i] == 0.0) {
            if (q[i] < 0.0) {
                return false;
            }
            continue;
        }
        const double share = q[i] / p[i];
        if (p[i] < 0.0) {
            first = std::max(first, share);
        } else {
            last = std::min(last, share);
        }
    }
    if (!(first <= last)) {
        return false;
    }
    const cv::Point2d start = from;
    from = start + first * way;
    to = start + last * way;
    return true;
}

float NormalShare(float x)
{
    return 0.5f * std::erfc(-x * static_cast<float>(1.0 / std::numbers::sqrt2));
}

/// Which marks touch which tile of the picture. Dots are numbered after the strokes.
class TileIndex
{
public:
    explicit TileIndex(cv::Size picture)
        : m_nCols((picture.width + kTilePx - 1) / kTilePx), m_nRows((picture.height + kTilePx - 1) / kTilePx),
          m_vecTiles(static_cast<std::size_t>(m_nCols) * static_cast<std::size_t>(m_nRows))
    {
    }

    void Mark(std::uint32_t nMark, const cv::Point2d& low, const cv::Point2d& high)
    {
        const int x0 = Tile(low.x, m_nCols), x1 = Tile(high.x, m_nCols);
        const int y0 = Tile(low.y, m_nRows), y1 = Tile(high.y, m_nRows);
        for (int y = std::max(y0, 0); y <= std::min(y1, m_nRows - 1); ++y) {
            for (int x = std::max(x0, 0); x <= std::min(x1, m_nCols - 1); ++x) {
                std::vector<std::uint32_t>& marks = m_vecTiles[Index(x, y)];
                if (marks.size() < kMaxMarksOfTile && (marks.empty() || marks.back() != nMark)) {
                    marks.push_back(nMark);
                }
            }
        }
    }

    int Cols() const { return m_nCols; }
    int Count() const { return static_cast<int>(m_vecTiles.size()); }
    const std::vector<std::uint32_t>& Of(int nTile) const { return m_vecTiles[static_cast<std::size_t>(nTile)]; }

private:
    static int Tile(double px, int nTiles)
    {
        return static_cast<int>(std::floor(std::clamp(px / kTilePx, -1.0, static_cast<double>(nTiles))));
    }
    std::size_t Index(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(m_nCols) + static_cast<std::size_t>(x);
    }

    int m_nCols;
    int m_nRows;
    std::vector<std::vector<std::uint32_t>> m_vecTiles;
};

/// How the surface moves under one pixel: its steps to the right and down, millimetres per pixel.
struct Footprint {
    cv::Point2f mm;
    cv::Point2f right;
    cv::Point2f down;

    /// Blur along a unit vector of the surface, millimetres.
    float SigmaMm(const cv::Point2f& direction) const
    {
        const float a = direction.dot(right), b = direction.dot(down);
        return static_cast<float>(kBlurPx) * std::sqrt(a * a + b * b);
    }
    /// No direction has more.
    float MostSigmaMm() const { return static_cast<float>(kBlurPx) * std::sqrt(right.dot(right) + down.dot(down)); }
};

Footprint FootprintOf(const cv::Mat& surfaceMm, int x, int y)
{
    const int x0 = std::max(x - 1, 0), x1 = std::min(x + 1, surfaceMm.cols - 1);
    const int y0 = std::max(y - 1, 0), y1 = std::min(y + 1, surfaceMm.rows - 1);
    return {surfaceMm.at<cv::Point2f>(y, x),
            (surfaceMm.at<cv::Point2f>(y, x1) - surfaceMm.at<cv::Point2f>(y, x0)) / static_cast<float>(x1 - x0),
            (surfaceMm.at<cv::Point2f>(y1, x) - surfaceMm.at<cv::Point2f>(y0, x)) / static_cast<float>(y1 - y0)};
}

} // namespace

void Engraving::Clear()
{
    m_vecStrokes.clear();
    m_vecDots.clear();
}

bool Engraving::Add(const EngravedLine& line)
{
    cv::Point2d from = line.fromMm;
    cv::Point2d to = line.toMm;
    if (!IsFinite(from) || !IsFinite(to) || m_vecStrokes.size() + m_vecDots.size() >= kMaxMarks ||
        !ClipToBed(m_bedMm, from, to)) {
        return false;
    }
    const double length = std::hypot(to.x - from.x, to.y - from.y);
    if (!std::isfinite(length)) {
        return false;
    }
    m_vecStrokes.push_back({from, length > 0.0 ? (to - from) / length : cv::Point2d(1.0, 0.0), length});
    return true;
}

bool Engraving::Add(const EngravedDot& dot)
{
    const cv::Point2d c = dot.centreMm;
    if (!IsFinite(c) || !(dot.radiusMm > 0.0) || dot.radiusMm > kMaxDotRadiusMm || c.x < 0.0 || c.y < 0.0 ||
        c.x > m_bedMm.width || c.y > m_bedMm.height || m_vecStrokes.size() + m_vecDots.size() >= kMaxMarks) {
        return false;
    }
    m_vecDots.push_back(dot);
    return true;
}

cv::Mat Engraving::Coverage(const CameraModel& camera, const cv::Mat& surfaceMm) const
{
    cv::Mat coverage = cv::Mat::zeros(surfaceMm.size(), CV_16UC1);
    TileIndex index(surfaceMm.size());
    const cv::Point2d reach(kReachPx, kReachPx);
    for (std::size_t i = 0; i < m_vecStrokes.size(); ++i) {
        const Stroke& stroke = m_vecStrokes[i];
        const int nSteps = static_cast<int>(std::ceil(stroke.lengthMm / kStepMm));
        for (int k = 0; k <= nSteps; ++k) {
            const double way = nSteps > 0 ? stroke.lengthMm * k / nSteps : 0.0;
            if (const auto pixel = camera.PixelFromMachine(stroke.fromMm + way * stroke.along)) {
                index.Mark(static_cast<std::uint32_t>(i), *pixel - reach, *pixel + reach);
            }
        }
    }
    const std::size_t nFirstDot = m_vecStrokes.size();
    for (std::size_t i = 0; i < m_vecDots.size(); ++i) {
        const EngravedDot& dot = m_vecDots[i];
        cv::Point2d low(1e9, 1e9), high(-1e9, -1e9);
        for (int k = 0; k < 16; ++k) {
            const double angle = 2.0 * std::numbers::pi * k / 16;
            // The corners of sixteen sides lie outside the circle by two in a hundred.
            const cv::Point2d rim = 1.03 * dot.radiusMm * cv::Point2d(std::cos(angle), std::sin(angle));
            if (const auto pixel = camera.PixelFromMachine(dot.centreMm + rim)) {
                low = {std::min(low.x, pixel->x), std::min(low.y, pixel->y)};
                high = {std::max(high.x, pixel->x), std::max(high.y, pixel->y)};
            }
        }
        if (low.x <= high.x) {
            index.Mark(static_cast<std::uint32_t>(nFirstDot + i), low - reach, high + reach);
        }
    }

    const auto strokeShare = [](const Stroke& stroke, const Footprint& spot, float mostSigma) {
        const cv::Point2f along(stroke.along);
        const cv::Point2f across(-along.y, along.x);
        const cv::Point2f offset = spot.mm - cv::Point2f(stroke.fromMm);
        const float half = static_cast<float>(0.5 * kLineWidthMm);
        const float aside = std::abs(offset.dot(across));
        if (aside > half + 4.5f * mostSigma) {
            return 0.0f;
        }
        const float sigmaAcross = spot.SigmaMm(across);
        if (aside > half + 4.5f * sigmaAcross) {
            return 0.0f;
        }
        const float sigmaAlong = spot.SigmaMm(along);
        const float way = offset.dot(along);
        const float length = static_cast<float>(stroke.lengthMm);
        if (way < -half - 4.5f * sigmaAlong || way > length + half + 4.5f * sigmaAlong) {
            return 0.0f;
        }
        const float width = NormalShare((aside + half) / sigmaAcross) - NormalShare((aside - half) / sigmaAcross);
        return width * (NormalShare((way + half) / sigmaAlong) - NormalShare((way - length - half) / sigmaAlong));
    };
    const auto dotShare = [](const EngravedDot& dot, const Footprint& spot, float mostSigma) {
        const cv::Point2f offset = spot.mm - cv::Point2f(dot.centreMm);
        const float distance = std::sqrt(offset.dot(offset));
        if (std::abs(distance - static_cast<float>(dot.radiusMm)) > 6.0f * mostSigma) {
            return distance < static_cast<float>(dot.radiusMm) ? 1.0f : 0.0f;
        }
        const cv::Point2f outwards = distance > 0.0f ? offset / distance : cv::Point2f(1.0f, 0.0f);
        return NormalShare((static_cast<float>(dot.radiusMm) - distance) / spot.SigmaMm(outwards));
    };

    cv::parallel_for_(cv::Range(0, index.Count()), [&](const cv::Range& range) {
        for (int nTile = range.start; nTile < range.end; ++nTile) {
            const std::vector<std::uint32_t>& marks = index.Of(nTile);
            if (marks.empty()) {
                continue;
            }
            const int x0 = nTile % index.Cols() * kTilePx, y0 = nTile / index.Cols() * kTilePx;
            const int x1 = std::min(x0 + kTilePx, coverage.cols), y1 = std::min(y0 + kTilePx, coverage.rows);
            for (int y = y0; y < y1; ++y) {
                for (int x = x0; x < x1; ++x) {
                    const Footprint spot = FootprintOf(surfaceMm, x, y);
                    if (!std::isfinite(spot.right.x + spot.right.y + spot.down.x + spot.down.y)) {
                        continue;
                    }
                    const float mostSigma = spot.MostSigmaMm();
                    float clear = 1.0f;
                    for (const std::uint32_t nMark : marks) {
                        clear *= 1.0f - (nMark < nFirstDot ? strokeShare(m_vecStrokes[nMark], spot, mostSigma)
                                                           : dotShare(m_vecDots[nMark - nFirstDot], spot, mostSigma));
                    }
                    coverage.at<std::uint16_t>(y, x) =
                        static_cast<std::uint16_t>(std::clamp((1.0f - clear) * 65535.0f + 0.5f, 0.0f, 65535.0f));
                }
            }
        }
    });
    return coverage;
}

} // namespace Simulator
