#pragma once

// Paints a picture from one or two source pictures in one pass: the exact projection is asked every 16 target pixels
// and interpolated between, both sources are sampled only where they blend, and each target pixel is written once.
// Nothing is kept between calls, so no table can go stale. The result does not depend on the number of threads.

#include <opencv2/core.hpp>

#include <array>
#include <cstddef>
#include <functional>

namespace Fisheye
{

/// Target pixels between two exact projections.
inline constexpr int kGridStep = 16;

/// A tightly packed 8-bit picture of 1, 3 or 4 channels; not owned.
struct PictureView {
    const unsigned char* pPixels = nullptr;
    int nWidth = 0;
    int nHeight = 0;
    int nChannels = 0;

    std::size_t Stride() const { return static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nChannels); }
};

/// Where a target pixel lies in a source.
struct SourcePlace {
    bool bValid = false;
    double x = 0.0;        ///< source pixel
    double y = 0.0;        ///< source pixel
    double thetaRad = 0.0; ///< angle from the optical axis; the smaller one sees better
};

struct WarpLayer {
    PictureView source;
    /// The exact projection of target pixel (x, y). Called from several threads at once.
    std::function<SourcePlace(double x, double y)> place;
    /// Factor per channel by row of cells (kGridStep target rows each); empty for 1.
    std::function<std::array<double, 3>(int nCellRow)> gain;
};

struct WarpTarget {
    unsigned char* pPixels = nullptr; ///< tightly packed, as many channels as the sources
    int nWidth = 0;
    int nHeight = 0;
    unsigned char* pMask = nullptr; ///< null, or a byte per pixel: 255 where a source is seen

    std::size_t Stride(std::size_t nChannels) const { return static_cast<std::size_t>(nWidth) * nChannels; }
};

/// Half the width of the feather in angle: both sources blend where their angles differ by less.
inline constexpr double kFeatherRad = 0.025;
/// Source pixels over which a source fades out toward its border.
inline constexpr double kBorderFadePx = 32.0;

/// Share of the first source, 0 to 1; the seam lies where both see at the same angle.
double ShareOfFirst(const PictureView& first, const SourcePlace& firstPlace, const PictureView& second,
                    const SourcePlace& secondPlace);
/// A place that bilinear sampling can serve.
bool IsInside(const PictureView& source, const SourcePlace& place);

/// Which inner loops paint. Both give the same bits; the plain ones are for processors without the others.
enum class WarpLoops { Fastest, Plain };

/// Paints the whole target; pixels that no source sees become 0. `pSecond` is null for a single source.
void PaintWarp(const WarpTarget& target, const WarpLayer& first, const WarpLayer* pSecond,
               WarpLoops loops = WarpLoops::Fastest);

} // namespace Fisheye
