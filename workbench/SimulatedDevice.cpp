#include "SimulatedDevice.h"

#include "Log.h"
#include "MicroLineCopy.h"

#include <cmath>
#include <cstring>

namespace Workbench
{

namespace
{

/// One that names what cannot be done, with the bytes of a foreign caller kept short.
void LogRefusal(const char* pWhat, const std::string& strWhy)
{
    ILog_WriteLogF(2, "Simulated machine: %s: %.200s", pWhat, strWhy.c_str());
}

} // namespace

SimulatedDevice::SimulatedDevice(Simulator::Machine::Kind kind, std::uint64_t nSeed)
    : m_kind(kind), m_pMachine(std::make_unique<Simulator::Machine>(kind, nSeed))
{
    m_areaMm = m_pMachine->WorkAreaMm();
    m_state.nSeed = nSeed;
}

SimulatedDevice::~SimulatedDevice() = default;

SimulatedDevice::State SimulatedDevice::GetState() const
{
    const std::lock_guard lock(m_stateMutex);
    return m_state;
}

template <typename Change> void SimulatedDevice::ChangeState(Change change)
{
    {
        const std::lock_guard lock(m_stateMutex);
        change();
    }
    emit StateChangedSignal();
}

void SimulatedDevice::PlaceMaterial()
{
    {
        const std::lock_guard lock(m_machineMutex);
        m_pMachine->PlaceMaterial();
    }
    ILog_WriteLog(1, "Simulated machine: fresh material");
    ChangeState([this] { m_state.bEngraved = false; });
}

bool SimulatedDevice::StartEngraving()
{
    std::shared_ptr<const Simulator::MicroLineCopy> pPattern;
    ChangeState([&] {
        pPattern = m_pSent;
        m_state.bBusy = pPattern != nullptr;
    });
    if (!pPattern) {
        LogRefusal("nothing is engraved", "no pattern was sent");
        return false;
    }
    Simulator::MicroLineReading reading;
    {
        const std::lock_guard lock(m_machineMutex);
        reading = m_pMachine->EngraveMicroLine(pPattern->Document());
    }
    ILog_WriteLogF(1, "Simulated machine: engraved %zu of %zu lines", reading.nEngraved, reading.nSegments);
    ChangeState([&] {
        m_state.bBusy = false;
        // The machine may have been swapped meanwhile.
        m_state.bEngraved = pPattern == m_pSent;
        m_state.nEngraved = reading.nEngraved;
    });
    return true;
}

void SimulatedDevice::SwapMachine(std::uint64_t nSeed)
{
    auto pMachine = std::make_unique<Simulator::Machine>(m_kind, nSeed);
    {
        const std::lock_guard lock(m_machineMutex);
        m_pMachine.swap(pMachine);
    }
    ILog_WriteLogF(1, "Simulated machine: another machine, seed %llu", static_cast<unsigned long long>(nSeed));
    ChangeState([&] {
        m_state.nSeed = nSeed;
        m_state.strPattern.clear();
        m_state.nLines = m_state.nEngraved = 0;
        m_state.bEngraved = false;
        m_pSent.reset();
        m_pStaged.reset();
    });
}

void SimulatedDevice::SetLight(double dShare)
{
    ChangeState([&] { m_state.dLight = std::isfinite(dShare) ? dShare : 1.0; });
}

void SimulatedDevice::SetPlugged(Simulator::Side side, bool bPlugged)
{
    ILog_WriteLogF(1, "Simulated machine: the %s camera is %s", side == Simulator::Side::Left ? "left" : "right",
                   bPlugged ? "plugged in" : "unplugged");
    ChangeState([&] { (side == Simulator::Side::Left ? m_state.bLeftPlugged : m_state.bRightPlugged) = bPlugged; });
}

int SimulatedDevice::GetBusy()
{
    return GetState().bBusy ? 1 : 0;
}

int SimulatedDevice::RunCommand(const char* pCommand, QVariant argument)
{
    const std::string strCommand = pCommand ? pCommand : "";
    if (GetBusy() != 0) {
        LogRefusal("a command came while it engraves", strCommand);
        return DeviceBusy;
    }
    if (strCommand == "SendCalibrateFile") {
        return SendStaged();
    }
    if (strCommand == "DeviceDocumentImport") {
        LogRefusal("documents cannot be imported yet", argument.toString().toStdString());
        return DeviceRefused;
    }
    LogRefusal("there is no such command", strCommand);
    return DeviceRefused;
}

int SimulatedDevice::SendStaged()
{
    QString strName;
    std::shared_ptr<const Simulator::MicroLineCopy> pStaged;
    {
        const std::lock_guard lock(m_stateMutex);
        strName = m_strStaged;
        pStaged.swap(m_pStaged);
    }
    if (!pStaged) {
        LogRefusal("nothing can be sent", "no pattern was staged");
        return DeviceRefused;
    }
    const Simulator::MicroLineReading& reading = pStaged->Reading();
    if (!reading.bComplete) {
        LogRefusal(qPrintable(strName), reading.strProblem);
    }
    // Half a pattern would be engraved and then calibrated on.
    if (!reading.bComplete || reading.nSegments == 0) {
        return DeviceRefused;
    }
    ILog_WriteLogF(1, "Simulated machine: %s was sent, %zu lines", qPrintable(strName), reading.nSegments);
    ChangeState([&] {
        m_state.strPattern = strName;
        m_state.nLines = reading.nSegments;
        m_state.nEngraved = 0;
        m_state.bEngraved = false;
        m_pSent = pStaged;
    });
    return DeviceSuccess;
}

void SimulatedDevice::PutMicroLine(int /*nZero*/, MicroLineDocument* pDocument, QString strName)
{
    if (!pDocument) {
        LogRefusal("no document was staged", "the pointer is null");
        return;
    }
    auto pCopy = std::make_shared<const Simulator::MicroLineCopy>(*pDocument);
    Simulator::FreeMicroLine(*pDocument);
    const std::lock_guard lock(m_stateMutex);
    m_strStaged = strName;
    m_pStaged = std::move(pCopy);
}

int SimulatedDevice::Snap(const char* szSide, cv::Mat& picture)
{
    const bool bLeft = szSide && std::strcmp(szSide, "left") == 0;
    if (!bLeft && !(szSide && std::strcmp(szSide, "right") == 0)) {
        return -1;
    }
    const State state = GetState();
    if (!(bLeft ? state.bLeftPlugged : state.bRightPlugged)) {
        return -1;
    }
    const std::lock_guard lock(m_machineMutex);
    m_pMachine->SetLight(state.dLight);
    picture = m_pMachine->Snap(bLeft ? Simulator::Side::Left : Simulator::Side::Right);
    return 0;
}

} // namespace Workbench
