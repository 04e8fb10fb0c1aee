#include "CalibrateProcess.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QProcessEnvironment>

namespace
{

constexpr int g_nMostMs = 280'000;

} // namespace

QStringList CalibrateProcess::Words(const QStringList& more) const
{
    return QStringList{"calibrate", "--flow", m_strFlow, "--data", Path("data"), "--out", Path("out")} + more;
}

bool CalibrateProcess::KillAt(const QString& strWord, const QStringList& more) const
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", m_folder.path());
    process.setProcessEnvironment(environment);
    process.start(WorkbenchFile(), Words(more));
    QElapsedTimer clock;
    clock.start();
    QByteArray output;
    while (!output.contains(strWord.toUtf8()) && clock.elapsed() < g_nMostMs &&
           process.state() != QProcess::NotRunning) {
        process.waitForReadyRead(100);
        output += process.readAllStandardOutput();
    }
    const bool bSaid = output.contains(strWord.toUtf8());
    process.kill();
    process.waitForFinished();
    EXPECT_TRUE(bSaid) << strWord.toStdString() << " was not said: " << output.toStdString()
                       << process.readAllStandardError().toStdString();
    return bSaid;
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
