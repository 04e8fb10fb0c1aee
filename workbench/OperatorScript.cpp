#include "OperatorScript.h"

#include "Clicks.h"
#include "Failure.h"
#include "FusedFrame.h"
#include "Truth.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace Workbench
{

namespace
{

constexpr qint64 g_nLargestScript = 1 << 20;
/// The cameras of the simulated automatic machine.
constexpr QSize g_simulatedPicture(2592, 1944);

/// Of that machine in the list of machines.
constexpr const char* g_pSimulatedManualMachine = "M1 - 900 x 600 mm";

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

QRectF RegionOf(const QJsonObject& script, const QString& strFile)
{
    const QJsonArray four = script.value("region").toArray();
    std::vector<double> vecShares;
    for (const QJsonValueConstRef value : four) {
        if (value.isDouble() && value.toDouble() >= 0.0 && value.toDouble() <= 1.0) {
            vecShares.push_back(value.toDouble());
        }
    }
    if (four.size() != 4 || vecShares.size() != 4) {
        throw Failure(
            QString("The operator script %1 has no [x, y, width, height], each from 0 to 1, under \"region\".")
                .arg(strFile));
    }
    return {vecShares[0], vecShares[1], vecShares[2], vecShares[3]};
}

/// What both cameras see of the bed, as a rectangle across the seam of their upright pictures side by side.
QRectF OverlapRegion(const Simulator::Machine& machine)
{
    using Simulator::Side;
    const Simulator::Truth truth(machine);
    const cv::Size raw = truth.PictureSize(Side::Left);
    const cv::Size upright(raw.height, raw.width);
    double dLeft = upright.width;
    double dRight = 0.0;
    double dTop = upright.height;
    double dBottom = 0.0;
    for (double y = 10.0; y < machine.WorkAreaMm().height; y += 10.0) {
        for (double x = 10.0; x < machine.WorkAreaMm().width; x += 10.0) {
            if (truth.Sees(Side::Left, {x, y}) && truth.Sees(Side::Right, {x, y})) {
                const cv::Point2d left = Simulator::UprightPoint(*truth.PixelFromMachine(Side::Left, {x, y}), raw);
                const cv::Point2d right = Simulator::UprightPoint(*truth.PixelFromMachine(Side::Right, {x, y}), raw);
                dLeft = std::min(dLeft, left.x);
                dRight = std::max(dRight, right.x);
                dTop = std::min({dTop, left.y, right.y});
                dBottom = std::max({dBottom, left.y, right.y});
            }
        }
    }
    const double dWidth = 2.0 * upright.width;
    return {QPointF(dLeft / dWidth, dTop / upright.height),
            QPointF((upright.width + dRight) / dWidth, dBottom / upright.height)};
}

} // namespace

OperatorScript ReadOperatorScript(const QString& strFile, Simulator::Machine::Kind flow)
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
    if (flow == Simulator::Machine::Kind::Manual) {
        script.region = RegionOf(object, strFile);
        script.marks = PointsOf(object, "marks", strFile);
    } else {
        script.left = PointsOf(object, "left", strFile);
        script.right = PointsOf(object, "right", strFile);
    }
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

OperatorScript SimulatedManualOperator(std::uint64_t nSeed, const Simulator::ClickOptions& options,
                                       const QString& strOutput)
{
    OperatorScript script;
    script.strSubModel = g_pSimulatedManualMachine;
    script.region = OverlapRegion(Simulator::Machine(Simulator::Machine::Kind::Manual, nSeed));
    script.findMarks = [nSeed, options, strOutput] {
        const Simulator::Machine machine(Simulator::Machine::Kind::Manual, nSeed);
        std::vector<QPointF> marks;
        const std::string strHomography = (strOutput + "/mapImgR2L.xml").toLocal8Bit().toStdString();
        for (const cv::Point2d& mark : Simulator::MarkCrosses(machine, strHomography, options)) {
            marks.emplace_back(mark.x, mark.y);
        }
        return marks;
    };
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
