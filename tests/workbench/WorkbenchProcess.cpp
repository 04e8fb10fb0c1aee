#include "WorkbenchProcess.h"

#include <QProcess>
#include <QProcessEnvironment>

bool WorkbenchRun::ErrorIsOneSentence() const
{
    return strError.endsWith(".\n") && strError.count('\n') == 1 && strError.size() > 10;
}

WorkbenchRun RunWorkbench(const QStringList& listWords, const QString& strHome,
                          const QMap<QString, QString>& environment)
{
    constexpr int nMostMs = 280'000;
    QProcessEnvironment all = QProcessEnvironment::systemEnvironment();
    all.insert("HOME", strHome);
    all.remove("XDG_CONFIG_HOME");
    all.remove("XDG_STATE_HOME");
    for (auto it = environment.begin(); it != environment.end(); ++it) {
        all.insert(it.key(), it.value());
    }
    QProcess process;
    process.setProcessEnvironment(all);
    process.start(WorkbenchFile(), listWords);
    WorkbenchRun run;
    if (!process.waitForFinished(nMostMs)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.nExitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.strOutput = QString::fromUtf8(process.readAllStandardOutput());
    run.strError = QString::fromUtf8(process.readAllStandardError());
    return run;
}

QString WorkbenchFile()
{
    return QString::fromUtf8(CTC_WORKBENCH);
}
