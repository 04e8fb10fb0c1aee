#pragma once

// A picture buffer that a module allocates and nobody may free. It is handed to the module again at the next call, and
// when its owner ends it waits for the next owner, so that a host which makes a fresh instance for every picture does
// not grow. Any thread; one object is not for two threads at once.

class PictureBuffer
{
public:
    PictureBuffer() = default;
    ~PictureBuffer();
    PictureBuffer(const PictureBuffer&) = delete;
    PictureBuffer& operator=(const PictureBuffer&) = delete;

    /// For the module to read and set: null, or what a module handed out before.
    unsigned char*& Pixels();

private:
    unsigned char* m_pPixels = nullptr;
};
