#include "FolderLock.h"

#include "Failure.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <thread>

namespace Workbench
{

FolderLock::FolderLock(const QString& strFolder, std::chrono::milliseconds most)
    : m_nFolder(::open(strFolder.toLocal8Bit().constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    const auto end = std::chrono::steady_clock::now() + most;
    bool bTold = false;
    while (m_nFolder >= 0 && ::flock(m_nFolder, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        if (std::chrono::steady_clock::now() >= end) {
            ::close(m_nFolder);
            throw Failure("Another run of the workbench is still busy in %1.", {strFolder});
        }
        if (!bTold) {
            std::fprintf(stderr, "Waiting for another run of the workbench in %s\n", qPrintable(strFolder));
            bTold = true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

FolderLock::~FolderLock()
{
    if (m_nFolder >= 0) {
        ::close(m_nFolder);
    }
}

} // namespace Workbench
