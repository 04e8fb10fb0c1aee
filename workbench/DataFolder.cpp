#include "DataFolder.h"

#include "Failure.h"
#include "UiPermissionsManager.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>

namespace Workbench
{

void UseDataFolder(const QString& strFolder)
{
    if (!strFolder.isEmpty()) {
        qputenv("XDG_CONFIG_HOME", QDir(strFolder).absolutePath().toLocal8Bit());
    }
}

QString DataRoot()
{
    const bool bQuillmark = CUiPermissionsManager::GetInstance()->GetThemeName() == "Quillmark";
    return QDir::cleanPath(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) +
                           (bQuillmark ? "/../Quillmark/Resources" : "/../Quillboost/Resources"));
}

void RequireCalibration()
{
    const QString strResult = DataRoot() + "/Vision/calib/Camera_Two/Result/";
    if (!QFile::exists(strResult + "DualCamerasCalibrationParam.ini") &&
        !QFile::exists(strResult + "DualCamera_pix2mm.xml")) {
        throw Failure(QString("There is no calibration in %1.").arg(strResult));
    }
}

QSize StoredWorkAreaMm()
{
    const QSettings settings(DataRoot() + "/Data/CameraSetting.ini", QSettings::IniFormat);
    const QSize size(static_cast<int>(settings.value("CANVAS_SIZE/WIDTH", 1300.0).toDouble()),
                     static_cast<int>(settings.value("CANVAS_SIZE/HEIGHT", 900.0).toDouble()));
    if (size.width() < 1 || size.height() < 1 || size.width() > 5000 || size.height() > 5000) {
        throw Failure(QString("%1 names a work area of %2 x %3 mm, which no machine has.")
                          .arg(settings.fileName())
                          .arg(size.width())
                          .arg(size.height()));
    }
    return size;
}

} // namespace Workbench
