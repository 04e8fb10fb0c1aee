#include "PictureBuffer.h"

#include <mutex>
#include <vector>

namespace
{

struct Waiting {
    std::mutex mutex;
    std::vector<unsigned char*> buffers;
};

Waiting& TheWaiting()
{
    // Never destroyed: an instance may end with the process.
    static auto* const pWaiting = new Waiting;
    return *pWaiting;
}

} // namespace

PictureBuffer::~PictureBuffer()
{
    if (m_pPixels) {
        Waiting& waiting = TheWaiting();
        const std::lock_guard lock(waiting.mutex);
        waiting.buffers.push_back(m_pPixels);
    }
}

unsigned char*& PictureBuffer::Pixels()
{
    if (!m_pPixels) {
        Waiting& waiting = TheWaiting();
        const std::lock_guard lock(waiting.mutex);
        if (!waiting.buffers.empty()) {
            m_pPixels = waiting.buffers.back();
            waiting.buffers.pop_back();
        }
    }
    return m_pPixels;
}
