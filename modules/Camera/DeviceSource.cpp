#include "DeviceSource.h"

#include "Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

#include <algorithm>
#include <vector>

namespace Camera
{

namespace
{

using Clock = std::chrono::steady_clock;

// Beyond any camera: the driver answers with the largest size that it has.
constexpr double g_dLargestSide = 10000.0;
// A frame that waited longer shows the bed as it was.
constexpr auto g_oldAfter = std::chrono::milliseconds(100);

int PropertyId(Property property)
{
    switch (property) {
    case Property::AutoExposure:
        return cv::CAP_PROP_AUTO_EXPOSURE;
    case Property::Exposure:
        return cv::CAP_PROP_EXPOSURE;
    case Property::Gain:
        return cv::CAP_PROP_GAIN;
    case Property::Brightness:
        return cv::CAP_PROP_BRIGHTNESS;
    }
    return -1;
}

/// Numbers to try in turn. Auto exposure is a menu of V4L2: 0 all automatic, 1 manual, 2 aperture, 3 time automatic;
/// most cameras have one entry of each sort.
std::vector<int> NumbersFor(Property property, int nValue)
{
    if (property != Property::AutoExposure) {
        return {nValue};
    }
    return nValue != 0 ? std::vector{3, 0} : std::vector{1, 2};
}

} // namespace

std::unique_ptr<cv::VideoCapture> OpenV4l2(const std::string& strFile, std::string& strWhy)
{
    struct stat info {
    };
    if (::stat(strFile.c_str(), &info) != 0 || !S_ISCHR(info.st_mode)) {
        strWhy = "it is no device";
        return nullptr;
    }
    auto pCapture = std::make_unique<cv::VideoCapture>();
    if (!pCapture->open(strFile, cv::CAP_V4L2)) {
        strWhy = "it is no camera, is used by another program, or may not be read by this user";
        return nullptr;
    }
    return pCapture;
}

QString ByIdName(const QString& strDevice, const QString& strByIdFolder)
{
    if (QFileInfo(strDevice).isSymLink()) {
        return {};
    }
    const QString strTarget = QFileInfo(strDevice).canonicalFilePath();
    const QFileInfoList links = QDir(strByIdFolder).entryInfoList(QDir::Files | QDir::System, QDir::Name);
    const auto it = std::find_if(links.begin(), links.end(), [&](const QFileInfo& link) {
        return !strTarget.isEmpty() && link.isSymLink() && link.canonicalFilePath() == strTarget;
    });
    return it == links.end() ? QString() : it->filePath();
}

DeviceSource::DeviceSource(std::string strLabel, QString strFile, CaptureOpener opener)
    : CameraSource(std::move(strLabel)), m_strFile(QFile::encodeName(strFile).toStdString()),
      m_opener(std::move(opener))
{
}

std::optional<Stamp> DeviceSource::Look(std::string& strWhy) const
{
    struct stat info {
    };
    if (::stat(m_strFile.c_str(), &info) != 0) {
        strWhy = "there is no such device";
        return std::nullopt;
    }
    // The times of a device file say nothing about the device.
    return Stamp{static_cast<long long>(info.st_dev), static_cast<long long>(info.st_ino),
                 static_cast<long long>(info.st_rdev)};
}

bool DeviceSource::OpenSource(std::string& strWhy)
{
    m_pCapture = m_opener(m_strFile, strWhy);
    if (!m_pCapture) {
        return false;
    }
    // Most cameras have their large pictures only compressed. What is refused here is no failure.
    m_pCapture->set(cv::CAP_PROP_FOURCC, cv::VideoWriter::fourcc('M', 'J', 'P', 'G'));
    m_pCapture->set(cv::CAP_PROP_FRAME_WIDTH, g_dLargestSide);
    m_pCapture->set(cv::CAP_PROP_FRAME_HEIGHT, g_dLargestSide);
    m_lastGrab = Clock::now();
    ILog_WriteLogF(1, "%s delivers %.0f x %.0f", Label().c_str(), m_pCapture->get(cv::CAP_PROP_FRAME_WIDTH),
                   m_pCapture->get(cv::CAP_PROP_FRAME_HEIGHT));
    const std::map<Property, int> properties = m_mapProperties;
    for (const auto& [property, nValue] : properties) {
        ApplyProperty(property, nValue);
    }
    return true;
}

bool DeviceSource::ReadFrame(cv::Mat& frame, std::string& strWhy)
{
    if (Clock::now() - m_lastGrab > g_oldAfter) {
        DropOldFrames();
    }
    if (!Grab(strWhy)) {
        return false;
    }
    strWhy = "its frame cannot be decoded";
    return m_pCapture->retrieve(frame);
}

/// The driver fills its buffers and then waits: what lies in them is from just after the last snap.
void DeviceSource::DropOldFrames()
{
    const int nBuffers = std::clamp(static_cast<int>(m_pCapture->get(cv::CAP_PROP_BUFFERSIZE)), 1, 10);
    std::string strIgnored;
    for (int i = 0; i < nBuffers && Grab(strIgnored); ++i) {
    }
}

bool DeviceSource::Grab(std::string& strWhy)
{
    const bool bGrabbed = m_pCapture->grab();
    m_lastGrab = Clock::now();
    if (!bGrabbed) {
        strWhy = "the device delivers no frame";
    }
    return bGrabbed;
}

bool DeviceSource::ApplyProperty(Property property, int nValue)
{
    double dTaken = 0.0;
    if (!SetControl(property, nValue, dTaken)) {
        ILog_WriteLogF(2, "%s refuses %s = %d; it has %g", Label().c_str(), NameOf(property), nValue, dTaken);
        return false;
    }
    ILog_WriteLogF(1, "%s takes %s = %d as %g", Label().c_str(), NameOf(property), nValue, dTaken);
    m_mapProperties[property] = nValue;
    if (property == Property::AutoExposure && nValue != 0) {
        // The device chooses its own now; the former one would be refused when it is opened again.
        m_mapProperties.erase(Property::Exposure);
    }
    return true;
}

bool DeviceSource::SetControl(Property property, int nValue, double& dTaken)
{
    const int nId = PropertyId(property);
    for (const int nNumber : NumbersFor(property, nValue)) {
        const bool bSet = m_pCapture->set(nId, nNumber);
        dTaken = m_pCapture->get(nId);
        // A menu has the very entry or has not; a range may cut the value.
        if (bSet && (property != Property::AutoExposure || dTaken == nNumber)) {
            return true;
        }
    }
    return false;
}

bool DeviceSource::SettleSource(int nBudgetMs, std::string& strWhy)
{
    const auto end = Clock::now() + std::chrono::milliseconds(nBudgetMs);
    do {
        if (!Grab(strWhy)) {
            return false;
        }
    } while (Clock::now() < end);
    return true;
}

} // namespace Camera
