#include "FolderRoom.h"

#include "Failure.h"

#include <QFile>
#include <QStorageInfo>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace Workbench
{

namespace
{

/// A full disk of some kinds keeps a few blocks that no file gets.
constexpr qint64 g_nAlmostNothing = 256 << 10;

Failure NotWritable(const QString& strFolder, const QString& strReason)
{
    return Failure("The folder %1 cannot be written: %2.", {strFolder, strReason});
}

} // namespace

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
        throw NotWritable(strFolder, strReason);
    }
}

RoomWatch::RoomWatch(const QString& strFolder, std::function<qint64()> freeBytes)
    : m_strFolder(strFolder),
      m_freeBytes(freeBytes ? std::move(freeBytes) : [strFolder] { return QStorageInfo(strFolder).bytesAvailable(); })
{
}

void RoomWatch::Look()
{
    const qint64 nFree = m_freeBytes();
    m_bWasFull = m_bWasFull || (nFree >= 0 && nFree < g_nAlmostNothing);
}

QString RoomWatch::Problem(qint64 nBytes) const
{
    QString strReason = ReasonNotWritable(m_strFolder, nBytes);
    if (strReason.isEmpty() && m_bWasFull) {
        strReason = QString::fromLocal8Bit(std::strerror(ENOSPC));
    }
    return strReason.isEmpty() ? QString() : QString::fromUtf8(NotWritable(m_strFolder, strReason).what());
}

} // namespace Workbench
