#include "CameraSettings.h"

#include "Log.h"
#include "UiPermissionsManager.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <tuple>

namespace Camera
{

namespace
{

constexpr qint64 g_nMaxIniBytes = 16LL * 1024 * 1024;
constexpr std::size_t g_nMaxCameras = 64;
// With its index it must fit into the 254 bytes that callers keep of a name.
constexpr int g_nMaxNameBytes = 240;
constexpr std::size_t g_nMaxAskedBytes = 4096;

/// Left and right are what a machine has; they keep the first two indexes whatever else is named.
int Rank(const std::string& strName)
{
    return strName == "Camera-Left" ? 0 : strName == "Camera-Right" ? 1 : 2;
}

/// Null where the entry is a camera, "" where it is passed over in silence.
const char* Refusal(const QString& strKey, const QVariant& value)
{
    if (value.typeId() == QMetaType::QStringList) {
        return "a source with a comma stands in double quotes";
    }
    if (value.toString().trimmed().isEmpty()) {
        return "";
    }
    return strKey.toUtf8().size() > g_nMaxNameBytes ? "the name is too long" : nullptr;
}

} // namespace

// The file store of the plug-in derives the data root in the same way, but a module may not link the plug-in. This one
// reads only, and so makes no folder.
QString SettingsFile()
{
    const bool bQuillmark = CUiPermissionsManager::GetInstance()->GetThemeName() == QLatin1String("Quillmark");
    return QDir::cleanPath(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) +
                           (bQuillmark ? "/../Quillmark/Resources" : "/../Quillboost/Resources") +
                           "/Data/CameraSetting.ini");
}

std::vector<NamedSource> ReadCameraSettings(const QString& strFile)
{
    const QByteArray name = strFile.toUtf8();
    const QFileInfo info(strFile);
    if (!info.isFile()) {
        ILog_WriteLogF(2, "Cameras: %s is %s, so there is no camera", name.constData(),
                       info.exists() ? "no plain file" : "missing");
        return {};
    }
    if (info.size() > g_nMaxIniBytes) {
        ILog_WriteLogF(2, "Cameras: %s is larger than %lld bytes and is not read", name.constData(), g_nMaxIniBytes);
        return {};
    }
    QSettings settings(strFile, QSettings::IniFormat);
    settings.beginGroup("CameraSetting");
    std::vector<NamedSource> cameras;
    for (const QString& strKey : settings.childKeys()) {
        if (!strKey.startsWith("Camera-")) {
            continue;
        }
        const QVariant value = settings.value(strKey);
        const char* pRefusal = Refusal(strKey, value);
        if (!pRefusal) {
            cameras.push_back({strKey.toStdString(), value.toString().trimmed()});
        } else if (*pRefusal) {
            ILog_WriteLogF(2, "Cameras: %s of %s is left out: %s", strKey.left(80).toUtf8().constData(),
                           name.constData(), pRefusal);
        }
    }
    if (settings.status() != QSettings::NoError) {
        ILog_WriteLogF(2, "Cameras: %s has lines that are no settings", name.constData());
    }
    std::sort(cameras.begin(), cameras.end(), [](const NamedSource& first, const NamedSource& second) {
        return std::make_tuple(Rank(first.strName), std::cref(first.strName)) <
               std::make_tuple(Rank(second.strName), std::cref(second.strName));
    });
    if (cameras.size() > g_nMaxCameras) {
        ILog_WriteLogF(2, "Cameras: %s names %zu cameras, the first %zu count", name.constData(), cameras.size(),
                       g_nMaxCameras);
        cameras.resize(g_nMaxCameras);
    }
    return cameras;
}

std::string ListedName(std::size_t nIndex, const std::string& strName)
{
    // Appended: inserting in front of a number sets off a false alarm of the optimising compiler.
    std::string strListed = "[";
    strListed += std::to_string(nIndex) + "] " + strName;
    return strListed;
}

std::string PureName(const char* pName)
{
    if (!pName) {
        return {};
    }
    std::string strName(pName, strnlen(pName, g_nMaxAskedBytes));
    std::size_t nEnd = 1;
    while (nEnd < strName.size() && std::isdigit(static_cast<unsigned char>(strName[nEnd]))) {
        ++nEnd;
    }
    if (strName.empty() || strName[0] != '[' || nEnd == 1 || nEnd >= strName.size() || strName[nEnd] != ']') {
        return strName;
    }
    const std::size_t nStart = strName.find_first_not_of(" \t", nEnd + 1);
    return nStart == std::string::npos ? std::string() : strName.substr(nStart);
}

} // namespace Camera
