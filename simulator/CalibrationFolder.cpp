#include "CalibrationFolder.h"

#include "CalibrationPointText.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTextStream>

namespace Simulator
{

CalibrationFolder::CalibrationFolder(const QString& strRoot) : m_strRoot(strRoot)
{
}

bool CalibrationFolder::Create() const
{
    return QDir().mkpath(Result("")) && QDir().mkpath(Picture("")) && QDir().mkpath(m_strRoot + "/Data");
}

void CalibrationFolder::RemoveResults() const
{
    QDir(Result("")).removeRecursively();
}

QString CalibrationFolder::Result(const QString& strName) const
{
    return m_strRoot + "/Vision/calib/Camera_Two/Result/" + strName;
}

QString CalibrationFolder::Picture(const QString& strName) const
{
    return m_strRoot + "/Vision/calib/Camera_Two/Temp/" + strName;
}

bool CalibrationFolder::WriteMachineSettings(const cv::Size2d& bedMm) const
{
    QSettings settings(m_strRoot + "/Data/CameraSetting.ini", QSettings::IniFormat);
    settings.setValue("CANVAS_SIZE/WIDTH", bedMm.width);
    settings.setValue("CANVAS_SIZE/HEIGHT", bedMm.height);
    settings.sync();
    return settings.status() == QSettings::NoError;
}

bool CalibrationFolder::WriteCameraNames() const
{
    QSettings settings(m_strRoot + "/Vision/calib/cameraDevices.ini", QSettings::IniFormat);
    settings.setValue("VISION/CAMERA_NUMBER", 2);
    settings.setValue("VISION/CAMERA_LEFT_NAME", "Camera-Left");
    settings.setValue("VISION/CAMERA_RIGHT_NAME", "Camera-Right");
    settings.sync();
    return settings.status() == QSettings::NoError;
}

bool WriteCameraParam(const QString& strFile, const QString& strKey, int nValue)
{
    QSettings settings(strFile, QSettings::IniFormat);
    settings.beginGroup("CAMERA_PARAM");
    settings.setValue(strKey, nValue);
    settings.endGroup();
    settings.sync();
    return settings.status() == QSettings::NoError;
}

bool WritePoints(const QString& strFile, const std::vector<CalibrationPoint>& points)
{
    QFile file(strFile);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        return false;
    }
    QTextStream stream(&file);
    for (const CalibrationPoint& point : points) {
        PutCalibrationPoint(stream, point);
        stream << '\n';
    }
    stream.flush();
    return stream.status() == QTextStream::Ok && file.error() == QFile::NoError;
}

bool ReadPoints(const QString& strFile, std::vector<CalibrationPoint>& points)
{
    QFile file(strFile);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return false;
    }
    points.clear();
    QTextStream stream(&file);
    while (!stream.atEnd()) {
        QString strLine = stream.readLine(4096);
        QTextStream line(&strLine, QIODevice::ReadOnly);
        CalibrationPoint point;
        GetCalibrationPoint(line, point);
        if (line.status() != QTextStream::Ok) {
            return false;
        }
        points.push_back(point);
    }
    return true;
}

} // namespace Simulator
