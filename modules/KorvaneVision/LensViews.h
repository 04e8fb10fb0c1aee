#pragma once

// What the calibration of a lens tells beside its result. For programs that show it to a person; a library in this
// one's place need not offer it, so they declare it weak.

#include "ModuleExport.h"

#include <cstddef>
#include <vector>

namespace Korvane::CameraCalibration
{

/// The pictures that this thread's last `CalibrateDistortedCamera` fitted the lens to: their places, from 0, among
/// those it was given, in order. Empty when it failed.
MODULE_EXPORT std::vector<std::size_t> GetFittedPictures();

} // namespace Korvane::CameraCalibration
