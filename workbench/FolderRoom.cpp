#include "FolderRoom.h"

#include "Failure.h"

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace Workbench
{

QString ReasonNotWritable(const QString& strFolder, qint64 nBytes)
{
    QByteArray name = QFile::encodeName(strFolder) + "/.room_XXXXXX";
    const int fd = ::mkostemp(name.data(), O_CLOEXEC);
    if (fd < 0) {
        return QString::fromLocal8Bit(std::strerror(errno));
    }
    ::unlink(name.constData());
    // Answers with the error instead of setting it.
    int nError = EINTR;
    while (nError == EINTR) {
        nError = ::posix_fallocate(fd, 0, static_cast<off_t>(nBytes));
    }
    ::close(fd);
    return nError == 0 ? QString() : QString::fromLocal8Bit(std::strerror(nError));
}

void RequireRoom(const QString& strFolder, qint64 nBytes)
{
    const QString strReason = ReasonNotWritable(strFolder, nBytes);
    if (!strReason.isEmpty()) {
        throw Failure("The folder %1 cannot be written: %2.", {strFolder, strReason});
    }
}

} // namespace Workbench
