#pragma once

// Cameras that are files: a folder of pictures, a single picture, a video file. For demonstrations, for looking into a
// case that somebody sent, and for tests. Every snap gives one picture at once; nothing waits for a frame rate.

#include "CameraSource.h"

#include <QString>

#include <opencv2/videoio.hpp>

#include <map>
#include <memory>
#include <vector>

namespace Camera
{

/// Whether the name ends as pictures do.
bool IsPictureName(const QString& strFile);

/// Reads a picture file of at most 512 MiB, pixels as they stand, whatever way up they should be shown.
/// @return false with the reason for a file that is missing, no picture, cut short or too large
bool ReadPictureFile(const QString& strFile, cv::Mat& picture, std::string& strWhy);

/// The pictures of a folder by name, over and over. A file that cannot be read is skipped, with a log line each time
/// that it has changed. New files join in at their place. Opened again it goes on where it stopped.
class FolderSource : public CameraSource
{
public:
    FolderSource(std::string strLabel, QString strFolder);

protected:
    std::optional<Stamp> Look(std::string& strWhy) const override;
    bool OpenSource(std::string& strWhy) override;
    void CloseSource() override {}
    bool ReadFrame(cv::Mat& frame, std::string& strWhy) override;

private:
    void List();
    bool ReadOne(const QString& strName, cv::Mat& frame);

    const QString m_strFolder;
    std::vector<QString> m_names; ///< sorted
    QString m_strLast;            ///< the one that was read last; null before the first
    std::map<QString, Stamp> m_mapSkipped;
};

/// One picture, the same every time; read again when the file changes.
class PictureSource : public CameraSource
{
public:
    PictureSource(std::string strLabel, QString strFile);

protected:
    std::optional<Stamp> Look(std::string& strWhy) const override;
    bool OpenSource(std::string& strWhy) override;
    void CloseSource() override { m_matPicture.release(); }
    bool ReadFrame(cv::Mat& frame, std::string& strWhy) override;

private:
    const QString m_strFile;
    cv::Mat m_matPicture;
};

/// The frames of a video file, over and over, from its beginning whenever it is opened.
class VideoSource : public CameraSource
{
public:
    VideoSource(std::string strLabel, QString strFile);

protected:
    std::optional<Stamp> Look(std::string& strWhy) const override;
    bool OpenSource(std::string& strWhy) override;
    void CloseSource() override { m_capture.release(); }
    bool ReadFrame(cv::Mat& frame, std::string& strWhy) override;

private:
    const QString m_strFile;
    cv::VideoCapture m_capture;
};

} // namespace Camera
