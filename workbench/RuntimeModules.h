#pragma once

// The modules that the plug-in loads by their bare names while it runs: "Camera", "ErrCodeMgr" and "DriverRD.dll". A
// user's own library of such a name, first on the loader's path, is taken; where the bare name finds nothing, our own
// copy is loaded by its full path, and the plug-in's bare name then meets it by its SONAME. Make one before the first
// instance of the plug-in; what was loaded stays loaded to the end of the process.

#include "ICameraDevice.h"
#include "SimulatedCameras.h"

#include <QLibrary>
#include <QString>
#include <QStringList>

#include <memory>

namespace Workbench
{

class RuntimeModules
{
public:
    /// @param strFolder  where our own copies lie; empty for the folder beside the application's
    explicit RuntimeModules(const QString& strFolder = {});

    /// Names that neither way found; each was logged.
    QStringList Missing() const { return m_listMissing; }

    struct GiveCameraBack {
        void (*pfnRelease)(void*) = nullptr;
        void operator()(ICameraDevice* pDevice) const
        {
            if (pDevice) {
                pfnRelease(pDevice);
            }
        }
    };
    using CameraPointer = std::unique_ptr<ICameraDevice, GiveCameraBack>;

    /// A holder of cameras of one's own; null where there is no camera module.
    CameraPointer NewCamera();
    /// Null where the camera module knows no simulated cameras.
    SetSimulatedCamerasFunction SimulatedCamerasSetter();

private:
    QLibrary m_camera{QStringLiteral("Camera")};
    QStringList m_listMissing;
};

/// Lends the cameras of a simulated machine to the camera module for as long as it lives.
class LentCameras
{
public:
    /// `cameras` must outlive this object.
    LentCameras(RuntimeModules& modules, ISimulatedCameras& cameras);
    ~LentCameras();
    LentCameras(const LentCameras&) = delete;
    LentCameras& operator=(const LentCameras&) = delete;

    /// False where the camera module is another one that cannot take them.
    bool Taken() const { return m_pfnSet != nullptr; }

private:
    SetSimulatedCamerasFunction m_pfnSet;
};

/// The two cameras as the camera module lists them, "None" for one that is not there.
struct CameraNames {
    QString strLeft = QStringLiteral("None");
    QString strRight = QStringLiteral("None");

    bool AreBothThere() const { return strLeft != "None" && strRight != "None"; }
};

/// A listed name that ends in "Camera-Left" is the left camera; in a list of other names the first is, and the second
/// the right one.
CameraNames FindCameras(ICameraDevice& camera);

} // namespace Workbench
