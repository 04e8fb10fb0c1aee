#pragma once

// Calibration, rectification and stitching of fisheye cameras. Linked by the library name FisheyeCalibrationDllR.
// Buffers are tightly packed, top-down, grey (8 bits), BGR (24 bits) or BGRA (32 bits). Nothing throws; false is
// failure.

#include "CalibrationPoint.h"
#include "FishEyeParams.h"
#include "ModuleExport.h"

#include <vector>

/// Fits one camera's model and pose to marks on the surface.
/// @param gray    width x height bytes, the raw picture; each point is refined on the engraved cross it shows
/// @param points  machine millimetres and raw picture pixels; the picture coordinates come back refined
/// @param error   RMS residual in raw pixels, over the points found on crosses; over all points where most are on none
/// @param outWidth, outHeight  not used: the model does not depend on the size of a corrected picture
/// False for too few, collinear or duplicate points, non-finite input and a fit that does not converge; for marks that
/// are no better than clicks because the picture shows too few crosses; and where the pattern's arrow heads, if the
/// picture shows any, say that it is the other way round or that other columns were marked.
MODULE_EXPORT bool SingleCamCalibration(unsigned char* gray, long width, long height, int bits,
                                        std::vector<CalibrationPoint>& points, long outWidth, long outHeight,
                                        FishEyeCalibrationParam& param, double& error);
/// Writes a camera's record, whole or not at all. `path` is local 8-bit text.
MODULE_EXPORT bool SaveCalibrationParam(const char* path, FishEyeCalibrationParam param);
/// Reads a camera's record. On failure `param` is left as it was.
MODULE_EXPORT bool LoadCalibrationParam(const char* file, FishEyeCalibrationParam& param);
/// Rectilinear picture of dstWidth x dstHeight with the depth of the source.
/// @param mask  null, or dstWidth x dstHeight bytes: 255 where the picture is valid, 0 elsewhere
MODULE_EXPORT bool SingleCamCorrected(unsigned char* src, long srcWidth, long srcHeight, int bits,
                                      FishEyeCalibrationParam param, unsigned char* dst, long dstWidth, long dstHeight,
                                      unsigned char* mask);
/// Size and depth of the stitched picture: the surface from machine (0, 0) to the far edge of what the two cameras see
/// well, at 6 px per mm, with the depth of the left picture.
MODULE_EXPORT bool ComputeStitchedImageSize(unsigned char* leftData, long leftWidth, long leftHeight, int leftBits,
                                            FishEyeCalibrationParam leftParam, std::vector<CalibrationPoint> leftPoints,
                                            unsigned char* rightData, long rightWidth, long rightHeight, int rightBits,
                                            FishEyeCalibrationParam rightParam,
                                            std::vector<CalibrationPoint> rightPoints, long& outWidth, long& outHeight,
                                            int& outBits);
/// Paints the surface as seen from above into `out`, outWidth x outHeight at outBits, and fills the pair's record.
/// Nothing is written for null pixels, differing depths, an unusable record or a size that is not positive.
MODULE_EXPORT bool FishEyeImageStitching(unsigned char* leftData, long leftWidth, long leftHeight, int leftBits,
                                         FishEyeCalibrationParam leftParam, std::vector<CalibrationPoint> leftPoints,
                                         unsigned char* rightData, long rightWidth, long rightHeight, int rightBits,
                                         FishEyeCalibrationParam rightParam, std::vector<CalibrationPoint> rightPoints,
                                         unsigned char* out, long outWidth, long outHeight, int outBits,
                                         DualFishEyeCalibrationParam& dualParam);
/// Writes the pair's record, whole or not at all. `path` is local 8-bit text.
MODULE_EXPORT bool SaveDualCamerasCalibrationParam(const char* path, DualFishEyeCalibrationParam dualParam);
/// Reads the pair's record. On failure `param` is left as it was.
MODULE_EXPORT bool LoadDualCamerasCalibrationParam(const char* file, DualFishEyeCalibrationParam& param);
/// Stitched picture pixel to machine millimetre on the surface (worldZ is 0).
MODULE_EXPORT bool DualCam_CorrectedImageToWorldPoint(float x, float y, DualFishEyeCalibrationParam param,
                                                      float& worldX, float& worldY, float& worldZ);
/// Machine millimetre to stitched picture pixel; worldZ must be 0 for an exact answer and is otherwise dropped.
MODULE_EXPORT bool DualCam_WorldToSecondCorrectedImagePoint(float worldX, float worldY, float worldZ,
                                                            DualFishEyeCalibrationParam param, float& x, float& y);
