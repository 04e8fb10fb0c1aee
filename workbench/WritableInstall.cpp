#include "WritableInstall.h"

#include "Log.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Workbench
{

namespace
{

constexpr const char* g_pDeviceTypes = "/Resources/Vision/calib/DeviceType.json";

bool Told(const QString& strFile)
{
    ILog_WriteLogF(2, "The copy of the read-only install: %s cannot be written", strFile.toUtf8().constData());
    return false;
}

bool IsSame(const QFileInfo& from, const QFileInfo& to)
{
    return to.isFile() && to.size() == from.size() && to.lastModified() == from.lastModified();
}

/// In one step, with the time of the original, by which it is known again.
bool CopyFile(const QString& strFrom, const QString& strTo)
{
    const QFileInfo from(strFrom);
    if (IsSame(from, QFileInfo(strTo))) {
        return true;
    }
    QFile source(strFrom);
    QSaveFile target(strTo);
    if (!source.open(QIODevice::ReadOnly) || !QDir().mkpath(QFileInfo(strTo).path()) ||
        !target.open(QIODevice::WriteOnly) || target.write(source.readAll()) != from.size()) {
        return Told(strTo);
    }
    target.setPermissions(from.permissions() | QFile::ReadOwner | QFile::WriteOwner);
    if (!target.commit()) {
        return Told(strTo);
    }
    QFile written(strTo);
    return written.open(QIODevice::ReadWrite) &&
           written.setFileTime(from.lastModified(), QFileDevice::FileModificationTime);
}

bool LinkFolder(const QString& strFrom, const QString& strTo)
{
    const QFileInfo to(strTo);
    if (to.isSymLink() && to.symLinkTarget() == strFrom) {
        return true;
    }
    return ((!to.isSymLink() || QFile::remove(strTo)) && QFile::link(strFrom, strTo)) || Told(strTo);
}

} // namespace

bool IsInstallWritable(const QString& strInstall)
{
    return QFile(strInstall + g_pDeviceTypes).open(QIODevice::ReadWrite | QIODevice::ExistingOnly);
}

bool CopyInstall(const QString& strInstall, const QString& strApplication, const QString& strCopy)
{
    if (!QDir().mkpath(strCopy + "/bin")) {
        return Told(strCopy + "/bin");
    }
    QDirIterator it(strInstall + "/Resources", QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString strTo = strCopy + it.next().mid(strInstall.size());
        const bool bTheUsers = strTo.endsWith(g_pDeviceTypes) && QFile::exists(strTo);
        if (!bTheUsers && !CopyFile(it.filePath(), strTo)) {
            return false;
        }
    }
    return LinkFolder(strInstall + "/lib", strCopy + "/lib") &&
           CopyFile(strInstall + "/bin/" + strApplication, strCopy + "/bin/" + strApplication);
}

void RunFromWritableInstall(char** argv)
{
    const QFileInfo application(QFile::symLinkTarget("/proc/self/exe"));
    const QString strInstall = QDir::cleanPath(application.path() + "/..");
    const QString strCopy =
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/CalibrateTwoCameraWorkbench/install";
    const bool bIsTheCopy = QFileInfo(strInstall).canonicalFilePath() == QFileInfo(strCopy).canonicalFilePath();
    if (bIsTheCopy || !QFile::exists(strInstall + g_pDeviceTypes) || IsInstallWritable(strInstall) ||
        !CopyInstall(strInstall, application.fileName(), strCopy)) {
        return;
    }
    const QByteArray start = QFile::encodeName(strCopy + "/bin/" + application.fileName());
    ILog_WriteLogF(1, "%s is read-only; the workbench runs from its copy %s", strInstall.toUtf8().constData(),
                   start.constData());
    execv(start.constData(), argv);
    ILog_WriteLogF(2, "%s cannot be started: %s", start.constData(), std::strerror(errno));
}

} // namespace Workbench
