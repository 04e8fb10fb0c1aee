#include "WarpCell.h"

#include <cstring>
#include <limits>

#if defined(__x86_64__)
#include <immintrin.h>
#define TARGET_AVX2 __attribute__((target("avx2")))
#endif

namespace Fisheye
{

namespace
{

template <int nChannels>
inline void SamplePlain(const CellSource& source, std::uint32_t x, std::uint32_t y, std::array<int, nChannels>& value)
{
    const unsigned char* pTop = source.pPixels + std::size_t{y >> kPlaceBits} * source.nStride +
                                std::size_t{x >> kPlaceBits} * std::size_t{nChannels};
    const unsigned char* pLow = pTop + source.nStride;
    for (std::size_t c = 0; c < nChannels; ++c) {
        value[c] = MixNeighbours(pTop[c], pTop[c + nChannels], pLow[c], pLow[c + nChannels], x, y, source.gain[c]);
    }
}

template <int nChannels> void SinglePlain(const CellSource& source, const CellTarget& target)
{
    std::array<int, nChannels> value{};
    for (int nRow = 0; nRow < target.nRows; ++nRow) {
        const Ramp x = source.x.Row(nRow);
        const Ramp y = source.y.Row(nRow);
        unsigned char* pTarget = target.pPixels + static_cast<std::size_t>(nRow) * target.nStride;
        for (int i = 0; i < target.nCols; ++i) {
            SamplePlain<nChannels>(source, x.At(i), y.At(i), value);
            for (const int nValue : value) {
                *pTarget++ = GainedToByte(nValue);
            }
        }
    }
}

template <int nChannels>
void BlendPlain(const CellSource& first, const CellSource& second, const CellRamp& share, const CellTarget& target)
{
    std::array<int, nChannels> firstValue{};
    std::array<int, nChannels> secondValue{};
    for (int nRow = 0; nRow < target.nRows; ++nRow) {
        const Ramp firstX = first.x.Row(nRow);
        const Ramp firstY = first.y.Row(nRow);
        const Ramp secondX = second.x.Row(nRow);
        const Ramp secondY = second.y.Row(nRow);
        const Ramp shares = share.Row(nRow);
        unsigned char* pTarget = target.pPixels + static_cast<std::size_t>(nRow) * target.nStride;
        for (int i = 0; i < target.nCols; ++i) {
            SamplePlain<nChannels>(first, firstX.At(i), firstY.At(i), firstValue);
            SamplePlain<nChannels>(second, secondX.At(i), secondY.At(i), secondValue);
            const int nShare = static_cast<int>(shares.At(i) >> (kPlaceBits - kShareBits));
            for (std::size_t c = 0; c < nChannels; ++c) {
                *pTarget++ = GainedToByte(BlendGained(firstValue[c], secondValue[c], nShare));
            }
        }
    }
}

#if defined(__x86_64__)

// Eight pixels at a time. Gained values live in 16-bit words, four per pixel, in two registers: `even` holds pixels 0,
// 1 in its lower and 4, 5 in its upper half, `odd` holds 2, 3 and 6, 7. So the words of a pixel are spread within a
// half, and packing both to bytes brings the pixels back in order.
constexpr int kStep = 8;

struct EightPixels {
    __m256i even;
    __m256i odd;
};

/// The same 16 bytes for both halves.
TARGET_AVX2 inline __m256i Twice(__m128i half)
{
    return _mm256_broadcastsi128_si256(half);
}

/// The low word of each pixel's 32 bits, four times over.
TARGET_AVX2 inline EightPixels Spread(__m256i perPixel)
{
    const __m256i even = Twice(_mm_setr_epi8(0, 1, 0, 1, 0, 1, 0, 1, 4, 5, 4, 5, 4, 5, 4, 5));
    const __m256i odd = Twice(_mm_setr_epi8(8, 9, 8, 9, 8, 9, 8, 9, 12, 13, 12, 13, 12, 13, 12, 13));
    return {_mm256_shuffle_epi8(perPixel, even), _mm256_shuffle_epi8(perPixel, odd)};
}

/// The eight values of a ramp from pixel `i` on.
TARGET_AVX2 inline __m256i RampAt(const Ramp& ramp, int i)
{
    const __m256i steps =
        _mm256_mullo_epi32(_mm256_set1_epi32(static_cast<int>(ramp.step)), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
    return _mm256_add_epi32(_mm256_set1_epi32(static_cast<int>(ramp.At(i))), steps);
}

/// Eight bytes: a pixel and its right neighbour, and with three channels two bytes that are not used.
inline long long LoadPair(const unsigned char* p)
{
    long long n = 0;
    std::memcpy(&n, p, sizeof n);
    return n;
}

/// The pairs of pixels n, n + 1 and, in the upper half, n + 4, n + 5; left and right byte of a channel side by side.
template <int nChannels>
TARGET_AVX2 inline __m256i LoadPairs(const unsigned char* pPixels, const std::array<std::uint32_t, kStep>& offset,
                                     std::size_t n)
{
    const __m256i pairs = Twice(nChannels == 3 ? _mm_setr_epi8(0, 3, 1, 4, 2, 5, -1, -1, 8, 11, 9, 12, 10, 13, -1, -1)
                                               : _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15));
    const __m128i lower = _mm_set_epi64x(LoadPair(pPixels + offset[n + 1]), LoadPair(pPixels + offset[n]));
    const __m128i upper = _mm_set_epi64x(LoadPair(pPixels + offset[n + 5]), LoadPair(pPixels + offset[n + 4]));
    return _mm256_shuffle_epi8(_mm256_inserti128_si256(_mm256_castsi128_si256(lower), upper, 1), pairs);
}

/// `MixNeighbours` for four pixels. All is done with the sign turned, for the weights across reach 128, which fits a
/// signed byte as -128 only; the gains are given with their sign turned and turn it back.
TARGET_AVX2 inline __m256i MixFour(__m256i top, __m256i low, __m256i across, __m256i down, __m256i minusGain)
{
    const __m256i minusTop = _mm256_maddubs_epi16(top, across);
    const __m256i minusLow = _mm256_maddubs_epi16(low, across);
    const __m256i mixed = _mm256_add_epi16(minusTop, _mm256_mulhrs_epi16(_mm256_sub_epi16(minusLow, minusTop), down));
    return _mm256_mulhrs_epi16(mixed, minusGain);
}

template <int nChannels>
TARGET_AVX2 inline EightPixels SampleEight(const CellSource& source, __m256i minusGain, __m256i x, __m256i y)
{
    alignas(32) std::array<std::uint32_t, kStep> offset;
    const __m256i rows =
        _mm256_mullo_epi32(_mm256_srli_epi32(y, kPlaceBits), _mm256_set1_epi32(static_cast<int>(source.nStride)));
    const __m256i cols = _mm256_mullo_epi32(_mm256_srli_epi32(x, kPlaceBits), _mm256_set1_epi32(nChannels));
    _mm256_store_si256(reinterpret_cast<__m256i*>(offset.data()), _mm256_add_epi32(rows, cols));

    // Per pixel the bytes -(128 - right) and -right, written as one word: 128 - 255 * right.
    const __m256i right = _mm256_srli_epi16(x, kPlaceBits - kAcrossBits);
    const EightPixels across =
        Spread(_mm256_add_epi16(_mm256_mullo_epi16(right, _mm256_set1_epi16(-255)), _mm256_set1_epi16(128)));
    const EightPixels down = Spread(_mm256_srli_epi16(y, kPlaceBits - kDownBits));

    const unsigned char* pLow = source.pPixels + source.nStride;
    return {MixFour(LoadPairs<nChannels>(source.pPixels, offset, 0), LoadPairs<nChannels>(pLow, offset, 0), across.even,
                    down.even, minusGain),
            MixFour(LoadPairs<nChannels>(source.pPixels, offset, 2), LoadPairs<nChannels>(pLow, offset, 2), across.odd,
                    down.odd, minusGain)};
}

TARGET_AVX2 inline __m256i BlendFour(__m256i first, __m256i second, __m256i share)
{
    return _mm256_add_epi16(second, _mm256_mulhrs_epi16(_mm256_sub_epi16(first, second), share));
}

TARGET_AVX2 inline __m256i MinusGain(const Gain& gain)
{
    const __m128i half = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(gain.data()));
    return _mm256_sub_epi16(_mm256_setzero_si256(), _mm256_broadcastq_epi64(half));
}

template <int nChannels> TARGET_AVX2 inline void StoreEight(const EightPixels& value, unsigned char* pTarget)
{
    const __m256i half = _mm256_set1_epi16(8);
    const __m256i even = _mm256_srai_epi16(_mm256_add_epi16(value.even, half), 4);
    const __m256i odd = _mm256_srai_epi16(_mm256_add_epi16(value.odd, half), 4);
    const __m256i bytes = _mm256_packus_epi16(even, odd);
    if constexpr (nChannels == 4) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pTarget), bytes);
    } else {
        // Both halves lose every fourth byte and move together: 24 bytes and not one more.
        const __m256i three = Twice(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
        const __m256i joined =
            _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(bytes, three), _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pTarget), _mm256_castsi256_si128(joined));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(pTarget + 16), _mm256_extracti128_si256(joined, 1));
    }
}

template <int nChannels> TARGET_AVX2 void SingleAvx2(const CellSource& source, const CellTarget& target)
{
    if (target.nCols % kStep != 0) {
        SinglePlain<nChannels>(source, target);
        return;
    }
    const __m256i minusGain = MinusGain(source.gain);
    for (int nRow = 0; nRow < target.nRows; ++nRow) {
        const Ramp x = source.x.Row(nRow);
        const Ramp y = source.y.Row(nRow);
        unsigned char* pTarget = target.pPixels + static_cast<std::size_t>(nRow) * target.nStride;
        for (int i = 0; i < target.nCols; i += kStep, pTarget += std::ptrdiff_t{kStep} * nChannels) {
            StoreEight<nChannels>(SampleEight<nChannels>(source, minusGain, RampAt(x, i), RampAt(y, i)), pTarget);
        }
    }
}

template <int nChannels>
TARGET_AVX2 void BlendAvx2(const CellSource& first, const CellSource& second, const CellRamp& share,
                           const CellTarget& target)
{
    if (target.nCols % kStep != 0) {
        BlendPlain<nChannels>(first, second, share, target);
        return;
    }
    const __m256i firstMinusGain = MinusGain(first.gain);
    const __m256i secondMinusGain = MinusGain(second.gain);
    for (int nRow = 0; nRow < target.nRows; ++nRow) {
        const Ramp firstX = first.x.Row(nRow);
        const Ramp firstY = first.y.Row(nRow);
        const Ramp secondX = second.x.Row(nRow);
        const Ramp secondY = second.y.Row(nRow);
        const Ramp shares = share.Row(nRow);
        unsigned char* pTarget = target.pPixels + static_cast<std::size_t>(nRow) * target.nStride;
        for (int i = 0; i < target.nCols; i += kStep, pTarget += std::ptrdiff_t{kStep} * nChannels) {
            const EightPixels a = SampleEight<nChannels>(first, firstMinusGain, RampAt(firstX, i), RampAt(firstY, i));
            const EightPixels b =
                SampleEight<nChannels>(second, secondMinusGain, RampAt(secondX, i), RampAt(secondY, i));
            const EightPixels part = Spread(_mm256_srli_epi32(RampAt(shares, i), kPlaceBits - kShareBits));
            StoreEight<nChannels>({BlendFour(a.even, b.even, part.even), BlendFour(a.odd, b.odd, part.odd)}, pTarget);
        }
    }
}

#endif

template <int nChannels> CellPainters Pick(bool bPlain)
{
#if defined(__x86_64__)
    if constexpr (nChannels != 1) {
        if (!bPlain && __builtin_cpu_supports("avx2")) {
            return {SingleAvx2<nChannels>, BlendAvx2<nChannels>};
        }
    }
#else
    static_cast<void>(bPlain);
#endif
    return {SinglePlain<nChannels>, BlendPlain<nChannels>};
}

} // namespace

CellPainters PickCellPainters(int nChannels, std::size_t nSourceBytes, bool bPlain)
{
    // Offsets of 32 bits.
    bPlain = bPlain || nSourceBytes > std::numeric_limits<std::uint32_t>::max();
    return nChannels == 1 ? Pick<1>(bPlain) : nChannels == 3 ? Pick<3>(bPlain) : Pick<4>(bPlain);
}

} // namespace Fisheye
