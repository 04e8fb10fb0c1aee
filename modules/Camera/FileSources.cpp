#include "FileSources.h"

#include "Log.h"

#include <opencv2/imgcodecs.hpp>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace Camera
{

namespace
{

constexpr qint64 g_nMaxPictureBytes = 512LL * 1024 * 1024;
constexpr std::size_t g_nMaxNames = 100'000;
// A folder full of what only looks like pictures must not hold a snap for long.
constexpr std::size_t g_nMaxTries = 1000;

/// What stands at the path, if it is of the right sort.
std::optional<Stamp> LookAt(const QString& strFile, bool bFolder, std::string& strWhy)
{
    const std::optional<Stamp> stamp = LookAtFile(QFile::encodeName(strFile).toStdString());
    const QFileInfo info(strFile);
    if (stamp && (bFolder ? info.isDir() : info.isFile())) {
        return stamp;
    }
    strWhy = !stamp ? "it does not exist" : bFolder ? "it is no folder" : "it is no plain file";
    return std::nullopt;
}

/// A JPEG that was cut short decodes all the same, with grey where the rest was. Its end mark cannot occur inside;
/// some writers pad after it.
bool IsCutJpeg(const QByteArray& content)
{
    constexpr int nTail = 4096;
    return content.startsWith("\xff\xd8") &&
           !content.last(std::min<qsizetype>(nTail, content.size())).contains("\xff\xd9");
}

} // namespace

bool IsPictureName(const QString& strFile)
{
    static const QStringList suffixes{"bmp",  "dib", "png", "jpg", "jpeg", "jpe", "jp2", "tif", "tiff",
                                      "webp", "pgm", "ppm", "pbm", "pnm",  "exr", "hdr", "ras", "sr"};
    return suffixes.contains(QFileInfo(strFile).suffix(), Qt::CaseInsensitive);
}

bool ReadPictureFile(const QString& strFile, cv::Mat& picture, std::string& strWhy)
{
    QFile file(strFile);
    // Asked before it is opened: a pipe under the name would hold us for good.
    if (!QFileInfo(strFile).isFile() || !file.open(QIODevice::ReadOnly)) {
        strWhy = "it is missing or cannot be read";
        return false;
    }
    if (file.size() > g_nMaxPictureBytes) {
        strWhy = "it is larger than " + std::to_string(g_nMaxPictureBytes) + " bytes";
        return false;
    }
    const QByteArray content = file.readAll();
    if (content.isEmpty() || IsCutJpeg(content)) {
        strWhy = content.isEmpty() ? "it is empty" : "it is cut short";
        return false;
    }
    const cv::Mat bytes(1, static_cast<int>(content.size()), CV_8U, const_cast<char*>(content.data()));
    try {
        picture = cv::imdecode(bytes, cv::IMREAD_UNCHANGED);
    } catch (const std::exception& error) {
        picture.release();
        strWhy = error.what();
        return false;
    }
    if (picture.empty()) {
        strWhy = "it is no picture, or damaged";
        return false;
    }
    return ToDeliverable(picture, strWhy);
}

FolderSource::FolderSource(std::string strLabel, QString strFolder)
    : CameraSource(std::move(strLabel)), m_strFolder(std::move(strFolder))
{
}

std::optional<Stamp> FolderSource::Look(std::string& strWhy) const
{
    return LookAt(m_strFolder, true, strWhy);
}

bool FolderSource::OpenSource(std::string& strWhy)
{
    List();
    strWhy = "there is no picture in it";
    return !m_names.empty();
}

void FolderSource::List()
{
    m_names.clear();
    QDirIterator it(m_strFolder, QDir::Files);
    while (it.hasNext() && m_names.size() < g_nMaxNames) {
        it.next();
        if (IsPictureName(it.fileName())) {
            m_names.push_back(it.fileName());
        }
    }
    std::sort(m_names.begin(), m_names.end());
    std::erase_if(m_mapSkipped, [this](const auto& entry) {
        return !std::binary_search(m_names.begin(), m_names.end(), entry.first);
    });
}

bool FolderSource::ReadFrame(cv::Mat& frame, std::string& strWhy)
{
    const auto next = [this] {
        return m_strLast.isNull() ? m_names.begin() : std::upper_bound(m_names.begin(), m_names.end(), m_strLast);
    };
    if (next() == m_names.end()) {
        // A file that came within one tick of the folder's clock is seen here at the latest.
        List();
        m_strLast = QString();
    }
    const std::size_t nTries = std::min(m_names.size(), g_nMaxTries);
    for (std::size_t i = 0; i < nTries; ++i) {
        const auto it = next();
        m_strLast = it == m_names.end() ? m_names.front() : *it;
        if (ReadOne(m_strLast, frame)) {
            return true;
        }
    }
    strWhy = "none of " + std::to_string(nTries) + " pictures in it can be read";
    return false;
}

bool FolderSource::ReadOne(const QString& strName, cv::Mat& frame)
{
    const QString strFile = m_strFolder + "/" + strName;
    const Stamp stamp = LookAtFile(QFile::encodeName(strFile).toStdString()).value_or(Stamp{});
    const auto skipped = m_mapSkipped.find(strName);
    if (skipped != m_mapSkipped.end() && skipped->second == stamp) {
        return false;
    }
    std::string strWhy;
    if (ReadPictureFile(strFile, frame, strWhy)) {
        m_mapSkipped.erase(strName);
        return true;
    }
    m_mapSkipped[strName] = stamp;
    ILog_WriteLogF(2, "%s: %s is skipped: %s", Label().c_str(), strName.toUtf8().constData(), strWhy.c_str());
    return false;
}

PictureSource::PictureSource(std::string strLabel, QString strFile)
    : CameraSource(std::move(strLabel)), m_strFile(std::move(strFile))
{
}

std::optional<Stamp> PictureSource::Look(std::string& strWhy) const
{
    return LookAt(m_strFile, false, strWhy);
}

bool PictureSource::OpenSource(std::string& strWhy)
{
    return ReadPictureFile(m_strFile, m_matPicture, strWhy);
}

bool PictureSource::ReadFrame(cv::Mat& frame, std::string&)
{
    frame = m_matPicture.clone();
    return true;
}

VideoSource::VideoSource(std::string strLabel, QString strFile)
    : CameraSource(std::move(strLabel)), m_strFile(std::move(strFile))
{
}

std::optional<Stamp> VideoSource::Look(std::string& strWhy) const
{
    return LookAt(m_strFile, false, strWhy);
}

bool VideoSource::OpenSource(std::string& strWhy)
{
    const std::string strFile = QFile::encodeName(m_strFile).toStdString();
    // These two only: others take a name for a pattern of names or for an address.
    if (m_capture.open(strFile, cv::CAP_FFMPEG) || m_capture.open(strFile, cv::CAP_OPENCV_MJPEG)) {
        return true;
    }
    strWhy = "it is neither a picture nor a video that can be read";
    return false;
}

bool VideoSource::ReadFrame(cv::Mat& frame, std::string& strWhy)
{
    // At the end it is opened anew: not every kind of file can be wound back.
    if (m_capture.read(frame) || (OpenSource(strWhy) && m_capture.read(frame))) {
        return true;
    }
    strWhy = "the video has no frame that can be read";
    return false;
}

} // namespace Camera
