#include "MachineTypes.h"

#include "Failure.h"
#include "InstallResources.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

namespace Workbench
{

namespace
{

constexpr qint64 g_nLargestList = 16LL << 20;

/// Whole parts, as the wizard takes them.
QSize PairOf(const QJsonObject& numbers, const char* pFirst, const char* pSecond)
{
    const auto whole = [&numbers](const char* pKey) {
        return static_cast<int>(qBound(0.0, numbers.value(QLatin1String(pKey)).toDouble(), 1.0e6));
    };
    return {whole(pFirst), whole(pSecond)};
}

} // namespace

std::vector<MachineType> ReadMachineTypes(const QString& strFile)
{
    const QString strList = strFile.isEmpty() ? InstallResourceFolder() + "/Vision/calib/DeviceType.json" : strFile;
    // Before it is opened: a pipe would be waited for.
    const QFileInfo info(strList);
    QFile file(strList);
    std::vector<MachineType> types;
    if (info.isFile() && info.size() <= g_nLargestList && file.open(QIODevice::ReadOnly)) {
        const QJsonObject models = QJsonDocument::fromJson(file.readAll()).object();
        for (const QJsonValueConstRef model : models) {
            const QJsonObject subModels = model.toObject();
            for (auto it = subModels.begin(); it != subModels.end(); ++it) {
                const QJsonObject numbers = it.value().toObject();
                types.push_back({it.key(), PairOf(numbers, "X", "Y"), PairOf(numbers, "Col", "Row"),
                                 PairOf(numbers, "ColForSingleCamera", "RowForSingleCamera")});
            }
        }
    }
    if (types.empty()) {
        throw Failure(QString("The list of machines %1 cannot be read or names none.").arg(strList));
    }
    return types;
}

} // namespace Workbench
