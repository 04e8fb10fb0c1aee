#pragma once

// The whole calibration as a command: opens the wizard, lets an operator script press its buttons, and for a simulated
// machine measures what came of it.

#include "CommandLine.h"

namespace Workbench
{

/// "calibrate" and "demo". The second one always starts afresh and knows the simulated machine only. Needs a
/// `QApplication`. Throws `Failure`.
int RunCalibrate(const CommandLine& line);

} // namespace Workbench
