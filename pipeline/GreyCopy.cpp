#include "GreyCopy.h"

#include "CrossPtsDetectDllR.h"
#include "ScratchBuffer.h"

#include <algorithm>
#include <cstring>

namespace Pipeline
{

std::size_t PictureBytes(long nWidth, long nHeight, int nBits)
{
    if (nWidth <= 0 || nHeight <= 0 || nBits <= 0) {
        return 0;
    }
    std::size_t nBytes = 0;
    if (__builtin_mul_overflow(static_cast<std::size_t>(nWidth), static_cast<std::size_t>(nHeight), &nBytes) ||
        __builtin_mul_overflow(nBytes, static_cast<std::size_t>(nBits), &nBytes)) {
        return 0;
    }
    return nBytes / 8;
}

unsigned char* GreyCopy(unsigned char* pPixels, long nWidth, long nHeight, int nBits, ScratchBuffer& buffer)
{
    const std::size_t nGreyBytes = PictureBytes(nWidth, nHeight, 8);
    unsigned char* const pGrey = pPixels ? buffer.Reserve(nGreyBytes) : nullptr;
    if (!pGrey) {
        return nullptr;
    }
    if (nBits == 24 || nBits == 32) {
        ConvertRGBToGray(pPixels, nWidth, nHeight, nBits, pGrey);
    } else {
        const std::size_t nCopied = std::min(nGreyBytes, PictureBytes(nWidth, nHeight, nBits));
        std::memcpy(pGrey, pPixels, nCopied);
        std::memset(pGrey + nCopied, 0, nGreyBytes - nCopied);
    }
    return pGrey;
}

} // namespace Pipeline
