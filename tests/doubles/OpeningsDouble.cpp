// The instance's openings in programs that have no wizard window. Nothing there calls them; whoever does gets the
// answer that no opening gives.

#include "CalibrateTwoCameraIns.h"

int CalibrateTwoCameraIns::ShowCalibrationWizard(QWidget*)
{
    return -1;
}

int CalibrateTwoCameraIns::ShowCoordinateWizard(QWidget*)
{
    return -1;
}

int CalibrateTwoCameraIns::ShowFusionWizard(QWidget*)
{
    return -1;
}
