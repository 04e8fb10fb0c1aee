#pragma once

// Where the host keeps what it knows about the machine, and how a folder takes the place of the user's own.

#include <QSize>
#include <QString>

namespace Workbench
{

/// From now on `strFolder` is the configuration folder of this process. Call before the plug-in is loaded.
void UseDataFolder(const QString& strFolder);
/// The data root below the configuration folder, as the plug-in finds it too.
QString DataRoot();
/// Throws `Failure` when there is no finished calibration of either flow.
void RequireCalibration();
/// Work area that the machine's settings name, millimetres.
QSize StoredWorkAreaMm();

} // namespace Workbench
