#pragma once

// The machines of the installed "DeviceType.json", as a test wants to see them.

#include "ApplicationTest.h"
#include "InstallResources.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <vector>

struct DeviceType {
    QString strModel;
    QString strName;
    QJsonObject numbers;

    int Number(const char* pKey) const { return numbers.value(QLatin1String(pKey)).toInt(); }
    bool IsManual() const { return Number("Row") == 3 && Number("Col") == 6; }
};

/// In the order in which the pattern step lists them: models by name, sub-models by name. Empty where the file is bad.
inline std::vector<DeviceType> InstalledDeviceTypes()
{
    std::vector<DeviceType> types;
    QFile file(Workbench::InstallResourceFolder() + "/Vision/calib/DeviceType.json");
    if (!file.open(QIODevice::ReadOnly)) {
        return types;
    }
    const QJsonObject models = QJsonDocument::fromJson(file.readAll()).object();
    for (auto model = models.begin(); model != models.end(); ++model) {
        const QJsonObject subModels = model.value().toObject();
        for (auto subModel = subModels.begin(); subModel != subModels.end(); ++subModel) {
            types.push_back({model.key(), subModel.key(), subModel.value().toObject()});
        }
    }
    return types;
}

class DeviceTypesTest : public ApplicationTest
{
protected:
    void SetUp() override { ASSERT_FALSE(m_types.empty()); }

    const std::vector<DeviceType> m_types = InstalledDeviceTypes();
};
