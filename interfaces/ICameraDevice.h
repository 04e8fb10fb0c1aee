#pragma once

// The camera service: the object of the module "Camera", loaded at run time, one instance per holder. Sixteen entries
// in a fixed order, of which the destructor is the first; the reserved ones hold their places. Names are
// zero-terminated UTF-8, null means the open camera.

#include <opencv2/core/mat.hpp>

#include <string>
#include <vector>

class ICameraDevice
{
public:
    virtual ~ICameraDevice() = default;

    /// Names of the attached cameras, as "[0] Camera-Left".
    virtual int GetCameraList(std::vector<std::string>& names) = 0;
    /// 0 is success.
    virtual int OpenCamera(const char* name) = 0;
    virtual int CloseCamera(const char* name) = 0;
    virtual bool IsCameraOpen(const char* name) = 0;
    /// One frame, 8-bit grey or BGR; 0 is success. A failing snap leaves `picture` empty.
    virtual int SnapPicture(cv::Mat& picture, const char* name) = 0;
    virtual int Reserved7() = 0;
    virtual int SetIntProperty(const char* key, const int* value) = 0;
    virtual int SetProperty(const char* key, const int* value) = 0;
    virtual int Reserved10() = 0;
    /// -1 is failure.
    virtual int SetExposureMode(const char* key, const int* value) = 0;
    /// -1 is failure.
    virtual int SetExposureValue(const char* key, const int* value) = 0;
    virtual std::string GetCameraName() = 0;
    virtual bool IsCameraAlive() = 0;
    virtual bool ApplyCameraParameters(const char* name, int value) = 0;
    virtual int Reserved16() = 0;
};
