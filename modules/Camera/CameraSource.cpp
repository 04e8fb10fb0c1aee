#include "CameraSource.h"

#include "Log.h"

#include <opencv2/imgproc.hpp>

#include <sys/stat.h>

#include <cstring>
#include <exception>

namespace Camera
{

namespace
{

constexpr int g_nMaxSide = 65500;

/// Libraries throw where a file or a driver surprises them; here that is a failure like any other.
template <typename Operation> bool Guarded(std::string& strWhy, Operation operation)
{
    try {
        return operation();
    } catch (const std::exception& error) {
        strWhy = error.what();
    } catch (...) {
        strWhy = "it failed in an unknown way";
    }
    return false;
}

} // namespace

std::optional<Property> PropertyOf(const char* pKey)
{
    static const std::map<std::string, Property> properties{{"autoExposure", Property::AutoExposure},
                                                            {"exposureMode", Property::AutoExposure},
                                                            {"exposure", Property::Exposure},
                                                            {"gain", Property::Gain},
                                                            {"brightness", Property::Brightness}};
    const auto it = pKey ? properties.find(pKey) : properties.end();
    return it == properties.end() ? std::nullopt : std::optional(it->second);
}

const char* NameOf(Property property)
{
    switch (property) {
    case Property::AutoExposure:
        return "autoExposure";
    case Property::Exposure:
        return "exposure";
    case Property::Gain:
        return "gain";
    case Property::Brightness:
        return "brightness";
    }
    return "";
}

std::optional<Stamp> LookAtFile(const std::string& strFile)
{
    struct stat info {
    };
    if (::stat(strFile.c_str(), &info) != 0) {
        return std::nullopt;
    }
    return Stamp{static_cast<long long>(info.st_dev), static_cast<long long>(info.st_ino),
                 static_cast<long long>(info.st_size), static_cast<long long>(info.st_mtim.tv_sec),
                 static_cast<long long>(info.st_mtim.tv_nsec)};
}

bool ToDeliverable(cv::Mat& picture, std::string& strWhy)
{
    if (picture.empty()) {
        strWhy = "an empty picture came";
        return false;
    }
    if (picture.dims != 2 || picture.cols > g_nMaxSide || picture.rows > g_nMaxSide || picture.channels() > 4) {
        strWhy = "a picture came that is larger than " + std::to_string(g_nMaxSide) +
                 " pixels a side or has more than four channels";
        return false;
    }
    switch (picture.depth()) {
    case CV_8U:
        break;
    case CV_8S:
        picture.convertTo(picture, CV_8U, 1.0, 128.0);
        break;
    case CV_16U:
        picture.convertTo(picture, CV_8U, 1.0 / 257.0);
        break;
    case CV_16F:
    case CV_32F:
    case CV_64F:
        picture.convertTo(picture, CV_32F);
        cv::patchNaNs(picture, 0.0);
        picture.convertTo(picture, CV_8U, 255.0);
        break;
    default:
        picture.convertTo(picture, CV_8U);
        break;
    }
    if (picture.channels() == 2) {
        cv::extractChannel(picture, picture, 0);
    } else if (picture.channels() == 4) {
        cv::cvtColor(picture, picture, cv::COLOR_BGRA2BGR);
    }
    return true;
}

bool CameraSource::Acquire()
{
    const std::lock_guard lock(m_mutex);
    std::string strWhy;
    if (!EnsureOpen(strWhy)) {
        ILog_WriteLogF(2, "%s cannot be opened: %s", m_strLabel.c_str(), strWhy.c_str());
        return false;
    }
    if (m_nHolders++ == 0) {
        m_bFailing = false;
        const std::lock_guard failureLock(m_failureMutex);
        m_failureStamp.reset();
    }
    return true;
}

void CameraSource::Release()
{
    const std::lock_guard lock(m_mutex);
    if (--m_nHolders == 0) {
        CloseIfOpen();
    }
}

bool CameraSource::Snap(cv::Mat& picture)
{
    picture.release();
    const std::lock_guard lock(m_mutex);
    if (m_nHolders == 0) {
        return false;
    }
    std::string strWhy;
    if (EnsureOpen(strWhy) && ReadPicture(picture, strWhy)) {
        NoteSuccess();
        return true;
    }
    NoteFailure(strWhy);
    CloseIfOpen();
    return false;
}

bool CameraSource::IsAlive() const
{
    std::string strWhy;
    const std::optional<Stamp> stamp = m_nHolders > 0 ? Look(strWhy) : std::nullopt;
    const std::lock_guard lock(m_failureMutex);
    return stamp && m_failureStamp != stamp;
}

bool CameraSource::SetProperty(Property property, int nValue)
{
    const std::lock_guard lock(m_mutex);
    std::string strWhy;
    if (m_nHolders > 0 && EnsureOpen(strWhy)) {
        return ApplyProperty(property, nValue);
    }
    ILog_WriteLogF(2, "%s does not take %s: %s", m_strLabel.c_str(), NameOf(property),
                   strWhy.empty() ? "it is closed" : strWhy.c_str());
    return false;
}

bool CameraSource::Settle(int nBudgetMs)
{
    const std::lock_guard lock(m_mutex);
    std::string strWhy = "it is closed";
    if (m_nHolders > 0 && EnsureOpen(strWhy) && Guarded(strWhy, [&] { return SettleSource(nBudgetMs, strWhy); })) {
        return true;
    }
    ILog_WriteLogF(2, "%s does not settle: %s", m_strLabel.c_str(), strWhy.c_str());
    return false;
}

bool CameraSource::ApplyProperty(Property property, int nValue)
{
    ILog_WriteLogF(1, "%s has no control for %s = %d", m_strLabel.c_str(), NameOf(property), nValue);
    return true;
}

bool CameraSource::SettleSource(int, std::string&)
{
    return true;
}

bool CameraSource::EnsureOpen(std::string& strWhy)
{
    const std::optional<Stamp> stamp = Look(strWhy);
    if (!stamp || (m_bOpen && *stamp != m_openStamp)) {
        CloseIfOpen();
    }
    if (!stamp) {
        return false;
    }
    if (!m_bOpen) {
        m_bOpen = Guarded(strWhy, [&] { return OpenSource(strWhy); });
        m_openStamp = *stamp;
    }
    return m_bOpen;
}

void CameraSource::CloseIfOpen()
{
    if (m_bOpen) {
        std::string strIgnored;
        Guarded(strIgnored, [&] {
            CloseSource();
            return true;
        });
        m_bOpen = false;
    }
}

bool CameraSource::ReadPicture(cv::Mat& picture, std::string& strWhy)
{
    cv::Mat frame;
    if (!Guarded(strWhy, [&] { return ReadFrame(frame, strWhy) && ToDeliverable(frame, strWhy); })) {
        return false;
    }
    picture = frame;
    return true;
}

void CameraSource::NoteFailure(const std::string& strWhy)
{
    std::string strIgnored;
    const std::optional<Stamp> stamp = Look(strIgnored);
    if (!m_bFailing) {
        ILog_WriteLogF(2, "%s gives no picture: %s", m_strLabel.c_str(), strWhy.c_str());
    }
    m_bFailing = true;
    const std::lock_guard lock(m_failureMutex);
    m_failureStamp = stamp;
}

void CameraSource::NoteSuccess()
{
    if (m_bFailing) {
        ILog_WriteLogF(1, "%s gives pictures again", m_strLabel.c_str());
    }
    m_bFailing = false;
    const std::lock_guard lock(m_failureMutex);
    m_failureStamp.reset();
}

} // namespace Camera
