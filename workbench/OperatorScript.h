#pragma once

// What the operator does in the wizard when no person sits there: which machine is chosen, and where each camera's
// crosses are clicked, in the order of the clicks. docs/command-line.md has the file's format.

#include <QPointF>
#include <QSizeF>
#include <QString>

#include <vector>

namespace Simulator
{
class Machine;
struct ClickOptions;
} // namespace Simulator

namespace Workbench
{

struct OperatorScript {
    QString strSubModel; ///< name in the list of machines; empty to take the one that is selected
    /// Pixels of the pictures as the wizard shows them: the left one turned by 180 degrees.
    std::vector<QPointF> left;
    std::vector<QPointF> right;
};

/// Throws `Failure` for a file that cannot be read, is no JSON or names no points for a camera.
OperatorScript ReadOperatorScript(const QString& strFile);

/// The operator of a simulated machine, whose clicks are off. Throws `Failure` when a camera does not see its crosses.
OperatorScript SimulatedOperator(const Simulator::Machine& machine, const Simulator::ClickOptions& options);

/// Where a pixel of the left camera's raw picture lies in the turned picture of the wizard, and back.
QPointF TurnedPoint(QPointF point, QSize picture);

} // namespace Workbench
