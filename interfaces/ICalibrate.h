#pragma once

// The one object through which a host reaches the plug-in. The host is compiled separately and calls through the
// virtual table: no operation may be moved, dropped, merged or inserted here.

#include <opencv2/core/mat.hpp>

#include <cstdint>

class IDeviceHost;
class QWidget;

namespace Vision
{

/// Opens the calibration wizard and answers the run-time picture calls. One instance is not for two threads at once.
/// Results of type int are 0 for success and -1 for failure unless said otherwise.
class ICalibrate
{
public:
    virtual ~ICalibrate() = default;

    /// Work area in millimetres, for the whole process.
    virtual void SetWorkAreaSize(int nWidth, int nHeight) = 0;
    /// Camera names as zero-terminated UTF-8, for the whole process. Always 0.
    virtual int SetCameraNames(const char* pLeftName, const char* pRightName) = 0;
    /// Holds its place in the table. Always -1.
    virtual int ReservedOperation3(std::intptr_t nReserved) = 0;
    /// Two numbers that are kept and never read. Always 0.
    virtual int SetReservedSize(int nFirst, int nSecond) = 0;
    /// Work area picture pixel to machine millimetre. `pX` and `pY` must be valid. Always 0, also where the pair's
    /// record of the automatic flow cannot be read, which gives (0, 0).
    virtual int PixelToWorld(double dX, double dY, double* pX, double* pY, bool bReserved) = 0;
    /// Machine millimetre to work area picture pixel; the rest as for `PixelToWorld`.
    virtual int WorldToPixel(double dX, double dY, double* pX, double* pY, bool bReserved) = 0;
    /// Rectifies one picture of each camera (manual flow), or keeps both for `FusionImage` and leaves the outputs
    /// untouched (automatic flow).
    /// @param left, right  as the cameras deliver them: 8 bits a channel; grey, BGR or BGRA, both the same
    /// @param bUseOutput  manual flow: the files of a run of the wizard that goes on, not those of the last one
    virtual int CalibImage(const cv::Mat& left, const cv::Mat& right, cv::Mat& leftOut, cv::Mat& rightOut,
                           bool bUseOutput) = 0;
    /// Holds its place in the table. Always -1.
    virtual int ReservedOperation8(std::intptr_t nFirst, std::intptr_t nSecond, bool bReserved) = 0;
    /// Opens the wizard where the last run stopped. `pParent` has the slot `CloseWizardSlot()`. Always 0.
    virtual int ShowCalibrationWizard(QWidget* pParent) = 0;
    /// Opens the wizard at the coordinate part only. Always 0.
    virtual int ShowCoordinateWizard(QWidget* pParent) = 0;
    /// Opens the wizard at the fusion page only. Always 0.
    virtual int ShowFusionWizard(QWidget* pParent) = 0;
    /// The host's device service, not owned, may be null. Call before the first wizard opening. Always 0.
    virtual int SetDeviceHost(IDeviceHost* pHost) = 0;
    /// Fused picture to work area picture of `nWidth` x `nHeight` millimetres at 6 px per mm, pixel (0, 0) at the
    /// machine's (0, 0). In the automatic flow it is smaller where `src` does not show all of it, and the call waits
    /// for 0.3 s: not for the GUI thread.
    virtual int WarpImage(const cv::Mat& src, const int& nWidth, const int& nHeight, cv::Mat& dst) = 0;
    /// `CalibImage`, then `FusionImage`. On failure `dst` is untouched.
    virtual int CalibAndFusionImage(const cv::Mat& left, const cv::Mat& right, cv::Mat& dst, bool bUseOutput) = 0;
    /// Two rectified pictures (manual flow) or the pictures kept by `CalibImage` (automatic flow) to one picture: BGR
    /// in the automatic flow, of the type of `left` in the manual one. It may be empty although the answer is 0: where
    /// the manual flow's blending failed, or the automatic flow's picture file could not be written.
    virtual int FusionImage(const cv::Mat& left, const cv::Mat& right, cv::Mat& dst, bool bUseOutput) = 0;
    /// Folder of the step pictures as zero-terminated UTF-8, for the whole process. Always 0.
    virtual int SetCalibrationResourcePath(const char* pPath) = 0;
};

} // namespace Vision
