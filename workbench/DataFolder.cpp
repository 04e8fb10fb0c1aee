#include "DataFolder.h"

#include "Failure.h"
#include "FisheyeCalibrationDllR.h"
#include "FolderRoom.h"
#include "KorvaneVision.h"
#include "UiPermissionsManager.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

#include <cmath>

namespace Workbench
{

namespace
{

/// A flag file without its flag means the manual flow, as it does to the plug-in.
bool IsAutomatic(const QString& strFile)
{
    // Opening a pipe would wait for good.
    return QFileInfo(strFile).isFile() &&
           QSettings(strFile, QSettings::IniFormat).value("CAMERA_PARAM/AUTO_CALIBRATION", 0).toInt() != 0;
}

void RequireReadable(const QString& strResult, const QString& strName)
{
    const QFileInfo file(strResult + strName);
    if (!file.isFile() || !file.isReadable()) {
        throw Failure("The calibration in %1 cannot be read: %2 is no file or may not be read by this user.",
                      {strResult, strName});
    }
}

/// Of the stitched picture, by the size that the calibration names; 0 for one that is no size of a picture, which the
/// plug-in refuses.
qint64 StitchedBytes(const QString& strResult)
{
    constexpr qint64 nMost = 1LL << 30;
    const QSettings stitched(strResult + "AutoDualCalibrate_stitch.xml", QSettings::IniFormat);
    const qint64 nWidth = stitched.value("CAMERA_PARAM/AUTO_CALIBRATION_OUTPUT_WIDTH").toInt();
    const qint64 nHeight = stitched.value("CAMERA_PARAM/AUTO_CALIBRATION_OUTPUT_HEIGHT").toInt();
    const qint64 nBits = stitched.value("CAMERA_PARAM/AUTO_CALIBRATION_OUTPUT_STITCHEDIMAGE_BIT").toInt();
    const bool bPicture = nWidth > 0 && nHeight > 0 && (nBits == 8 || nBits == 24 || nBits == 32);
    return bPicture && nWidth <= nMost / nHeight / 4 ? nWidth * nHeight * nBits / 8 : 0;
}

/// The automatic flow hands pictures on as files.
void RequireScratchFiles(const QString& strFolder, qint64 nStitchedBytes)
{
    if (!QFileInfo(strFolder).isWritable()) {
        throw Failure("Pictures pass through the folder %1, which cannot be written.", {strFolder});
    }
    for (const char* pName :
         {"DualCamBeforeCalibrate_LeftTemp.bmp", "DualCamBeforeCalibrate_RightTemp.bmp", "DstImage.bmp"}) {
        const QFileInfo file(strFolder + "/" + pName);
        if (file.exists() && !(file.isFile() && file.isWritable())) {
            throw Failure("Pictures pass through %1, which cannot be written.", {file.filePath()});
        }
    }
    // By far the largest; it is written over the one that is there.
    const QFileInfo stitched(strFolder + "/DstImage.bmp");
    if (stitched.size() < nStitchedBytes) {
        RequireRoom(strFolder, nStitchedBytes - stitched.size());
    }
}

/// The plug-in asks the left camera's file on its own, and takes a size that is missing for one pixel.
void RequireAutomaticFlags(const QString& strResult)
{
    if (!IsAutomatic(strResult + "LeftCameraParam.ini")) {
        throw Failure("The calibration in %1 is damaged: LeftCameraParam.ini does not name the automatic flow.",
                      {strResult});
    }
    const QSettings stitched(strResult + "AutoDualCalibrate_stitch.xml", QSettings::IniFormat);
    for (const char* pKey : {"WIDTH", "HEIGHT"}) {
        if (stitched.value(QString("CAMERA_PARAM/AUTO_CALIBRATION_OUTPUT_%1").arg(pKey)).toInt() < 1) {
            throw Failure("The calibration in %1 is damaged: AutoDualCalibrate_stitch.xml names no picture size.",
                          {strResult});
        }
    }
}

/// The records of the manual flow name no picture size. A lens looks at about the middle of its picture, though.
void RequireLensInTheMiddle(const QString& strFile, QSize sizePx, bool bLeft)
{
    cv::Mat matrix;
    cv::Mat distortion;
    double dError = 0.0;
    if (!Korvane::CameraCalibration::LoadCameraParameters(strFile.toLocal8Bit().toStdString(), matrix, distortion,
                                                          dError)) {
        return;
    }
    matrix.convertTo(matrix, CV_64F);
    const double dX = matrix.at<double>(0, 2) / sizePx.width();
    const double dY = matrix.at<double>(1, 2) / sizePx.height();
    // Asked so that what is no number fails too.
    if (!(std::abs(dX - 0.5) <= 0.25 && std::abs(dY - 0.5) <= 0.25)) {
        throw Failure(bLeft ? "The left picture of %1 x %2 px has another size than those of the calibration in %3."
                            : "The right picture of %1 x %2 px has another size than those of the calibration in %3.",
                      {QString::number(sizePx.width()), QString::number(sizePx.height()), DataRoot()});
    }
}

} // namespace

void UseDataFolder(const QString& strFolder)
{
    if (!strFolder.isEmpty()) {
        qputenv("XDG_CONFIG_HOME", QDir(strFolder).absolutePath().toLocal8Bit());
    }
}

QString DataRoot()
{
    const bool bQuillmark = CUiPermissionsManager::GetInstance()->GetThemeName() == "Quillmark";
    return QDir::cleanPath(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) +
                           (bQuillmark ? "/../Quillmark/Resources" : "/../Quillboost/Resources"));
}

bool IsRecord(const QString& strFile)
{
    using namespace Korvane::CameraCalibration;
    const QByteArray name = strFile.toLocal8Bit();
    if (strFile.endsWith("/DualCamerasCalibrationParam.ini")) {
        DualFishEyeCalibrationParam pair{};
        return LoadDualCamerasCalibrationParam(name.constData(), pair);
    }
    if (strFile.endsWith("_AutoDualCalibrate.xml")) {
        FishEyeCalibrationParam camera{};
        return LoadCalibrationParam(name.constData(), camera);
    }
    if (strFile.endsWith("_calibrateMap.xml")) {
        cv::Mat matrix;
        cv::Mat distortion;
        double dError = 0.0;
        return LoadCameraParameters(name.toStdString(), matrix, distortion, dError);
    }
    cv::Mat homography;
    return LoadHomography(name.toStdString(), homography);
}

void RequireCalibration(CalibrationUse use)
{
    const QString strResult = DataRoot() + "/Vision/calib/Camera_Two/Result/";
    const QString strPair = "DualCamerasCalibrationParam.ini";
    const bool bAutomatic = IsAutomatic(strResult + "AutoDualCalibrate_stitch.xml");
    const QString strFirst = bAutomatic ? strPair : "DualCamera_pix2mm.xml";
    if (!QFile::exists(strResult + strFirst)) {
        if (QFile::exists(strResult + strPair)) {
            throw Failure("The calibration in %1 is damaged: AutoDualCalibrate_stitch.xml does not name the "
                          "automatic flow that the other files are of.",
                          {strResult});
        }
        throw Failure("There is no calibration in %1.", {strResult});
    }
    QStringList listRest;
    if (use == CalibrationUse::Pictures) {
        listRest = bAutomatic ? QStringList{"LeftCameraParam.ini", "LeftCalPts.txt", "RightCalPts.txt",
                                            "L_AutoDualCalibrate.xml", "R_AutoDualCalibrate.xml"}
                              : QStringList{"cameraL_calibrateMap.xml", "cameraR_calibrateMap.xml", "mapImgR2L.xml"};
    }
    for (const QString& strName : listRest) {
        if (!QFile::exists(strResult + strName)) {
            throw Failure("The calibration in %1 is not complete: %2 is missing.", {strResult, strName});
        }
    }
    // The manual flow's points follow from the picture's scale alone.
    if (bAutomatic || use == CalibrationUse::Pictures) {
        listRest.prepend(strFirst);
    }
    for (const QString& strName : listRest) {
        RequireReadable(strResult, strName);
        const bool bText = strName.endsWith("CalPts.txt") || strName == "LeftCameraParam.ini";
        if (!bText && !IsRecord(strResult + strName)) {
            throw Failure("The calibration in %1 is damaged: %2 is no record.", {strResult, strName});
        }
    }
    if (bAutomatic && use == CalibrationUse::Pictures) {
        RequireAutomaticFlags(strResult);
        RequireScratchFiles(DataRoot() + "/Vision/calib/Camera_Two", StitchedBytes(strResult));
    }
}

void RequireSizesOfCalibration(QSize leftPx, QSize rightPx)
{
    const QString strResult = DataRoot() + "/Vision/calib/Camera_Two/Result/";
    if (!IsAutomatic(strResult + "AutoDualCalibrate_stitch.xml")) {
        RequireLensInTheMiddle(strResult + "cameraL_calibrateMap.xml", leftPx, true);
        RequireLensInTheMiddle(strResult + "cameraR_calibrateMap.xml", rightPx, false);
    }
}

QSize StoredWorkAreaMm()
{
    const QString strFile = DataRoot() + "/Data/CameraSetting.ini";
    if (QFileInfo::exists(strFile) && !QFileInfo(strFile).isFile()) {
        throw Failure("%1 is no file.", {strFile});
    }
    const QSettings settings(strFile, QSettings::IniFormat);
    const double dWidth = settings.value("CANVAS_SIZE/WIDTH", 1300.0).toDouble();
    const double dHeight = settings.value("CANVAS_SIZE/HEIGHT", 900.0).toDouble();
    // Asked so that a value that is no number fails too.
    if (!(dWidth >= 1.0 && dHeight >= 1.0 && dWidth <= 5000.0 && dHeight <= 5000.0)) {
        throw Failure("%1 names a work area of %2 x %3 mm, which no machine has.",
                      {settings.fileName(), QString::number(dWidth), QString::number(dHeight)});
    }
    return {static_cast<int>(dWidth), static_cast<int>(dHeight)};
}

} // namespace Workbench
