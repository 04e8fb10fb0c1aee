#include "PipelineGuard.h"

#include "FileStore.h"
#include "Log.h"

namespace Pipeline
{

int ReadStitchAutoCalibration(const QString& strRoot)
{
    return ReadIniInt(strCameraParamSection, "AUTO_CALIBRATION", 0,
                      strRoot + strResultFolder + "AutoDualCalibrate_stitch.xml");
}

void LogException(const char* pOperation, const char* pWhat)
{
    ILog_WriteLogF(3, "%s: %s", pOperation, pWhat);
}

} // namespace Pipeline
