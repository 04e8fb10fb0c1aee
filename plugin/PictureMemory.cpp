#include "PictureMemory.h"

#include <opencv2/core/utility.hpp>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>

void PreferLargePages(void* pMemory, std::size_t nBytes)
{
#ifdef MADV_HUGEPAGE
    constexpr std::size_t nSmallest = std::size_t{4} << 20;
    if (!pMemory || nBytes < nSmallest) {
        return;
    }
    // Only the pages that lie wholly inside: those at the ends may hold something else.
    const auto nPage = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    std::size_t nRest = nBytes;
    void* pFrom = pMemory;
    if (std::align(nPage, nPage, pFrom, nRest)) {
        madvise(pFrom, nRest / nPage * nPage, MADV_HUGEPAGE);
    }
#else
    static_cast<void>(pMemory);
    static_cast<void>(nBytes);
#endif
}

void ZeroPicture(unsigned char* pPixels, std::size_t nBytes)
{
    constexpr std::size_t nPart = std::size_t{4} << 20;
    const int nParts = static_cast<int>((nBytes + nPart - 1) / nPart);
    cv::parallel_for_(cv::Range(0, nParts), [&](const cv::Range& range) {
        for (int i = range.start; i < range.end; ++i) {
            const std::size_t nFrom = static_cast<std::size_t>(i) * nPart;
            std::memset(pPixels + nFrom, 0, std::min(nPart, nBytes - nFrom));
        }
    });
}
