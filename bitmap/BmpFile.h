#pragma once

// Uncompressed bitmap files, read and written in one pass between the file and a tight top-down buffer. They are on the
// run-time road of every picture, which is why they do not go through an image library.

#include <cstddef>
#include <string>

namespace Bitmap
{

struct BmpInfo {
    long nWidth = 0;
    long nHeight = 0;
    int nBits = 0; ///< 8 (grey palette), 24 (BGR) or 32 (BGRA)
    bool bTopDown = false;
    std::size_t nDataOffset = 0;
};

enum class BmpAnswer {
    Ok,
    NotOurs, ///< not a bitmap, or of a kind that is left to an image library
    Damaged, ///< a bitmap that is cut short or claims an impossible size; `strReason` says which
};

/// A bitmap file that is open for reading. From `ReadHeader` on no `WriteBmp` touches it.
class BmpReader
{
public:
    explicit BmpReader(const char* pFile);
    ~BmpReader();
    BmpReader(const BmpReader&) = delete;
    BmpReader& operator=(const BmpReader&) = delete;

    BmpAnswer ReadHeader(BmpInfo& info, std::string& strReason);
    /// Fills width * height * bits / 8 bytes, top-down. False when the file ends early.
    bool ReadPixels(const BmpInfo& info, unsigned char* pPixels) const;
    /// True when the file's pixels are exactly these width * height * bits / 8 bytes, top-down. Several times as fast
    /// as reading them into memory that was not touched before.
    bool HoldsPixels(const BmpInfo& info, const unsigned char* pPixels) const;

private:
    int m_nFile = -1;
};

/// Writes width * height * bits / 8 top-down bytes as a bitmap. An existing file is overwritten in place, which is
/// several times as fast as truncating it first; its header is wiped before and written last, so that a file that was
/// cut short is no picture for anybody. A `BmpReader` waits until it is done, and it waits for one.
bool WriteBmp(const char* pFile, const unsigned char* pPixels, long nWidth, long nHeight, int nBits,
              std::string& strReason);

} // namespace Bitmap
