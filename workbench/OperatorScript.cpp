#include "OperatorScript.h"

#include "Clicks.h"
#include "Failure.h"
#include "Machine.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

namespace Workbench
{

namespace
{

constexpr qint64 g_nLargestScript = 1 << 20;
/// The cameras of the simulated automatic machine.
constexpr QSize g_simulatedPicture(2592, 1944);

std::vector<QPointF> PointsOf(const QJsonObject& script, const QString& strKey, const QString& strFile)
{
    std::vector<QPointF> points;
    for (const QJsonValueConstRef value : script.value(strKey).toArray()) {
        const QJsonArray pair = value.toArray();
        if (pair.size() != 2 || !pair[0].isDouble() || !pair[1].isDouble()) {
            throw Failure(QString("The operator script %1 has something else than [x, y] among the points of \"%2\".")
                              .arg(strFile, strKey));
        }
        points.emplace_back(pair[0].toDouble(), pair[1].toDouble());
    }
    if (points.empty()) {
        throw Failure(QString("The operator script %1 has no points under \"%2\".").arg(strFile, strKey));
    }
    return points;
}

} // namespace

OperatorScript ReadOperatorScript(const QString& strFile)
{
    // Before it is opened: a pipe would be waited for.
    const QFileInfo info(strFile);
    if (info.exists() && (!info.isFile() || info.size() > g_nLargestScript)) {
        throw Failure(QString("The operator script %1 is no file of at most a megabyte.").arg(strFile));
    }
    QFile file(strFile);
    if (!file.open(QIODevice::ReadOnly)) {
        throw Failure(QString("The operator script %1 cannot be read: %2.").arg(strFile, file.errorString()));
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError) {
        throw Failure(QString("The operator script %1 is not a JSON object: %2.").arg(strFile, error.errorString()));
    }
    if (!document.isObject()) {
        throw Failure(QString("The operator script %1 is no JSON object.").arg(strFile));
    }
    const QJsonObject object = document.object();
    OperatorScript script;
    script.strSubModel = object.value("subModel").toString();
    script.left = PointsOf(object, "left", strFile);
    script.right = PointsOf(object, "right", strFile);
    return script;
}

OperatorScript SimulatedOperator(const Simulator::Machine& machine, const Simulator::ClickOptions& options)
{
    OperatorScript script;
    for (const cv::Point2d& pixel : Simulator::ClickCrosses(machine, Simulator::Side::Left, options)) {
        script.left.push_back(TurnedPoint({pixel.x, pixel.y}, g_simulatedPicture));
    }
    for (const cv::Point2d& pixel : Simulator::ClickCrosses(machine, Simulator::Side::Right, options)) {
        script.right.emplace_back(pixel.x, pixel.y);
    }
    if (script.left.empty() || script.right.empty()) {
        throw Failure("A camera of the simulated machine does not see all of its crosses.");
    }
    return script;
}

QPointF TurnedPoint(QPointF point, QSize picture)
{
    // Whole halves, as the wizard takes them, so that a point goes there and back exactly on odd sizes too.
    const int nHalfWidth = picture.width() / 2;
    const int nHalfHeight = picture.height() / 2;
    return {2.0 * nHalfWidth - point.x(), 2.0 * nHalfHeight - point.y()};
}

} // namespace Workbench
