#pragma once

// The inner loops of GridWarp: paint one cell of the target whose source coordinates are bilinear between its corners.
// Whole cells only that lie well inside their sources; borders are GridWarp's. The plain and the vector painters give
// the same bits, so what a picture looks like never depends on the processor.

#include <array>
#include <cstddef>
#include <cstdint>

namespace Fisheye
{

// Fixed point that every painter shares: source coordinates 16 bits, weights across 7 bits, weights down 15 bits,
// gains 12 bits, gained values 4 bits, shares 15 bits.
inline constexpr int kPlaceBits = 16;
inline constexpr int kAcrossBits = 7;
inline constexpr int kDownBits = 15;
inline constexpr int kShareBits = 15;
inline constexpr double kGainOne = 4096.0;
inline constexpr double kMaxGain = 4.0;

/// Target pixels along the side of a cell.
inline constexpr int kCellSide = 16;

/// Factor per channel.
using Gain = std::array<std::int16_t, 4>;

/// A value along a row, 16 fractional bits. Unsigned, for a coordinate of up to 65,535 takes all 32 bits; steps wrap.
struct Ramp {
    std::uint32_t start = 0;
    std::uint32_t step = 0;

    std::uint32_t At(int i) const { return start + static_cast<std::uint32_t>(i) * step; }
};

/// A value over a cell, bilinear between its corners; 32 fractional bits, so that no rounding gathers on the way.
class CellRamp
{
public:
    CellRamp() = default;
    /// From the values at the corners: the upper two, then the lower two.
    CellRamp(std::int64_t nUpperLeft, std::int64_t nUpperRight, std::int64_t nLowerLeft, std::int64_t nLowerRight)
        : m_nStart(nUpperLeft + kHalf), m_nAcross((nUpperRight - nUpperLeft) / kCellSide + kHalf),
          m_nDown((nLowerLeft - nUpperLeft) / kCellSide),
          m_nTwist((nLowerRight - nLowerLeft - nUpperRight + nUpperLeft) / (std::int64_t{kCellSide} * kCellSide))
    {
    }

    static std::int64_t ToFixed(double value) { return static_cast<std::int64_t>(value * 4294967296.0); }

    Ramp Row(int nRow) const
    {
        return {static_cast<std::uint32_t>((m_nStart + nRow * m_nDown) >> kPlaceBits),
                static_cast<std::uint32_t>((m_nAcross + nRow * m_nTwist) >> kPlaceBits)};
    }

private:
    static constexpr std::int64_t kHalf = 1 << (kPlaceBits - 1); ///< rounds when a row drops 16 of the 32 bits

    std::int64_t m_nStart = 0;
    std::int64_t m_nAcross = 0;
    std::int64_t m_nDown = 0;
    std::int64_t m_nTwist = 0;
};

/// What a cell shows of one source.
struct CellSource {
    const unsigned char* pPixels = nullptr;
    std::size_t nStride = 0;
    CellRamp x, y; ///< source pixels; at least 4 columns and 3 rows away from the source's far borders
    Gain gain{};
};

/// Pixels of the target that the cell covers; the last ones of a row or column of cells may be cut.
struct CellTarget {
    unsigned char* pPixels = nullptr;
    std::size_t nStride = 0;
    int nCols = 0;
    int nRows = 0;
};

/// Share of the first source at a corner, 0 to 1. Kept clear of both ends, for rounding along a row must not leave the
/// range and 1 does not fit 15 bits; a cell that shows one source only has no share.
inline std::int64_t FixedShare(double dShare)
{
    constexpr double dClear = 1.0 / 2048.0;
    return CellRamp::ToFixed(dClear + dShare * (1.0 - 2.0 * dClear));
}

/// Four neighbours mixed and gained: a value with 4 fractional bits.
inline int MixNeighbours(int nTopLeft, int nTopRight, int nLowLeft, int nLowRight, std::uint32_t x, std::uint32_t y,
                         int nGain)
{
    const int nRight = static_cast<int>(x & 0xFFFF) >> (kPlaceBits - kAcrossBits);
    const int nLeft = (1 << kAcrossBits) - nRight;
    const int nDown = static_cast<int>(y & 0xFFFF) >> (kPlaceBits - kDownBits);
    const int nTop = nTopLeft * nLeft + nTopRight * nRight;
    const int nLow = nLowLeft * nLeft + nLowRight * nRight;
    const int nMixed = nTop - (((nTop - nLow) * nDown + 0x4000) >> kDownBits);
    return (nMixed * nGain + 0x4000) >> 15;
}

/// Two gained values by the share of the first, below 1 << kShareBits.
inline int BlendGained(int nFirst, int nSecond, int nShare)
{
    return nSecond + (((nFirst - nSecond) * nShare + 0x4000) >> kShareBits);
}

inline unsigned char GainedToByte(int nValue)
{
    const int nRounded = (nValue + 8) >> 4;
    return static_cast<unsigned char>(nRounded > 255 ? 255 : nRounded);
}

/// The painters for pictures of 1, 3 or 4 channels.
struct CellPainters {
    void (*single)(const CellSource& source, const CellTarget& target);
    void (*blend)(const CellSource& first, const CellSource& second, const CellRamp& share, const CellTarget& target);
};

/// The fastest that this processor has for sources of up to `nSourceBytes`, or the plain ones.
CellPainters PickCellPainters(int nChannels, std::size_t nSourceBytes, bool bPlain);

} // namespace Fisheye
