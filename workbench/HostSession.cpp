#include "HostSession.h"

#include "CalibratedMachine.h"
#include "DataFolder.h"
#include "InstallResources.h"

namespace Workbench
{

HostSession::HostSession(Simulator::Machine::Kind flow, std::optional<std::uint64_t> seed, const QString& strModules)
    : m_device(flow, seed.value_or(1)), m_modules(strModules), m_lent(m_modules, m_device),
      m_owner(PrepareCameraSetup(m_device.WorkAreaMm())), m_files(flow)
{
    m_device.KeepIn(DataRoot() + "/Data/SimulatedMachine.json", !seed.has_value());
    m_files.Recover();
}

InstanceSetup HostSession::Setup()
{
    InstanceSetup setup;
    setup.areaMm = StoredWorkAreaMm();
    if (const RuntimeModules::CameraPointer pCamera = m_modules.NewCamera()) {
        setup.cameras = FindCameras(*pCamera);
    }
    setup.pDevice = &m_device;
    setup.strResources = CalibrationResourceFolder(m_device.Kind() == Simulator::Machine::Kind::Manual);
    return setup;
}

void HostSession::PrepareRun(Opening opening)
{
    m_files.Prepare(opening, [this](const QString& strFolder) {
        bool bWritten = false;
        m_device.WithMachine([&](Simulator::Machine& machine) {
            bWritten = Simulator::WriteLensFiles(machine, strFolder.toLocal8Bit().toStdString());
        });
        return bWritten;
    });
}

} // namespace Workbench
