#include "UiPermissionsManager.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSettings>

CUiPermissionsManager* CUiPermissionsManager::GetInstance()
{
    static CUiPermissionsManager manager;
    return &manager;
}

// The installer of a host product puts "theme.ini" beside the other resources: section "UI", key "THEME". Without it
// this is the product with the default theme. Read anew on every call, so that it needs no lock.
QString CUiPermissionsManager::GetThemeName()
{
    QString strDefault = "Quillboost";
    if (!QCoreApplication::instance()) {
        return strDefault;
    }
    const QString strFile = QCoreApplication::applicationDirPath() + "/../Resources/theme.ini";
    constexpr qint64 nMaxBytes = 64L * 1024;
    const QFileInfo info(strFile);
    // Plain files only: a pipe under the name would hold the caller for good.
    if (!info.isFile() || info.size() > nMaxBytes) {
        return strDefault;
    }
    return QSettings(strFile, QSettings::IniFormat).value("UI/THEME", strDefault).toString();
}
