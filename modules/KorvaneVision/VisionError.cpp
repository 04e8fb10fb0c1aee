#include "VisionError.h"

#include "KorvaneVision.h"
#include "Log.h"

namespace
{

std::string& LastError()
{
    thread_local std::string strError;
    return strError;
}

} // namespace

bool Korvane::Fail(const char* pOperation, const std::string& strReason)
{
    LastError() = strReason;
    ILog_WriteLogF(2, "%s: %s", pOperation, strReason.c_str());
    return false;
}

std::string Korvane::CameraCalibration::GetLastError()
{
    return LastError();
}
