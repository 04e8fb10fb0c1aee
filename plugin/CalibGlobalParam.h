#pragma once

// The one process-wide block that the setters of the instance fill and every step reads. Plain data without a lock: set
// it before the wizard opens or a run-time call starts.

#include <QString>

struct CalibGlobalParam {
    QString strLeftCameraName = "None";  ///< the host's camera identity; "None" means that no camera is assigned
    QString strRightCameraName = "None"; ///< the same for the right camera
    QString strCalibResourcePath;        ///< base folder of the step pictures
    int nReservedFirst = 0;              ///< kept, never read
    int nReservedSecond = 0;             ///< kept, never read
    int nWorkAreaWidth = 900;            ///< millimetres
    int nWorkAreaHeight = 600;           ///< millimetres
};

extern CalibGlobalParam g_calibGlobalParam;
