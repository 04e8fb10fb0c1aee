#include "PointFiles.h"

#include "CalibrationPointText.h"
#include "FileStore.h"
#include "Log.h"

#include <QFile>
#include <QFileInfo>
#include <QTextStream>

namespace
{

// Bounds for damaged files: a real list holds some dozens of short lines.
constexpr qint64 g_nMaxFileBytes = 16L * 1024 * 1024;
constexpr qint64 g_nMaxLineLength = 4096;

bool ParseLine(QString strLine, CalibrationPoint& point)
{
    QTextStream line(&strLine, QIODevice::ReadOnly);
    GetCalibrationPoint(line, point);
    return line.status() == QTextStream::Ok;
}

bool ReadOne(const QString& strFile, std::vector<CalibrationPoint>& points, const char* pCaller, const char* pSide)
{
    QFile file(strFile);
    // A pipe that somebody left under the name would hold the reader for good, so only plain files are opened.
    if (!QFileInfo(strFile).isFile() || !file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        ILog_WriteLogF(3, "%s: Failed to open the %s file!", pCaller, pSide);
        return false;
    }
    points.clear();
    if (file.size() > g_nMaxFileBytes) {
        ILog_WriteLogF(3, "%s: The %s file has %lld bytes, which no list of marks has", pCaller, pSide,
                       static_cast<long long>(file.size()));
        return false;
    }
    QTextStream stream(&file);
    while (!stream.atEnd()) {
        const QString strLine = stream.readLine(g_nMaxLineLength);
        CalibrationPoint point;
        if (!ParseLine(strLine, point)) {
            ILog_WriteLogF(3, "%s: Error parsing line in %s file: %s", pCaller, pSide,
                           QStringToUtf8(strLine).constData());
            return false;
        }
        points.push_back(point);
    }
    return true;
}

} // namespace

bool WritePointFile(const QString& strFile, const std::vector<CalibrationPoint>& points, const char* pCaller)
{
    QFile file(strFile);
    const QFileInfo info(strFile);
    // A pipe would hold the writer, too.
    if ((info.exists() && !info.isFile()) || !file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        ILog_WriteLogF(3, "%s:Failed to open the file!", pCaller);
        return false;
    }
    QTextStream stream(&file);
    for (const CalibrationPoint& point : points) {
        PutCalibrationPoint(stream, point);
        stream << '\n';
    }
    return true;
}

bool ReadPointFiles(const QString& strLeftFile, const QString& strRightFile, std::vector<CalibrationPoint>& leftPoints,
                    std::vector<CalibrationPoint>& rightPoints, const char* pCaller)
{
    return ReadOne(strLeftFile, leftPoints, pCaller, "left") && ReadOne(strRightFile, rightPoints, pCaller, "right");
}
