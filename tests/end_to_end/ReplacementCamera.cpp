#include "ICameraDevice.h"
#include "ModuleExport.h"

namespace
{

/// A user's own module, to which nothing is attached.
class NoCameras final : public ICameraDevice
{
public:
    int GetCameraList(std::vector<std::string>& names) override
    {
        names.clear();
        return 0;
    }
    int OpenCamera(const char*) override { return -1; }
    int CloseCamera(const char*) override { return 0; }
    bool IsCameraOpen(const char*) override { return false; }
    int SnapPicture(cv::Mat& picture, const char*) override
    {
        picture.release();
        return -1;
    }
    int Reserved7() override { return -1; }
    int SetIntProperty(const char*, const int*) override { return -1; }
    int SetProperty(const char*, const int*) override { return -1; }
    int Reserved10() override { return -1; }
    int SetExposureMode(const char*, const int*) override { return -1; }
    int SetExposureValue(const char*, const int*) override { return -1; }
    std::string GetCameraName() override { return {}; }
    bool IsCameraAlive() override { return false; }
    bool ApplyCameraParameters(const char*, int) override { return false; }
    int Reserved16() override { return -1; }
};

} // namespace

extern "C" MODULE_EXPORT void* NewInterface()
{
    return static_cast<ICameraDevice*>(new NoCameras);
}

extern "C" MODULE_EXPORT void ReleaseInterface(void* pInstance)
{
    delete static_cast<ICameraDevice*>(pInstance);
}
