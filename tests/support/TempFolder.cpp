#include "TempFolder.h"

#include <QFile>

std::string TempFolder::Path(const std::string& strName) const
{
    return m_folder.path().toStdString() + (strName.empty() ? "" : "/" + strName);
}

std::string TempFolder::Write(const std::string& strName, const QByteArray& bytes) const
{
    QFile file(QString::fromStdString(Path(strName)));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        qFatal("The test cannot write %s", strName.c_str());
    }
    return Path(strName);
}

QByteArray TempFolder::ReadAll(const std::string& strName) const
{
    QFile file(QString::fromStdString(Path(strName)));
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("The test cannot read %s", strName.c_str());
    }
    return file.readAll();
}
