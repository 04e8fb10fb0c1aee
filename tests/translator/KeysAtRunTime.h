#pragma once

// What the scan of the sources cannot see: keys that reach the translator through a variable, and texts that are no
// keys of a table. Whoever adds such a place adds it here.

#include <QString>
#include <QStringList>

#include <vector>

/// A place that looks up what a variable holds, and all that it can hold.
struct RunTimeKeys {
    QString strFile;
    QString strExpression; ///< the argument without blanks
    QStringList listKeys;  ///< empty where callers hand the key in, whose own calls are looked at
};

inline const std::vector<RunTimeKeys>& KeysAtRunTime()
{
    static const std::vector<RunTimeKeys> keys{
        {"plugin/Notice.cpp", "strKey", {}},
        {"plugin/Notice.cpp", "strTextKey", {}},
        {"plugin/Notice.cpp", "strTitleKey", {"Tips"}},
        // A box of its own, which is given the whole text.
        {"modules/ErrCodeMgr/ErrCodeMgr.cpp", "StatusText(nStatus)", {}},
        {"steps/PageParts.cpp", "strKey", {}},
        {"steps/PageParts.cpp", "strCaption", {}},
        {"steps/PageParts.cpp",
         "keys.begin()[i]",
         {"Select work area", "Engraving pattern", "Add Left Coords", "Add Right Coords", "Stitch",
          "Distortion Correction", "Select Working Area", "Wait for Engraving", "Add Coordinates"}},
        {"steps/HandEyeAdjustWdg.cpp",
         "pNotice",
         {"Camera-Left grab failed!", "Camera-Right grab failed!", "Fusion images failed!",
          "The fusion image is empty!"}},
        {"steps/StitchingWdg.cpp",
         "pNotice",
         {"Left Camera Coordinate count does not match actual count! Please verify again.",
          "Right Camera Coordinate count does not match actual count! Please verify again."}},
        {"capture/Snapshot.cpp",
         "failure.pNotice",
         {"Failed to open the target camera,Please try again.", "Failed to set camera parameters,Please try again.",
          "Failed to get photo,Please try again."}},
        {"widgets/DualGraphicsView.cpp", "QString::fromUtf16(pKey)", {}},
        {"widgets/CMsgBoxQss.cpp", "row.pWording", {"No", "Cancel", "OK", "Yes", "Retry"}},
        {"modules/ThreadDialog/ProgressDialog.cpp", "strKey", {}},
        {"modules/ThreadDialog/ProgressDialog.cpp", "m_strText", {}},
        {"modules/ErrCodeMgr/StatusText.cpp",
         "row.pMeaning",
         {"The task was not completed because of an unexpected error.",
          "No machine is connected, or the machine is busy.", "The pattern document was not accepted.",
          "The machine reported a status that is not known here."}},
        {"modules/ErrCodeMgr/StatusText.cpp",
         "row.pAdvice",
         {"Try again. If it happens again, give the log file to the service.",
          "Check that the machine is switched on and connected and that no other job is running, then try again.",
          "Look for a message on the machine, then try again.",
          "Look for a message on the machine, then try again. If it happens again, give the status below to the "
          "service."}},
        {"workbench/PictureMaker.cpp",
         "pNoPicture",
         {"The left camera gives no picture.", "The right camera gives no picture."}},
        {"workbench/gui/Texts.cpp", "QString::fromUtf8(pKey)", {}},
        // Of failures, which are looked at where they are thrown.
        {"workbench/gui/Texts.cpp", "failure.Key()", {}},
        {"workbench/gui/WorkbenchWindow.cpp", "failure", {}},
        {"workbench/gui/LivePicture.cpp", "failure", {}},
        {"workbench/gui/WorkbenchWindow.cpp",
         "qPrintable(strReason)",
         {"This machine is calibrated automatically: there is no fusion step of its own.",
          "The cameras are not calibrated yet: run the whole calibration first.",
          "The pictures are not fused yet: run the whole calibration first."}},
        {"workbench/gui/WorkbenchWindow.cpp",
         "qPrintable(m_strStage)",
         {"Taking pictures", "Stitching the pictures", "Cutting out the work area", "Showing the picture"}},
    };
    return keys;
}

/// The same in every language: titles of forms that no one sees, a unit, signs, a state that style sheets know, no
/// camera, and parts of paths.
inline const QStringList& TextsWithoutWording()
{
    static const QStringList texts{"Form",
                                   "mm",
                                   "+",
                                   "-",
                                   "DualCamera_Flow_Step4",
                                   "None",
                                   "/Vision/calib/Camera_Two/Output/",
                                   "L_images/",
                                   "R_images/",
                                   ".png",
                                   "cameraL_calibrateMap.xml",
                                   "cameraR_calibrateMap.xml"};
    return texts;
}
