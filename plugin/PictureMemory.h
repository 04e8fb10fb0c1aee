#pragma once

// The first touch of fresh memory costs more than most of what is done to a picture in it, so whole pictures ask for
// few large pages and are cleared by several threads.

#include <cstddef>

/// Call on fresh memory before it is touched. A hint only; small blocks stay as they are.
void PreferLargePages(void* pMemory, std::size_t nBytes);

/// Sets all bytes to 0.
void ZeroPicture(unsigned char* pPixels, std::size_t nBytes);
