#pragma once

// The simulated machine as a host has it: the device service that the plug-in sends patterns to, the cameras that the
// module "Camera" lends from, and the few things that a person does at a machine. No widget. Make one, hand it to the
// plug-in by `SetDeviceHost` and to the camera module by `LentCameras`, and keep it until both have let go.
//
// Every operation may be called from any thread. Those that work on the machine itself (placing material, engraving,
// swapping it, taking a picture) wait for one another, up to a second; a window calls them on a thread of its own.
// `GetState`, the light, the plugs and the chart never wait for the machine.

#include "BedFile.h"
#include "ChartPose.h"
#include "IDeviceHost.h"
#include "Machine.h"
#include "SimulatedCameras.h"

#include <QObject>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

namespace Simulator
{
class MicroLineCopy;
}

namespace Workbench
{

/// The answers of `RunCommand`.
enum DeviceStatus { DeviceBusy = 1001, DeviceSuccess = 1011, DeviceRefused = 1016 };

class SimulatedDevice final : public QObject, public IDeviceHost, public IDeviceChannel, public ISimulatedCameras
{
    Q_OBJECT

public:
    /// What the machine's own display would show.
    struct State {
        std::uint64_t nSeed = 0;
        QString strPattern;        ///< name of the pattern that was sent; empty while there is none
        std::size_t nLines = 0;    ///< of that pattern
        std::size_t nEngraved = 0; ///< of these, how many the last engraving burnt; the others lie off the bed
        bool bEngraved = false;    ///< that pattern, into the material that lies there now
        bool bBusy = false;        ///< engraving
        double dLight = 1.0;       ///< 1 as built, 0 dark
        bool bLeftPlugged = true;
        bool bRightPlugged = true;
        std::optional<Simulator::ChartPose> chart; ///< that somebody holds under a camera
    };

    SimulatedDevice(Simulator::Machine::Kind kind, std::uint64_t nSeed);
    ~SimulatedDevice() override;

    Simulator::Machine::Kind Kind() const { return m_kind; }
    cv::Size2d WorkAreaMm() const { return m_areaMm; }
    State GetState() const;
    /// Goes on where the machine in this file stopped, and writes it there after each change from now on. Before
    /// anything else.
    /// @param bOfAnySeed  else the file's machine is only taken where it is the same one
    void KeepIn(const QString& strFile, bool bOfAnySeed);
    /// For who measures against the truth: `use` has the machine to itself meanwhile. What it engraves is not kept in a
    /// file.
    template <typename Use> void WithMachine(Use use)
    {
        const std::lock_guard lock(m_machineMutex);
        use(*m_pMachine);
    }

    void PlaceMaterial();
    /// Engraves the pattern that was sent; false where none was, or another machine came in between.
    bool StartEngraving();
    /// Lines of the operator's own, beside any pattern.
    void EngraveLines(const std::vector<Simulator::EngravedLine>& lines);
    /// Another machine of the same kind in its place, with fresh material; a pattern that was sent is gone with the old
    /// one. Light and plugs stay.
    void SwapMachine(std::uint64_t nSeed);
    void SetLight(double dShare);
    /// A camera that is not plugged in gives no pictures.
    void SetPlugged(Simulator::Side side, bool bPlugged);
    /// Somebody holds the chart of discs like this until it is taken away or held otherwise; the next picture shows it.
    /// No file keeps it: a hand is not part of the bed.
    void HoldChart(const Simulator::ChartPose& pose);
    void TakeChartAway();

    // IDeviceHost and IDeviceChannel
    /// 2: the plug-in holds the material's size against the work area.
    int GetDeviceKind() override { return 2; }
    IDeviceChannel* GetChannel() override { return this; }
    int GetBusy() override;
    /// "SendCalibrateFile" sends what was staged last: 1011, or 1016 where nothing was or no line of it can be read.
    /// "DeviceDocumentImport" takes the pattern file that the argument names: 1011, or 1016 for one that cannot be read
    /// or is for a larger bed. 1001 while the machine engraves.
    int RunCommand(const char* pCommand, QVariant argument) override;
    /// Stages a copy. The layer and all below it become this side's and are freed: the sender has made them by `new`,
    /// one by one, and keeps the document itself.
    void PutMicroLine(int nZero, MicroLineDocument* pDocument, QString strName) override;

    // ISimulatedCameras
    int Snap(const char* szSide, cv::Mat& picture) override;

signals:
    /// From any thread, while the machine is held: connect it queued.
    void StateChangedSignal();

private:
    int SendStaged();
    int ImportDocument(const QString& strFile);
    /// The pattern that the machine engraves next.
    void TakePattern(const QString& strName, std::vector<Simulator::EngravedLine> lines);
    std::vector<Simulator::EngravedLine> Pattern() const;
    std::shared_ptr<const Simulator::HeldChart> Chart() const;
    /// Changes the state under its lock, then tells.
    template <typename Change> void ChangeState(Change change);
    void Keep();

    const Simulator::Machine::Kind m_kind;
    cv::Size2d m_areaMm;
    std::mutex m_machineMutex; ///< taken before `m_stateMutex` where both are
    std::unique_ptr<Simulator::Machine> m_pMachine;
    mutable std::mutex m_stateMutex;
    State m_state;
    std::shared_ptr<const Simulator::HeldChart> m_pChart; ///< of `State::chart`
    QString m_strStaged;
    std::shared_ptr<const Simulator::MicroLineCopy> m_pStaged;
    BedRecord m_bed; ///< under the lock of the state too
    QString m_strFile;
    std::mutex m_fileMutex; ///< taken before the lock of the state
};

} // namespace Workbench
