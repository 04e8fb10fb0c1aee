#include "InstallResources.h"

#include "Log.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

namespace Workbench
{

QString InstallResourceFolder()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + "/../Resources");
}

QString CalibrationResourceFolder(bool bManualMachine)
{
    return InstallResourceFolder() + (bManualMachine ? "/Vision/calib/Manual" : "/Vision/calib");
}

QString FusionPatternFolder()
{
    return InstallResourceFolder() + "/Vision/calib/Camera_Two/FusionCalibImages";
}

bool CopyFusionPatterns(const QString& strFolder)
{
    const QFileInfoList patterns = QDir(FusionPatternFolder()).entryInfoList({"*.kv"}, QDir::Files);
    bool bAll = !patterns.isEmpty() && QDir().mkpath(strFolder);
    for (const QFileInfo& pattern : patterns) {
        const QString strTarget = strFolder + "/" + pattern.fileName();
        // Renamed whole: half a pattern would stay for good.
        const QString strBeside = strTarget + ".part";
        if (!QFile::exists(strTarget)) {
            QFile::remove(strBeside);
            bAll = QFile::copy(pattern.filePath(), strBeside) && QFile::rename(strBeside, strTarget) && bAll;
        }
    }
    if (!bAll) {
        ILog_WriteLogF(2, "The fusion patterns of %s cannot be copied to %s", qPrintable(FusionPatternFolder()),
                       qPrintable(strFolder));
    }
    return bAll;
}

} // namespace Workbench
