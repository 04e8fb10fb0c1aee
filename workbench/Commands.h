#pragma once

// The commands of the workbench apart from the demonstration. Each throws `Failure` when it cannot do its work.

#include "CommandLine.h"

namespace Workbench
{

/// Makes a work area picture from two picture files.
int RunPicture(const CommandLine& line);
/// Prints the millimetres of a pixel ("to-world") or the pixel of a point ("to-pixel").
int RunPoint(const CommandLine& line);

} // namespace Workbench
