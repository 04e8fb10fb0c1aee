#pragma once

// The files around one run of the wizard, which are the host's duty: what must lie there before an opening, and what
// becomes of the calibration that was there when the run is cancelled. `Prepare` before the opening, `Conclude` when
// the wizard has closed; where the process dies between the two, the next `Prepare` finds the backup and keeps it, so
// that half a run is never taken for the calibration of before. No widget.

#include "Failure.h"
#include "Machine.h"

#include <QString>

#include <functional>
#include <optional>

namespace Workbench
{

/// The three openings of the wizard.
enum class Opening { Calibration, Coordinate, Fusion };

class RunFiles
{
public:
    explicit RunFiles(Simulator::Machine::Kind flow);

    /// Why this opening makes no sense now, an English wording key; empty where it does. Reads files only.
    QString ReasonAgainst(Opening opening) const;

    /// Call when the host starts: where a run died with its process and cannot be resumed, the calibration of before it
    /// comes back.
    void Recover();
    /// @param writeLensFiles  manual flow: writes the machine's lens files into the folder that it is given, for those
    ///                        that are missing
    /// An unfinished run of the other flow is put aside, with the calibration of before it in its place.
    /// Throws `Failure` when a file cannot be copied or written; the calibration is then untouched, or `Conclude`
    /// brings it back.
    void Prepare(Opening opening, const std::function<bool(const QString& strFolder)>& writeLensFiles = {});
    /// After a run that was cancelled the calibration of before is there again, and so is an unfinished run of the
    /// other flow that was put aside for it.
    /// @param bFinished  the operator has gone to the end; a run that left no whole calibration counts as cancelled all
    ///                   the same
    /// @return whether the run's results are kept
    bool Conclude(bool bFinished);
    /// What a run that was finished left undone, in English; empty where its results are kept.
    QString Problem() const { return m_problem ? QString::fromUtf8(m_problem->what()) : QString(); }
    /// The same, to be worded.
    const std::optional<Failure>& Why() const { return m_problem; }

private:
    void BackUp();
    void PutOtherFlowAside();
    void PutRunAside();
    void BringRunBack();
    void RemoveFlagsOfOtherFlow();
    void PrepareManual(Opening opening, const std::function<bool(const QString&)>& writeLensFiles);
    bool IsWhole();

    const bool m_bManual;
    const QString m_strFolder; ///< Camera_Two
    const QString m_strResult;
    const QString m_strBackup;
    const QString m_strAside; ///< an unfinished run of the other flow, with all that its resuming needs
    std::optional<Failure> m_problem;
};

} // namespace Workbench
