#pragma once

// All that a host has around the plug-in while it runs, apart from windows: the modules that are loaded by name, the
// simulated machine with its cameras lent to the camera module, and the camera settings. Make one before the first
// instance of the plug-in and keep it until the last one is given back. GUI thread, or the only thread.

#include "CameraSetup.h"
#include "PluginHost.h"
#include "RunFiles.h"
#include "RuntimeModules.h"
#include "SimulatedDevice.h"

namespace Workbench
{

class HostSession
{
public:
    /// Writes CameraSetting.ini where it names no cameras, and keeps the simulated machine in
    /// Data/SimulatedMachine.json. The data folder is the one of `UseDataFolder`.
    /// @param seed  of the machine; without one it is the machine that was kept, or that of seed 1
    /// @param strModules  folder of our own modules; empty for the one beside the application
    /// Throws `Failure`.
    HostSession(Simulator::Machine::Kind flow, std::optional<std::uint64_t> seed, const QString& strModules = {});

    SimulatedDevice& Device() { return m_device; }
    RuntimeModules& Modules() { return m_modules; }
    RunFiles& Files() { return m_files; }
    /// The cameras that are used; those of a person need no simulated light or plugs.
    CameraOwner Cameras() const { return m_owner; }

    /// Asks the camera module for its list anew. Throws `Failure` for a work area that no machine has.
    InstanceSetup Setup();
    /// `RunFiles::Prepare` with this machine's lens files.
    void PrepareRun(Opening opening);

private:
    SimulatedDevice m_device;
    RuntimeModules m_modules;
    LentCameras m_lent;
    CameraOwner m_owner;
    RunFiles m_files;
};

} // namespace Workbench
