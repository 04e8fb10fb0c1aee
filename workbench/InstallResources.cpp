#include "InstallResources.h"

#include <QCoreApplication>
#include <QDir>

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

} // namespace Workbench
