#include "CalibrateTwoCameraIns.h"
#include "FileStore.h"
#include "KorvaneVision.h"
#include "Log.h"
#include "PipelineGuard.h"

#include <opencv2/imgproc.hpp>

#include <QFile>
#include <QThread>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace
{

/// Toward zero; what no picture could hold is kept at a size that still subtracts safely.
int TruncateToInt(double dValue)
{
    constexpr double dLimit = 1.0e9;
    return std::isfinite(dValue) ? static_cast<int>(std::clamp(dValue, -dLimit, dLimit)) : 0;
}

/// False where no memory could hold the picture. Sizes of 0 and below are left to OpenCV, which then takes the source's
/// size.
bool IsCanvasSize(int nWidthMm, int nHeightMm)
{
    constexpr std::int64_t nMaxSidePx = 65500;
    constexpr std::int64_t nMaxPixels = std::int64_t{1} << 29;
    const std::int64_t nWidth = std::int64_t{nWidthMm} * Pipeline::nPixelsPerMm;
    const std::int64_t nHeight = std::int64_t{nHeightMm} * Pipeline::nPixelsPerMm;
    return std::abs(nWidth) <= nMaxSidePx && std::abs(nHeight) <= nMaxSidePx && nWidth * nHeight <= nMaxPixels;
}

} // namespace

int CalibrateTwoCameraIns::WarpImage(const cv::Mat& src, const int& nWidth, const int& nHeight, cv::Mat& dst)
{
    return Pipeline::Guarded("CalibrateTwoCameraIns::WarpImage", -1, [&] {
        const QString strRoot = GetCalibrationRootPath();
        if (Pipeline::ReadStitchAutoCalibration(strRoot) == 0) {
            return WarpImageManual(src, nWidth, nHeight, dst, strRoot);
        }
        return WarpImageAutomatic(src, nWidth, nHeight, dst);
    });
}

int CalibrateTwoCameraIns::WarpImageManual(const cv::Mat& src, int nWidth, int nHeight, cv::Mat& dst,
                                           const QString& strRoot)
{
    const QString strFile = strRoot + Pipeline::strResultFolder + "DualCamera_pix2mm.xml";
    // The file must exist even when its homography is loaded already; this is meant.
    if (!QFile::exists(strFile)) {
        return -1;
    }
    if (!m_bPix2MmLoaded) {
        if (!Korvane::CameraCalibration::LoadHomography(ToLocalBytes(strFile).toStdString(), m_matPix2MmHomography)) {
            return -1;
        }
        m_bPix2MmLoaded = true;
    }
    if (!IsCanvasSize(nWidth, nHeight)) {
        ILog_WriteLogF(3, "CalibrateTwoCameraIns::WarpImage: no machine has a work area of %d x %d mm", nWidth,
                       nHeight);
        return -1;
    }
    const cv::Mat canvasFromFused =
        Korvane::UtilityFunctions::CalculateExpansionHomography(m_matPix2MmHomography, double(Pipeline::nPixelsPerMm));
    cv::warpPerspective(src, dst, canvasFromFused,
                        cv::Size(nWidth * Pipeline::nPixelsPerMm, nHeight * Pipeline::nPixelsPerMm), cv::INTER_LANCZOS4,
                        cv::BORDER_CONSTANT, cv::Scalar::all(0));
    return 0;
}

cv::Point2d CalibrateTwoCameraIns::AskWorldToPixel(double dWorldX, double dWorldY)
{
    constexpr int nMaxAttempts = 20;
    Vision::ICalibrate& self = *this;
    cv::Point2d pixel(0.0, 0.0);
    int nAnswer = -1;
    for (int nAttempt = 0; nAnswer != 0 && nAttempt < nMaxAttempts; ++nAttempt) {
        nAnswer = self.WorldToPixel(dWorldX, dWorldY, &pixel.x, &pixel.y, false);
        QThread::msleep(100);
    }
    return pixel;
}

// The stitched picture has the work area's density and frame already: the area is cut out, nothing is warped.
int CalibrateTwoCameraIns::WarpImageAutomatic(const cv::Mat& src, int nWidth, int nHeight, cv::Mat& dst)
{
    // `src` and `dst` may be one matrix, so the source is held by its own header.
    const cv::Mat source = src;
    dst = source.clone();
    QThread::msleep(100);
    const cv::Point2d p = AskWorldToPixel(0.0, 0.0);
    const cv::Point2d q = AskWorldToPixel(nWidth, nHeight);
    ILog_WriteLog(
        0, QString("WarpImage AutoDualCalib : %1, %2,%3, %4").arg(p.x).arg(p.y).arg(q.x).arg(q.y).toUtf8().constData());

    const cv::Point2d topLeft(std::min(p.x, q.x), std::min(p.y, q.y));
    const cv::Point2d bottomRight(std::max(p.x, q.x), std::max(p.y, q.y));
    const cv::Rect area(TruncateToInt(topLeft.x), TruncateToInt(topLeft.y), TruncateToInt(bottomRight.x - topLeft.x),
                        TruncateToInt(bottomRight.y - topLeft.y));
    const cv::Rect visible = area & cv::Rect(0, 0, source.cols, source.rows);
    if (visible.width <= 0 || visible.height <= 0) {
        return -1;
    }
    dst = source(visible).clone();
    return dst.empty() ? -1 : 0;
}
