#pragma once

// The object behind the plug-in's interface. Its run-time operations live in pipeline/, one file each; the wizard
// openings and the setters live beside this header. Load flags belong to one instance: a page that wants fresh files
// makes its own. Not for two threads at once.

#include "CalibrationPoint.h"
#include "FishEyeParams.h"
#include "ICalibrate.h"
#include "PictureBuffer.h"
#include "ScratchBuffer.h"

#include <opencv2/core/mat.hpp>

#include <QPointer>
#include <QString>

#include <vector>

class CalibrateTwoCameraWnd;

class CalibrateTwoCameraIns : public Vision::ICalibrate
{
public:
    CalibrateTwoCameraIns() = default;
    ~CalibrateTwoCameraIns() override = default;
    CalibrateTwoCameraIns(const CalibrateTwoCameraIns&) = delete;
    CalibrateTwoCameraIns& operator=(const CalibrateTwoCameraIns&) = delete;

    void SetWorkAreaSize(int nWidth, int nHeight) override;
    int SetCameraNames(const char* pLeftName, const char* pRightName) override;
    int ReservedOperation3(std::intptr_t nReserved) override;
    int SetReservedSize(int nFirst, int nSecond) override;
    int PixelToWorld(double dX, double dY, double* pX, double* pY, bool bReserved) override;
    int WorldToPixel(double dX, double dY, double* pX, double* pY, bool bReserved) override;
    int CalibImage(const cv::Mat& left, const cv::Mat& right, cv::Mat& leftOut, cv::Mat& rightOut,
                   bool bUseOutput) override;
    int ReservedOperation8(std::intptr_t nFirst, std::intptr_t nSecond, bool bReserved) override;
    int ShowCalibrationWizard(QWidget* pParent) override;
    int ShowCoordinateWizard(QWidget* pParent) override;
    int ShowFusionWizard(QWidget* pParent) override;
    int SetDeviceHost(IDeviceHost* pHost) override;
    int WarpImage(const cv::Mat& src, const int& nWidth, const int& nHeight, cv::Mat& dst) override;
    int CalibAndFusionImage(const cv::Mat& left, const cv::Mat& right, cv::Mat& dst, bool bUseOutput) override;
    int FusionImage(const cv::Mat& left, const cv::Mat& right, cv::Mat& dst, bool bUseOutput) override;
    int SetCalibrationResourcePath(const char* pPath) override;

private:
    /// What the three openings have in common. Always 0.
    int OpenWizard(QWidget* pParent, void (CalibrateTwoCameraWnd::*pModeStep)());
    void GetCanvasSize(int* pWidth, int* pHeight) const;
    bool GetCalPtsSeqFile(const QString& strLeftFile, const QString& strRightFile,
                          std::vector<CalibrationPoint>& leftPoints, std::vector<CalibrationPoint>& rightPoints) const;

    int CalibImageAutomatic(const cv::Mat& left, const cv::Mat& right, const QString& strRoot);
    int CalibImageManual(const cv::Mat& left, const cv::Mat& right, cv::Mat& leftOut, cv::Mat& rightOut,
                         const QString& strFolder);
    int FusionImageAutomatic(cv::Mat& dst, const QString& strRoot);
    int FusionImageManual(const cv::Mat& left, const cv::Mat& right, cv::Mat& dst, const QString& strFolder);
    /// Zeroed memory for a stitched picture; null for none or where there is no memory.
    unsigned char* ReserveStitched(int nWidth, int nHeight, int nBits, std::size_t nBytes);
    int WarpImageAutomatic(const cv::Mat& src, int nWidth, int nHeight, cv::Mat& dst);
    int WarpImageManual(const cv::Mat& src, int nWidth, int nHeight, cv::Mat& dst, const QString& strRoot);
    /// Asks `WorldToPixel` until it answers 0, at most 20 times.
    cv::Point2d AskWorldToPixel(double dWorldX, double dWorldY);

    QPointer<CalibrateTwoCameraWnd> m_pWizard; ///< not owned: its parent may delete it at any time
    cv::Mat m_matLeftCamera;
    cv::Mat m_matLeftDistortion;
    cv::Mat m_matRightCamera;
    cv::Mat m_matRightDistortion;
    cv::Mat m_matFusionHomography;
    cv::Mat m_matReserved;
    cv::Mat m_matPix2MmHomography;
    bool m_bLeftLoaded = false;
    bool m_bRightLoaded = false;
    bool m_bFusionLoaded = false;
    bool m_bPix2MmLoaded = false;
    bool m_bReservedLoaded = false;
    IDeviceHost* m_pDeviceHost = nullptr;
    unsigned char* m_pLeftPixels = nullptr; ///< null where the last picture could not be read
    long m_nLeftWidth = 0;
    long m_nLeftHeight = 0;
    int m_nLeftBits = 0;
    unsigned char* m_pRightPixels = nullptr; ///< null where the last picture could not be read
    long m_nRightWidth = 0;
    long m_nRightHeight = 0;
    int m_nRightBits = 0;
    std::vector<CalibrationPoint> m_vecLeftCalPts;
    std::vector<CalibrationPoint> m_vecRightCalPts;
    FishEyeCalibrationParam m_leftFishEyeParam;
    FishEyeCalibrationParam m_rightFishEyeParam;

    PictureBuffer m_leftBuffer;
    PictureBuffer m_rightBuffer;
    ScratchBuffer m_greyBuffer;
    ScratchBuffer m_correctedBuffer;
    ScratchBuffer m_stitchedBuffer; ///< for what is no colour picture
    cv::Mat m_matStitched;          ///< the last colour picture, which the caller may hold too
};
