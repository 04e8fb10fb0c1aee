#include "CameraSetup.h"

#include "DataFolder.h"
#include "Failure.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

namespace Workbench
{

namespace
{

constexpr const char* g_pLeftKey = "CameraSetting/Camera-Left";
constexpr const char* g_pRightKey = "CameraSetting/Camera-Right";

/// Whether a person has named a camera there; a source in more than one word is theirs, whatever it means.
bool IsPersons(const QVariant& source)
{
    const QString strSource = source.toString().trimmed();
    return source.typeId() == QMetaType::QStringList || !(strSource.isEmpty() || strSource.startsWith("sim:"));
}

} // namespace

CameraOwner PrepareCameraSetup(const cv::Size2d& simulatedAreaMm)
{
    const QString strFile = DataRoot() + "/Data/CameraSetting.ini";
    if (QFileInfo::exists(strFile) && !QFileInfo(strFile).isFile()) {
        throw Failure("%1 is no file.", {strFile});
    }
    QDir().mkpath(QFileInfo(strFile).path());
    QSettings settings(strFile, QSettings::IniFormat);
    if (settings.status() != QSettings::NoError) {
        throw Failure("%1 cannot be read.", {strFile});
    }
    if (IsPersons(settings.value(g_pLeftKey)) || IsPersons(settings.value(g_pRightKey))) {
        return CameraOwner::Person;
    }
    settings.setValue(g_pLeftKey, "sim:left");
    settings.setValue(g_pRightKey, "sim:right");
    settings.setValue("CANVAS_SIZE/WIDTH", simulatedAreaMm.width);
    settings.setValue("CANVAS_SIZE/HEIGHT", simulatedAreaMm.height);
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        throw Failure("%1 cannot be written.", {strFile});
    }
    return CameraOwner::SimulatedMachine;
}

} // namespace Workbench
