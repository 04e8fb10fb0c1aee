#pragma once

// The machines that the wizard offers, as the installed "DeviceType.json" lists them: for who has to know before the
// wizard is opened whether a machine is among them and how many crosses it has. The wizard reads the file by itself.

#include <QSize>
#include <QString>

#include <vector>

namespace Workbench
{

struct MachineType {
    QString strName;     ///< of the sub-model
    QSize areaMm;        ///< the work area that its pattern needs
    QSize grid;          ///< crosses in a row x rows
    QSize gridForSingle; ///< of these, what each camera sees in the automatic flow
};

/// In the order in which the wizard lists them: models by name, the sub-models of each by name.
/// @param strFile  empty for the installed one
/// Throws `Failure` where the file cannot be read or names no machine.
std::vector<MachineType> ReadMachineTypes(const QString& strFile = {});

} // namespace Workbench
