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

enum class CalibrationUse { Points, Pictures };
/// Throws `Failure` when the calibration of the flow that the data root names lacks a file that this use needs, or one
/// of its records cannot be read, or where pictures on their way through the pipeline cannot be written. The plug-in
/// itself converts points without telling.
void RequireCalibration(CalibrationUse use);
/// One of the files that hold matrices or a camera's model, by the rule that its name tells. False, with a log line,
/// where it is none or is damaged.
bool IsRecord(const QString& strFile);
/// Throws `Failure` where the lenses of a manual calibration are plainly those of pictures of another size, pixels; its
/// pipeline makes a picture of any. The automatic flow's refuses them itself.
void RequireSizesOfCalibration(QSize leftPx, QSize rightPx);
/// Work area that the machine's settings name, millimetres; 1300 x 900 where they name none. Throws `Failure` for a
/// size that no machine has.
QSize StoredWorkAreaMm();

} // namespace Workbench
