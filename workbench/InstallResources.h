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

/// The fusion patterns, one for each known size of bed.
QString FusionPatternFolder();
/// Copies those that `strFolder` does not have; what lies there already is the user's, also in place of an installed
/// one. One that no machine can read is kept as ".damaged", with a log line, and counts as not there. False, with a log
/// line, where one cannot be copied or none is installed.
bool CopyFusionPatterns(const QString& strFolder);

} // namespace Workbench
