#pragma once

// The plug-in as a host sees it: a shared library with two exports, and the one object that they hand out. A host makes
// one of these for each run of the wizard and another one for its pictures and points, since an instance keeps what it
// has loaded once.

#include "ICalibrate.h"
#include "RuntimeModules.h"

#include <QLibrary>
#include <QSize>

class IDeviceHost;

namespace Workbench
{

/// What an instance is told before anything else.
struct InstanceSetup {
    QSize areaMm{1300, 900};
    CameraNames cameras;
    IDeviceHost* pDevice = nullptr; ///< must outlive the instance and its windows
    QString strResources;           ///< base folder of the step pictures
};

class PluginHost
{
public:
    /// Loads the plug-in that lies beside the application, or `strFile`; throws `Failure` with the reason.
    explicit PluginHost(const QString& strFile = {});
    /// The same, and tells the object what `setup` says.
    explicit PluginHost(const InstanceSetup& setup, const QString& strFile = {});
    ~PluginHost();
    PluginHost(const PluginHost&) = delete;
    PluginHost& operator=(const PluginHost&) = delete;

    Vision::ICalibrate& Calibrate() { return *m_pCalibrate; }

private:
    using ReleaseFunction = void (*)(Vision::ICalibrate*);

    QLibrary m_library;
    Vision::ICalibrate* m_pCalibrate = nullptr;
    ReleaseFunction m_pfnRelease = nullptr;
};

} // namespace Workbench
