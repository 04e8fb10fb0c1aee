#include "FileStore.h"

#include "Log.h"
#include "UiPermissionsManager.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QTextCodec>
#include <QVariant>

namespace
{

constexpr long long g_nMaxIniBytes = 16LL * 1024 * 1024;

// One per process and without a lock, as all writers run on the GUI thread.
QSettings* g_pBatchSettings = nullptr;

QString IniKey(const QString& strSection, const QString& strKey)
{
    return QString("%1%2%3").arg(strSection, QString("/"), strKey);
}

/// False, with a log line, for what only looks like an INI file.
/// @param pWhat  what is not done with it
bool IsIni(const QString& strFile, const char* pWhat)
{
    const QFileInfo info(strFile);
    // A pipe that somebody left under the name would hold the reader for good.
    if (info.exists() && !info.isFile()) {
        ILog_WriteLogF(2, "%s is no plain file and is not %s", strFile.toUtf8().constData(), pWhat);
        return false;
    }
    // A damaged file is not loaded whole into memory: no file of ours comes near the bound.
    if (info.size() > g_nMaxIniBytes) {
        ILog_WriteLogF(2, "%s is larger than %lld bytes and is not %s", strFile.toUtf8().constData(), g_nMaxIniBytes,
                       pWhat);
        return false;
    }
    return true;
}

QVariant ReadIni(const QString& strSection, const QString& strKey, const QVariant& defaultValue, const QString& strFile)
{
    if (!IsIni(strFile, "read")) {
        return defaultValue;
    }
    const QSettings settings(strFile, QSettings::IniFormat);
    return settings.value(IniKey(strSection, strKey), defaultValue);
}

void WriteTo(QSettings& settings, const QString& strSection, const QString& strKey, const QVariant& value)
{
    settings.beginGroup(strSection);
    settings.setValue(strKey, value);
    settings.endGroup();
}

void WriteIni(const QString& strSection, const QString& strKey, const QVariant& value, const QString& strFile)
{
    if (g_pBatchSettings) {
        WriteTo(*g_pBatchSettings, strSection, strKey, value);
        return;
    }
    if (!IsIni(strFile, "written")) {
        return;
    }
    QSettings settings(strFile, QSettings::IniFormat);
    WriteTo(settings, strSection, strKey, value);
}

QTextCodec* Utf8Codec()
{
    return QTextCodec::codecForName("utf-8");
}

} // namespace

QString GetCalibrationRootPath()
{
    const QString strTheme = CUiPermissionsManager::GetInstance()->GetThemeName();
    QString strPath = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
    strPath += strTheme == QLatin1String("Quillmark") ? "/../Quillmark/Resources" : "/../Quillboost/Resources";
    // Cleaned before it is created too: a ".." below a folder that does not exist yet cannot be walked.
    strPath = QDir::cleanPath(strPath);
    const QDir dir(strPath);
    if (!dir.exists()) {
        dir.mkpath(".");
    }
    return strPath;
}

QString GetInstallResourcePath()
{
    return QDir(QCoreApplication::applicationDirPath() + "/../Resources").absolutePath();
}

int ReadIniInt(QString strSection, QString strKey, int nDefault, QString strFile)
{
    return ReadIni(strSection, strKey, QVariant(nDefault), strFile).toInt();
}

double ReadIniDouble(QString strSection, QString strKey, double dDefault, QString strFile)
{
    return ReadIni(strSection, strKey, QVariant(dDefault), strFile).toDouble();
}

QString ReadIniString(QString strSection, QString strKey, QString strDefault, QString strFile)
{
    return ReadIni(strSection, strKey, QVariant(strDefault), strFile).toString();
}

void WriteIniInt(QString strSection, QString strKey, int nValue, QString strFile)
{
    WriteIni(strSection, strKey, QVariant(nValue), strFile);
}

void WriteIniDouble(QString strSection, QString strKey, double dValue, QString strFile)
{
    WriteIni(strSection, strKey, QVariant(dValue), strFile);
}

void WriteIniString(QString strSection, QString strKey, QString strValue, QString strFile)
{
    WriteIni(strSection, strKey, QVariant(strValue), strFile);
}

void BeginIniBatch(QString strFile)
{
    // A batch that was never ended is forgotten, not saved here; this is meant.
    g_pBatchSettings = IsIni(strFile, "written") ? new QSettings(strFile, QSettings::IniFormat) : nullptr;
}

void EndIniBatch()
{
    delete g_pBatchSettings;
    g_pBatchSettings = nullptr;
}

bool MoveDirectory(QString strFrom, QString strTo)
{
    QDir source(strFrom);
    if (!source.exists()) {
        return false;
    }
    if (QDir().rename(strFrom, strTo)) {
        return true;
    }
    const QDir target(strTo);
    if (!target.exists() && !target.mkpath(".")) {
        return false;
    }
    const auto listEntries = source.entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : listEntries) {
        const QString strTarget = strTo + "/" + entry.fileName();
        if (entry.isDir()) {
            MoveDirectory(entry.filePath(), strTarget);
        } else if (QFile::copy(entry.filePath(), strTarget)) {
            QFile::remove(entry.filePath());
        }
    }
    // Only an empty folder goes: a file that could not be copied stays where it is.
    source.rmdir(source.absolutePath());
    return true;
}

void WriteCameraDevices(QString strLeftCameraName, QString strRightCameraName)
{
    const QString strFile = GetCalibrationRootPath() + "/Vision/calib/cameraDevices.ini";
    WriteIniInt("VISION", "CAMERA_NUMBER", 2, strFile);
    WriteIniString("VISION", "CAMERA_LEFT_NAME", strLeftCameraName.split(' ').last(), strFile);
    WriteIniString("VISION", "CAMERA_RIGHT_NAME", strRightCameraName.split(' ').last(), strFile);
}

QString Utf8ToQString(const char* pText)
{
    return Utf8Codec()->toUnicode(pText);
}

QByteArray QStringToUtf8(QString strText)
{
    return Utf8Codec()->fromUnicode(strText);
}

QByteArray ToLocalBytes(QString strText)
{
    return strText.toLocal8Bit();
}
