#include "Machine.h"

#include "ChartPainter.h"
#include "MachineImpl.h"
#include "Material.h"
#include "SeededNoise.h"
#include "SurfaceTrace.h"

#include <algorithm>
#include <cmath>

namespace Simulator
{

namespace
{

constexpr float kCleanUnits = 128.0f;
/// Electrons are counted: variance grows with the level. Then the amplifier.
constexpr float kShotVariancePerLevel = 0.012f;
constexpr float kReadVariance = 0.5f;

MountedCamera Mount(Machine::Kind kind, std::uint64_t nSeed, Side side)
{
    Draw draw(nSeed, side == Side::Left ? 0x21 : 0x22);
    MountedCamera camera(MakeCamera(kind, nSeed, side));
    camera.nNoiseSeed = draw.Bits();
    const double exposure = 1.0 + draw.Within(0.04);
    for (int i = 0; i < 3; ++i) {
        camera.gain[i] = static_cast<float>(exposure * (1.0 + draw.Within(0.02)));
    }
    camera.cornerLoss = static_cast<float>(draw.Between(0.25, 0.40));
    return camera;
}

/// Light that the lens lets through, 1 in the middle.
class ShadeOfLens
{
public:
    explicit ShadeOfLens(const MountedCamera& camera)
        : m_middle(static_cast<float>(camera.model.GetLens().cx), static_cast<float>(camera.model.GetLens().cy)),
          m_cornerLoss(camera.cornerLoss)
    {
        const cv::Size size = camera.model.PictureSize();
        m_halfDiagonal = 0.5f * std::hypot(static_cast<float>(size.width), static_cast<float>(size.height));
    }

    float At(int x, int y) const
    {
        const cv::Point2f offset = (cv::Point2f(cv::Point(x, y)) - m_middle) / m_halfDiagonal;
        const float square = offset.dot(offset);
        return 1.0f / (1.0f + m_cornerLoss * square * (1.0f + 0.5f * square));
    }

private:
    cv::Point2f m_middle;
    float m_cornerLoss;
    float m_halfDiagonal;
};

/// A row at a time, so that the processor takes several values at once: a live camera delivers full pictures all the
/// time.
/// @param noise  standard normal
/// @param sigma  room to work in
void AddNoise(const std::vector<cv::Vec3f>& levels, const std::vector<cv::Vec3f>& noise, cv::Mat& sigma,
              uchar* pPicture)
{
    const std::size_t nValues = 3U * levels.size();
    const float* const pLevel = levels.front().val;
    const float* const pNoise = noise.front().val;
    sigma.create(1, static_cast<int>(nValues), CV_32FC1);
    float* const pSigma = sigma.ptr<float>();
    for (std::size_t i = 0; i < nValues; ++i) {
        pSigma[i] = kReadVariance + kShotVariancePerLevel * pLevel[i];
    }
    cv::sqrt(sigma, sigma);
    for (std::size_t i = 0; i < nValues; ++i) {
        const float noisy = pLevel[i] + pSigma[i] * pNoise[i] + 0.5f;
        pPicture[i] = static_cast<std::uint8_t>(static_cast<int>(std::min(std::max(noisy, 0.0f), 255.0f)));
    }
}

} // namespace

std::vector<cv::Point2d> CrossGrid::PointsMm() const
{
    std::vector<cv::Point2d> points;
    if (nRow <= 0 || nCol <= 0) {
        return points;
    }
    points.reserve(static_cast<std::size_t>(nRow) * static_cast<std::size_t>(nCol));
    for (int r = 0; r < nRow; ++r) {
        for (int c = 0; c < nCol; ++c) {
            points.push_back(startMm + cv::Point2d(c * columnSpacingMm, r * rowSpacingMm));
        }
    }
    return points;
}

Machine::Impl::Impl(Kind eKind, std::uint64_t nMachineSeed)
    : kind(eKind), nSeed(nMachineSeed), engraving(BedOf(eKind)), left(Mount(eKind, nMachineSeed, Side::Left)),
      right(Mount(eKind, nMachineSeed, Side::Right))
{
}

void Machine::Impl::MarkStale()
{
    left.bCoverageStale = true;
    right.bCoverageStale = true;
}

void Machine::Impl::PrepareClean(MountedCamera& camera) const
{
    if (camera.surfaceMm.empty()) {
        camera.surfaceMm = TraceSurface(camera.model);
    }
    if (!camera.clean.empty()) {
        return;
    }
    const Material material(Mix(nSeed, nSheets), BedOf(kind));
    const cv::Size size = camera.model.PictureSize();
    const ShadeOfLens shadeOfLens(camera);
    camera.clean.create(size, CV_16UC3);
    cv::parallel_for_(cv::Range(0, size.height), [&](const cv::Range& rows) {
        Material::Walk walk = material.NewWalk();
        for (int y = rows.start; y < rows.end; ++y) {
            const auto* pSurface = camera.surfaceMm.ptr<cv::Point2f>(y);
            const auto* pBelow = camera.surfaceMm.ptr<cv::Point2f>(std::min(y + 1, size.height - 1));
            const auto* pAbove = camera.surfaceMm.ptr<cv::Point2f>(std::max(y - 1, 0));
            auto* pClean = camera.clean.ptr<cv::Vec3w>(y);
            for (int x = 0; x < size.width; ++x) {
                const cv::Point2f across =
                    0.5f * (pSurface[std::min(x + 1, size.width - 1)] - pSurface[std::max(x - 1, 0)]);
                const cv::Point2f down = 0.5f * (pBelow[x] - pAbove[x]);
                const float mmPerPx = std::sqrt(std::abs(across.cross(down)));
                cv::Vec3f colour(6.0f, 6.0f, 6.0f);
                if (mmPerPx > 0.0f && std::isfinite(mmPerPx)) {
                    colour = material.ColourAt(pSurface[x], mmPerPx, walk);
                }
                const float shade = shadeOfLens.At(x, y);
                for (int i = 0; i < 3; ++i) {
                    const float level = colour[i] * camera.gain[i] * shade;
                    pClean[x][i] = cv::saturate_cast<std::uint16_t>(level * kCleanUnits);
                }
            }
        }
    });
}

Machine::Machine(Kind kind, std::uint64_t nSeed) : m_pImpl(std::make_unique<Impl>(kind, nSeed))
{
}

Machine::~Machine() = default;

Machine::Kind Machine::GetKind() const
{
    return m_pImpl->kind;
}

cv::Size2d Machine::WorkAreaMm() const
{
    return BedOf(m_pImpl->kind);
}

CrossGrid Machine::Grid() const
{
    CrossGrid grid;
    grid.crossSizeMm = 40.0;
    if (m_pImpl->kind == Kind::Automatic) {
        grid.nRow = 7;
        grid.nCol = 8;
        grid.nColSingle = 5;
        grid.startMm = {55.0, 45.0};
        grid.columnSpacingMm = 170.0;
        grid.rowSpacingMm = 135.0;
    } else {
        grid.nRow = 3;
        grid.nCol = 6;
        grid.nColSingle = 3;
        grid.startMm = {75.0, 75.0};
        grid.columnSpacingMm = 150.0;
        grid.rowSpacingMm = 225.0;
    }
    return grid;
}

void Machine::PlaceMaterial()
{
    ++m_pImpl->nSheets;
    m_pImpl->engraving.Clear();
    for (MountedCamera* pCamera : {&m_pImpl->left, &m_pImpl->right}) {
        pCamera->clean.release();
        pCamera->coverage.release();
        pCamera->bCoverageStale = false;
    }
}

std::size_t Machine::EngraveLines(const std::vector<EngravedLine>& lines)
{
    std::size_t nEngraved = 0;
    for (const EngravedLine& line : lines) {
        nEngraved += m_pImpl->engraving.Add(line) ? 1U : 0U;
    }
    m_pImpl->MarkStale();
    return nEngraved;
}

void Machine::EngraveDots(const std::vector<EngravedDot>& dots)
{
    for (const EngravedDot& dot : dots) {
        m_pImpl->engraving.Add(dot);
    }
    m_pImpl->MarkStale();
}

void Machine::EngraveCrossGrid()
{
    const CrossGrid grid = Grid();
    const std::vector<cv::Point2d> points = grid.PointsMm();
    const double half = 0.5 * grid.crossSizeMm;
    std::vector<EngravedLine> lines;
    for (const cv::Point2d& p : points) {
        lines.push_back({{p.x - half, p.y}, {p.x + half, p.y}});
        lines.push_back({{p.x, p.y - half}, {p.x, p.y + half}});
    }
    for (const cv::Point2d& p : {points.front(), points.back()}) {
        const cv::Point2d tip(p.x + half, p.y);
        lines.push_back({{p.x + 0.5 * half, p.y - 0.5 * half}, tip});
        lines.push_back({{p.x + 0.5 * half, p.y + 0.5 * half}, tip});
    }
    EngraveLines(lines);
}

MicroLineReading Machine::EngraveMicroLine(const MicroLineDocument& document)
{
    std::vector<EngravedLine> lines;
    MicroLineReading reading = ReadMicroLine(document, lines);
    reading.nEngraved = EngraveLines(lines);
    return reading;
}

void Machine::HoldChart(const HeldChart& chart)
{
    m_pImpl->chart = chart;
}

void Machine::TakeChartAway()
{
    m_pImpl->chart.reset();
}

void Machine::SetLight(double dShare)
{
    m_pImpl->lamp = std::isfinite(dShare) ? static_cast<float>(std::clamp(dShare, 0.0, 4.0)) : 1.0f;
}

cv::Mat Machine::Snap(Side side)
{
    MountedCamera& camera = m_pImpl->Camera(side);
    m_pImpl->PrepareClean(camera);
    if (camera.bCoverageStale) {
        camera.coverage =
            m_pImpl->engraving.IsEmpty() ? cv::Mat() : m_pImpl->engraving.Coverage(camera.model, camera.surfaceMm);
        camera.bCoverageStale = false;
    }
    const Material material(Mix(m_pImpl->nSeed, m_pImpl->nSheets), BedOf(m_pImpl->kind));
    const std::uint64_t nFrame = Mix(camera.nNoiseSeed, camera.nSnaps++);
    const float lamp = m_pImpl->lamp;
    const float* const pNormal = NormalTable();
    const std::optional<ChartPainter> painter =
        m_pImpl->chart ? std::make_optional<ChartPainter>(camera.model, *m_pImpl->chart) : std::nullopt;
    const ShadeOfLens shadeOfLens(camera);
    cv::Mat picture(camera.clean.size(), CV_8UC3);
    cv::parallel_for_(cv::Range(0, picture.rows), [&](const cv::Range& rows) {
        const auto nCols = static_cast<std::size_t>(picture.cols);
        std::vector<cv::Point2d> onChart(painter ? nCols : 0U);
        std::vector<cv::Point2d> onChartBelow(onChart.size());
        std::vector<cv::Vec3f> levels(nCols);
        std::vector<cv::Vec3f> noise(nCols);
        cv::Mat sigma;
        Material::Walk walk = material.NewWalk();
        for (int y = rows.start; y < rows.end; ++y) {
            const auto* pClean = camera.clean.ptr<cv::Vec3w>(y);
            const auto* pCoverage = camera.coverage.empty() ? nullptr : camera.coverage.ptr<std::uint16_t>(y);
            const auto* pSurface = camera.surfaceMm.ptr<cv::Point2f>(y);
            if (painter) {
                std::swap(onChart, onChartBelow);
                if (y == rows.start) {
                    painter->ChartFromSurface(pSurface, onChart);
                }
                painter->ChartFromSurface(camera.surfaceMm.ptr<cv::Point2f>(y + 1 < picture.rows ? y + 1 : y - 1),
                                          onChartBelow);
            }
            const std::uint64_t nRow = static_cast<std::uint64_t>(y) * static_cast<std::uint64_t>(picture.cols);
            for (std::size_t x = 0; x < nCols; ++x) {
                float light = 1.0f;
                if (pCoverage != nullptr && pCoverage[x] != 0) {
                    light -= (1.0f - Material::CharAt(pSurface[x], walk)) * static_cast<float>(pCoverage[x]) / 65535.0f;
                }
                cv::Vec3f clean(pClean[x]);
                if (painter) {
                    const std::size_t nNext = x + 1 < nCols ? x + 1 : x - 1;
                    const ChartPainter::Cover cover = painter->At(onChart[x], onChart[nNext], onChartBelow[x]);
                    if (cover.share > 0.0f) {
                        clean *= light;
                        light = 1.0f;
                        const float shade = shadeOfLens.At(static_cast<int>(x), y) * kCleanUnits;
                        clean += cover.share * (cover.colour.mul(camera.gain) * shade - clean);
                    }
                }
                std::uint64_t nBits = Mix(nFrame + nRow + x);
                for (int i = 0; i < 3; ++i, nBits >>= 16) {
                    levels[x][i] = lamp * (light * clean[i] / kCleanUnits);
                    noise[x][i] = pNormal[nBits & 4095u];
                }
            }
            AddNoise(levels, noise, sigma, picture.ptr(y));
        }
    });
    return picture;
}

} // namespace Simulator
