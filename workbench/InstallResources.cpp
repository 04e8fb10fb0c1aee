#include "InstallResources.h"

#include "Log.h"
#include "PatternFile.h"

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

namespace
{

QByteArray ContentOf(const QString& strFile)
{
    QFile file(strFile);
    // A pipe would be waited for.
    return QFileInfo(strFile).isFile() && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The machine would take it only once all pictures of the chart are taken, and refuse it.
void PutDamagedAside(const QString& strPattern, const QString& strInstalled)
{
    if (!QFileInfo::exists(strPattern) || ContentOf(strPattern) == ContentOf(strInstalled)) {
        return;
    }
    PatternFile pattern;
    const std::string strProblem = ReadPatternFile(strPattern.toLocal8Bit().toStdString(), pattern);
    if (strProblem.empty()) {
        return;
    }
    const QString strAside = strPattern + ".damaged";
    QFile::remove(strAside);
    const bool bAside = QDir().rename(strPattern, strAside);
    ILog_WriteLogF(2, "The fusion pattern %s cannot be used, %s; %s", qPrintable(strPattern), strProblem.c_str(),
                   bAside ? "it is kept beside as .damaged, and the installed one takes its place"
                          : "and it cannot be put aside");
}

} // namespace

bool CopyFusionPatterns(const QString& strFolder)
{
    const QFileInfoList patterns = QDir(FusionPatternFolder()).entryInfoList({"*.kv"}, QDir::Files);
    bool bAll = !patterns.isEmpty() && QDir().mkpath(strFolder);
    for (const QFileInfo& pattern : patterns) {
        const QString strTarget = strFolder + "/" + pattern.fileName();
        PutDamagedAside(strTarget, pattern.filePath());
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
