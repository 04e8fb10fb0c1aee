#include "BedFile.h"

#include "Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <cmath>

namespace Workbench
{

namespace
{

using Lines = std::vector<Simulator::EngravedLine>;

constexpr qint64 g_nMaxBytes = 16LL * 1024 * 1024;
constexpr std::size_t g_nMaxLines = 100'000;
constexpr int g_nMaxSheets = 1'000'000;
constexpr const char* g_pAutomatic = "automatic";
constexpr const char* g_pManual = "manual";

QJsonArray ToJson(const Lines& lines)
{
    QJsonArray array;
    for (const Simulator::EngravedLine& line : lines) {
        array.append(QJsonArray{line.fromMm.x, line.fromMm.y, line.toMm.x, line.toMm.y});
    }
    return array;
}

bool FromJson(const QJsonValue& value, Lines& lines)
{
    const QJsonArray array = value.toArray();
    if (!value.isArray() || array.size() > static_cast<qsizetype>(g_nMaxLines)) {
        return false;
    }
    for (const auto& entry : array) {
        const QJsonArray four = entry.toArray();
        if (four.size() != 4) {
            return false;
        }
        for (const auto& number : four) {
            if (!number.isDouble()) {
                return false;
            }
        }
        lines.push_back({{four[0].toDouble(), four[1].toDouble()}, {four[2].toDouble(), four[3].toDouble()}});
    }
    return true;
}

/// What is wrong with it; empty where nothing is.
QString Parse(const QByteArray& bytes, BedRecord& record)
{
    const QJsonObject object = QJsonDocument::fromJson(bytes).object();
    const QString strFlow = object["flow"].toString();
    if (strFlow != g_pAutomatic && strFlow != g_pManual) {
        return "it names no flow";
    }
    record.kind = strFlow == g_pManual ? Simulator::Machine::Kind::Manual : Simulator::Machine::Kind::Automatic;
    bool bOk = false;
    // As text: a number of JSON has 53 bits.
    record.nSeed = object["seed"].toString().toULongLong(&bOk);
    if (!bOk) {
        return "its seed is no whole number";
    }
    record.nSheets = object["sheets"].toInt(-1);
    if (record.nSheets < 0 || record.nSheets > g_nMaxSheets) {
        return "its number of sheets makes no sense";
    }
    record.strPattern = object["pattern"].toString();
    if (!FromJson(object["engraved"], record.engraved) || !FromJson(object["pattern_lines"], record.pattern)) {
        return "its lines are no lists of four numbers";
    }
    const int nEngraved = object["engraved_of_pattern"].toInt(-1);
    if (nEngraved >= 0) {
        record.nEngravedOfPattern = static_cast<std::size_t>(nEngraved);
    }
    return {};
}

} // namespace

bool WriteBedFile(const BedRecord& record, const QString& strFile)
{
    if (record.engraved.size() > g_nMaxLines || record.pattern.size() > g_nMaxLines) {
        ILog_WriteLogF(1, "Simulated machine: more than %zu lines are not kept in %s", g_nMaxLines,
                       qPrintable(strFile));
        return false;
    }
    const QJsonObject object{
        {"flow", record.kind == Simulator::Machine::Kind::Manual ? g_pManual : g_pAutomatic},
        {"seed", QString::number(record.nSeed)},
        {"sheets", record.nSheets},
        {"engraved", ToJson(record.engraved)},
        {"pattern", record.strPattern},
        {"pattern_lines", ToJson(record.pattern)},
        {"engraved_of_pattern", record.nEngravedOfPattern ? static_cast<int>(*record.nEngravedOfPattern) : -1},
    };
    QDir().mkpath(QFileInfo(strFile).path());
    QSaveFile file(strFile);
    if (file.open(QIODevice::WriteOnly) && file.write(QJsonDocument(object).toJson(QJsonDocument::Compact)) > 0 &&
        file.commit()) {
        return true;
    }
    ILog_WriteLogF(2, "Simulated machine: %s cannot be written: %s", qPrintable(strFile),
                   qPrintable(file.errorString()));
    return false;
}

std::optional<BedRecord> ReadBedFile(const QString& strFile)
{
    const QFileInfo info(strFile);
    if (!info.exists()) {
        return std::nullopt;
    }
    QFile file(strFile);
    // A pipe would hold the reader for good.
    if (!info.isFile() || info.size() > g_nMaxBytes || !file.open(QIODevice::ReadOnly)) {
        ILog_WriteLogF(2, "Simulated machine: %s is no plain file that can be read", qPrintable(strFile));
        return std::nullopt;
    }
    BedRecord record;
    const QString strProblem = Parse(file.readAll(), record);
    if (!strProblem.isEmpty()) {
        ILog_WriteLogF(2, "Simulated machine: %s is not taken: %s", qPrintable(strFile), qPrintable(strProblem));
        return std::nullopt;
    }
    return record;
}

} // namespace Workbench
