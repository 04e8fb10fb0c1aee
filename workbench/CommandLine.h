#pragma once

// The words of the command line, checked. Nothing is done here.

#include <QSize>
#include <QString>
#include <QStringList>

#include <cstdint>

namespace Workbench
{

struct CommandLine {
    QString strCommand;     ///< "demo", "calibrate", "picture", "to-world", "to-pixel", "gui", "help" or "version"
    QString strDataFolder;  ///< empty for the user's configuration folder
    QString strOut = "out"; ///< folder of a calibration, or file of a picture
    QString strLeft;        ///< picture file
    QString strRight;       ///< picture file
    double dX = 0.0;        ///< pixel or millimetre
    double dY = 0.0;        ///< pixel or millimetre
    QSize sizeMm;           ///< work area; not valid where the machine's own is meant
    QString strFlow = "automatic"; ///< or "manual": which machine
    QString strScript;             ///< file of what the operator does; empty for the simulated operator
    std::uint64_t nSeed = 1;       ///< of the simulated machine
    bool bSeedGiven = false;       ///< else any machine that was left is meant, where one was
    double dClickErrorPx = 3.0;    ///< sigma of the simulated operator's clicks
};

/// Throws `Failure` with the code `WrongUse` for words that mean nothing.
CommandLine ParseCommandLine(const QStringList& listWords);

QString HelpText();

} // namespace Workbench
