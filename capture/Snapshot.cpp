#include "Snapshot.h"

#include "CameraWorker.h"
#include "LibraryLoader.h"
#include "Log.h"
#include "Notice.h"

#include <QPointer>
#include <QRegularExpression>

#include <algorithm>
#include <string>
#include <vector>

const SnapshotRow g_fusionSnapshot{
    .pFunction = "FusionWdg::SnapOne",
    .match = NameMatch::Whole,
    .bLogsName = true,
    .bReportsFailures = false,
    .bReportsParameters = false,
    .bAutoExposure = true,
    .bSnapsByName = false,
    .bGivesCameraBack = false,
    .afterFailedOpen = CloseCall::None,
    .afterRefusedParameters = CloseCall::Open,
    .atEnd = CloseCall::Open,
};

const SnapshotRow g_handEyeSnapshot{
    .pFunction = "HandEyeAdjustWdg::SnapOne",
    .match = NameMatch::Substring,
    .bLogsName = false,
    .bReportsFailures = true,
    .bReportsParameters = true,
    .bAutoExposure = false,
    .bSnapsByName = true,
    .bGivesCameraBack = false,
    .afterFailedOpen = CloseCall::Target,
    .afterRefusedParameters = CloseCall::Target,
    .atEnd = CloseCall::Target,
};

const SnapshotRow g_stitchingSnapshot{
    .pFunction = "StitchingWdg::SnapOne",
    .match = NameMatch::Substring,
    .bLogsName = false,
    .bReportsFailures = true,
    .bReportsParameters = true,
    .bAutoExposure = false,
    .bSnapsByName = true,
    .bGivesCameraBack = true,
    .afterFailedOpen = CloseCall::Target,
    .afterRefusedParameters = CloseCall::Target,
    .atEnd = CloseCall::Target,
};

// Refused parameters are the one failure that this page keeps to itself; this is meant.
const SnapshotRow g_autoDualSnapshot{
    .pFunction = "AutoDualCalibrateWdg::SnapOne",
    .match = NameMatch::PureName,
    .bLogsName = false,
    .bReportsFailures = true,
    .bReportsParameters = false,
    .bAutoExposure = false,
    .bSnapsByName = true,
    .bGivesCameraBack = true,
    .afterFailedOpen = CloseCall::Open,
    .afterRefusedParameters = CloseCall::Open,
    .atEnd = CloseCall::Target,
};

namespace
{

constexpr int g_nParameters = 500;
constexpr int g_nTries = 3;
constexpr std::size_t g_nMaxListBytes = 4095;

/// "Camera-Left" for "[2] Camera-Left"; a string without an index stays as it is.
QString PureName(const QString& strName)
{
    static const QRegularExpression expression("\\[(\\d+)\\]\\s*(.*)");
    const QRegularExpressionMatch match = expression.match(strName);
    return match.hasMatch() ? match.captured(2).trimmed() : strName;
}

/// As a zero-terminated buffer holds it.
std::string DeviceName(const std::string& strName)
{
    return std::string(strName.c_str()).substr(0, g_nCameraNameBytes - 1);
}

/// The listed string that stands for the wanted camera; null where none does.
const std::string* FindListed(const std::vector<std::string>& listed, const std::string& strWanted,
                              const SnapshotRow& row)
{
    const auto matches = [&](const std::string& strListed) {
        switch (row.match) {
        case NameMatch::Whole:
            return strListed == strWanted;
        case NameMatch::Substring:
            return strListed.find(strWanted) != std::string::npos;
        case NameMatch::PureName:
            break;
        }
        const std::string strPure = PureName(QString::fromStdString(strListed)).toStdString();
        ILog_WriteLogF(1, "[%s] Find camera:compare [%s,%s]", row.pFunction, strPure.c_str(), strWanted.c_str());
        return strPure == strWanted;
    };
    const auto found = std::find_if(listed.begin(), listed.end(), matches);
    return found == listed.end() ? nullptr : &*found;
}

std::string ListText(const std::vector<std::string>& listed)
{
    std::string strText;
    for (const std::string& strListed : listed) {
        strText += strListed.c_str();
        strText += ", ";
        if (strText.size() >= g_nMaxListBytes) {
            strText.resize(g_nMaxListBytes);
            break;
        }
    }
    return strText;
}

void ReportNoMatch(const SnapshotRow& row, const std::string& strWanted, const std::vector<std::string>& listed)
{
    if (row.bReportsFailures) {
        ILog_WriteLogF(1, "%s, Failed to acquire the target camera. Target:%s, Current:%s", row.pFunction,
                       strWanted.c_str(), ListText(listed).c_str());
        ShowNotice("Failed to acquire the target camera.");
    }
}

/// What went wrong with a camera that was found: the words of the log and those of the notice.
struct Failure {
    const char* pLog;
    const char* pNotice;
};

constexpr Failure g_openFailed{"Failed to open the target camera",
                               "Failed to open the target camera,Please try again."};
constexpr Failure g_parametersRefused{"Failed to set camera parameters",
                                      "Failed to set camera parameters,Please try again."};
constexpr Failure g_noPhoto{"Failed to get photo", "Failed to get photo,Please try again."};

void Report(const SnapshotRow& row, const Failure& failure, const std::string& strTarget)
{
    ILog_WriteLogF(1, "%s, %s: %s", row.pFunction, failure.pLog, strTarget.c_str());
    ShowNotice(failure.pNotice);
}

/// A page's camera, for as long as somebody holds it.
class PageCamera
{
public:
    PageCamera(ICameraDevice& camera, QObject& page, bool bGoesWithPage)
        : m_camera(camera), m_pPage(&page), m_bGoesWithPage(bGoesWithPage)
    {
    }

    void Close(CloseCall call, const std::string& strTarget)
    {
        if (call != CloseCall::None && (m_pPage || !m_bGoesWithPage)) {
            m_camera.CloseCamera(call == CloseCall::Target ? strTarget.c_str() : nullptr);
        }
    }

private:
    ICameraDevice& m_camera;
    QPointer<QObject> m_pPage;
    bool m_bGoesWithPage;
};

bool SnapInThreeTries(ICameraDevice& camera, cv::Mat& picture, const char* pName)
{
    for (int i = 0; i < g_nTries; ++i) {
        if (camera.SnapPicture(picture, pName) == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

ICameraDevice* LoadCamera()
{
    return static_cast<ICameraDevice*>(LoadModule("Camera", true, nullptr));
}

cv::Mat SnapOne(ICameraDevice* pCamera, const QString& cameraName, const SnapshotRow& row, QObject& page)
{
    cv::Mat picture;
    if (!pCamera || cameraName == "None" || cameraName.isEmpty()) {
        return picture;
    }
    if (row.bLogsName) {
        ILog_WriteLogF(1, "SnapOne, cameraName: %s", cameraName.toUtf8().constData());
    }
    const std::string strWanted = (row.match == NameMatch::PureName ? PureName(cameraName) : cameraName).toStdString();
    std::vector<std::string> listed;
    pCamera->GetCameraList(listed);
    const std::string* const pListed = FindListed(listed, strWanted, row);
    if (!pListed) {
        ReportNoMatch(row, strWanted, listed);
        return picture;
    }
    const std::string strTarget = DeviceName(*pListed);
    PageCamera camera(*pCamera, page, row.bGivesCameraBack);

    if (pCamera->OpenCamera(strTarget.c_str()) != 0) {
        if (row.bReportsFailures) {
            Report(row, g_openFailed, strTarget);
        }
        camera.Close(row.afterFailedOpen, strTarget);
        return picture;
    }
    if (row.bAutoExposure) {
        const int nOn = 1;
        pCamera->SetProperty("autoExposure", &nOn);
    }
    if (!pCamera->ApplyCameraParameters(strTarget.c_str(), g_nParameters)) {
        if (row.bReportsParameters) {
            Report(row, g_parametersRefused, strTarget);
        }
        camera.Close(row.afterRefusedParameters, strTarget);
        return picture;
    }
    const bool bSnapped = SnapInThreeTries(*pCamera, picture, row.bSnapsByName ? strTarget.c_str() : nullptr);
    if (!bSnapped && row.bReportsFailures) {
        Report(row, g_noPhoto, strTarget);
    }
    camera.Close(row.atEnd, strTarget);
    return picture;
}
