#include "SourceRegistry.h"

#include "DeviceSource.h"
#include "FileSources.h"
#include "Log.h"
#include "SimulatedSource.h"

#include <opencv2/imgcodecs.hpp>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

#include <tuple>

namespace Camera
{

namespace
{

constexpr std::size_t g_nMaxIdle = 64;

enum class Kind { Unknown, Simulated, Device, Folder, Picture, Video };

bool IsSimulated(const QString& strSource)
{
    return strSource.startsWith("sim:");
}

QString PathOf(const NamedSource& camera, const QString& strIniFolder)
{
    return QDir(strIniFolder).absoluteFilePath(camera.strSource);
}

Kind KindOf(const QString& strSource, const QString& strPath, std::string& strWhy)
{
    if (IsSimulated(strSource)) {
        strWhy = "only sim:left and sim:right are known";
        return strSource == "sim:left" || strSource == "sim:right" ? Kind::Simulated : Kind::Unknown;
    }
    const QFileInfo info(strPath);
    if (!info.exists()) {
        strWhy = "it does not exist";
        return Kind::Unknown;
    }
    if (info.isDir()) {
        return Kind::Folder;
    }
    if (info.isFile()) {
        // By its name first: a picture that is damaged shall not be told to be no video.
        return IsPictureName(strPath) || cv::haveImageReader(QFile::encodeName(strPath).toStdString()) ? Kind::Picture
                                                                                                       : Kind::Video;
    }
    struct stat status {
    };
    if (::stat(QFile::encodeName(strPath).constData(), &status) == 0 && S_ISCHR(status.st_mode)) {
        return Kind::Device;
    }
    strWhy = "it is neither a file nor a folder nor a device";
    return Kind::Unknown;
}

class Registry
{
public:
    /// Never destroyed: instances may outlive the static objects of this library.
    static Registry& Instance()
    {
        static auto* pRegistry = new Registry;
        return *pRegistry;
    }

    /// Sources that nobody holds are kept: a folder goes on where it stopped, a device has its properties.
    std::shared_ptr<CameraSource> Get(Kind kind, const std::string& strLabel, const NamedSource& camera,
                                      const QString& strPath)
    {
        const std::lock_guard lock(m_mutex);
        const std::tuple key{kind, camera.strName, strPath};
        const auto it = m_mapSources.find(key);
        if (it != m_mapSources.end()) {
            return it->second;
        }
        if (m_mapSources.size() >= g_nMaxIdle) {
            // Only this map hands out sources, so one that nobody else has is nobody's and closed.
            std::erase_if(m_mapSources, [](const auto& entry) { return entry.second.use_count() <= 1; });
        }
        return m_mapSources[key] = Make(kind, strLabel, camera.strSource, strPath);
    }

private:
    std::shared_ptr<CameraSource> Make(Kind kind, const std::string& strLabel, const QString& strSource,
                                       const QString& strPath)
    {
        switch (kind) {
        case Kind::Simulated:
            return std::make_shared<SimulatedSource>(strLabel, strSource.mid(4).toStdString());
        case Kind::Device:
            RecommendByIdName(strLabel, strPath);
            return std::make_shared<DeviceSource>(strLabel, strPath);
        case Kind::Folder:
            return std::make_shared<FolderSource>(strLabel, strPath);
        case Kind::Picture:
            return std::make_shared<PictureSource>(strLabel, strPath);
        default:
            return std::make_shared<VideoSource>(strLabel, strPath);
        }
    }

    static void RecommendByIdName(const std::string& strLabel, const QString& strPath)
    {
        const QString strById = ByIdName(strPath);
        if (!strById.isEmpty()) {
            ILog_WriteLogF(2, "%s may be another camera after the next start; %s stays with this one", strLabel.c_str(),
                           strById.toUtf8().constData());
        }
    }

    std::mutex m_mutex;
    std::map<std::tuple<Kind, std::string, QString>, std::shared_ptr<CameraSource>> m_mapSources;
};

} // namespace

bool IsAttached(const NamedSource& camera, const QString& strIniFolder, std::string& strWhy)
{
    const Kind kind = KindOf(camera.strSource, PathOf(camera, strIniFolder), strWhy);
    return kind == Kind::Simulated ? SimulatedSource::IsThere(strWhy) : kind != Kind::Unknown;
}

std::string LabelOf(const NamedSource& camera, const QString& strIniFolder)
{
    const QString strSource = IsSimulated(camera.strSource) ? camera.strSource : PathOf(camera, strIniFolder);
    return camera.strName + " (" + strSource.left(1024).toStdString() + ")";
}

std::shared_ptr<CameraSource> SharedSource(const NamedSource& camera, const QString& strIniFolder)
{
    const QString strPath = PathOf(camera, strIniFolder);
    const std::string strLabel = LabelOf(camera, strIniFolder);
    std::string strWhy;
    const Kind kind = KindOf(camera.strSource, strPath, strWhy);
    if (kind == Kind::Unknown) {
        ILog_WriteLogF(2, "%s cannot be opened: %s", strLabel.c_str(), strWhy.c_str());
        return nullptr;
    }
    return Registry::Instance().Get(kind, strLabel, camera, strPath);
}

} // namespace Camera
