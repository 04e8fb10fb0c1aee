#include "BmpFile.h"
#include "CalibrateTwoCameraIns.h"
#include "CrossPtsDetectDllR.h"
#include "FileStore.h"
#include "FisheyeCalibrationDllR.h"
#include "KorvaneVision.h"
#include "Log.h"
#include "PictureMemory.h"
#include "PipelineGuard.h"
#include "PointFiles.h"
#include "ScaleTable.h"

#include <opencv2/imgcodecs.hpp>

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstdint>

namespace
{

constexpr const char* g_pFusionImage = "CalibrateTwoCameraIns::FusionImage";

// No machine's picture comes near this; a stored size beyond it is a damaged file, not a picture.
constexpr std::size_t g_nMaxStitchedBytes = std::size_t{2} << 30;

struct StitchedSize {
    int nWidth = 1;
    int nHeight = 1;
    int nBits = 1;
};

StitchedSize ReadStitchedSize(const QString& strFile)
{
    StitchedSize size;
    size.nBits = ReadIniInt(Pipeline::strCameraParamSection, "AUTO_CALIBRATION_OUTPUT_STITCHEDIMAGE_BIT", 1, strFile);
    size.nWidth = ReadIniInt(Pipeline::strCameraParamSection, "AUTO_CALIBRATION_OUTPUT_WIDTH", 1, strFile);
    size.nHeight = ReadIniInt(Pipeline::strCameraParamSection, "AUTO_CALIBRATION_OUTPUT_HEIGHT", 1, strFile);
    return size;
}

/// False when no memory could hold such a picture, or when the sizes are not positive.
bool StitchedBytes(const StitchedSize& size, int nBits, std::size_t& nBytes)
{
    if (size.nWidth <= 0 || size.nHeight <= 0 || nBits <= 0 || nBits > 64) {
        return false;
    }
    nBytes = static_cast<std::size_t>(size.nWidth) * static_cast<std::size_t>(size.nHeight);
    if (nBytes > g_nMaxStitchedBytes) {
        return false;
    }
    nBytes = nBytes * static_cast<std::size_t>(nBits) / 8;
    return nBytes <= g_nMaxStitchedBytes;
}

/// Makes the picture of an earlier call unreadable, so that it is never taken for one that could not be written. In
/// place: to remove or truncate it costs more than to write it anew. False where it stays, and for what is no plain
/// file: a pipe would hold whoever reads the picture back.
bool WipePicture(const QString& strFile)
{
    const QFileInfo info(strFile);
    if (!info.exists()) {
        return true;
    }
    if (!info.isFile()) {
        return false;
    }
    QFile file(strFile);
    return (file.open(QIODevice::ReadWrite) && file.write(QByteArray(2, '\0')) == 2 && file.flush()) || file.remove();
}

/// True when a colour bitmap holds exactly this picture.
bool HoldsPicture(const std::string& strFile, const cv::Mat& picture)
{
    Bitmap::BmpReader reader(strFile.c_str());
    Bitmap::BmpInfo info;
    std::string strReason;
    return reader.ReadHeader(info, strReason) == Bitmap::BmpAnswer::Ok && info.nBits == 24 &&
           info.nWidth == picture.cols && info.nHeight == picture.rows && reader.HoldsPixels(info, picture.data);
}

bool IsSoleOwner(const cv::Mat& picture)
{
    return picture.u && CV_XADD(&picture.u->refcount, 0) == 1;
}

} // namespace

bool CalibrateTwoCameraIns::GetCalPtsSeqFile(const QString& strLeftFile, const QString& strRightFile,
                                             std::vector<CalibrationPoint>& leftPoints,
                                             std::vector<CalibrationPoint>& rightPoints) const
{
    return ReadPointFiles(strLeftFile, strRightFile, leftPoints, rightPoints,
                          "CalibrateTwoCameraIns::GetCalPtsSeqFile");
}

int CalibrateTwoCameraIns::FusionImage(const cv::Mat& left, const cv::Mat& right, cv::Mat& dst, bool bUseOutput)
{
    return Pipeline::Guarded(g_pFusionImage, -1, [&] {
        const QString strRoot = GetCalibrationRootPath();
        if (Pipeline::ReadStitchAutoCalibration(strRoot) != 0) {
            return FusionImageAutomatic(dst, strRoot);
        }
        return FusionImageManual(left, right, dst,
                                 strRoot + (bUseOutput ? Pipeline::strOutputFolder : Pipeline::strResultFolder));
    });
}

int CalibrateTwoCameraIns::FusionImageManual(const cv::Mat& left, const cv::Mat& right, cv::Mat& dst,
                                             const QString& strFolder)
{
    const QString strFile = strFolder + "mapImgR2L.xml";
    if (!QFile::exists(strFile)) {
        return -1;
    }
    if (!m_bFusionLoaded || m_matFusionHomography.empty()) {
        if (!Korvane::CameraCalibration::LoadHomography(ToLocalBytes(strFile).toStdString(), m_matFusionHomography)) {
            return -1;
        }
        m_bFusionLoaded = true;
    }
    const Korvane::CameraCalibration::ImageDirFlags flags(0, false, false);
    double dScore = -1.0;
    int nCanvasWidth = -1;
    int nCanvasHeight = -1;
    GetCanvasSize(&nCanvasWidth, &nCanvasHeight);
    const Pipeline::ScaleRow scales = Pipeline::ScalesOfCanvas(nCanvasWidth, nCanvasHeight);
    Korvane::CameraCalibration::DoBlendingImageForDualCam(left, flags, right, flags, scales.dBlendFifth,
                                                          scales.dBlendSixth, m_matFusionHomography, dScore, dst);
    // A failed blend shows itself by an empty picture, not by the answer; this is meant.
    return 0;
}

int CalibrateTwoCameraIns::FusionImageAutomatic(cv::Mat& dst, const QString& strRoot)
{
    const QString strResult = strRoot + Pipeline::strResultFolder;
    GetCalPtsSeqFile(strResult + "LeftCalPts.txt", strResult + "RightCalPts.txt", m_vecLeftCalPts, m_vecRightCalPts);
    if (m_vecLeftCalPts.size() != m_vecRightCalPts.size()) {
        ILog_WriteLogF(3, "%s, Failed to complete the stitching of the fisheye lens!", g_pFusionImage);
        return -1;
    }

    const QString strStitchFile = strResult + "AutoDualCalibrate_stitch.xml";
    const StitchedSize size = ReadStitchedSize(strStitchFile);
    // The stitching is told the current picture's depth, which may differ from the stored one: the buffer holds both.
    std::size_t nBytes = 0;
    if (!StitchedBytes(size, std::max(size.nBits, m_nLeftBits), nBytes)) {
        ILog_WriteLogF(3, "%s: %s holds a stitched size of %d x %d at %d bits, which no picture has", g_pFusionImage,
                       QStringToUtf8(strStitchFile).constData(), size.nWidth, size.nHeight, size.nBits);
        return -1;
    }
    unsigned char* pStitched = ReserveStitched(size.nWidth, size.nHeight, std::max(size.nBits, m_nLeftBits), nBytes);
    if (nBytes > 0 && !pStitched) {
        ILog_WriteLogF(3, "%s: no memory for a stitched picture of %zu bytes", g_pFusionImage, nBytes);
        return -1;
    }

    DualFishEyeCalibrationParam dualParam;
    const bool bStitched = FishEyeImageStitching(m_pLeftPixels, m_nLeftWidth, m_nLeftHeight, m_nLeftBits,
                                                 m_leftFishEyeParam, m_vecLeftCalPts, m_pRightPixels, m_nRightWidth,
                                                 m_nRightHeight, m_nRightBits, m_rightFishEyeParam, m_vecRightCalPts,
                                                 pStitched, size.nWidth, size.nHeight, m_nLeftBits, dualParam);
    if (!bStitched || !m_pLeftPixels || !m_pRightPixels) {
        // Told apart from the text above by the point before the exclamation mark; this is meant.
        ILog_WriteLogF(1, "%s, Failed to complete the stitching of the fisheye lens.!", g_pFusionImage);
        return -1;
    }

    const QString strPicture = strRoot + Pipeline::strScratchFolder + "DstImage.bmp";
    const bool bFresh = WipePicture(strPicture);
    Save_Image(pStitched, size.nWidth, size.nHeight, m_nLeftBits, strPicture.toLocal8Bit().constData());
    // The picture reaches the caller through the file; it may be empty when the file could not be written. A file that
    // holds what was stitched, byte by byte, is not decoded into memory of its own.
    const std::string strFile = strPicture.toStdString();
    const bool bColour = m_nLeftBits == 24 && pStitched == m_matStitched.data;
    if (bFresh && bColour && HoldsPicture(strFile, m_matStitched)) {
        dst = m_matStitched;
    } else {
        dst = bFresh ? cv::imread(strFile, cv::IMREAD_COLOR) : cv::Mat();
    }
    if (dst.empty()) {
        ILog_WriteLogF(3, "%s: %s holds no stitched picture", g_pFusionImage, QStringToUtf8(strPicture).constData());
    }
    return 0;
}

// A colour picture is stitched into the matrix that the caller gets. Its memory is used again once no caller holds it.
unsigned char* CalibrateTwoCameraIns::ReserveStitched(int nWidth, int nHeight, int nBits, std::size_t nBytes)
{
    if (nBytes == 0) {
        return nullptr;
    }
    if (nBits != 24) {
        unsigned char* pStitched = m_stitchedBuffer.Reserve(nBytes);
        if (pStitched) {
            ZeroPicture(pStitched, nBytes);
        }
        return pStitched;
    }
    if (m_matStitched.size() != cv::Size(nWidth, nHeight) || !IsSoleOwner(m_matStitched)) {
        m_matStitched.release();
        m_matStitched.create(nHeight, nWidth, CV_8UC3);
        PreferLargePages(m_matStitched.data, nBytes);
    }
    ZeroPicture(m_matStitched.data, nBytes);
    return m_matStitched.data;
}
