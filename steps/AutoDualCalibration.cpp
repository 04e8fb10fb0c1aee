// What confirming a camera does: from the marks in the picture to the record of that camera.

#include "AutoDualCalibrateWdg.h"

#include "CalibGlobalParam.h"
#include "CrossMarks.h"
#include "CrossPtsDetectDllR.h"
#include "FileStore.h"
#include "FisheyeCalibrationDllR.h"
#include "GreyCopy.h"
#include "Log.h"
#include "Notice.h"
#include "PageParts.h"
#include "PipelineGuard.h"
#include "PointFiles.h"
#include "ScratchBuffer.h"

#include <QDir>
#include <QFile>

#include <algorithm>

namespace
{

constexpr double g_dLargestResidualPx = 10.0;
constexpr const char* g_pCalibrateCamera = "AutoDualCalibrateWdg::CalibrateCamera";

struct CameraFiles {
    QString strPicture;
    QString strSettings;
    QString strPoints;
    QString strRecord;
};

CameraFiles FilesOf(bool bLeft)
{
    const QString strRoot = GetCalibrationRootPath();
    const QString strResult = strRoot + Pipeline::strResultFolder;
    const QString strSide = bLeft ? "Left" : "Right";
    return {strRoot + Pipeline::strScratchFolder + "Temp/DualCamBeforeCalibrate_" + strSide + "Temp.bmp",
            strResult + strSide + "CameraParam.ini", strResult + strSide + "CalPts.txt",
            strResult + (bLeft ? "L_AutoDualCalibrate.xml" : "R_AutoDualCalibrate.xml")};
}

/// Cuts the fraction off; numbers beyond int are held at its limits.
float Truncated(double dValue)
{
    return dValue != dValue ? 0.0f
                            : static_cast<float>(static_cast<int>(std::clamp(dValue, -2147483648.0, 2147483647.0)));
}

/// A record of an earlier run must not stand in for one that could not be written.
void SaveRecord(const QString& strFile, const FishEyeCalibrationParam& param)
{
    if (!SaveCalibrationParam(ToLocalBytes(strFile).constData(), param)) {
        ILog_WriteLogF(3, "%s: %s cannot be written", g_pCalibrateCamera, QStringToUtf8(strFile).constData());
        QFile::remove(strFile);
    }
}

} // namespace

bool AutoDualCalibrateWdg::CalibrateCamera(std::vector<CalibrationPoint> points, int nStep)
{
    constexpr int nThrown = -1;
    const int nDone = Pipeline::Guarded(g_pCalibrateCamera, nThrown,
                                        [&] { return TryCalibrateCamera(std::move(points), nStep) ? 1 : 0; });
    if (nDone == nThrown) {
        ShowNotice("Adjusting fail!");
    }
    return nDone == 1;
}

bool AutoDualCalibrateWdg::TryCalibrateCamera(std::vector<CalibrationPoint> points, int nStep)
{
    const bool bLeft = nStep == g_nLeftStep;
    if (bLeft) {
        std::vector<cv::Point2f> raw;
        if (!RotatePoints(m_listCoord, m_matImg.size(), raw)) {
            ILog_WriteLogF(3, "%s: Wrong number of coordinates!", g_pCalibrateCamera);
            return false;
        }
        // The turn reverses the order and the ids stay: the first record gets the last cross's place. This is meant.
        const std::size_t nTurned = std::min(points.size(), raw.size());
        for (std::size_t i = 0; i < nTurned; ++i) {
            points[i].fImageX = raw[i].x;
            points[i].fImageY = raw[i].y;
        }
    }
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i].nCol = m_nRow != 0 ? static_cast<int>(i) % m_nRow : 0;
    }

    const CameraFiles files = FilesOf(bLeft);
    std::vector<CalibrationPoint>& marks = bLeft ? m_vecLeft : m_vecRight;
    marks = std::move(points);
    (bLeft ? LeftPtsRearrange : RightPtsRearrange)(marks, m_nRow, m_nCol);

    const cv::Mat shown = m_matImg.clone();
    long nWidth = 0;
    long nHeight = 0;
    int nBits = 0;
    if (!Read_Image(m_rawBuffer.Pixels(), nWidth, nHeight, nBits, QStringToUtf8(files.strPicture).constData())) {
        ILog_WriteLogF(3, "%s Read image failed !", g_pCalibrateCamera);
        return false;
    }
    ScratchBuffer greyBuffer;
    unsigned char* const pGrey = Pipeline::GreyCopy(m_rawBuffer.Pixels(), nWidth, nHeight, nBits, greyBuffer);
    const long nOutWidth = 2L * shown.cols;
    const long nOutHeight = 2L * shown.rows;
    // The points are kept and the calibration decides also where some have no place on the surface; this is meant.
    const QPointer<AutoDualCalibrateWdg> pAlive(this);
    FillWorldCoordinates();
    if (!pAlive) {
        return false;
    }
    QDir().mkpath(GetCalibrationRootPath() + Pipeline::strResultFolder);
    WritePointFile(files.strPoints, marks, "AutoDualCalibrateWdg::SaveCalPtsSeqFile");

    FishEyeCalibrationParam param;
    double dError = 0.0;
    if (!SingleCamCalibration(pGrey, nWidth, nHeight, 8, marks, nOutWidth, nOutHeight, param, dError)) {
        ShowNotice("Adjusting fail!");
        return false;
    }
    WriteIniInt(Pipeline::strCameraParamSection, "AUTO_CALIBRATION_OUTPUT_WIDTH", static_cast<int>(nOutWidth),
                files.strSettings);
    WriteIniInt(Pipeline::strCameraParamSection, "AUTO_CALIBRATION_OUTPUT_HEIGHT", static_cast<int>(nOutHeight),
                files.strSettings);
    WriteCameraDevices(g_calibGlobalParam.strLeftCameraName, g_calibGlobalParam.strRightCameraName);
    SaveParamState(files.strSettings);
    SaveRecord(files.strRecord, param);
    // A residual above the limit warns and lets the flow go on; this is meant.
    ShowNotice(dError > g_dLargestResidualPx ? "Adjusting fail!" : "Adjusting success!");
    return true;
}

bool AutoDualCalibrateWdg::FillWorldCoordinates()
{
    constexpr const char* pNotice = "Coordinate count does not match actual count! Please verify again.";
    if (m_listWorld.isEmpty()) {
        ShowNotice(pNotice, "Warning");
        return false;
    }
    bool bAllFound = true;
    const auto fill = [&](std::vector<CalibrationPoint>& marks) {
        for (CalibrationPoint& mark : marks) {
            const int nIndex = mark.nId > 0 ? mark.nId - 1 : -1;
            // A resumed run gives only one camera's part of the grid here; the file has all of it.
            const std::optional<QPointF> world = nIndex >= 0 && nIndex < m_listWorld.size()
                                                     ? std::optional(m_listWorld[nIndex])
                                                     : StoredWorldPoint(nIndex);
            if (!world) {
                bAllFound = false;
                continue;
            }
            mark.fWorldX = Truncated(world->x());
            mark.fWorldY = Truncated(world->y());
            mark.fWorldZ = 0.0f;
        }
    };
    fill(m_vecLeft);
    fill(m_vecRight);
    if (!bAllFound) {
        ShowNotice(pNotice, "Warning");
    }
    return bAllFound;
}

void AutoDualCalibrateWdg::SaveParamState(const QString& strSettings)
{
    WriteIniInt(Pipeline::strCameraParamSection, "CAMERA_TYPE", m_nCameraType, strSettings);
    if (m_nCameraType == 0) {
        const QString strRoot = GetCalibrationRootPath();
        QDir(strRoot + Pipeline::strOutputFolder + "images").removeRecursively();
        QDir(strRoot + Pipeline::strResultFolder).removeRecursively();
        CopyFolder(strRoot + Pipeline::strOutputFolder, strRoot + Pipeline::strResultFolder);
    }
    WriteIniInt(Pipeline::strCameraParamSection, "AUTO_CALIBRATION", m_nCameraType != 0 ? 1 : 0, strSettings);
}
