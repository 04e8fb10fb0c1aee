#pragma once

// Where what is installed with the workbench lies: "Resources" beside the application's folder, the place where the
// plug-in looks as well.

#include <QString>

namespace Workbench
{

/// "Resources" beside the application's folder, absolute.
QString InstallResourceFolder();

/// What a host gives to `SetCalibrationResourcePath`: the hint pictures of the automatic machines' grid (7 x 5 crosses
/// a camera) or of the manual machines' (3 x 6).
QString CalibrationResourceFolder(bool bManualMachine);

} // namespace Workbench
