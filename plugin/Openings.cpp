#include "CalibrateTwoCameraIns.h"
#include "Log.h"

namespace
{

// The window does not exist yet; a host is told so in the log and gets the answer that an opening always gives.
int LogNoWindow(const char* pOperation)
{
    ILog_WriteLogF(1, "%s, There is no wizard window yet.", pOperation);
    return 0;
}

} // namespace

int CalibrateTwoCameraIns::ShowCalibrationWizard(QWidget*)
{
    return LogNoWindow("CalibrateTwoCameraIns::ShowCalibrationWizard");
}

int CalibrateTwoCameraIns::ShowCoordinateWizard(QWidget*)
{
    return LogNoWindow("CalibrateTwoCameraIns::ShowCoordinateWizard");
}

int CalibrateTwoCameraIns::ShowFusionWizard(QWidget*)
{
    return LogNoWindow("CalibrateTwoCameraIns::ShowFusionWizard");
}
