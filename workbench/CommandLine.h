#pragma once

// The words of the command line, checked. Nothing is done here.

#include <QSize>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

namespace Workbench
{

struct CommandLine {
    QString strCommand;            ///< "demo", "calibrate", "picture", "to-world", "to-pixel", "lens", "gui", "help" or
                                   ///< "version"
    QString strDataFolder;         ///< empty for the user's configuration folder
    QString strOut = "out";        ///< folder of a calibration, or file of a picture or a lens
    QString strLeft;               ///< picture file
    QString strRight;              ///< picture file
    double dX = 0.0;               ///< pixel or millimetre
    double dY = 0.0;               ///< pixel or millimetre
    QString strImages;             ///< folder of a lens's photographs
    QString strCoverage;           ///< picture file; empty for one beside the lens
    QSize chartDiscs{7, 9};        ///< discs in a row, rows
    double dSpacingMm = 0.0;       ///< from disc to disc; 0 where it is not known
    QSize sizeMm;                  ///< work area; not valid where the machine's own is meant
    QString strFlow = "automatic"; ///< or "manual": which machine
    QString strOpening = "whole";  ///< of the wizard; or "fusion" or "coordinates"
    QString strScript;             ///< file of what the operator does; empty for the simulated operator
    std::uint64_t nSeed = 1;       ///< of the simulated machine
    bool bSeedGiven = false;       ///< else any machine that was left is meant, where one was
    std::optional<double> clickErrorPx; ///< sigma of the simulated operator's clicks

    bool IsManual() const { return strFlow == "manual"; }
    /// The automatic flow brings a click onto its cross; in the manual flow it stays where it is, and a person who
    /// knows that takes more care.
    double ClickErrorPx() const { return clickErrorPx.value_or(IsManual() ? 1.0 : 3.0); }
};

/// Throws `Failure` with the code `WrongUse` for words that mean nothing.
CommandLine ParseCommandLine(const QStringList& listWords);

QString HelpText();

} // namespace Workbench
