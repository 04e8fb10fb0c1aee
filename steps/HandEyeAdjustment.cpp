// What confirming the marks does: from pairs of mark and point to the files that the run-time pipeline works from.

#include "HandEyeAdjustWdg.h"

#include "ui_HandEyeAdjustWdg.h"

#include "CalibGlobalParam.h"
#include "CalibrateTwoCameraIns.h"
#include "FileStore.h"
#include "KorvaneVision.h"
#include "Log.h"
#include "Notice.h"
#include "PageParts.h"
#include "PipelineGuard.h"

#include <QDir>
#include <QFile>
#include <QPointer>

#include <vector>

namespace
{

constexpr const char* g_pCreateFiles = "HandEyeAdjustWdg::CreateHomographyFiles";

// Of the robust fit: the largest distance of a pair that counts, in units of the target, tries, and confidence.
constexpr double g_dThreshold = 3.0;
constexpr int g_nIterations = 2000;
constexpr double g_dConfidence = 0.995;

template <typename Point> std::vector<cv::Point2f> FirstEighteen(const QList<Point>& points)
{
    std::vector<cv::Point2f> first;
    first.reserve(g_nHandEyeMarks);
    for (int i = 0; i < g_nHandEyeMarks; ++i) {
        first.emplace_back(static_cast<float>(points[i].x()), static_cast<float>(points[i].y()));
    }
    return first;
}

/// Fits and stores one homography. What the library answers changes nothing but the log; this is meant.
void WriteHomography(const std::vector<cv::Point2f>& from, const std::vector<cv::Point2f>& to, const char* pFile)
{
    const QString strFile = GetCalibrationRootPath() + Pipeline::strOutputFolder + pFile;
    cv::Mat homography;
    double dError = -1.0;
    Pipeline::Guarded(g_pCreateFiles, 0, [&] {
        Korvane::CameraCalibration::CreateHomography(from, to, homography, dError, g_dThreshold, g_nIterations,
                                                     g_dConfidence);
        return 0;
    });
    const bool bSaved = Pipeline::Guarded(g_pCreateFiles, 0, [&] {
        return Korvane::CameraCalibration::SaveHomography(ToLocalBytes(strFile).toStdString(), homography) ? 1 : 0;
    });
    if (!bSaved) {
        // One of a run that broke off must not pass for this one's.
        ILog_WriteLogF(3, "%s: %s cannot be written", g_pCreateFiles, QStringToUtf8(strFile).constData());
        QFile::remove(strFile);
    }
}

} // namespace

bool HandEyeAdjustWdg::CreateHomographyFiles()
{
    if (m_listPt.size() < g_nHandEyeMarks || m_listCoord.size() < g_nHandEyeMarks) {
        return false;
    }
    const std::vector<cv::Point2f> worldMm = FirstEighteen(m_listPt);
    const std::vector<cv::Point2f> imagePx = FirstEighteen(m_listCoord);
    WriteHomography(imagePx, worldMm, "DualCamera_pix2mm.xml");
    WriteHomography(worldMm, imagePx, "DualCamera_mm2pix.xml");
    return true;
}

void HandEyeAdjustWdg::PublishResults()
{
    const QString strOutput = GetCalibrationRootPath() + Pipeline::strOutputFolder;
    const QString strResult = GetCalibrationRootPath() + Pipeline::strResultFolder;
    QDir(strOutput + "L_images").removeRecursively();
    QDir(strOutput + "R_images").removeRecursively();
    QDir(strResult).removeRecursively();
    if (!MoveDirectory(strOutput, strResult)) {
        ILog_WriteLogF(3, "%s: %s cannot be moved to %s", "HandEyeAdjustWdg::PublishResults",
                       QStringToUtf8(strOutput).constData(), QStringToUtf8(strResult).constData());
    }
    WriteIniInt(Pipeline::strCameraParamSection, "CAMERA_TYPE", m_nCameraType, strResult + "CameraParam.ini");
}

void HandEyeAdjustWdg::on_pushButton_confirm_clicked()
{
    LogClicked("pushButton_confirm");
    const QPointer<HandEyeAdjustWdg> pAlive(this);
    if (CreateHomographyFiles()) {
        WriteCameraDevices(g_calibGlobalParam.strLeftCameraName, g_calibGlobalParam.strRightCameraName);
        PublishResults();
        ShowNotice("Adjusting success!");
    } else {
        ShowWarning(this, "Adjusting fail!");
    }
    // A failed confirm leaves the wizard as well; this is meant.
    if (pAlive) {
        emit ExitWindowSignal();
    }
}
