#include "BmpFile.h"
#include "CalibrateTwoCameraIns.h"
#include "CrossPtsDetectDllR.h"
#include "FileStore.h"
#include "FisheyeCalibrationDllR.h"
#include "GreyCopy.h"
#include "KorvaneVision.h"
#include "Log.h"
#include "PipelineGuard.h"
#include "ScaleTable.h"

#include <opencv2/imgcodecs.hpp>

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <stdexcept>

namespace
{

constexpr const char* g_pCalibImage = "CalibrateTwoCameraIns::CalibImage";

/// What `cv::imwrite` makes of a picture, at a fraction of its time for the pictures that cameras deliver. Throws, with
/// the file's name, what OpenCV throws.
bool WritePicture(const cv::Mat& picture, const QString& strFile)
{
    const std::string strName = strFile.toStdString();
    try {
        std::string strReason;
        const bool bPlain = picture.type() == CV_8UC3 && !picture.empty() && picture.isContinuous();
        // A pipe that somebody left under the name would hold the writer for good.
        const QFileInfo info(strFile);
        const bool bWritten =
            (!info.exists() || info.isFile()) &&
            (bPlain ? Bitmap::WriteBmp(strName.c_str(), picture.data, picture.cols, picture.rows, 24, strReason)
                    : cv::imwrite(strName, picture));
        if (!bWritten) {
            ILog_WriteLogF(3, "%s: %s cannot be written", g_pCalibImage, QStringToUtf8(strFile).constData());
        }
        return bWritten;
    } catch (const cv::Exception& exception) {
        throw std::runtime_error(strName + " cannot be written: " + exception.what());
    }
}

/// The pictures go through files, because the module that reads them is what fills the raw buffers. The grey copy is
/// made as the calibration makes it and is not kept.
/// @param buffer   what the module handed out last, so that it can use it again
/// @param pPixels  null where this picture did not come back: the fusion must not meet the one before it
void WriteAndReadBack(const cv::Mat& picture, const QString& strFile, PictureBuffer& buffer, unsigned char*& pPixels,
                      long& nWidth, long& nHeight, int& nBits, ScratchBuffer& greyBuffer)
{
    pPixels = nullptr;
    const bool bWritten = WritePicture(picture, strFile);
    const bool bRead = Read_Image(buffer.Pixels(), nWidth, nHeight, nBits, strFile.toLocal8Bit().constData());
    if (!bRead || !bWritten) {
        return;
    }
    pPixels = buffer.Pixels();
    Pipeline::GreyCopy(pPixels, nWidth, nHeight, nBits, greyBuffer);
}

} // namespace

void CalibrateTwoCameraIns::GetCanvasSize(int* pWidth, int* pHeight) const
{
    const QString strFile = QString("%1/Data/CameraSetting.ini").arg(GetCalibrationRootPath());
    // The run-time side falls back to the large machine, the wizard to 900 by 600; this is meant. A number beyond int
    // is held at its limits.
    const auto truncate = [](double dValue) {
        return dValue != dValue ? 0 : static_cast<int>(std::clamp(dValue, -2147483648.0, 2147483647.0));
    };
    *pWidth = truncate(ReadIniDouble("CANVAS_SIZE", "WIDTH", 1300.0, strFile));
    *pHeight = truncate(ReadIniDouble("CANVAS_SIZE", "HEIGHT", 900.0, strFile));
    ILog_WriteLogF(0, "Current WorkAreaWidth %d,%d", *pWidth, *pHeight);
}

int CalibrateTwoCameraIns::CalibImage(const cv::Mat& left, const cv::Mat& right, cv::Mat& leftOut, cv::Mat& rightOut,
                                      bool bUseOutput)
{
    return Pipeline::Guarded(g_pCalibImage, -1, [&] {
        const QString strRoot = GetCalibrationRootPath();
        // Only the left file tells the flow; this is meant.
        const QString strLeftParam = strRoot + Pipeline::strResultFolder + "LeftCameraParam.ini";
        if (ReadIniInt(Pipeline::strCameraParamSection, "AUTO_CALIBRATION", 0, strLeftParam) != 0) {
            return CalibImageAutomatic(left, right, strRoot);
        }
        return CalibImageManual(left, right, leftOut, rightOut,
                                strRoot + (bUseOutput ? Pipeline::strOutputFolder : Pipeline::strResultFolder));
    });
}

// Returns no pictures: what counts is that the instance holds both raw pictures and both records for the fusion. Failed
// reads and loads pass in silence here and surface there; this is meant.
int CalibrateTwoCameraIns::CalibImageAutomatic(const cv::Mat& left, const cv::Mat& right, const QString& strRoot)
{
    const QString strScratch = strRoot + Pipeline::strScratchFolder;
    WriteAndReadBack(left, strScratch + "DualCamBeforeCalibrate_LeftTemp.bmp", m_leftBuffer, m_pLeftPixels,
                     m_nLeftWidth, m_nLeftHeight, m_nLeftBits, m_greyBuffer);
    WriteAndReadBack(right, strScratch + "DualCamBeforeCalibrate_RightTemp.bmp", m_rightBuffer, m_pRightPixels,
                     m_nRightWidth, m_nRightHeight, m_nRightBits, m_greyBuffer);
    if (m_nLeftBits != m_nRightBits) {
        ILog_WriteLogF(1, "%s, The depth of the left and right images is inconsistent. !", g_pCalibImage);
        return -1;
    }

    const QString strResult = strRoot + Pipeline::strResultFolder;
    // A record that cannot be read must not leave the one before it in use.
    m_leftFishEyeParam = {};
    LoadCalibrationParam((strResult + "L_AutoDualCalibrate.xml").toLocal8Bit().constData(), m_leftFishEyeParam);
    // Both cameras are rectified into the doubled size of the left picture; this is meant, as is dropping the result.
    const long nWidth = 2L * left.cols;
    const long nHeight = 2L * left.rows;
    unsigned char* pCorrected = m_correctedBuffer.Reserve(Pipeline::PictureBytes(nWidth, nHeight, m_nLeftBits));
    SingleCamCorrected(m_pLeftPixels, m_nLeftWidth, m_nLeftHeight, m_nLeftBits, m_leftFishEyeParam, pCorrected, nWidth,
                       nHeight, nullptr);
    m_rightFishEyeParam = {};
    LoadCalibrationParam((strResult + "R_AutoDualCalibrate.xml").toLocal8Bit().constData(), m_rightFishEyeParam);
    SingleCamCorrected(m_pRightPixels, m_nRightWidth, m_nRightHeight, m_nRightBits, m_rightFishEyeParam, pCorrected,
                       nWidth, nHeight, nullptr);
    return 0;
}

int CalibrateTwoCameraIns::CalibImageManual(const cv::Mat& left, const cv::Mat& right, cv::Mat& leftOut,
                                            cv::Mat& rightOut, const QString& strFolder)
{
    const QString strLeftMap = strFolder + "cameraL_calibrateMap.xml";
    const QString strRightMap = strFolder + "cameraR_calibrateMap.xml";
    if (!QFile::exists(strLeftMap) || !QFile::exists(strRightMap)) {
        return -1;
    }
    // Loaded once for the life of the instance, from whichever folder the first call used; this is meant.
    const auto load = [](const QString& strFile, cv::Mat& camera, cv::Mat& distortion, bool& bLoaded) {
        double dError = -1.0;
        if (!bLoaded) {
            bLoaded = Korvane::CameraCalibration::LoadCameraParameters(ToLocalBytes(strFile).toStdString(), camera,
                                                                       distortion, dError);
        }
        return bLoaded;
    };
    if (!load(strLeftMap, m_matLeftCamera, m_matLeftDistortion, m_bLeftLoaded) ||
        !load(strRightMap, m_matRightCamera, m_matRightDistortion, m_bRightLoaded)) {
        return -1;
    }

    int nCanvasWidth = -1;
    int nCanvasHeight = -1;
    GetCanvasSize(&nCanvasWidth, &nCanvasHeight);
    const Pipeline::ScaleRow scales = Pipeline::ScalesOfCanvas(nCanvasWidth, nCanvasHeight);
    if (!Korvane::CameraCalibration::UnDistortedImage(left, m_matLeftCamera, m_matLeftDistortion, scales.dRectifyFourth,
                                                      scales.dRectifyFifth, leftOut)) {
        return -1;
    }
    if (!Korvane::CameraCalibration::UnDistortedImage(right, m_matRightCamera, m_matRightDistortion,
                                                      scales.dRectifyFourth, scales.dRectifyFifth, rightOut)) {
        return -1;
    }
    return 0;
}

int CalibrateTwoCameraIns::CalibAndFusionImage(const cv::Mat& left, const cv::Mat& right, cv::Mat& dst, bool bUseOutput)
{
    return Pipeline::Guarded("CalibrateTwoCameraIns::CalibAndFusionImage", -1, [&] {
        // Through the virtual table: a host's own instance may override either.
        Vision::ICalibrate& self = *this;
        cv::Mat leftOut;
        cv::Mat rightOut;
        if (self.CalibImage(left, right, leftOut, rightOut, bUseOutput) != 0) {
            return -1;
        }
        cv::Mat fused;
        if (self.FusionImage(leftOut, rightOut, fused, bUseOutput) != 0) {
            return -1;
        }
        dst = fused;
        return 0;
    });
}
