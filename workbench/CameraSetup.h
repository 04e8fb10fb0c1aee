#pragma once

// What the host writes into CameraSetting.ini before anybody lists the cameras. Cameras that the file names already are
// a person's own and stay; only where it names none do those of the simulated machine take the places, with the
// machine's work area.

#include <opencv2/core/types.hpp>

namespace Workbench
{

/// Whose cameras the file names after `PrepareCameraSetup`.
enum class CameraOwner { SimulatedMachine, Person };

/// Throws `Failure` when the file cannot be read or written.
CameraOwner PrepareCameraSetup(const cv::Size2d& simulatedAreaMm);

} // namespace Workbench
