#include "GridWarp.h"

#include "WarpCell.h"

#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace Fisheye
{

namespace
{

static_assert(kCellSide == kGridStep);

// What holds at a node; a cell asks whether it holds at all four, or at any.
constexpr unsigned kFirstWell = 1;  ///< well inside the first source
constexpr unsigned kSecondWell = 2; ///< well inside the second source
constexpr unsigned kOnlyFirst = 4;
constexpr unsigned kOnlySecond = 8;
constexpr unsigned kSeen = 16; ///< inside either source

/// What the exact projections say of a target pixel.
struct Answer {
    SourcePlace first;
    SourcePlace second;
    double share = 1.0;
    bool bFirst = false;
    bool bSecond = false;
};

/// An answer as the cells around it need it, 32 fractional bits. A place is set where it is well inside only.
struct Node {
    unsigned flags = 0;
    std::int64_t firstX = 0, firstY = 0;
    std::int64_t secondX = 0, secondY = 0;
    std::int64_t share = 0;
};

/// The corners of a cell: the upper two, then the lower two.
using Corners = std::array<const Node*, 4>;

Gain FixedGain(const WarpLayer& layer, int nCellRow)
{
    Gain fixed;
    fixed.fill(static_cast<std::int16_t>(kGainOne));
    if (layer.gain) {
        const std::array<double, 3> gain = layer.gain(nCellRow);
        for (std::size_t c = 0; c < 3; ++c) {
            fixed[c] = static_cast<std::int16_t>(std::lround(std::clamp(gain[c], 1.0 / kMaxGain, kMaxGain) * kGainOne));
        }
    }
    return fixed;
}

/// Far enough inside for every pixel between such places to be sampled with whole-register loads.
bool IsWellInside(const PictureView& source, const SourcePlace& place)
{
    return place.bValid && place.x >= 1.0 && place.y >= 1.0 && place.x <= source.nWidth - 4.0 &&
           place.y <= source.nHeight - 3.0;
}

std::size_t Bytes(const PictureView& source)
{
    return source.Stride() * static_cast<std::size_t>(source.nHeight);
}

CellRamp RampOf(const Corners& corners, std::int64_t Node::*pValue)
{
    return {corners[0]->*pValue, corners[1]->*pValue, corners[2]->*pValue, corners[3]->*pValue};
}

class Painter
{
public:
    Painter(const WarpTarget& target, const WarpLayer& first, const WarpLayer* pSecond, WarpLoops loops)
        : m_target(target), m_first(first), m_pSecond(pSecond),
          m_nChannels(static_cast<std::size_t>(first.source.nChannels)),
          m_painters(PickCellPainters(first.source.nChannels,
                                      std::max(Bytes(first.source), pSecond ? Bytes(pSecond->source) : 0),
                                      loops == WarpLoops::Plain))
    {
    }

    void Paint()
    {
        // Few strips, for each asks its upper nodes anew; more than there are threads, for cores may be taken up.
        constexpr int nStripsPerThread = 6;
        const int nCellRows = (m_target.nHeight + kGridStep - 1) / kGridStep;
        const auto paintStrip = [this](const cv::Range& range) {
            const std::size_t nNodes = static_cast<std::size_t>(CellCols()) + 1;
            std::vector<Node> upper(nNodes);
            std::vector<Node> lower(nNodes);
            AskNodes(range.start, lower);
            for (int nCellRow = range.start; nCellRow < range.end; ++nCellRow) {
                std::swap(upper, lower);
                AskNodes(nCellRow + 1, lower);
                PaintCellRow(nCellRow, upper, lower);
            }
        };
        cv::parallel_for_(cv::Range(0, nCellRows), paintStrip,
                          std::min(nCellRows, nStripsPerThread * cv::getNumThreads()));
    }

private:
    /// A cell's pixels.
    struct Cell {
        int x, y;
        int nCols, nRows;
    };

    int CellCols() const { return (m_target.nWidth + kGridStep - 1) / kGridStep; }

    Answer Ask(double x, double y) const
    {
        Answer answer;
        answer.first = m_first.place(x, y);
        answer.bFirst = IsInside(m_first.source, answer.first);
        if (m_pSecond) {
            answer.second = m_pSecond->place(x, y);
            answer.bSecond = IsInside(m_pSecond->source, answer.second);
            answer.share = ShareOfFirst(m_first.source, answer.first, m_pSecond->source, answer.second);
        }
        return answer;
    }

    Node MakeNode(const Answer& answer) const
    {
        Node node;
        if (IsWellInside(m_first.source, answer.first)) {
            node.flags |= kFirstWell;
            node.firstX = CellRamp::ToFixed(answer.first.x);
            node.firstY = CellRamp::ToFixed(answer.first.y);
        }
        if (m_pSecond && IsWellInside(m_pSecond->source, answer.second)) {
            node.flags |= kSecondWell;
            node.secondX = CellRamp::ToFixed(answer.second.x);
            node.secondY = CellRamp::ToFixed(answer.second.y);
        }
        node.flags |= answer.share >= 1.0 ? kOnlyFirst : 0;
        node.flags |= answer.share <= 0.0 ? kOnlySecond : 0;
        node.flags |= answer.bFirst || answer.bSecond ? kSeen : 0;
        node.share = FixedShare(answer.share);
        return node;
    }

    void AskNodes(int nNodeRow, std::vector<Node>& nodes) const
    {
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            nodes[i] = MakeNode(Ask(static_cast<double>(i) * kGridStep, static_cast<double>(nNodeRow) * kGridStep));
        }
    }

    void PaintCellRow(int nCellRow, const std::vector<Node>& upper, const std::vector<Node>& lower) const
    {
        const Gain firstGain = FixedGain(m_first, nCellRow);
        const Gain secondGain = m_pSecond ? FixedGain(*m_pSecond, nCellRow) : Gain{};
        const int nTop = nCellRow * kGridStep;
        const int nRows = std::min(kGridStep, m_target.nHeight - nTop);
        for (int nCellCol = 0; nCellCol < CellCols(); ++nCellCol) {
            const int nLeft = nCellCol * kGridStep;
            const auto i = static_cast<std::size_t>(nCellCol);
            PaintCell({nLeft, nTop, std::min(kGridStep, m_target.nWidth - nLeft), nRows},
                      {&upper[i], &upper[i + 1], &lower[i], &lower[i + 1]}, firstGain, secondGain);
        }
    }

    void PaintCell(const Cell& cell, const Corners& corners, const Gain& firstGain, const Gain& secondGain) const
    {
        const unsigned all = corners[0]->flags & corners[1]->flags & corners[2]->flags & corners[3]->flags;
        const unsigned any = corners[0]->flags | corners[1]->flags | corners[2]->flags | corners[3]->flags;
        const auto holds = [all](unsigned flags) { return (all & flags) == flags; };
        const CellTarget target{TargetAt(cell.x, cell.y), m_target.Stride(m_nChannels), cell.nCols, cell.nRows};
        const auto first = [&] {
            return CellSource{m_first.source.pPixels, m_first.source.Stride(), RampOf(corners, &Node::firstX),
                              RampOf(corners, &Node::firstY), firstGain};
        };
        const auto second = [&] {
            return CellSource{m_pSecond->source.pPixels, m_pSecond->source.Stride(), RampOf(corners, &Node::secondX),
                              RampOf(corners, &Node::secondY), secondGain};
        };
        if (holds(kOnlyFirst | kFirstWell)) {
            m_painters.single(first(), target);
        } else if (holds(kOnlySecond | kSecondWell)) {
            m_painters.single(second(), target);
        } else if (holds(kFirstWell | kSecondWell)) {
            m_painters.blend(first(), second(), RampOf(corners, &Node::share), target);
        } else if ((any & kSeen) != 0 || IsSmall(m_first.source) || (m_pSecond && IsSmall(m_pSecond->source))) {
            PaintExactly(cell, firstGain, secondGain);
            return;
        } else {
            PaintBlack(cell);
            return;
        }
        FillMask(cell, 255);
    }

    /// A source smaller than a cell may lie between nodes that all miss it.
    static bool IsSmall(const PictureView& source)
    {
        constexpr int nSmall = 4 * kGridStep;
        return source.nWidth < nSmall || source.nHeight < nSmall;
    }

    unsigned char* TargetAt(int x, int y) const
    {
        return m_target.pPixels + static_cast<std::size_t>(y) * m_target.Stride(m_nChannels) +
               static_cast<std::size_t>(x) * m_nChannels;
    }

    unsigned char* MaskAt(int x, int y) const
    {
        return m_target.pMask + static_cast<std::size_t>(y) * m_target.Stride(1) + static_cast<std::size_t>(x);
    }

    void FillMask(const Cell& cell, int nValue) const
    {
        for (int y = cell.y; m_target.pMask && y < cell.y + cell.nRows; ++y) {
            std::memset(MaskAt(cell.x, y), nValue, static_cast<std::size_t>(cell.nCols));
        }
    }

    void PaintBlack(const Cell& cell) const
    {
        for (int y = cell.y; y < cell.y + cell.nRows; ++y) {
            std::memset(TargetAt(cell.x, y), 0, static_cast<std::size_t>(cell.nCols) * m_nChannels);
        }
        FillMask(cell, 0);
    }

    /// Asks the projections for every pixel: where a source ends within the cell.
    void PaintExactly(const Cell& cell, const Gain& firstGain, const Gain& secondGain) const
    {
        for (int y = cell.y; y < cell.y + cell.nRows; ++y) {
            for (int x = cell.x; x < cell.x + cell.nCols; ++x) {
                const Answer answer = Ask(x, y);
                if (m_target.pMask) {
                    *MaskAt(x, y) = answer.bFirst || answer.bSecond ? 255 : 0;
                }
                const auto nShare = static_cast<int>(FixedShare(answer.share) >> (32 - kShareBits));
                unsigned char* pTarget = TargetAt(x, y);
                for (std::size_t c = 0; c < m_nChannels; ++c) {
                    const int nFirst = answer.bFirst ? SampleAtBorder(m_first, answer.first, c, firstGain) : 0;
                    const int nSecond = answer.bSecond ? SampleAtBorder(*m_pSecond, answer.second, c, secondGain) : 0;
                    pTarget[c] = GainedToByte(answer.bFirst && answer.bSecond ? BlendGained(nFirst, nSecond, nShare)
                                                                              : nFirst + nSecond);
                }
            }
        }
    }

    /// One channel's gained value, with the last row and column repeated.
    static int SampleAtBorder(const WarpLayer& layer, const SourcePlace& place, std::size_t nChannel, const Gain& gain)
    {
        const PictureView& source = layer.source;
        const auto x = static_cast<std::uint32_t>(place.x * (1 << kPlaceBits) + 0.5);
        const auto y = static_cast<std::uint32_t>(place.y * (1 << kPlaceBits) + 0.5);
        const int x0 = std::min(static_cast<int>(x >> kPlaceBits), source.nWidth - 1);
        const int y0 = std::min(static_cast<int>(y >> kPlaceBits), source.nHeight - 1);
        const int x1 = std::min(x0 + 1, source.nWidth - 1);
        const int y1 = std::min(y0 + 1, source.nHeight - 1);
        const auto at = [&](int nX, int nY) {
            return int{
                source.pPixels[static_cast<std::size_t>(nY) * source.Stride() +
                               static_cast<std::size_t>(nX) * static_cast<std::size_t>(source.nChannels) + nChannel]};
        };
        return MixNeighbours(at(x0, y0), at(x1, y0), at(x0, y1), at(x1, y1), x, y, gain[nChannel]);
    }

    const WarpTarget& m_target;
    const WarpLayer& m_first;
    const WarpLayer* m_pSecond;
    std::size_t m_nChannels;
    CellPainters m_painters;
};

double Smooth(double t)
{
    t = std::clamp(t, 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

double BorderFade(const PictureView& source, const SourcePlace& place)
{
    const double dBorder = std::min({place.x, place.y, source.nWidth - 1.0 - place.x, source.nHeight - 1.0 - place.y});
    return std::clamp(dBorder / kBorderFadePx, 0.0, 1.0);
}

} // namespace

bool IsInside(const PictureView& source, const SourcePlace& place)
{
    return place.bValid && place.x >= 0.0 && place.y >= 0.0 && place.x <= source.nWidth - 1.0 &&
           place.y <= source.nHeight - 1.0;
}

double ShareOfFirst(const PictureView& first, const SourcePlace& firstPlace, const PictureView& second,
                    const SourcePlace& secondPlace)
{
    const bool bFirst = IsInside(first, firstPlace);
    const bool bSecond = IsInside(second, secondPlace);
    if (!bFirst || !bSecond) {
        return bSecond ? 0.0 : 1.0;
    }
    const double s = Smooth(0.5 + (secondPlace.thetaRad - firstPlace.thetaRad) / (2.0 * kFeatherRad));
    const double dFirstFade = BorderFade(first, firstPlace);
    const double dSecondFade = BorderFade(second, secondPlace);
    // Toward its border a source hands over to the other one, however well it sees.
    const double dFirst = dFirstFade * (s + (1.0 - s) * (1.0 - dSecondFade));
    const double dSecond = dSecondFade * ((1.0 - s) + s * (1.0 - dFirstFade));
    return dFirst + dSecond > 0.0 ? dFirst / (dFirst + dSecond) : s;
}

void PaintWarp(const WarpTarget& target, const WarpLayer& first, const WarpLayer* pSecond, WarpLoops loops)
{
    Painter(target, first, pSecond, loops).Paint();
}

} // namespace Fisheye
