#pragma once

// The command `workbench calibrate` in a folder of a test: run to its end, or killed without warning as soon as it says
// a certain thing, as a power cut would.

#include "WorkbenchProcess.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

class QProcess;

class CalibrateProcess : public testing::Test
{
protected:
    /// @param strFlow  "automatic" or "manual"
    explicit CalibrateProcess(const QString& strFlow) : m_strFlow(strFlow) {}

    QString Path(const QString& strName) const { return m_folder.filePath(strName); }
    /// Data in "data" and results in "out" below the folder of the test.
    QStringList Words(const QStringList& more = {}) const;
    WorkbenchRun Run(const QStringList& more = {}) const { return RunWorkbench(Words(more), m_folder.path()); }
    /// Starts the command and kills it at this word. False, and a failure of the test, when it ended before.
    bool KillAt(const QString& strWord, const QStringList& more = {}) const;
    /// Goes on, but as soon as it says this no file of it may grow.
    WorkbenchRun RunWithoutRoomFrom(const QString& strWord, const QStringList& more = {}) const;

    /// Empty while there is none.
    QJsonObject Report() const;
    QString WriteScript(const QJsonObject& script) const;

    const QString m_strFlow;
    QTemporaryDir m_folder;

private:
    void Start(QProcess& process, const QStringList& more) const;
    /// What was said until then. A failure of the test when it ended without.
    static QByteArray ReadUntil(QProcess& process, const QString& strWord);
};
