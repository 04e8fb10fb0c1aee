#pragma once

// Takes one picture with each camera and makes the work area picture of them through the plug-in, as a host does for
// its live view. Owns an instance of the plug-in and two holders of cameras. Made on the GUI thread and then used by
// one thread at a time; a new one after each run of the wizard, since an instance keeps what it has loaded.

#include "PluginHost.h"
#include "RuntimeModules.h"

#include <opencv2/core/mat.hpp>

#include <functional>

namespace Workbench
{

/// What is being done at the moment; the texts are wording keys.
using StageTeller = std::function<void(const char* pStage)>;

class PictureMaker
{
public:
    /// Throws `Failure` when the plug-in cannot be loaded.
    PictureMaker(RuntimeModules& modules, const InstanceSetup& setup, const QString& strPlugin = {});

    /// @return CV_8UC3 BGR, 6 px per mm, the machine's (0, 0) at its pixel (0, 0)
    /// Throws `Failure` where a camera gives no picture, there is no calibration, or the two do not fit together.
    cv::Mat Make(const StageTeller& tell);

private:
    static cv::Mat Snap(ICameraDevice* pCamera, const QString& strName, const char* pNoPicture);

    InstanceSetup m_setup;
    PluginHost m_host;
    RuntimeModules::CameraPointer m_pLeft;
    RuntimeModules::CameraPointer m_pRight;
};

} // namespace Workbench
