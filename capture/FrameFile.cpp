#include "FrameFile.h"

#include "FileStore.h"
#include "Log.h"

#include <opencv2/imgcodecs.hpp>

#include <QFileInfo>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

namespace
{

bool Encode(const QString& strPath, const cv::Mat& frame, std::vector<unsigned char>& bytes)
{
    try {
        return cv::imencode("." + QFileInfo(strPath).suffix().toStdString(), frame, bytes);
    } catch (const cv::Exception&) {
        return false;
    }
}

/// @return 0, or what `errno` was
int Write(const char* pPath, const std::vector<unsigned char>& bytes)
{
    // A pipe under the name is not waited for.
    const int fd = ::open(pPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, 0666);
    if (fd < 0) {
        return errno;
    }
    std::size_t nWritten = 0;
    int nError = 0;
    while (nError == 0 && nWritten < bytes.size()) {
        const ssize_t nPut = ::write(fd, bytes.data() + nWritten, bytes.size() - nWritten);
        if (nPut > 0) {
            nWritten += static_cast<std::size_t>(nPut);
        } else if (errno != EINTR) {
            nError = errno;
        }
    }
    if (::close(fd) != 0 && nError == 0) {
        nError = errno;
    }
    if (nError != 0) {
        ::unlink(pPath);
    }
    return nError;
}

} // namespace

bool WriteFrame(const QString& strPath, const cv::Mat& frame)
{
    std::vector<unsigned char> bytes;
    std::string strReason;
    if (!Encode(strPath, frame, bytes)) {
        strReason = "no picture format has its suffix";
    } else if (const int nError = Write(ToLocalBytes(strPath).constData(), bytes)) {
        strReason = std::strerror(nError);
    }
    if (!strReason.empty()) {
        ILog_WriteLogF(3, "The camera's picture cannot be written to %s: %s", QStringToUtf8(strPath).constData(),
                       strReason.c_str());
    }
    return strReason.empty();
}
