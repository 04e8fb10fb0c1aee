// The operator script as a file. All that can be told from it, from the list of machines and from the sizes of the
// pictures is checked here, since a run finds the rest only when it comes to it.

#include "Failure.h"
#include "MachineTypes.h"
#include "OperatorScript.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineF>

#include <algorithm>
#include <cmath>

namespace Workbench
{

namespace
{

constexpr qint64 g_nLargestScript = 1 << 20;
/// No picture file is larger along a side.
constexpr double g_dLargestPx = 65535.0;
/// Two clicks nearer than this are on one cross.
constexpr double g_dSameCrossPx = 5.0;
/// Of the manual flow, whatever the machine.
constexpr int g_nMarks = 18;

Failure Wrong(const QString& strFile, const QString& strWhat)
{
    return Failure(QString("The operator script %1 %2").arg(strFile, strWhat), WrongUse);
}

QString PlaceOf(const QPointF& point)
{
    return QString("[%1, %2]").arg(point.x()).arg(point.y());
}

QByteArray ContentOf(const QString& strFile)
{
    // Before it is opened: a pipe would be waited for.
    const QFileInfo info(strFile);
    if (info.exists() && (!info.isFile() || info.size() > g_nLargestScript)) {
        throw Wrong(strFile, "is no file of at most a megabyte.");
    }
    QFile file(strFile);
    if (!file.open(QIODevice::ReadOnly)) {
        throw Failure(QString("The operator script %1 cannot be read: %2.").arg(strFile, file.errorString()));
    }
    return file.readAll();
}

QJsonObject ObjectOf(const QString& strFile)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(ContentOf(strFile), &error);
    if (error.error != QJsonParseError::NoError) {
        throw Wrong(strFile, QString("is not a JSON object: %1.").arg(error.errorString()));
    }
    if (!document.isObject()) {
        throw Wrong(strFile, "is no JSON object.");
    }
    return document.object();
}

void RequireKeys(const QJsonObject& script, bool bManual, const QString& strFile)
{
    const QStringList manual{"region", "marks"};
    const QStringList automatic{"left", "right"};
    for (const QString& strKey : script.keys()) {
        if (strKey == "subModel" || (bManual ? manual : automatic).contains(strKey)) {
            continue;
        }
        if ((bManual ? automatic : manual).contains(strKey)) {
            throw Wrong(strFile, QString("has \"%1\", which is for the %2 flow, and this is the %3 one.")
                                     .arg(strKey, bManual ? "automatic" : "manual", bManual ? "manual" : "automatic"));
        }
        throw Wrong(strFile, QString("has \"%1\", which means nothing.").arg(strKey));
    }
}

std::vector<QPointF> PointsOf(const QJsonObject& script, const QString& strKey, const QString& strFile)
{
    std::vector<QPointF> points;
    for (const QJsonValueConstRef value : script.value(strKey).toArray()) {
        const QJsonArray pair = value.toArray();
        if (pair.size() != 2 || !pair[0].isDouble() || !pair[1].isDouble()) {
            throw Wrong(strFile, QString("has something else than [x, y] among the points of \"%1\".").arg(strKey));
        }
        const QPointF point(pair[0].toDouble(), pair[1].toDouble());
        // Asked so that what is no number fails too.
        if (!(point.x() >= 0.0 && point.y() >= 0.0 && point.x() <= g_dLargestPx && point.y() <= g_dLargestPx)) {
            throw Wrong(strFile, QString("has %1 among the points of \"%2\", which is outside of every picture.")
                                     .arg(PlaceOf(point), strKey));
        }
        points.push_back(point);
    }
    if (points.empty()) {
        throw Wrong(strFile, QString("has no points under \"%1\".").arg(strKey));
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
        throw Wrong(strFile, "has no [x, y, width, height], each from 0 to 1, under \"region\".");
    }
    const QRectF region(vecShares[0], vecShares[1], vecShares[2], vecShares[3]);
    // Shares that add up to 1 need not do so to the last bit.
    constexpr double dWhole = 1.0 + 1e-9;
    if (region.isEmpty() || region.right() > dWhole || region.bottom() > dWhole) {
        throw Wrong(strFile, "has a \"region\" that is empty or reaches beyond the two pictures.");
    }
    if (!(region.left() < 0.5 && region.right() > 0.5)) {
        throw Wrong(strFile, "has a \"region\" that does not cross the seam, which is at 0.5.");
    }
    return region;
}

/// The machine that the wizard will choose.
MachineType TypeOf(const OperatorScript& script, const std::vector<MachineType>& types, const QString& strFile)
{
    if (script.strSubModel.isEmpty() && !types.empty()) {
        return types.front();
    }
    const auto found = std::find_if(types.begin(), types.end(),
                                    [&](const MachineType& type) { return type.strName == script.strSubModel; });
    if (found == types.end()) {
        QStringList listNames;
        for (const MachineType& type : types) {
            listNames.append("\"" + type.strName + "\"");
        }
        throw Wrong(strFile, QString("names \"%1\" as \"subModel\"; the machines are %2.")
                                 .arg(script.strSubModel, listNames.join(", ")));
    }
    return *found;
}

void RequireClicks(const std::vector<QPointF>& points, const QString& strKey, const MachineType& type,
                   const QString& strFile)
{
    const std::size_t nCrosses = static_cast<std::size_t>(type.gridForSingle.width()) * type.gridForSingle.height();
    if (points.size() != nCrosses) {
        throw Wrong(strFile, QString("has %1 points under \"%2\"; each camera of %3 sees %4 crosses.")
                                 .arg(points.size())
                                 .arg(strKey, type.strName)
                                 .arg(nCrosses));
    }
    for (std::size_t i = 0; i < points.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (QLineF(points[i], points[j]).length() < g_dSameCrossPx) {
                throw Wrong(strFile, QString("clicks one cross twice: points %1 and %2 of \"%3\" are both at %4.")
                                         .arg(j + 1)
                                         .arg(i + 1)
                                         .arg(strKey, PlaceOf(points[i])));
            }
        }
    }
}

/// The wizard pairs the marks with the crosses by their order alone, so a wrong one would pass for right.
void RequireMarks(const std::vector<QPointF>& marks, const MachineType& type, const QString& strFile)
{
    if (type.grid.width() * type.grid.height() != g_nMarks) {
        throw Wrong(strFile, QString("takes \"%1\" as \"subModel\", which has %2 crosses; the manual flow has %3.")
                                 .arg(type.strName)
                                 .arg(type.grid.width() * type.grid.height())
                                 .arg(g_nMarks));
    }
    if (marks.size() != g_nMarks) {
        throw Wrong(strFile, QString("has %1 marks; there are %2 crosses.").arg(marks.size()).arg(g_nMarks));
    }
    const auto refuse = [&](int nMark, int nBefore, const char* pWhere) {
        throw Wrong(strFile, QString("has marks that are not row after row from the upper left: mark %1 at %2 does not "
                                     "lie %3 mark %4 at %5.")
                                 .arg(nMark + 1)
                                 .arg(PlaceOf(marks[nMark]), pWhere)
                                 .arg(nBefore + 1)
                                 .arg(PlaceOf(marks[nBefore])));
    };
    const int nCols = type.grid.width();
    for (int i = 0; i < g_nMarks; ++i) {
        if (i % nCols != 0 && marks[i].x() < marks[i - 1].x() + g_dSameCrossPx) {
            refuse(i, i - 1, "to the right of");
        }
        if (i >= nCols && marks[i].y() < marks[i - nCols].y() + g_dSameCrossPx) {
            refuse(i, i - nCols, "below");
        }
    }
}

void RequireInside(const std::vector<QPointF>& points, const QString& strKey, QSize picturePx, const QString& strFile)
{
    for (const QPointF& point : points) {
        if (picturePx.isValid() && (point.x() > picturePx.width() || point.y() > picturePx.height())) {
            throw Wrong(strFile, QString("has %1 among the points of \"%2\", which is outside of a picture of %3 x %4.")
                                     .arg(PlaceOf(point), strKey)
                                     .arg(picturePx.width())
                                     .arg(picturePx.height()));
        }
    }
}

} // namespace

OperatorScript ReadOperatorScript(const QString& strFile, Simulator::Machine::Kind flow,
                                  const std::vector<MachineType>& types)
{
    const bool bManual = flow == Simulator::Machine::Kind::Manual;
    const QJsonObject object = ObjectOf(strFile);
    RequireKeys(object, bManual, strFile);
    OperatorScript script;
    script.strFile = strFile;
    if (object.contains("subModel") && !object.value("subModel").isString()) {
        throw Wrong(strFile, "has a \"subModel\" that is no text.");
    }
    script.strSubModel = object.value("subModel").toString();
    if (bManual) {
        script.region = RegionOf(object, strFile);
        script.marks = PointsOf(object, "marks", strFile);
    } else {
        script.left = PointsOf(object, "left", strFile);
        script.right = PointsOf(object, "right", strFile);
    }
    const MachineType type = TypeOf(script, types, strFile);
    script.areaMm = type.areaMm;
    if (bManual) {
        RequireMarks(script.marks, type, strFile);
    } else {
        RequireClicks(script.left, "left", type, strFile);
        RequireClicks(script.right, "right", type, strFile);
    }
    return script;
}

void RequireScriptFits(const OperatorScript& script, QSize areaMm, const ScriptPictures& pictures)
{
    if (script.areaMm.width() > areaMm.width() || script.areaMm.height() > areaMm.height()) {
        throw Wrong(script.strFile, QString("chooses a machine of %1 x %2 mm; the work area is %3 x %4 mm.")
                                        .arg(script.areaMm.width())
                                        .arg(script.areaMm.height())
                                        .arg(areaMm.width())
                                        .arg(areaMm.height()));
    }
    RequireInside(script.left, "left", pictures.leftPx, script.strFile);
    RequireInside(script.right, "right", pictures.rightPx, script.strFile);
    RequireInside(script.marks, "marks", pictures.fusedPx, script.strFile);
}

} // namespace Workbench
