#include "PictureFile.h"

#include "CrossPtsDetectDllR.h"
#include "Failure.h"
#include "FolderRoom.h"

#include <opencv2/imgcodecs.hpp>

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <fcntl.h>
#include <unistd.h>

namespace Workbench
{

namespace
{

/// Picture decoders write to standard error themselves; a failure is to be one sentence, ours.
class QuietStandardError
{
public:
    QuietStandardError()
    {
        const int nNull = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        m_nKept = nNull < 0 ? -1 : ::dup(STDERR_FILENO);
        if (m_nKept >= 0) {
            ::dup2(nNull, STDERR_FILENO);
        }
        if (nNull >= 0) {
            ::close(nNull);
        }
    }
    ~QuietStandardError()
    {
        if (m_nKept >= 0) {
            ::dup2(m_nKept, STDERR_FILENO);
            ::close(m_nKept);
        }
    }
    QuietStandardError(const QuietStandardError&) = delete;
    QuietStandardError& operator=(const QuietStandardError&) = delete;

private:
    int m_nKept = -1;
};

/// "." and the suffix, as OpenCV wants it.
std::string SuffixOf(const QString& strFile)
{
    return QString("." + QFileInfo(strFile).suffix()).toStdString();
}

Failure NotWritten(const QString& strFile, const QString& strReason)
{
    return Failure(QString("The picture cannot be written to %1: %2.").arg(strFile, strReason));
}

std::vector<unsigned char> Encode(const QString& strFile, const cv::Mat& picture, const std::vector<int>& parameters)
{
    std::vector<unsigned char> bytes;
    try {
        const QuietStandardError quiet;
        if (cv::imencode(SuffixOf(strFile), picture, bytes, parameters)) {
            return bytes;
        }
    } catch (const cv::Exception&) {
        bytes.clear();
    }
    throw NotWritten(strFile, QString("the format cannot hold %1 x %2 px").arg(picture.cols).arg(picture.rows));
}

} // namespace

cv::Mat ReadPicture(const QString& strFile)
{
    if (!QFile::exists(strFile)) {
        throw Failure(QString("There is no file %1.").arg(strFile));
    }
    if (!QFileInfo(strFile).isReadable()) {
        throw Failure(QString("%1 may not be read by this user.").arg(strFile));
    }
    const QString strNoPicture = QString("%1 is no picture that can be read.").arg(strFile);
    cv::Mat picture;
    try {
        const QuietStandardError quiet;
        // The module refuses what OpenCV's decoders take or wait for: a JPEG that was cut short, a pipe.
        // It keeps its buffer, and fills the same one again when it gets it back.
        static unsigned char* pPixels = nullptr;
        long nWidth = 0;
        long nHeight = 0;
        int nBits = 0;
        if (!Read_Image(pPixels, nWidth, nHeight, nBits, strFile.toLocal8Bit().constData())) {
            throw Failure(strNoPicture);
        }
        picture = cv::imread(strFile.toStdString(), cv::IMREAD_UNCHANGED);
    } catch (const cv::Exception&) {
        picture.release();
    }
    if (picture.empty()) {
        throw Failure(strNoPicture);
    }
    if (picture.depth() != CV_8U) {
        throw Failure(
            QString("%1 has more than 8 bits a channel, which no camera of this machine delivers.").arg(strFile));
    }
    return picture;
}

void RequirePictureSuffix(const QString& strFile)
{
    const std::string strSuffix = SuffixOf(strFile);
    if (strSuffix == "." || !cv::haveImageWriter(strSuffix)) {
        throw Failure(
            QString("The end of the name %1 is no picture format that can be written; .png, .jpg and .bmp are.")
                .arg(strFile),
            WrongUse);
    }
}

void WritePicture(const QString& strFile, const cv::Mat& picture, const std::vector<int>& parameters)
{
    const std::vector<unsigned char> bytes = Encode(strFile, picture, parameters);
    // The rename that ends the writing would put a file in the place of a device.
    const QFileInfo info(strFile);
    if (info.exists() && !info.isFile()) {
        throw NotWritten(strFile, info.isDir() ? "it is a folder" : "it is no file");
    }
    QSaveFile file(strFile);
    const auto nBytes = static_cast<qint64>(bytes.size());
    if (!file.open(QIODevice::WriteOnly) || file.write(reinterpret_cast<const char*>(bytes.data()), nBytes) != nBytes ||
        !file.commit()) {
        // Of a disk that fills up in the middle Qt knows no reason.
        const QString strReason = ReasonNotWritable(info.path(), nBytes);
        throw NotWritten(strFile, strReason.isEmpty() ? file.errorString() : strReason);
    }
}

} // namespace Workbench
