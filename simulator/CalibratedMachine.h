#pragma once

// A machine that has been calibrated: does to the files below a data root what the wizard does, in the same order and
// through the same modules, with an operator whose clicks are off. For tests, and for a host that has no wizard at
// hand. Who uses it links the real modules; the exactness of the clicks' centre comes from the truth.

#include "Clicks.h"
#include "Machine.h"

#include <string>

namespace Simulator
{

struct CameraCalibrationReport {
    std::size_t nPoints = 0;
    double clickRmsPx = 0.0;   ///< of the clicks, from the truth
    double refinedRmsPx = 0.0; ///< of the points that the calibration gave back, from the truth
    double residualPx = 0.0;   ///< what the calibration says of itself
};

struct CalibrationReport {
    bool bSuccess = false;
    std::string strProblem; ///< which step failed on which file
    CameraCalibrationReport left;
    CameraCalibrationReport right;
    int nStitchedWidth = 0;        ///< automatic machine: the stitched picture, pixels
    int nStitchedHeight = 0;       ///< automatic machine: the stitched picture, pixels
    double secondsCalibrate = 0.0; ///< from the clicks to the last record, without taking the pictures
};

/// Calibrates an automatic machine: engraves the crosses into fresh material, takes both pictures, clicks every cross,
/// calibrates each camera and stitches once. Nothing is kept of files from an earlier calibration that it writes too.
/// @param strRoot  the data root, UTF-8; created where missing
/// @return report.bSuccess; the files written before a failure stay
bool WriteCalibrationFiles(Machine& machine, const std::string& strRoot, const ClickOptions& options,
                           CalibrationReport& report);

/// Calibrates a manual machine: lens files, the pair's homography from points that both cameras see, and the two
/// homographies between the fused picture and the bed. Where the fused picture lies is asked of the module.
/// The report's camera parts say how many marks lie on which camera and how far they are off.
/// @param options  `sigmaPx` is how far a mark is off in the fused picture; there is no refinement in this flow, so
///                 that the operator who clicks badly has a bad calibration
bool WriteManualCalibrationFiles(Machine& machine, const std::string& strRoot, const ClickOptions& options,
                                 CalibrationReport& report);

/// The lens files that come with a manual machine, whose cameras deliver rectified pictures: "cameraL_calibrateMap.xml"
/// and "cameraR_calibrateMap.xml" in a folder that exists, local 8-bit path. False when one cannot be written.
bool WriteLensFiles(const Machine& machine, const std::string& strFolder);

} // namespace Simulator
