#pragma once

// The pair's model and how it is packed into the opaque 28-byte record. The stitched picture lies in the machine frame,
// so the pair needs no more than its density, origin and size; nothing in it depends on the cameras' records.

#include "FishEyeParams.h"

#include <optional>

namespace Fisheye
{

/// Density of every stitched picture.
inline constexpr float kPxPerMm = 6.0f;

struct DualModel {
    float pxPerMm = kPxPerMm;
    float originXmm = 0.0f; ///< machine millimetre of pixel (0, 0)
    float originYmm = 0.0f;
    int nWidth = 0;  ///< stitched picture, pixels
    int nHeight = 0; ///< stitched picture, pixels
};

/// Packs a model; version and check word are added.
DualFishEyeCalibrationParam PackDualRecord(const DualModel& model);
/// Empty, with the reason in `pReason` if given, for a record that was never filled, is damaged or holds impossible
/// numbers.
std::optional<DualModel> UnpackDualRecord(const DualFishEyeCalibrationParam& record, const char** pReason = nullptr);

} // namespace Fisheye
