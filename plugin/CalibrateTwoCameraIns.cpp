#include "CalibrateTwoCameraIns.h"

#include "CalibGlobalParam.h"
#include "FileStore.h"

void CalibrateTwoCameraIns::SetWorkAreaSize(int nWidth, int nHeight)
{
    g_calibGlobalParam.nWorkAreaWidth = nWidth;
    g_calibGlobalParam.nWorkAreaHeight = nHeight;
}

int CalibrateTwoCameraIns::SetCameraNames(const char* pLeftName, const char* pRightName)
{
    g_calibGlobalParam.strLeftCameraName = Utf8ToQString(pLeftName);
    g_calibGlobalParam.strRightCameraName = Utf8ToQString(pRightName);
    return 0;
}

int CalibrateTwoCameraIns::ReservedOperation3(std::intptr_t)
{
    return -1;
}

int CalibrateTwoCameraIns::SetReservedSize(int nFirst, int nSecond)
{
    g_calibGlobalParam.nReservedFirst = nFirst;
    g_calibGlobalParam.nReservedSecond = nSecond;
    return 0;
}

int CalibrateTwoCameraIns::ReservedOperation8(std::intptr_t, std::intptr_t, bool)
{
    return -1;
}

int CalibrateTwoCameraIns::SetDeviceHost(IDeviceHost* pHost)
{
    m_pDeviceHost = pHost;
    return 0;
}

int CalibrateTwoCameraIns::SetCalibrationResourcePath(const char* pPath)
{
    g_calibGlobalParam.strCalibResourcePath = Utf8ToQString(pPath);
    return 0;
}
