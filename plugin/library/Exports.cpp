#include "CalibrateExports.h"
#include "CalibrateTwoCameraIns.h"

Vision::ICalibrate* NewInterface()
{
    return new CalibrateTwoCameraIns;
}

void ReleaseInterface(Vision::ICalibrate* pInstance)
{
    delete pInstance;
}
