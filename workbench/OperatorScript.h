#pragma once

// What the operator does in the wizard when no person sits there: which machine is chosen, and where the crosses are
// clicked, in the order of the clicks; in the manual flow also which region is drawn over the two pictures. The file's
// format stands in docs/command-line.md.

#include "Machine.h"

#include <QPointF>
#include <QRectF>
#include <QSize>
#include <QString>

#include <functional>
#include <vector>

namespace Simulator
{
struct ClickOptions;
}

namespace Workbench
{

struct MachineType;

struct OperatorScript {
    QString strFile;     ///< that it was read from; empty for a simulated operator's
    QSize areaMm;        ///< the work area that the chosen machine needs; empty where that is not known
    QString strSubModel; ///< name in the list of machines; empty to take the one that is selected
    /// Automatic flow: pixels of the pictures as the wizard shows them, the left one turned by 180 degrees.
    std::vector<QPointF> left;
    std::vector<QPointF> right;
    /// Manual flow: the rectangle across the seam, in shares of the two pictures side by side, 0 to 1.
    QRectF region;
    /// Manual flow: pixels of the fused picture as the wizard shows it, in the order of the pattern.
    std::vector<QPointF> marks;
    /// In place of `marks`, for who can only tell once the picture is shown; empty where the crosses are not found.
    std::function<std::vector<QPointF>()> findMarks;
};

/// Sizes of the pictures as the wizard shows them; invalid where they are not known before they are taken.
struct ScriptPictures {
    QSize leftPx = {};
    QSize rightPx = {};
    QSize fusedPx = {};
};

/// Reads the script and checks all that can be told before a machine is there.
/// @param types  the machines that the wizard offers
/// Throws `Failure`: of wrong use for a script that no run could follow, naming what is wrong in it.
OperatorScript ReadOperatorScript(const QString& strFile, Simulator::Machine::Kind flow,
                                  const std::vector<MachineType>& types);

/// Throws `Failure` of wrong use where the chosen machine is larger than the work area or a point lies outside of its
/// picture.
void RequireScriptFits(const OperatorScript& script, QSize areaMm, const ScriptPictures& pictures);

/// What the cameras of the simulated machines take.
ScriptPictures SimulatedPictures(Simulator::Machine::Kind flow);

/// The operator of a simulated machine, whose clicks are off. Throws `Failure` when a camera does not see its crosses.
OperatorScript SimulatedOperator(const Simulator::Machine& machine, const Simulator::ClickOptions& options);

/// The same for the manual flow.
/// @param nSeed  of the machine, whose cameras' places the operator knows
/// @param strOutput  folder of the run's working files: the fused picture follows from the homography that the run has
///                   found, and so do the places of the crosses in it
OperatorScript SimulatedManualOperator(std::uint64_t nSeed, const Simulator::ClickOptions& options,
                                       const QString& strOutput);

/// Where a pixel of the left camera's raw picture lies in the turned picture of the wizard, and back.
QPointF TurnedPoint(QPointF point, QSize picture);

} // namespace Workbench
