#include "DeviceTypes.h"

#include "Log.h"
#include "PageParts.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>

namespace
{

constexpr qint64 MAX_BYTES = 16LL * 1024 * 1024;

constexpr std::array<const char*, DEVICE_NUMBERS> KEYS = {"X",
                                                          "Y",
                                                          "Row",
                                                          "Col",
                                                          "StartPointX",
                                                          "StartPointY",
                                                          "LineSpacing",
                                                          "ColumnSpacing",
                                                          "RowForSingleCamera",
                                                          "ColForSingleCamera"};

void LogNotOpened(const QString& strWhy)
{
    ILog_WriteLogF(0, "Failed to open the json file:%s", strWhy.toUtf8().constData());
}

bool ReadAll(const QString& strFile, QByteArray& content)
{
    const QFileInfo info(strFile);
    // A pipe would hold the wizard for good.
    if (info.exists() && !info.isFile()) {
        LogNotOpened(strFile + " is no plain file");
        return false;
    }
    QFile file(strFile);
    // For writing as well, so that a write-protected file is not read and a missing one is made; this is meant.
    if (!file.open(QIODevice::ReadWrite | QIODevice::Text)) {
        LogNotOpened(file.errorString());
        return false;
    }
    if (file.size() > MAX_BYTES) {
        LogNotOpened(strFile + " is too large");
        return false;
    }
    content = file.readAll();
    return true;
}

QStringList NumbersOf(const QJsonObject& subModel)
{
    QStringList numbers;
    for (const char* pKey : KEYS) {
        numbers << QString::number(subModel.value(QLatin1String(pKey)).toDouble(), 'f', 2);
    }
    return numbers;
}

} // namespace

bool ReadDeviceTypes(const QString& strFile, QMap<QString, QStringList>& mapSubModel,
                     QMap<QString, QStringList>& mapModel)
{
    QByteArray content;
    if (!ReadAll(strFile, content)) {
        return false;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(content, &error);
    if (document.isNull() || error.error != QJsonParseError::NoError) {
        ILog_WriteLogF(0, "Failed to read DeviceType.json:%s", error.errorString().toUtf8().constData());
        return false;
    }
    const QJsonObject models = document.object();
    for (auto model = models.begin(); model != models.end(); ++model) {
        const QJsonObject subModels = model.value().toObject();
        for (auto subModel = subModels.begin(); subModel != subModels.end(); ++subModel) {
            mapSubModel.insert(subModel.key(), NumbersOf(subModel.value().toObject()));
        }
        mapModel.insert(model.key(), subModels.keys());
    }
    return true;
}

int DeviceNumber(const QStringList& subModel, DeviceTypeNumber number)
{
    return WholePart(subModel.value(number).toDouble());
}
