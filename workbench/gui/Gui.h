#pragma once

// The command "--gui".

#include "CommandLine.h"

namespace Workbench
{

/// Shows the workbench's window and runs until it is closed. Needs a QApplication. Throws `Failure`.
int RunGui(const CommandLine& line);
/// Throws `Failure` where there is no screen that a QApplication could be made for, in place of Qt's own end of the
/// process.
void RequireScreen();

} // namespace Workbench
