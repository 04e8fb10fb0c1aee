#pragma once

// The main job on a simulated machine: calibrate it, make its work area picture through the plug-in, and hold the
// picture against the truth.

#include "CommandLine.h"

namespace Workbench
{

/// Writes work_area.png, error_map.png, report.json and the two camera pictures below `line.strOut`, and the
/// calibration below the data folder; tells what it does on standard output and ends with a table. Throws `Failure`;
/// answers `MeasureMissed` when the result is worse than promised.
int RunDemo(const CommandLine& line);

} // namespace Workbench
