#pragma once

// Where each pixel of a simulated camera looks: `CameraModel::MachineFromPixel` for a whole picture, at a fraction of
// its cost, since the angle is read from a table instead of being searched for.

#include "CameraModel.h"

#include <opencv2/core/mat.hpp>

namespace Simulator
{

/// @return CV_32FC2 of the picture's size, machine millimetres; NaN where a pixel does not see the surface
cv::Mat TraceSurface(const CameraModel& model);

} // namespace Simulator
