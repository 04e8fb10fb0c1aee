#pragma once

// The camera service that a page or a capture loop loads. An instance holds at most one camera; opening another one
// gives the first back, also when the opening fails, so that a snap never delivers the wrong camera's picture. Several
// instances may hold one camera: they share it, each frame goes to one of them. All operations may be called from any
// thread.

#include "CameraSource.h"
#include "ICameraDevice.h"

#include <memory>
#include <mutex>

namespace Camera
{

class CameraDevice : public ICameraDevice
{
public:
    ~CameraDevice() override;

    /// The cameras of the settings that are attached. The index is the place among all that are named, so that it does
    /// not move when a cable does. One log line for each that is not attached. Always 0.
    int GetCameraList(std::vector<std::string>& names) override;
    /// By its name with or without any index. -1 with a log line when it is not named or its source is not there.
    int OpenCamera(const char* name) override;
    /// 0 when that camera is closed afterwards, -1 for a name that no camera has been opened by while another is open.
    int CloseCamera(const char* name) override;
    bool IsCameraOpen(const char* name) override;
    /// -1 is failure.
    int SnapPicture(cv::Mat& picture, const char* name) override;
    int Reserved7() override { return 0; }
    /// The four setters take the same keys: "autoExposure" (0 off, else on; also called "exposureMode"), "exposure"
    /// (the device's unit, mostly 0.1 ms), "gain", "brightness". -1 without an open camera, for an unknown key and when
    /// the device refuses. What a device took belongs to the camera: it is set again whenever the device is opened.
    int SetIntProperty(const char* key, const int* value) override;
    int SetProperty(const char* key, const int* value) override;
    int Reserved10() override { return 0; }
    int SetExposureMode(const char* key, const int* value) override;
    int SetExposureValue(const char* key, const int* value) override;
    /// As it was opened by, with or without index; empty when none is open.
    std::string GetCameraName() override;
    /// True while a camera is open and its source is there and, unless it changed since, delivered last time.
    bool IsCameraAlive() override;
    /// Lets a live camera run for so many milliseconds (0 to 10000) and drops the frames, so that its automatic
    /// exposure has settled when the next picture is taken; others are ready at once. False when that camera is not
    /// open or does not deliver.
    bool ApplyCameraParameters(const char* name, int value) override;
    int Reserved16() override { return 0; }

private:
    /// Null when none is open.
    std::shared_ptr<CameraSource> Source();
    /// The open camera's source if `name` means it; null if not, with a log line unless it is the last one once more.
    std::shared_ptr<CameraSource> Held(const char* pName, const char* pOperation);
    void Hold(std::shared_ptr<CameraSource> pSource, const char* pName);
    void GiveBack();
    int Set(const char* pKey, const int* pValue);

    std::mutex m_openMutex; ///< one opening or closing at a time
    std::mutex m_mutex;     ///< guards what follows; never held while a source works
    std::shared_ptr<CameraSource> m_pSource;
    std::string m_strOpenedAs;
    std::string m_strPureName;
    std::string m_strComplaint; ///< who snaps in a loop without a camera shall not fill the log
};

} // namespace Camera
