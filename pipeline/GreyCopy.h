#pragma once

// Sizes of the modules' raw pictures in bytes, and their grey copies. Raw pictures are tightly packed, top-down.

#include <cstddef>

class ScratchBuffer;

namespace Pipeline
{

/// 0 for sizes that are not positive or overflow.
std::size_t PictureBytes(long nWidth, long nHeight, int nBits);

/// The grey picture of 24 or 32 bit pixels. Of any other depth the first nWidth x nHeight bytes as they are, with zeros
/// where there are fewer.
/// @return nWidth x nHeight bytes inside `buffer`; null for no pixels, sizes that no picture has, or too little memory
unsigned char* GreyCopy(unsigned char* pPixels, long nWidth, long nHeight, int nBits, ScratchBuffer& buffer);

} // namespace Pipeline
