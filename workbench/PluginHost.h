#pragma once

// The plug-in as a host sees it: a shared library with two exports, and the one object that they hand out.

#include "ICalibrate.h"

#include <QLibrary>

namespace Workbench
{

class PluginHost
{
public:
    /// Loads the plug-in that lies beside the application; throws `Failure` with the reason.
    PluginHost();
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
