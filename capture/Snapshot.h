#pragma once

// One picture from one named camera, which is left closed again: how every page without a live picture gets one. The
// pages differ in how they match names, in what they say and in what they pass to the device; each has its row here.
// For the page's thread, which is held for the whole shot, notices included.

#include "ICameraDevice.h"

#include <opencv2/core/mat.hpp>

#include <QString>

class QObject;

enum class NameMatch {
    Whole,     ///< the listed string is the wanted name
    Substring, ///< the wanted name stands anywhere in the listed string
    PureName,  ///< both are equal without their index prefix
};

enum class CloseCall { None, Open, Target }; ///< not called; with null, for the open camera; with the camera's name

struct SnapshotRow {
    const char* pFunction; ///< in log lines
    NameMatch match;
    bool bLogsName;          ///< the wanted name, at the beginning
    bool bReportsFailures;   ///< by a log line and a notice
    bool bReportsParameters; ///< the same for refused parameters
    bool bAutoExposure;      ///< asked for once the camera is open
    bool bSnapsByName;       ///< else the open camera
    bool bGivesCameraBack;   ///< as the page goes; the cameras of other pages live until the process ends
    CloseCall afterFailedOpen;
    CloseCall afterRefusedParameters;
    CloseCall atEnd;
};

extern const SnapshotRow g_fusionSnapshot;    ///< FusionWdg
extern const SnapshotRow g_handEyeSnapshot;   ///< HandEyeAdjustWdg
extern const SnapshotRow g_stitchingSnapshot; ///< StitchingWdg
extern const SnapshotRow g_autoDualSnapshot;  ///< AutoDualCalibrateWdg

/// An instance of the module "Camera" for one page; null, after the loader's own notice, where there is none.
ICameraDevice* LoadCamera();

/// @param cameraName  as the host set it; "None" or an empty one gives no picture, in silence
/// @param page  whose camera it is; a page that is deleted during a notice and gives its camera back took it along, and
///        it is then left alone
/// @return 8-bit grey or BGR; empty on any failure, or what a failing device left in it
cv::Mat SnapOne(ICameraDevice* pCamera, const QString& cameraName, const SnapshotRow& row, QObject& page);
