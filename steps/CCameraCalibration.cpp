#include "CCameraCalibration.h"

#include "FileStore.h"
#include "KorvaneVision.h"
#include "Log.h"
#include "PipelineGuard.h"

#include <opencv2/features2d.hpp>
#include <opencv2/imgcodecs.hpp>

#include <QDir>
#include <QFileInfo>

#include <utility>
#include <vector>

namespace
{

constexpr double g_dSmallestPixelM = 1.0e-06;
/// As in cv::findCirclesGrid.
constexpr int g_nSymmetricGrid = 1;

/// A colour picture, empty where there is none; a pipe is not waited for.
cv::Mat ReadPicture(const std::string& strPath)
{
    cv::Mat picture;
    if (QFileInfo(QString::fromLocal8Bit(strPath.c_str())).isFile()) {
        Pipeline::Guarded("cv::imread", 0, [&] {
            picture = cv::imread(strPath, cv::IMREAD_COLOR);
            return 0;
        });
    }
    return picture;
}

} // namespace

CCameraCalibration::CCameraCalibration() = default;

void CCameraCalibration::SetCallback(CalibCallback callback, void* owner)
{
    m_pCallback = callback;
    m_pOwner = owner;
}

void CCameraCalibration::SetDescrPath(std::string path)
{
    m_strDescrPath = std::move(path);
}

CalibResult CCameraCalibration::SetCamPara(double /*focus*/, double /*kappa*/, double sx, double sy, int cx, int cy,
                                           int imageWidth, int imageHeight)
{
    // Written so that a size that is no number is refused too.
    if (!(sx > g_dSmallestPixelM) || !(sy > g_dSmallestPixelM) || cx <= 0 || cy <= 0 || imageWidth <= 0 ||
        imageHeight <= 0) {
        ILog_WriteLog(2, "SetCamPara err, params < 0");
        return {false, -1, "parameters error"};
    }
    return {true, 0, {}};
}

void CCameraCalibration::SetImageDir(std::string dir)
{
    m_strImageDir = std::move(dir);
}

void CCameraCalibration::SetWorkAreaSize(int width, int /*height*/)
{
    m_dWorkAreaExtent = width + 150.0;
}

bool CCameraCalibration::CalibrateAndSave(std::string path)
{
    if (!FindAllImgCalibObject() || !CheckResult()) {
        return false;
    }
    const int nSaved = Pipeline::Guarded("CalibrateAndSave", 0, [&] {
        return Korvane::CameraCalibration::SaveCameraParameters(path, m_cameraMatrix, m_distCoeffs, m_dError);
    });
    if (nSaved == 0) {
        return false;
    }
    ClearResult();
    return true;
}

bool CCameraCalibration::FindAllImgCalibObject()
{
    const QDir folder(QString::fromLocal8Bit(m_strImageDir.c_str()));
    std::vector<cv::Mat> pictures;
    for (const QFileInfo& entry : folder.entryInfoList({"*.jpg", "*.png", "*.bmp"}, QDir::Files, QDir::NoSort)) {
        const std::string strPath = ToLocalBytes(entry.absoluteFilePath()).toStdString();
        const cv::Mat picture = ReadPicture(strPath);
        if (picture.empty()) {
            ILog_WriteLogF(2, "[FindAllImgCalibObject]Failed to load image:%s", strPath.c_str());
            continue;
        }
        pictures.push_back(picture);
    }
    m_dError = -1.0;
    const int nFound = Pipeline::Guarded("FindAllImgCalibObject", 0, [&] {
        return Korvane::CameraCalibration::CalibrateDistortedCamera(pictures, cv::Size(7, 9), m_cameraMatrix,
                                                                    m_distCoeffs, m_dError);
    });
    return nFound != 0;
}

bool CCameraCalibration::CheckResult()
{
    return true;
}

void CCameraCalibration::ClearResult()
{
    m_cameraMatrix.release();
    m_distCoeffs.release();
    m_dError = -1.0;
}

bool CCameraCalibration::InspectPicPass(std::string path, double& error)
{
    constexpr const char* pName = "CCameraCalibration::InspectPicPass";
    ILog_WriteLogF(1, "[%s]Start", pName);
    const cv::Mat picture = ReadPicture(path);
    // Also for a path that gave no picture; this is meant, as is the blank at the end.
    ILog_WriteLogF(1, "[%s]imread succeed : %s ", pName, path.c_str());

    std::vector<cv::Point2f> points;
    double dGridError = -1.0;
    const auto find = [&](const cv::Size& board, const char* pOrdinal) {
        const int nFound = Pipeline::Guarded(pName, 0, [&] {
            return Korvane::CameraCalibration::FindCalibrationBoard(picture, board, points, dGridError,
                                                                    g_nSymmetricGrid, cv::SimpleBlobDetector::create());
        });
        if (nFound == 0) {
            const std::string strReason = Korvane::CameraCalibration::GetLastError();
            ILog_WriteLogF(2, "[%s]FindCalibrationBoard %s time failed : %s", pName, pOrdinal, strReason.c_str());
        }
        return nFound != 0;
    };
    // Turned by a right angle the chart passes too.
    const bool bPass = find({7, 9}, "first") || find({9, 7}, "second");
    error = dGridError;
    ILog_WriteLogF(1, "[%s]End!", pName);
    return bPass;
}
