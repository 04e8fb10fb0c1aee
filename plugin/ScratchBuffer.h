#pragma once

// Memory for pictures that are made anew on every call. It grows and never shrinks, so that a long run uses the same
// memory.

#include <cstddef>
#include <memory>

class ScratchBuffer
{
public:
    /// `nBytes` bytes of undefined content; null when they cannot be had or when none are asked for.
    unsigned char* Reserve(std::size_t nBytes);

private:
    std::unique_ptr<unsigned char[]> m_pBytes;
    std::size_t m_nCapacity = 0;
};
