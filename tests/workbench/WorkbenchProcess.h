#pragma once

// Runs the built workbench and gives back what a person at the terminal would see. Its files, its log included, go
// below folders of the test.

#include <QMap>
#include <QString>
#include <QStringList>

struct WorkbenchRun {
    int nExitCode = -1; ///< -1: it did not run, crashed or hung
    QString strOutput;
    QString strError;

    /// One line that ends with a full stop, nothing before or behind it.
    bool ErrorIsOneSentence() const;
};

/// @param strHome      stands in for the home folder
/// @param environment  further variables
WorkbenchRun RunWorkbench(const QStringList& listWords, const QString& strHome,
                          const QMap<QString, QString>& environment = {});

/// Full path of the built program.
QString WorkbenchFile();
