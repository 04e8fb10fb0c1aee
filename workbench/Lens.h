#pragma once

// The command "lens": a camera's parameters from a folder of photographs of a chart of discs.

#include "CommandLine.h"

namespace Workbench
{

/// Prints what each photograph was worth and the lens, and writes the camera's file and the picture of what the charts
/// covered. Throws `Failure`; then neither file is touched.
int RunLens(const CommandLine& line);

} // namespace Workbench
