#include "CalibrateProcess.h"

#include "FullDisk.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QProcessEnvironment>

#include <csignal>

namespace
{

constexpr int g_nMostMs = 280'000;

} // namespace

QStringList CalibrateProcess::Words(const QStringList& more) const
{
    return QStringList{"calibrate", "--flow", m_strFlow, "--data", Path("data"), "--out", Path("out")} + more;
}

void CalibrateProcess::Start(QProcess& process, const QStringList& more) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", m_folder.path());
    process.setProcessEnvironment(environment);
    process.setChildProcessModifier([] { std::signal(SIGXFSZ, SIG_IGN); });
    process.start(WorkbenchFile(), Words(more));
}

QByteArray CalibrateProcess::ReadUntil(QProcess& process, const QString& strWord)
{
    QElapsedTimer clock;
    clock.start();
    QByteArray output;
    while (!output.contains(strWord.toUtf8()) && clock.elapsed() < g_nMostMs &&
           process.state() != QProcess::NotRunning) {
        process.waitForReadyRead(100);
        output += process.readAllStandardOutput();
    }
    EXPECT_TRUE(output.contains(strWord.toUtf8())) << strWord.toStdString() << " was not said: " << output.toStdString()
                                                   << process.readAllStandardError().toStdString();
    return output;
}

bool CalibrateProcess::KillAt(const QString& strWord, const QStringList& more) const
{
    QProcess process;
    Start(process, more);
    const bool bSaid = ReadUntil(process, strWord).contains(strWord.toUtf8());
    process.kill();
    process.waitForFinished();
    return bSaid;
}

WorkbenchRun CalibrateProcess::RunWithoutRoomFrom(const QString& strWord, const QStringList& more) const
{
    QProcess process;
    Start(process, more);
    WorkbenchRun run;
    run.strOutput = QString::fromUtf8(ReadUntil(process, strWord));
    EXPECT_TRUE(FillDiskOf(static_cast<pid_t>(process.processId())));
    if (process.waitForFinished(g_nMostMs) && process.exitStatus() == QProcess::NormalExit) {
        run.nExitCode = process.exitCode();
    }
    process.kill();
    process.waitForFinished();
    run.strOutput += QString::fromUtf8(process.readAllStandardOutput());
    run.strError = QString::fromUtf8(process.readAllStandardError());
    return run;
}

QJsonObject CalibrateProcess::Report() const
{
    QFile file(Path("out/report.json"));
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
}

QString CalibrateProcess::WriteScript(const QJsonObject& script) const
{
    QFile file(Path("operator.json"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QJsonDocument(script).toJson());
    return file.fileName();
}
