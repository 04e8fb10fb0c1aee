#include "BmpFile.h"

#include <opencv2/core/utility.hpp>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

namespace Bitmap
{

namespace
{

constexpr std::size_t g_nHeaderBytes = 54;
constexpr std::size_t g_nPaletteBytes = 256UL * 4;
constexpr long g_nMaxSide = 65500;
constexpr int g_nRowsPerCall = 256;

std::uint32_t Get32(const unsigned char* p)
{
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

std::uint32_t Get16(const unsigned char* p)
{
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8;
}

void Put32(unsigned char* p, std::size_t nValue)
{
    for (int i = 0; i < 4; ++i) {
        p[i] = static_cast<unsigned char>(nValue >> (8 * i));
    }
}

std::size_t RowBytes(long nWidth, int nBits)
{
    return static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nBits) / 8;
}

/// Rows in the file are padded to four bytes.
std::size_t FileRowBytes(long nWidth, int nBits)
{
    return (RowBytes(nWidth, nBits) + 3) / 4 * 4;
}

/// Moves the whole of `parts` at `nOffset`; `Call` is preadv or pwritev.
template <typename Call> bool MoveAll(Call call, int nFile, std::vector<iovec>& parts, std::size_t nOffset)
{
    std::size_t nPart = 0;
    while (nPart < parts.size()) {
        const ssize_t nMoved =
            call(nFile, parts.data() + nPart, static_cast<int>(parts.size() - nPart), static_cast<off_t>(nOffset));
        if (nMoved < 0 && errno == EINTR) {
            continue;
        }
        if (nMoved <= 0) {
            errno = nMoved == 0 ? 0 : errno;
            return false;
        }
        nOffset += static_cast<std::size_t>(nMoved);
        auto nLeft = static_cast<std::size_t>(nMoved);
        while (nPart < parts.size() && nLeft >= parts[nPart].iov_len) {
            nLeft -= parts[nPart].iov_len;
            ++nPart;
        }
        if (nPart < parts.size()) {
            parts[nPart].iov_base = static_cast<unsigned char*>(parts[nPart].iov_base) + nLeft;
            parts[nPart].iov_len -= nLeft;
        }
    }
    return true;
}

/// Moves all rows between the file and the top-down buffer, stripes side by side. `errno` tells the failure, whichever
/// thread met it; 0 is a file that ended.
template <typename Call> bool MoveRows(Call call, int nFile, const BmpInfo& info, unsigned char* pPixels)
{
    const std::size_t nRowBytes = RowBytes(info.nWidth, info.nBits);
    const std::size_t nFileRowBytes = FileRowBytes(info.nWidth, info.nBits);
    const int nStripes = static_cast<int>((info.nHeight + g_nRowsPerCall - 1) / g_nRowsPerCall);
    std::atomic<bool> bOk{true};
    std::atomic<int> nError{0};
    cv::parallel_for_(cv::Range(0, nStripes), [&](const cv::Range& range) {
        std::array<unsigned char, 4> padding{};
        std::vector<iovec> parts;
        for (int nStripe = range.start; nStripe < range.end && bOk; ++nStripe) {
            const long nFirst = static_cast<long>(nStripe) * g_nRowsPerCall;
            const long nLast = std::min<long>(nFirst + g_nRowsPerCall, info.nHeight);
            parts.clear();
            for (long nFileRow = nFirst; nFileRow < nLast; ++nFileRow) {
                const long nRow = info.bTopDown ? nFileRow : info.nHeight - 1 - nFileRow;
                parts.push_back({pPixels + static_cast<std::size_t>(nRow) * nRowBytes, nRowBytes});
                if (nFileRowBytes > nRowBytes) {
                    padding.fill(0);
                    parts.push_back({padding.data(), nFileRowBytes - nRowBytes});
                }
            }
            if (!MoveAll(call, nFile, parts, info.nDataOffset + static_cast<std::size_t>(nFirst) * nFileRowBytes)) {
                nError = errno;
                bOk = false;
            }
        }
    });
    errno = nError;
    return bOk;
}

bool ReadExactly(int nFile, unsigned char* pTarget, std::size_t nBytes, std::size_t nOffset)
{
    std::vector<iovec> parts{{pTarget, nBytes}};
    return MoveAll(&preadv, nFile, parts, nOffset);
}

bool WriteExactly(int nFile, const unsigned char* pSource, std::size_t nBytes, std::size_t nOffset)
{
    std::vector<iovec> parts{{const_cast<unsigned char*>(pSource), nBytes}};
    return MoveAll(&pwritev, nFile, parts, nOffset);
}

bool HasGreyPalette(int nFile, std::size_t nHeaderSize, std::uint32_t nColours)
{
    if (nColours != 0 && nColours != 256) {
        return false;
    }
    std::array<unsigned char, g_nPaletteBytes> palette{};
    if (!ReadExactly(nFile, palette.data(), palette.size(), 14 + nHeaderSize)) {
        return false;
    }
    for (std::size_t i = 0; i < 256; ++i) {
        if (palette[4 * i] != i || palette[4 * i + 1] != i || palette[4 * i + 2] != i) {
            return false;
        }
    }
    return true;
}

std::vector<unsigned char> Header(long nWidth, long nHeight, int nBits)
{
    const std::size_t nOffset = g_nHeaderBytes + (nBits == 8 ? g_nPaletteBytes : 0);
    const std::size_t nDataBytes = FileRowBytes(nWidth, nBits) * static_cast<std::size_t>(nHeight);
    std::vector<unsigned char> header(nOffset, 0);
    header[0] = 'B';
    header[1] = 'M';
    Put32(&header[2], nOffset + nDataBytes);
    Put32(&header[10], nOffset);
    Put32(&header[14], 40);
    Put32(&header[18], static_cast<std::size_t>(nWidth));
    Put32(&header[22], static_cast<std::size_t>(nHeight));
    header[26] = 1;
    header[28] = static_cast<unsigned char>(nBits);
    Put32(&header[34], nDataBytes);
    if (nBits == 8) {
        Put32(&header[46], 256);
        for (std::size_t i = 0; i < 256; ++i) {
            std::fill_n(&header[g_nHeaderBytes + 4 * i], 3, static_cast<unsigned char>(i));
        }
    }
    return header;
}

/// Keeps readers and writers of one file apart, in this process and between processes, until the descriptor is closed.
/// False when somebody else keeps the file for long: a stuck process must not hold this one. File systems without locks
/// are borne.
bool LockFile(int nFile, int nOperation)
{
    constexpr int nMaxTries = 2000;
    for (int nTry = 0; nTry < nMaxTries; ++nTry) {
        if (flock(nFile, nOperation | LOCK_NB) == 0 || (errno != EWOULDBLOCK && errno != EINTR)) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    errno = EWOULDBLOCK;
    return false;
}

/// A descriptor that closes itself.
struct File {
    int nFile = -1;
    ~File()
    {
        if (nFile >= 0) {
            close(nFile);
        }
    }
};

} // namespace

// Without O_NONBLOCK a pipe that somebody left under the name would hold the caller for good.
BmpReader::BmpReader(const char* pFile) : m_nFile(open(pFile, O_RDONLY | O_CLOEXEC | O_NONBLOCK))
{
}

BmpReader::~BmpReader()
{
    if (m_nFile >= 0) {
        close(m_nFile);
    }
}

BmpAnswer BmpReader::ReadHeader(BmpInfo& info, std::string& strReason)
{
    struct stat status {
    };
    if (m_nFile < 0 || fstat(m_nFile, &status) != 0 || !S_ISREG(status.st_mode)) {
        strReason = "it cannot be opened as a file";
        return BmpAnswer::Damaged;
    }
    if (!LockFile(m_nFile, LOCK_SH)) {
        strReason = "another process keeps it locked";
        return BmpAnswer::Damaged;
    }
    if (fstat(m_nFile, &status) != 0) {
        strReason = std::strerror(errno);
        return BmpAnswer::Damaged;
    }
    std::array<unsigned char, g_nHeaderBytes> header{};
    if (!ReadExactly(m_nFile, header.data(), header.size(), 0) || header[0] != 'B' || header[1] != 'M') {
        return BmpAnswer::NotOurs;
    }
    const std::uint32_t nHeaderSize = Get32(&header[14]);
    const auto nWidth = static_cast<std::int32_t>(Get32(&header[18]));
    const auto nHeight = static_cast<std::int32_t>(Get32(&header[22]));
    const std::uint32_t nBits = Get16(&header[28]);
    if (nHeaderSize < 40) {
        return BmpAnswer::NotOurs;
    }
    const bool bPlain = nHeaderSize <= 124 && Get32(&header[30]) == 0;
    const long nRows = nHeight < 0 ? -static_cast<long>(nHeight) : nHeight;
    if (nWidth <= 0 || nRows <= 0 || nWidth > g_nMaxSide || nRows > g_nMaxSide) {
        strReason = "its header claims a size of " + std::to_string(nWidth) + " x " + std::to_string(nHeight);
        return BmpAnswer::Damaged;
    }
    if (!bPlain || (nBits != 8 && nBits != 24 && nBits != 32) ||
        (nBits == 8 && !HasGreyPalette(m_nFile, nHeaderSize, Get32(&header[46])))) {
        return BmpAnswer::NotOurs;
    }
    info = {nWidth, nRows, static_cast<int>(nBits), nHeight < 0, Get32(&header[10])};
    const std::size_t nExpected =
        info.nDataOffset + FileRowBytes(info.nWidth, info.nBits) * static_cast<std::size_t>(info.nHeight);
    if (info.nDataOffset < g_nHeaderBytes || nExpected > static_cast<std::size_t>(status.st_size)) {
        strReason =
            "it has " + std::to_string(status.st_size) + " bytes where its header needs " + std::to_string(nExpected);
        return BmpAnswer::Damaged;
    }
    return BmpAnswer::Ok;
}

bool BmpReader::ReadPixels(const BmpInfo& info, unsigned char* pPixels) const
{
    return MoveRows(&preadv, m_nFile, info, pPixels);
}

bool BmpReader::HoldsPixels(const BmpInfo& info, const unsigned char* pPixels) const
{
    constexpr std::size_t nBytesPerCall = std::size_t{1} << 20;
    const std::size_t nRowBytes = RowBytes(info.nWidth, info.nBits);
    const std::size_t nFileRowBytes = FileRowBytes(info.nWidth, info.nBits);
    const long nRowsPerCall = std::max<long>(1, static_cast<long>(nBytesPerCall / nFileRowBytes));
    const int nStripes = static_cast<int>((info.nHeight + nRowsPerCall - 1) / nRowsPerCall);
    std::atomic<bool> bSame{true};
    cv::parallel_for_(cv::Range(0, nStripes), [&](const cv::Range& range) {
        std::vector<unsigned char> rows(static_cast<std::size_t>(nRowsPerCall) * nFileRowBytes);
        for (int nStripe = range.start; nStripe < range.end && bSame; ++nStripe) {
            const long nFirst = static_cast<long>(nStripe) * nRowsPerCall;
            const long nCount = std::min(nRowsPerCall, info.nHeight - nFirst);
            bool bStripe = ReadExactly(m_nFile, rows.data(), static_cast<std::size_t>(nCount) * nFileRowBytes,
                                       info.nDataOffset + static_cast<std::size_t>(nFirst) * nFileRowBytes);
            for (long i = 0; bStripe && i < nCount; ++i) {
                const long nRow = info.bTopDown ? nFirst + i : info.nHeight - 1 - nFirst - i;
                bStripe = std::memcmp(rows.data() + static_cast<std::size_t>(i) * nFileRowBytes,
                                      pPixels + static_cast<std::size_t>(nRow) * nRowBytes, nRowBytes) == 0;
            }
            if (!bStripe) {
                bSame = false;
            }
        }
    });
    return bSame;
}

bool WriteBmp(const char* pFile, const unsigned char* pPixels, long nWidth, long nHeight, int nBits,
              std::string& strReason)
{
    const std::vector<unsigned char> header = Header(nWidth, nHeight, nBits);
    const BmpInfo info{nWidth, nHeight, nBits, false, header.size()};
    const std::size_t nTotal = header.size() + FileRowBytes(nWidth, nBits) * static_cast<std::size_t>(nHeight);
    if (nTotal > 0xffffffffU) {
        strReason = "a bitmap cannot hold " + std::to_string(nTotal) + " bytes";
        return false;
    }
    const File file{open(pFile, O_RDWR | O_CREAT | O_CLOEXEC, 0666)};
    const std::array<unsigned char, 2> wiped{};
    const bool bWritten = file.nFile >= 0 && LockFile(file.nFile, LOCK_EX) &&
                          WriteExactly(file.nFile, wiped.data(), wiped.size(), 0) &&
                          MoveRows(&pwritev, file.nFile, info, const_cast<unsigned char*>(pPixels)) &&
                          ftruncate(file.nFile, static_cast<off_t>(nTotal)) == 0 &&
                          WriteExactly(file.nFile, header.data(), header.size(), 0);
    if (!bWritten) {
        strReason = std::strerror(errno);
    }
    return bWritten;
}

} // namespace Bitmap
