#include "ArrowHeads.h"

#include "CrossRefinement.h"
#include "CrossView.h"
#include "RobustStatistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

namespace Fisheye
{

namespace
{

/// Measures how deep straight strokes stand out, in machine millimetres around a cross.
class StrokeMeter
{
public:
    StrokeMeter(const cv::Mat& gray, const FisheyeProjector& projector, bool bBright)
        : m_gray(gray), m_projector(projector), m_sign(bBright ? -1.0 : 1.0)
    {
    }

    /// Machine millimetres.
    std::optional<cv::Point2d> SurfaceOf(const cv::Point2d& pixel) const { return m_projector.SurfaceFromPixel(pixel); }

    /// Grey levels by which a line between two places is darker than what lies beside it, on average over its length;
    /// around 0 where there is none. Empty where the picture does not show all of it.
    std::optional<double> Depth(const cv::Point2d& fromMm, const cv::Point2d& toMm) const
    {
        const auto from = Pixel(fromMm);
        const auto to = Pixel(toMm);
        if (!from || !to) {
            return std::nullopt;
        }
        const double lengthPx = cv::norm(*to - *from);
        if (!(lengthPx > 0.5) || lengthPx > 2000.0) {
            return std::nullopt;
        }
        const cv::Point2d normal((from->y - to->y) / lengthPx, (to->x - from->x) / lengthPx);
        const int nSamples = std::max(6, static_cast<int>(lengthPx / kSamplePx));
        std::array<double, kProfile> profile{};
        for (int i = 0; i < nSamples; ++i) {
            const auto middle = Pixel(fromMm + (toMm - fromMm) * ((i + 0.5) / nSamples));
            if (!middle) {
                return std::nullopt;
            }
            for (int k = 0; k < kProfile; ++k) {
                const auto grey = GreyAt(m_gray, *middle + normal * OffsetPx(k));
                if (!grey) {
                    return std::nullopt;
                }
                profile[static_cast<std::size_t>(k)] += static_cast<double>(*grey) / nSamples;
            }
        }
        return DepthOf(profile);
    }

private:
    static constexpr double kSamplePx = 0.7;
    static constexpr int kHalfProfile = 9;
    static constexpr int kProfile = 2 * kHalfProfile + 1;
    static constexpr double OffsetPx(int k) { return 0.5 * (k - kHalfProfile); }

    std::optional<cv::Point2d> Pixel(const cv::Point2d& machineMm) const
    {
        return m_projector.PixelFromMachine({machineMm.x, machineMm.y, 0.0});
    }

    double DepthOf(const std::array<double, kProfile>& profile) const
    {
        constexpr double kBesidePx = 2.5;
        constexpr double kReachPx = 1.0; ///< how far the line may lie beside where it is expected
        double beside = 0.0;
        int nBeside = 0;
        for (int k = 0; k < kProfile; ++k) {
            if (std::abs(OffsetPx(k)) >= kBesidePx) {
                beside += profile[static_cast<std::size_t>(k)];
                ++nBeside;
            }
        }
        beside /= nBeside;
        double deepest = -std::numeric_limits<double>::infinity();
        for (int k = 0; k < kProfile; ++k) {
            if (std::abs(OffsetPx(k)) <= kReachPx) {
                deepest = std::max(deepest, m_sign * (beside - profile[static_cast<std::size_t>(k)]));
            }
        }
        return deepest;
    }

    const cv::Mat& m_gray;
    const FisheyeProjector& m_projector;
    double m_sign;
};

/// What the arms of the crosses look like.
struct Arms {
    double lengthMm = 0.0; ///< half a cross
    double depth = 0.0;    ///< grey levels
};

double NearestDistance(const std::vector<FoundCross>& crosses)
{
    double nearest = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < crosses.size(); ++i) {
        for (std::size_t j = i + 1; j < crosses.size(); ++j) {
            nearest = std::min(nearest, cv::norm(crosses[i].machineMm - crosses[j].machineMm));
        }
    }
    return nearest;
}

/// Median depth of the arms of all crosses, stretch after stretch from the centre.
std::vector<double> DepthsAlongArms(const StrokeMeter& meter, const std::vector<FoundCross>& crosses, double fromMm,
                                    double stepMm, double farthestMm)
{
    std::vector<double> depths;
    for (double d = fromMm; d + stepMm < farthestMm; d += stepMm) {
        std::vector<double> stretches;
        for (const FoundCross& cross : crosses) {
            const auto centre = meter.SurfaceOf(cross.pixel);
            for (const cv::Point2d& along :
                 {cv::Point2d(1, 0), cv::Point2d(-1, 0), cv::Point2d(0, 1), cv::Point2d(0, -1)}) {
                const auto depth =
                    centre ? meter.Depth(*centre + along * d, *centre + along * (d + stepMm)) : std::nullopt;
                if (depth) {
                    stretches.push_back(*depth);
                }
            }
        }
        if (stretches.empty()) {
            break;
        }
        depths.push_back(MedianOf(std::move(stretches)));
    }
    return depths;
}

/// Empty where the arms are too faint, fade away or run into the neighbour's.
std::optional<Arms> MeasureArms(const StrokeMeter& meter, const std::vector<FoundCross>& crosses)
{
    constexpr double kFromMm = 3.0;
    constexpr double kStepMm = 1.0;
    constexpr std::size_t kSure = 3;   ///< stretches that every arm has
    constexpr std::size_t kBeyond = 3; ///< stretches without it that show where an arm ends
    constexpr double kFaint = 1.0;     ///< grey levels
    const double farthestMm = std::min(60.0, 0.45 * NearestDistance(crosses));
    const std::vector<double> depths = DepthsAlongArms(meter, crosses, kFromMm, kStepMm, farthestMm);
    if (depths.size() < kSure + kBeyond) {
        return std::nullopt;
    }
    const double depth = MedianOf({depths.begin(), depths.begin() + kSure});
    std::size_t nEnd = kSure;
    while (nEnd + kBeyond <= depths.size() &&
           *std::max_element(depths.begin() + static_cast<std::ptrdiff_t>(nEnd),
                             depths.begin() + static_cast<std::ptrdiff_t>(nEnd + kBeyond)) > 0.5 * depth) {
        ++nEnd;
    }
    if (depth < kFaint || nEnd + kBeyond > depths.size()) {
        return std::nullopt;
    }
    // The stretch in which the arms end shows a share of the depth.
    const double beyond = MedianOf({depths.begin() + static_cast<std::ptrdiff_t>(nEnd) + 1,
                                    depths.begin() + static_cast<std::ptrdiff_t>(nEnd + kBeyond)});
    double lengthMm = kFromMm;
    for (std::size_t i = 0; i <= nEnd; ++i) {
        lengthMm += kStepMm * std::clamp((depths[i] - beyond) / (depth - beyond), 0.0, 1.0);
    }
    return Arms{lengthMm, depth};
}

/// How much of the arms' depth the fainter stroke of an arrow head has that points along X (or against it). Around 0
/// where there is none.
std::optional<double> ArrowHead(const StrokeMeter& meter, const cv::Point2d& pixel, const Arms& arms, double sign)
{
    // The ends run into the arm and the tip.
    constexpr double kFrom = 0.05;
    constexpr double kTo = 0.8;
    const auto centre = meter.SurfaceOf(pixel);
    if (!centre) {
        return std::nullopt;
    }
    const cv::Point2d tip = *centre + cv::Point2d(sign * arms.lengthMm, 0.0);
    double faintest = std::numeric_limits<double>::infinity();
    for (const double side : {-1.0, 1.0}) {
        const cv::Point2d start = *centre + 0.5 * arms.lengthMm * cv::Point2d(sign, side);
        const auto depth = meter.Depth(start + kFrom * (tip - start), start + kTo * (tip - start));
        if (!depth) {
            return std::nullopt;
        }
        faintest = std::min(faintest, *depth / arms.depth);
    }
    return faintest;
}

/// The marks' part of the pattern's grid.
struct Lattice {
    std::vector<double> xMm; ///< of the columns that were marked, ascending
    std::vector<double> yMm; ///< of the rows
    int nCol = 0;            ///< columns of the whole pattern
    int nFirstCol = 0;       ///< place of the first marked column in it
    bool bKnown = false;     ///< the ids count a whole grid row after row, and all of its rows are marked

    /// Whether the pattern has an arrow head at this place, columns counted from the first that was marked.
    bool HasArrowHead(int nRow, int nMarkedCol) const
    {
        const int nLastRow = static_cast<int>(yMm.size()) - 1;
        const int nPlace = nFirstCol + nMarkedCol;
        return (nRow == 0 && nPlace == 0) || (nRow == nLastRow && nPlace == nCol - 1);
    }
};

/// The different ones among nearly equal values, ascending.
std::vector<double> Distinct(std::vector<double> values)
{
    constexpr double kSameMm = 1.5;
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end(), [](double a, double b) { return b - a < kSameMm; }),
                 values.end());
    return values;
}

int IndexOf(const std::vector<double>& values, double value)
{
    const auto nearest = std::min_element(
        values.begin(), values.end(), [=](double a, double b) { return std::abs(a - value) < std::abs(b - value); });
    return static_cast<int>(nearest - values.begin());
}

Lattice LatticeOf(const std::vector<FoundCross>& crosses)
{
    Lattice lattice;
    std::vector<double> xMm;
    std::vector<double> yMm;
    int nLeastId = std::numeric_limits<int>::max();
    for (const FoundCross& cross : crosses) {
        xMm.push_back(cross.machineMm.x);
        yMm.push_back(cross.machineMm.y);
        nLeastId = std::min(nLeastId, cross.nId);
    }
    lattice.xMm = Distinct(std::move(xMm));
    lattice.yMm = Distinct(std::move(yMm));
    const std::size_t nCells = lattice.xMm.size() * lattice.yMm.size();
    if (lattice.yMm.size() < 2 || lattice.xMm.size() < 2 || nCells != crosses.size() || nLeastId < 1) {
        return lattice;
    }
    // One row down, an id grows by the pattern's columns.
    const auto idAt = [&](int nRow, int nCol) {
        const auto cross = std::find_if(crosses.begin(), crosses.end(), [&](const FoundCross& candidate) {
            return IndexOf(lattice.yMm, candidate.machineMm.y) == nRow &&
                   IndexOf(lattice.xMm, candidate.machineMm.x) == nCol;
        });
        return cross == crosses.end() ? 0 : cross->nId;
    };
    lattice.nCol = idAt(1, 0) - idAt(0, 0);
    lattice.nFirstCol = nLeastId - 1;
    lattice.bKnown = lattice.nCol >= lattice.nFirstCol + static_cast<int>(lattice.xMm.size());
    for (const FoundCross& cross : crosses) {
        // Ids are what a caller gives: the last row of a made-up grid may lie beyond int.
        const std::int64_t nPlace = std::int64_t{IndexOf(lattice.yMm, cross.machineMm.y)} * lattice.nCol +
                                    lattice.nFirstCol + IndexOf(lattice.xMm, cross.machineMm.x);
        lattice.bKnown = lattice.bKnown && cross.nId == nPlace + 1;
    }
    return lattice;
}

/// A cross that may have an arrow head.
struct Candidate {
    int nRow = 0;
    int nMarkedCol = 0; ///< columns beside the marked ones are negative, or as many as those and more
    cv::Point2d pixel;
};

/// Crosses of the first and the last row beside the marked columns, as far as the picture shows any.
std::vector<Candidate> CrossesBeside(const cv::Mat& gray, const FisheyeProjector& projector, const Lattice& lattice,
                                     const Arms& arms, bool bBright)
{
    constexpr int kMostColumns = 4;
    const int nColumns = static_cast<int>(lattice.xMm.size());
    const int nLastRow = static_cast<int>(lattice.yMm.size()) - 1;
    const double stepMm = (lattice.xMm.back() - lattice.xMm.front()) / (nColumns - 1);
    CrossSearch search;
    search.armMm = std::min(search.armMm, 0.9 * arms.lengthMm);
    search.bBright = bBright;
    std::vector<Candidate> candidates;
    for (int nCol = -kMostColumns; nCol < nColumns + kMostColumns; ++nCol) {
        if (nCol >= 0 && nCol < nColumns) {
            continue;
        }
        for (const int nRow : {0, nLastRow}) {
            const cv::Point3d machineMm(lattice.xMm.front() + nCol * stepMm,
                                        lattice.yMm[static_cast<std::size_t>(nRow)], 0.0);
            const auto expected = projector.PixelFromMachine(machineMm);
            const auto cross = expected ? LocateCross(gray, projector, *expected, search, true) : std::nullopt;
            if (cross) {
                candidates.push_back({nRow, nCol, cross->pixel});
            }
        }
    }
    return candidates;
}

/// An arrow head is told from grain by how little grain looks like one at all the other crosses.
double LeastOfAnArrowHead(const std::vector<double>& shares)
{
    constexpr double kLeast = 0.4;
    constexpr double kSigmas = 4.0; ///< both strokes must stand out: grain that does so by chance does it twice
    const double middle = MedianOf(shares);
    std::vector<double> deviations;
    deviations.reserve(shares.size());
    for (const double share : shares) {
        deviations.push_back(share - middle);
    }
    return std::max(kLeast, middle + kSigmas * RobustSigma(std::move(deviations)));
}

/// An arrow head that was found.
struct SeenHead {
    Candidate candidate;
    bool bAlongX = true; ///< else against growing X
};

std::vector<SeenHead> FindArrowHeads(const StrokeMeter& meter, const Arms& arms,
                                     const std::vector<Candidate>& candidates)
{
    std::vector<SeenHead> looks;
    std::vector<double> shares;
    for (const Candidate& candidate : candidates) {
        for (const bool bAlongX : {true, false}) {
            if (const auto share = ArrowHead(meter, candidate.pixel, arms, bAlongX ? 1.0 : -1.0)) {
                looks.push_back({candidate, bAlongX});
                shares.push_back(*share);
            }
        }
    }
    std::vector<SeenHead> heads;
    const double least = shares.empty() ? 0.0 : LeastOfAnArrowHead(shares);
    for (std::size_t i = 0; i < looks.size(); ++i) {
        if (shares[i] >= least) {
            heads.push_back(looks[i]);
        }
    }
    return heads;
}

} // namespace

const char* ContradictionOfArrowHeads(const cv::Mat& gray, const FisheyeProjector& projector,
                                      const std::vector<FoundCross>& crosses, bool bBright)
{
    const StrokeMeter meter(gray, projector, bBright);
    const std::optional<Arms> arms = MeasureArms(meter, crosses);
    if (!arms) {
        return nullptr;
    }
    const Lattice lattice = LatticeOf(crosses);
    std::vector<Candidate> candidates;
    candidates.reserve(crosses.size());
    for (const FoundCross& cross : crosses) {
        candidates.push_back(
            {IndexOf(lattice.yMm, cross.machineMm.y), IndexOf(lattice.xMm, cross.machineMm.x), cross.pixel});
    }
    if (lattice.bKnown) {
        const std::vector<Candidate> beside = CrossesBeside(gray, projector, lattice, *arms, bBright);
        candidates.insert(candidates.end(), beside.begin(), beside.end());
    }
    for (const SeenHead& head : FindArrowHeads(meter, *arms, candidates)) {
        if (!head.bAlongX) {
            return "an arrow head points against growing X: the picture is the other way round, or that of the other "
                   "camera";
        }
        if (lattice.bKnown && !lattice.HasArrowHead(head.candidate.nRow, head.candidate.nMarkedCol)) {
            return "an arrow head is at a cross that is neither the first nor the last: other columns were marked than "
                   "those of this camera";
        }
    }
    return nullptr;
}

} // namespace Fisheye
