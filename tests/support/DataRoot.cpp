#include "DataRoot.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace
{

void EnsureApplication()
{
    static int argc = 1;
    static char szName[] = "test";
    static char* argv[] = {szName, nullptr};
    if (!QCoreApplication::instance()) {
        static QCoreApplication application(argc, argv);
    }
    QCoreApplication::setApplicationName("CalibrateTwoCameraTest");
}

} // namespace

DataRoot::DataRoot()
    : m_strBefore(qgetenv("XDG_CONFIG_HOME")), m_bHadBefore(qEnvironmentVariableIsSet("XDG_CONFIG_HOME"))
{
    EnsureApplication();
    qputenv("XDG_CONFIG_HOME", m_folder.path().toLocal8Bit());
}

DataRoot::~DataRoot()
{
    if (m_bHadBefore) {
        qputenv("XDG_CONFIG_HOME", m_strBefore);
    } else {
        qunsetenv("XDG_CONFIG_HOME");
    }
}

QString DataRoot::CameraTwo(const QString& strFile) const
{
    const QString strPath = Root() + "/Vision/calib/Camera_Two/" + strFile;
    QDir().mkpath(QFileInfo(strPath).path());
    return strPath;
}

void DataRoot::WriteFile(const QString& strFile, const QByteArray& content) const
{
    QDir().mkpath(QFileInfo(strFile).path());
    QFile file(strFile);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("The test cannot write %s", qPrintable(strFile));
    }
}
