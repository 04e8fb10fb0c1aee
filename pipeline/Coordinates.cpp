#include "CalibrateTwoCameraIns.h"
#include "FileStore.h"
#include "FisheyeCalibrationDllR.h"
#include "PipelineGuard.h"

namespace
{

// Read on every call, so that a new calibration takes effect at the next point. An unreadable file leaves an empty
// record, and the conversion then answers (0, 0); neither is reported, this is meant.
DualFishEyeCalibrationParam LoadPairRecord(const QString& strRoot)
{
    DualFishEyeCalibrationParam param;
    const QString strFile = strRoot + Pipeline::strResultFolder + "DualCamerasCalibrationParam.ini";
    LoadDualCamerasCalibrationParam(strFile.toLocal8Bit().constData(), param);
    return param;
}

} // namespace

int CalibrateTwoCameraIns::PixelToWorld(double dX, double dY, double* pX, double* pY, bool)
{
    return Pipeline::Guarded("CalibrateTwoCameraIns::PixelToWorld", 0, [&] {
        const QString strRoot = GetCalibrationRootPath();
        if (Pipeline::ReadStitchAutoCalibration(strRoot) == 0) {
            *pX = dX / Pipeline::nPixelsPerMm;
            *pY = dY / Pipeline::nPixelsPerMm;
            return 0;
        }
        float fWorldX = 0.0f;
        float fWorldY = 0.0f;
        float fWorldZ = 0.0f;
        DualCam_CorrectedImageToWorldPoint(static_cast<float>(dX), static_cast<float>(dY), LoadPairRecord(strRoot),
                                           fWorldX, fWorldY, fWorldZ);
        *pX = fWorldX;
        *pY = fWorldY;
        return 0;
    });
}

int CalibrateTwoCameraIns::WorldToPixel(double dX, double dY, double* pX, double* pY, bool)
{
    return Pipeline::Guarded("CalibrateTwoCameraIns::WorldToPixel", 0, [&] {
        const QString strRoot = GetCalibrationRootPath();
        if (Pipeline::ReadStitchAutoCalibration(strRoot) == 0) {
            *pX = dX * Pipeline::nPixelsPerMm;
            *pY = dY * Pipeline::nPixelsPerMm;
            return 0;
        }
        float fX = 0.0f;
        float fY = 0.0f;
        DualCam_WorldToSecondCorrectedImagePoint(static_cast<float>(dX), static_cast<float>(dY), 0.0f,
                                                 LoadPairRecord(strRoot), fX, fY);
        *pX = fX;
        *pY = fY;
        return 0;
    });
}
