#pragma once

// Which ready pattern the machine engraves for the fusion step: one for each known size of the work area. The files
// come with the host's data; nothing here opens them.

#include <QString>

/// @param dWidthMm, dHeightMm  work area; only its whole millimetres count, and both must fit exactly
/// @return file name without a folder; the general pattern for a size that has none of its own
QString FusionPatternName(double dWidthMm, double dHeightMm);

/// Full path of the pattern for the work area in CameraSetting.ini; without one it is 900 by 600 mm.
QString FusionPatternPath();
