#include "ScratchBuffer.h"

#include <new>

unsigned char* ScratchBuffer::Reserve(std::size_t nBytes)
{
    if (nBytes > m_nCapacity) {
        m_pBytes.reset();
        m_nCapacity = 0;
        m_pBytes.reset(new (std::nothrow) unsigned char[nBytes]);
        m_nCapacity = m_pBytes ? nBytes : 0;
    }
    return nBytes == 0 ? nullptr : m_pBytes.get();
}
