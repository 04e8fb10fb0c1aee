#include "GridWarp.h"

#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#if defined(__x86_64__)
#include <tmmintrin.h>
#endif

namespace Fisheye
{

namespace
{

// Fixed point of the arithmetic that every road through this file shares, so that all give the same bits:
// source coordinates 16 bits, bilinear weights 7 bits, gains 12 bits, gained values 4 bits, shares 8 bits.
constexpr int kPlaceBits = 16;
constexpr int kOne = 1 << kPlaceBits;
constexpr int kWeightOne = 128;
constexpr double kGainOne = 4096.0;
constexpr int kShareOne = 256;
constexpr double kMaxGain = 4.0;

using Gain = std::array<std::int16_t, 4>;

struct Node {
    SourcePlace first;
    SourcePlace second;
    double share = 1.0;
    bool bFirst = false;
    bool bSecond = false;
};

/// A pixel of a source with its weights.
struct Tap {
    const unsigned char* pTopLeft;
    int wx; ///< weight of the right column, 0 to 128
    int wy; ///< weight of the lower row, 0 to 128
};

/// A gained value with 4 fractional bits.
template <int nChannels>
inline void SampleScalar(const Tap& tap, std::size_t nStride, const Gain& gain, std::array<int, 4>& value)
{
    for (int c = 0; c < nChannels; ++c) {
        const unsigned char* p = tap.pTopLeft + c;
        const int nTop = p[0] * (kWeightOne - tap.wx) + p[nChannels] * tap.wx;
        const int nLow = p[nStride] * (kWeightOne - tap.wx) + p[nStride + nChannels] * tap.wx;
        const int nMixed = (nTop * (kWeightOne - tap.wy) + nLow * tap.wy) >> 7;
        value[static_cast<std::size_t>(c)] = (nMixed * gain[static_cast<std::size_t>(c)] + 0x4000) >> 15;
    }
}

inline unsigned char ToByte(int nValue)
{
    return static_cast<unsigned char>(std::clamp((nValue + 8) >> 4, 0, 255));
}

/// Both values and shares of 8 bits to a value with 4 fractional bits.
inline int Blend(int nFirst, int nSecond, int nShare)
{
    return (nFirst * nShare + nSecond * (kShareOne - nShare) + kShareOne / 2) >> 8;
}

/// Source coordinates of one row of a cell.
struct RowRun {
    int x = 0, y = 0;   ///< first pixel, 16 fractional bits
    int dx = 0, dy = 0; ///< per target pixel
    const unsigned char* pSource = nullptr;
    std::size_t nStride = 0;

    template <int nChannels> Tap At(int i) const
    {
        const int nX = x + i * dx;
        const int nY = y + i * dy;
        return {pSource + static_cast<std::size_t>(nY >> kPlaceBits) * nStride +
                    static_cast<std::size_t>((nX >> kPlaceBits) * nChannels),
                (nX >> (kPlaceBits - 7)) & 127, (nY >> (kPlaceBits - 7)) & 127};
    }
};

struct ShareRun {
    int nShare = 0; ///< first pixel, 16 fractional bits of 1
    int nStep = 0;

    int At(int i) const { return (nShare + i * nStep) >> (kPlaceBits - 8); }
};

template <int nChannels> void SingleRun(const RowRun& run, const Gain& gain, unsigned char* pTarget, int nCount)
{
    std::array<int, 4> value{};
    for (int i = 0; i < nCount; ++i) {
        SampleScalar<nChannels>(run.At<nChannels>(i), run.nStride, gain, value);
        for (int c = 0; c < nChannels; ++c) {
            *pTarget++ = ToByte(value[static_cast<std::size_t>(c)]);
        }
    }
}

template <int nChannels>
void BlendRun(const RowRun& first, const Gain& firstGain, const RowRun& second, const Gain& secondGain,
              const ShareRun& share, unsigned char* pTarget, int nCount)
{
    std::array<int, 4> firstValue{};
    std::array<int, 4> secondValue{};
    for (int i = 0; i < nCount; ++i) {
        SampleScalar<nChannels>(first.At<nChannels>(i), first.nStride, firstGain, firstValue);
        SampleScalar<nChannels>(second.At<nChannels>(i), second.nStride, secondGain, secondValue);
        for (std::size_t c = 0; c < nChannels; ++c) {
            *pTarget++ = ToByte(Blend(firstValue[c], secondValue[c], share.At(i)));
        }
    }
}

#if defined(__x86_64__)

/// Four 16-bit gained values of one pixel in the low half; the same arithmetic as `SampleScalar`.
template <int nChannels>
__attribute__((target("ssse3"))) inline __m128i SampleSsse3(const Tap& tap, std::size_t nStride, __m128i gain,
                                                            __m128i pairs)
{
    const auto* pTop = reinterpret_cast<const __m128i*>(tap.pTopLeft);
    const auto* pLow = reinterpret_cast<const __m128i*>(tap.pTopLeft + nStride);
    const __m128i wx = _mm_set1_epi16(static_cast<short>((tap.wx << 8) | (kWeightOne - tap.wx)));
    // Channel by channel: left and right byte side by side, then one multiply-add across. The weight 128 does not fit a
    // signed byte, so the pixels are the signed operand's partner: unsigned weights times values less 128.
    const __m128i bias = _mm_set1_epi8(static_cast<char>(-128));
    const __m128i top = _mm_xor_si128(_mm_shuffle_epi8(_mm_loadl_epi64(pTop), pairs), bias);
    const __m128i low = _mm_xor_si128(_mm_shuffle_epi8(_mm_loadl_epi64(pLow), pairs), bias);
    const __m128i across = _mm_unpacklo_epi16(_mm_maddubs_epi16(wx, top), _mm_maddubs_epi16(wx, low));
    const __m128i wy = _mm_set1_epi32((tap.wy << 16) | (kWeightOne - tap.wy));
    __m128i mixed = _mm_madd_epi16(across, wy);
    mixed = _mm_srai_epi32(_mm_add_epi32(mixed, _mm_set1_epi32(128 * kWeightOne * kWeightOne)), 7);
    return _mm_mulhrs_epi16(_mm_packs_epi32(mixed, mixed), gain);
}

template <int nChannels> __attribute__((target("ssse3"))) inline __m128i PairsOf()
{
    return nChannels == 3 ? _mm_setr_epi8(0, 3, 1, 4, 2, 5, 2, 5, -1, -1, -1, -1, -1, -1, -1, -1)
                          : _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, -1, -1, -1, -1, -1, -1, -1, -1);
}

__attribute__((target("ssse3"))) inline __m128i LoadGain(const Gain& gain)
{
    const __m128i half = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(gain.data()));
    return _mm_unpacklo_epi64(half, half);
}

/// Writes one pixel. With three channels a fourth byte is written too and then overwritten by the next pixel, unless
/// this is the last one that may be touched.
template <int nChannels>
__attribute__((target("ssse3"))) inline void StorePixel(__m128i value, unsigned char* pTarget, bool bLast)
{
    const __m128i rounded = _mm_srai_epi16(_mm_add_epi16(value, _mm_set1_epi16(8)), 4);
    const int nBytes = _mm_cvtsi128_si32(_mm_packus_epi16(rounded, rounded));
    std::memcpy(pTarget, &nBytes, bLast ? nChannels : 4);
}

template <int nChannels>
__attribute__((target("ssse3"))) void SingleRunSsse3(const RowRun& run, const Gain& gain, unsigned char* pTarget,
                                                     int nCount)
{
    const __m128i factor = LoadGain(gain);
    const __m128i pairs = PairsOf<nChannels>();
    for (int i = 0; i < nCount - 1; ++i, pTarget += nChannels) {
        StorePixel<nChannels>(SampleSsse3<nChannels>(run.At<nChannels>(i), run.nStride, factor, pairs), pTarget, false);
    }
    StorePixel<nChannels>(SampleSsse3<nChannels>(run.At<nChannels>(nCount - 1), run.nStride, factor, pairs), pTarget,
                          true);
}

template <int nChannels>
__attribute__((target("ssse3"))) void BlendRunSsse3(const RowRun& first, const Gain& firstGain, const RowRun& second,
                                                    const Gain& secondGain, const ShareRun& share,
                                                    unsigned char* pTarget, int nCount)
{
    const __m128i firstFactor = LoadGain(firstGain);
    const __m128i secondFactor = LoadGain(secondGain);
    const __m128i pairs = PairsOf<nChannels>();
    for (int i = 0; i < nCount; ++i, pTarget += nChannels) {
        const __m128i a = SampleSsse3<nChannels>(first.At<nChannels>(i), first.nStride, firstFactor, pairs);
        const __m128i b = SampleSsse3<nChannels>(second.At<nChannels>(i), second.nStride, secondFactor, pairs);
        const int nShare = share.At(i);
        const __m128i shares = _mm_set1_epi32(((kShareOne - nShare) << 16) | nShare);
        __m128i mixed = _mm_madd_epi16(_mm_unpacklo_epi16(a, b), shares);
        mixed = _mm_srai_epi32(_mm_add_epi32(mixed, _mm_set1_epi32(kShareOne / 2)), 8);
        StorePixel<nChannels>(_mm_packs_epi32(mixed, mixed), pTarget, i == nCount - 1);
    }
}

bool HasSsse3()
{
    static const bool bHas = __builtin_cpu_supports("ssse3") != 0;
    return bHas;
}

#endif

template <int nChannels> void RunSingle(const RowRun& run, const Gain& gain, unsigned char* pTarget, int nCount)
{
#if defined(__x86_64__)
    if constexpr (nChannels != 1) {
        if (HasSsse3()) {
            SingleRunSsse3<nChannels>(run, gain, pTarget, nCount);
            return;
        }
    }
#endif
    SingleRun<nChannels>(run, gain, pTarget, nCount);
}

template <int nChannels>
void RunBlend(const RowRun& first, const Gain& firstGain, const RowRun& second, const Gain& secondGain,
              const ShareRun& share, unsigned char* pTarget, int nCount)
{
#if defined(__x86_64__)
    if constexpr (nChannels != 1) {
        if (HasSsse3()) {
            BlendRunSsse3<nChannels>(first, firstGain, second, secondGain, share, pTarget, nCount);
            return;
        }
    }
#endif
    BlendRun<nChannels>(first, firstGain, second, secondGain, share, pTarget, nCount);
}

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

class Painter
{
public:
    Painter(const WarpTarget& target, const WarpLayer& first, const WarpLayer* pSecond)
        : m_target(target), m_first(first), m_pSecond(pSecond)
    {
    }

    void Paint()
    {
        const int nCellRows = (m_target.nHeight + kGridStep - 1) / kGridStep;
        cv::parallel_for_(cv::Range(0, nCellRows), [this](const cv::Range& range) {
            const std::size_t nNodes = static_cast<std::size_t>(CellCols()) + 1;
            std::vector<Node> upper(nNodes);
            std::vector<Node> lower(nNodes);
            AskNodes(range.start, lower);
            for (int nCellRow = range.start; nCellRow < range.end; ++nCellRow) {
                std::swap(upper, lower);
                AskNodes(nCellRow + 1, lower);
                PaintCellRow(nCellRow, upper, lower);
            }
        });
    }

private:
    int CellCols() const { return (m_target.nWidth + kGridStep - 1) / kGridStep; }

    Node Ask(double x, double y) const
    {
        Node node;
        node.first = m_first.place(x, y);
        node.bFirst = IsInside(m_first.source, node.first);
        if (m_pSecond) {
            node.second = m_pSecond->place(x, y);
            node.bSecond = IsInside(m_pSecond->source, node.second);
            node.share = ShareOfFirst(m_first.source, node.first, m_pSecond->source, node.second);
        }
        return node;
    }

    void AskNodes(int nNodeRow, std::vector<Node>& nodes) const
    {
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            nodes[i] = Ask(static_cast<double>(i) * kGridStep, static_cast<double>(nNodeRow) * kGridStep);
        }
    }

    void PaintCellRow(int nCellRow, const std::vector<Node>& upper, const std::vector<Node>& lower) const
    {
        const Gain firstGain = FixedGain(m_first, nCellRow);
        const Gain secondGain = m_pSecond ? FixedGain(*m_pSecond, nCellRow) : Gain{};
        switch (m_first.source.nChannels) {
        case 1:
            PaintCells<1>(nCellRow, upper, lower, firstGain, secondGain);
            break;
        case 3:
            PaintCells<3>(nCellRow, upper, lower, firstGain, secondGain);
            break;
        default:
            PaintCells<4>(nCellRow, upper, lower, firstGain, secondGain);
            break;
        }
    }

    template <int nChannels>
    void PaintCells(int nCellRow, const std::vector<Node>& upper, const std::vector<Node>& lower, const Gain& firstGain,
                    const Gain& secondGain) const
    {
        const int nTop = nCellRow * kGridStep;
        const int nRows = std::min(kGridStep, m_target.nHeight - nTop);
        for (int nCellCol = 0; nCellCol < CellCols(); ++nCellCol) {
            const int nLeft = nCellCol * kGridStep;
            const int nCols = std::min(kGridStep, m_target.nWidth - nLeft);
            const auto i = static_cast<std::size_t>(nCellCol);
            const std::array<const Node*, 4> nodes{&upper[i], &upper[i + 1], &lower[i], &lower[i + 1]};
            const auto all = [&nodes](auto test) { return std::all_of(nodes.begin(), nodes.end(), test); };
            const bool bFirstInside = all([this](const Node* p) { return IsWellInside(m_first.source, p->first); });
            const bool bSecondInside =
                m_pSecond && all([this](const Node* p) { return IsWellInside(m_pSecond->source, p->second); });
            const bool bOnlyFirst = all([](const Node* p) { return p->share >= 1.0; });
            const bool bOnlySecond = all([](const Node* p) { return p->share <= 0.0; });
            const bool bNobody = all([](const Node* p) { return !p->bFirst && !p->bSecond; });
            for (int nRow = 0; nRow < nRows; ++nRow) {
                const int y = nTop + nRow;
                unsigned char* pTarget = TargetAt<nChannels>(nLeft, y);
                if (bOnlyFirst && bFirstInside) {
                    RunSingle<nChannels>(Run(m_first, nodes, nRow, &Node::first), firstGain, pTarget, nCols);
                } else if (bOnlySecond && bSecondInside) {
                    RunSingle<nChannels>(Run(*m_pSecond, nodes, nRow, &Node::second), secondGain, pTarget, nCols);
                } else if (bFirstInside && bSecondInside) {
                    RunBlend<nChannels>(Run(m_first, nodes, nRow, &Node::first), firstGain,
                                        Run(*m_pSecond, nodes, nRow, &Node::second), secondGain, Shares(nodes, nRow),
                                        pTarget, nCols);
                } else if (bNobody) {
                    PaintNobody<nChannels>(nLeft, y, nCols, firstGain, secondGain);
                } else {
                    PaintExactly<nChannels>(nLeft, y, nCols, firstGain, secondGain);
                    continue;
                }
                if (m_target.pMask && !bNobody) {
                    std::memset(MaskAt(nLeft, y), 255, static_cast<std::size_t>(nCols));
                }
            }
        }
    }

    template <int nChannels> unsigned char* TargetAt(int x, int y) const
    {
        return m_target.pPixels +
               (static_cast<std::size_t>(y) * static_cast<std::size_t>(m_target.nWidth) + static_cast<std::size_t>(x)) *
                   nChannels;
    }

    unsigned char* MaskAt(int x, int y) const
    {
        return m_target.pMask + static_cast<std::size_t>(y) * static_cast<std::size_t>(m_target.nWidth) +
               static_cast<std::size_t>(x);
    }

    /// Bilinear between the nodes: linear down both sides, then along the row.
    RowRun Run(const WarpLayer& layer, const std::array<const Node*, 4>& nodes, int nRow,
               SourcePlace Node::*pPlace) const
    {
        const double t = static_cast<double>(nRow) / kGridStep;
        const auto mix = [&](double SourcePlace::*pAxis, int& nStart, int& nStep) {
            const auto at = [&](std::size_t i) { return nodes[i]->*pPlace.*pAxis; };
            const double dLeft = at(0) + t * (at(2) - at(0));
            const double dRight = at(1) + t * (at(3) - at(1));
            nStart = static_cast<int>(dLeft * kOne + 0.5);
            nStep = static_cast<int>(std::lround((dRight - dLeft) * (static_cast<double>(kOne) / kGridStep)));
        };
        RowRun run;
        mix(&SourcePlace::x, run.x, run.dx);
        mix(&SourcePlace::y, run.y, run.dy);
        run.pSource = layer.source.pPixels;
        run.nStride = layer.source.Stride();
        return run;
    }

    static ShareRun Shares(const std::array<const Node*, 4>& nodes, int nRow)
    {
        const double t = static_cast<double>(nRow) / kGridStep;
        const double dLeft = nodes[0]->share + t * (nodes[2]->share - nodes[0]->share);
        const double dRight = nodes[1]->share + t * (nodes[3]->share - nodes[1]->share);
        return {static_cast<int>(dLeft * kOne), static_cast<int>((dRight - dLeft) * kOne / kGridStep)};
    }

    /// A source smaller than a cell may lie between nodes that all miss it, so such cells are looked at pixel by pixel
    /// where a source is small, and are black otherwise.
    template <int nChannels>
    void PaintNobody(int x, int y, int nCols, const Gain& firstGain, const Gain& secondGain) const
    {
        constexpr int nSmall = 4 * kGridStep;
        const auto isSmall = [](const PictureView& view) { return view.nWidth < nSmall || view.nHeight < nSmall; };
        if (isSmall(m_first.source) || (m_pSecond && isSmall(m_pSecond->source))) {
            PaintExactly<nChannels>(x, y, nCols, firstGain, secondGain);
            return;
        }
        std::memset(TargetAt<nChannels>(x, y), 0, static_cast<std::size_t>(nCols) * nChannels);
        if (m_target.pMask) {
            std::memset(MaskAt(x, y), 0, static_cast<std::size_t>(nCols));
        }
    }

    template <int nChannels>
    void PaintExactly(int nLeft, int y, int nCols, const Gain& firstGain, const Gain& secondGain) const
    {
        unsigned char* pTarget = TargetAt<nChannels>(nLeft, y);
        for (int x = nLeft; x < nLeft + nCols; ++x, pTarget += nChannels) {
            const Node node = Ask(x, y);
            if (m_target.pMask) {
                *MaskAt(x, y) = node.bFirst || node.bSecond ? 255 : 0;
            }
            if (!node.bFirst && !node.bSecond) {
                std::memset(pTarget, 0, nChannels);
                continue;
            }
            const int nShare = !node.bSecond ? kShareOne : !node.bFirst ? 0 : static_cast<int>(node.share * kShareOne);
            std::array<int, 4> firstValue{};
            std::array<int, 4> secondValue{};
            if (node.bFirst) {
                SampleAtBorder<nChannels>(m_first.source, node.first, firstGain, firstValue);
            }
            if (node.bSecond) {
                SampleAtBorder<nChannels>(m_pSecond->source, node.second, secondGain, secondValue);
            }
            for (std::size_t c = 0; c < nChannels; ++c) {
                pTarget[c] = ToByte(Blend(firstValue[c], secondValue[c], nShare));
            }
        }
    }

    /// As `SampleScalar`, with the last row and column repeated.
    template <int nChannels>
    static void SampleAtBorder(const PictureView& source, const SourcePlace& place, const Gain& gain,
                               std::array<int, 4>& value)
    {
        const int nX = static_cast<int>(place.x * kOne + 0.5);
        const int nY = static_cast<int>(place.y * kOne + 0.5);
        const int x0 = std::clamp(nX >> kPlaceBits, 0, source.nWidth - 1);
        const int y0 = std::clamp(nY >> kPlaceBits, 0, source.nHeight - 1);
        const int x1 = std::min(x0 + 1, source.nWidth - 1);
        const int y1 = std::min(y0 + 1, source.nHeight - 1);
        const int wx = (nX >> (kPlaceBits - 7)) & 127;
        const int wy = (nY >> (kPlaceBits - 7)) & 127;
        const auto at = [&](int x, int y, int c) {
            return int{source.pPixels[static_cast<std::size_t>(y) * source.Stride() +
                                      static_cast<std::size_t>(x * nChannels + c)]};
        };
        for (int c = 0; c < nChannels; ++c) {
            const int nTop = at(x0, y0, c) * (kWeightOne - wx) + at(x1, y0, c) * wx;
            const int nLow = at(x0, y1, c) * (kWeightOne - wx) + at(x1, y1, c) * wx;
            const int nMixed = (nTop * (kWeightOne - wy) + nLow * wy) >> 7;
            value[static_cast<std::size_t>(c)] = (nMixed * gain[static_cast<std::size_t>(c)] + 0x4000) >> 15;
        }
    }

    const WarpTarget& m_target;
    const WarpLayer& m_first;
    const WarpLayer* m_pSecond;
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

void PaintWarp(const WarpTarget& target, const WarpLayer& first, const WarpLayer* pSecond)
{
    Painter(target, first, pSecond).Paint();
}

} // namespace Fisheye
