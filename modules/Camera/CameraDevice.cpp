#include "CameraDevice.h"

#include "CameraSettings.h"
#include "Log.h"
#include "SourceRegistry.h"

#include <QFileInfo>

#include <algorithm>
#include <cstring>
#include <exception>

namespace Camera
{

namespace
{

constexpr int g_nMaxSettleMs = 10'000;

/// Nothing may leave the module as an exception.
template <typename Result, typename Operation>
Result Guarded(const char* pOperation, Result failure, Operation operation)
{
    try {
        return operation();
    } catch (const std::exception& error) {
        ILog_WriteLogF(2, "Cameras: %s failed: %s", pOperation, error.what());
    } catch (...) {
        ILog_WriteLogF(2, "Cameras: %s failed in an unknown way", pOperation);
    }
    return failure;
}

/// Fit for a log line.
std::string Shown(const char* pName)
{
    return pName ? std::string(pName, strnlen(pName, 255)) : "(the open camera)";
}

} // namespace

CameraDevice::~CameraDevice()
{
    GiveBack();
}

int CameraDevice::GetCameraList(std::vector<std::string>& names)
{
    return Guarded("GetCameraList", -1, [&] {
        names.clear();
        const QString strFile = SettingsFile();
        const QString strFolder = QFileInfo(strFile).path();
        std::size_t nIndex = 0;
        for (const NamedSource& camera : ReadCameraSettings(strFile)) {
            std::string strWhy;
            if (IsAttached(camera, strFolder, strWhy)) {
                names.push_back(ListedName(nIndex, camera.strName));
            } else {
                ILog_WriteLogF(1, "%s is not attached: %s", LabelOf(camera, strFolder).c_str(), strWhy.c_str());
            }
            ++nIndex;
        }
        return 0;
    });
}

int CameraDevice::OpenCamera(const char* name)
{
    return Guarded("OpenCamera", -1, [&] {
        const std::lock_guard openLock(m_openMutex);
        if (!name) {
            return Held(nullptr, "OpenCamera") ? 0 : -1;
        }
        const QString strFile = SettingsFile();
        const std::vector<NamedSource> cameras = ReadCameraSettings(strFile);
        const auto it = std::find_if(cameras.begin(), cameras.end(), [strWanted = PureName(name)](const auto& camera) {
            return camera.strName == strWanted;
        });
        if (it == cameras.end()) {
            GiveBack();
            ILog_WriteLogF(2, "Cameras: %s is not named in %s", Shown(name).c_str(), strFile.toUtf8().constData());
            return -1;
        }
        const std::shared_ptr<CameraSource> pSource = SharedSource(*it, QFileInfo(strFile).path());
        if (pSource && Source() == pSource) {
            // Taken a second time and given back once: it is opened anew where it was gone, and not closed else.
            if (!pSource->Acquire()) {
                GiveBack();
                return -1;
            }
            pSource->Release();
        } else {
            GiveBack();
            if (!pSource || !pSource->Acquire()) {
                return -1;
            }
        }
        Hold(pSource, name);
        return 0;
    });
}

int CameraDevice::CloseCamera(const char* name)
{
    return Guarded("CloseCamera", -1, [&] {
        const std::lock_guard openLock(m_openMutex);
        if (name && !IsCameraOpen(name)) {
            return IsCameraOpen(nullptr) ? -1 : 0;
        }
        GiveBack();
        return 0;
    });
}

bool CameraDevice::IsCameraOpen(const char* name)
{
    const std::lock_guard lock(m_mutex);
    return m_pSource && (!name || PureName(name) == m_strPureName);
}

int CameraDevice::SnapPicture(cv::Mat& picture, const char* name)
{
    return Guarded("SnapPicture", -1, [&] {
        picture.release();
        const std::shared_ptr<CameraSource> pSource = Held(name, "SnapPicture");
        return pSource && pSource->Snap(picture) ? 0 : -1;
    });
}

int CameraDevice::SetIntProperty(const char* key, const int* value)
{
    return Set(key, value);
}

int CameraDevice::SetProperty(const char* key, const int* value)
{
    return Set(key, value);
}

int CameraDevice::SetExposureMode(const char* key, const int* value)
{
    return Set(key, value);
}

int CameraDevice::SetExposureValue(const char* key, const int* value)
{
    return Set(key, value);
}

std::string CameraDevice::GetCameraName()
{
    const std::lock_guard lock(m_mutex);
    return m_strOpenedAs;
}

bool CameraDevice::IsCameraAlive()
{
    return Guarded("IsCameraAlive", false, [&] {
        const std::shared_ptr<CameraSource> pSource = Source();
        return pSource && pSource->IsAlive();
    });
}

bool CameraDevice::ApplyCameraParameters(const char* name, int value)
{
    return Guarded("ApplyCameraParameters", false, [&] {
        if (value < 0 || value > g_nMaxSettleMs) {
            ILog_WriteLogF(2, "Cameras: %d ms to settle are refused, 0 to %d are possible", value, g_nMaxSettleMs);
            return false;
        }
        const std::shared_ptr<CameraSource> pSource = Held(name, "ApplyCameraParameters");
        return pSource && pSource->Settle(value);
    });
}

std::shared_ptr<CameraSource> CameraDevice::Source()
{
    const std::lock_guard lock(m_mutex);
    return m_pSource;
}

std::shared_ptr<CameraSource> CameraDevice::Held(const char* pName, const char* pOperation)
{
    const std::lock_guard lock(m_mutex);
    if (m_pSource && (!pName || PureName(pName) == m_strPureName)) {
        return m_pSource;
    }
    std::string strComplaint = "Cameras: " + std::string(pOperation) + " of " + Shown(pName) + ", but " +
                               (m_pSource ? m_strPureName : "none") + " is open";
    if (strComplaint != m_strComplaint) {
        ILog_WriteLog(2, strComplaint.c_str());
        m_strComplaint = std::move(strComplaint);
    }
    return nullptr;
}

void CameraDevice::Hold(std::shared_ptr<CameraSource> pSource, const char* pName)
{
    const std::lock_guard lock(m_mutex);
    m_pSource = std::move(pSource);
    m_strComplaint.clear();
    m_strOpenedAs = pName;
    m_strPureName = PureName(pName);
}

void CameraDevice::GiveBack()
{
    std::shared_ptr<CameraSource> pSource;
    {
        const std::lock_guard lock(m_mutex);
        pSource = std::move(m_pSource);
        m_strOpenedAs.clear();
        m_strPureName.clear();
    }
    if (pSource) {
        pSource->Release();
    }
}

int CameraDevice::Set(const char* pKey, const int* pValue)
{
    return Guarded("a property", -1, [&] {
        const std::optional<Property> property = PropertyOf(pKey);
        if (!property || !pValue) {
            ILog_WriteLogF(2, "Cameras: the property %s is unknown or came without a value",
                           pKey ? Shown(pKey).c_str() : "(null)");
            return -1;
        }
        const std::shared_ptr<CameraSource> pSource = Held(nullptr, pKey);
        return pSource && pSource->SetProperty(*property, *pValue) ? 0 : -1;
    });
}

} // namespace Camera
