#include "SimulatedDevice.h"

#include "HeldChart.h"
#include "Log.h"
#include "MicroLineCopy.h"
#include "PatternFile.h"

#include <QFileInfo>

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
    m_state.nSeed = m_bed.nSeed = nSeed;
    m_bed.kind = kind;
}

SimulatedDevice::~SimulatedDevice() = default;

std::shared_ptr<const Simulator::HeldChart> SimulatedDevice::Chart() const
{
    const std::lock_guard lock(m_stateMutex);
    return m_pChart;
}

std::vector<Simulator::EngravedLine> SimulatedDevice::Pattern() const
{
    const std::lock_guard lock(m_stateMutex);
    return m_bed.pattern;
}

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

void SimulatedDevice::Keep()
{
    const std::lock_guard fileLock(m_fileMutex);
    BedRecord bed;
    {
        const std::lock_guard lock(m_stateMutex);
        bed = m_bed;
    }
    if (!m_strFile.isEmpty()) {
        WriteBedFile(bed, m_strFile);
    }
}

void SimulatedDevice::KeepIn(const QString& strFile, bool bOfAnySeed)
{
    const std::optional<BedRecord> kept = ReadBedFile(strFile);
    if (kept && kept->kind == m_kind && (bOfAnySeed || kept->nSeed == GetState().nSeed)) {
        auto pMachine = std::make_unique<Simulator::Machine>(m_kind, kept->nSeed);
        for (int i = 0; i < kept->nSheets; ++i) {
            pMachine->PlaceMaterial();
        }
        pMachine->EngraveLines(kept->engraved);
        const std::lock_guard lock(m_machineMutex);
        m_pMachine = std::move(pMachine);
        ChangeState([&] {
            m_bed = *kept;
            m_state.nSeed = kept->nSeed;
            m_state.strPattern = kept->strPattern;
            m_state.nLines = kept->pattern.size();
            m_state.bEngraved = kept->nEngravedOfPattern.has_value();
            m_state.nEngraved = kept->nEngravedOfPattern.value_or(0);
        });
        ILog_WriteLogF(1, "Simulated machine: goes on as it was left, seed %llu, %zu lines on the bed",
                       static_cast<unsigned long long>(kept->nSeed), kept->engraved.size());
    }
    m_strFile = strFile;
    Keep();
}

void SimulatedDevice::PlaceMaterial()
{
    {
        const std::lock_guard lock(m_machineMutex);
        m_pMachine->PlaceMaterial();
        ChangeState([this] {
            ++m_bed.nSheets;
            m_bed.engraved.clear();
            m_bed.nEngravedOfPattern.reset();
            m_state.bEngraved = false;
        });
    }
    ILog_WriteLog(1, "Simulated machine: fresh material");
    Keep();
}

void SimulatedDevice::EngraveLines(const std::vector<Simulator::EngravedLine>& lines)
{
    {
        const std::lock_guard lock(m_machineMutex);
        m_pMachine->EngraveLines(lines);
        ChangeState([&] { m_bed.engraved.insert(m_bed.engraved.end(), lines.begin(), lines.end()); });
    }
    Keep();
}

bool SimulatedDevice::StartEngraving()
{
    std::size_t nLines = 0;
    std::size_t nEngraved = 0;
    ChangeState([&] {
        nLines = m_bed.pattern.size();
        m_state.bBusy = nLines > 0;
    });
    if (nLines > 0) {
        const std::lock_guard lock(m_machineMutex);
        // Only now: the machine may have been swapped during the wait for it, and its pattern is gone with it.
        const std::vector<Simulator::EngravedLine> lines = Pattern();
        nLines = lines.size();
        if (nLines > 0) {
            nEngraved = m_pMachine->EngraveLines(lines);
        }
        ChangeState([&] {
            m_state.bBusy = false;
            if (nLines > 0) {
                m_bed.engraved.insert(m_bed.engraved.end(), lines.begin(), lines.end());
                m_bed.nEngravedOfPattern = nEngraved;
                m_state.bEngraved = true;
                m_state.nEngraved = nEngraved;
            }
        });
    }
    if (nLines == 0) {
        LogRefusal("nothing is engraved", "no pattern was sent");
        return false;
    }
    ILog_WriteLogF(1, "Simulated machine: engraved %zu of %zu lines", nEngraved, nLines);
    Keep();
    return true;
}

void SimulatedDevice::SwapMachine(std::uint64_t nSeed)
{
    auto pMachine = std::make_unique<Simulator::Machine>(m_kind, nSeed);
    {
        const std::lock_guard lock(m_machineMutex);
        m_pMachine.swap(pMachine);
        ChangeState([&] {
            m_bed = BedRecord();
            m_bed.kind = m_kind;
            m_bed.nSeed = m_state.nSeed = nSeed;
            m_state.strPattern.clear();
            m_state.nLines = m_state.nEngraved = 0;
            m_state.bEngraved = false;
            m_pStaged.reset();
            // Its cameras are elsewhere.
            m_state.chart.reset();
            m_pChart.reset();
        });
    }
    ILog_WriteLogF(1, "Simulated machine: another machine, seed %llu", static_cast<unsigned long long>(nSeed));
    Keep();
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

void SimulatedDevice::HoldChart(const Simulator::ChartPose& pose)
{
    // A machine of its own to look at, since the one in use may be busy for long; it has no picture until it is asked.
    const Simulator::Machine machine(m_kind, GetState().nSeed);
    auto pChart = std::make_shared<const Simulator::HeldChart>(Simulator::ChartOf(machine, pose));
    ChangeState([&] {
        m_state.chart = pose;
        m_pChart = std::move(pChart);
    });
}

void SimulatedDevice::TakeChartAway()
{
    ChangeState([this] {
        m_state.chart.reset();
        m_pChart.reset();
    });
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
        return ImportDocument(argument.toString());
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
    std::vector<Simulator::EngravedLine> lines;
    Simulator::ReadMicroLine(pStaged->Document(), lines);
    TakePattern(strName, std::move(lines));
    return DeviceSuccess;
}

int SimulatedDevice::ImportDocument(const QString& strFile)
{
    PatternFile pattern;
    const std::string strProblem = ReadPatternFile(strFile.toLocal8Bit().toStdString(), pattern);
    if (!strProblem.empty()) {
        LogRefusal(qPrintable(strFile), strProblem);
        return DeviceRefused;
    }
    // One that is cut off would be fused on all the same.
    if (pattern.bedMm.width > m_areaMm.width || pattern.bedMm.height > m_areaMm.height) {
        LogRefusal(qPrintable(strFile), "the pattern is for a larger bed");
        return DeviceRefused;
    }
    TakePattern(QFileInfo(strFile).fileName(), std::move(pattern.lines));
    return DeviceSuccess;
}

void SimulatedDevice::TakePattern(const QString& strName, std::vector<Simulator::EngravedLine> lines)
{
    ILog_WriteLogF(1, "Simulated machine: %s was sent, %zu lines", qPrintable(strName), lines.size());
    ChangeState([&] {
        m_state.strPattern = m_bed.strPattern = strName;
        m_state.nLines = lines.size();
        m_state.nEngraved = 0;
        m_state.bEngraved = false;
        m_bed.pattern = std::move(lines);
        m_bed.nEngravedOfPattern.reset();
    });
    Keep();
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
    // As it is held now, not as it was before the wait for the machine.
    if (const auto pChart = Chart()) {
        m_pMachine->HoldChart(*pChart);
    } else {
        m_pMachine->TakeChartAway();
    }
    picture = m_pMachine->Snap(bLeft ? Simulator::Side::Left : Simulator::Side::Right);
    return 0;
}

} // namespace Workbench
