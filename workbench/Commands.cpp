#include "Commands.h"

#include "CrossPtsDetectDllR.h"
#include "DataFolder.h"
#include "Failure.h"
#include "PluginHost.h"

#include <opencv2/imgcodecs.hpp>

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

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

cv::Mat ReadPicture(const QString& strFile)
{
    if (!QFile::exists(strFile)) {
        throw Failure(QString("There is no file %1.").arg(strFile));
    }
    const QString strNoPicture = QString("%1 is no picture that can be read.").arg(strFile);
    cv::Mat picture;
    try {
        const QuietStandardError quiet;
        // The module refuses what OpenCV's decoders take or wait for: a JPEG that was cut short, a pipe.
        unsigned char* pPixels = nullptr;
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

QString DepthOf(const cv::Mat& picture)
{
    return QString("%1 bits").arg(8 * static_cast<int>(picture.elemSize()));
}

bool WritePicture(const QString& strFile, const cv::Mat& picture)
{
    try {
        const QuietStandardError quiet;
        return cv::imwrite(strFile.toStdString(), picture);
    } catch (const cv::Exception&) {
        return false;
    }
}

} // namespace

int RunPicture(const CommandLine& line)
{
    UseDataFolder(line.strDataFolder);
    const cv::Mat left = ReadPicture(line.strLeft);
    const cv::Mat right = ReadPicture(line.strRight);
    if (left.type() != right.type()) {
        throw Failure(QString("The two pictures have different depths: the left one has %1, the right one %2.")
                          .arg(DepthOf(left), DepthOf(right)));
    }
    RequireCalibration(CalibrationUse::Pictures);
    const QSize sizeMm = line.sizeMm.isValid() ? line.sizeMm : StoredWorkAreaMm();

    PluginHost host;
    host.Calibrate().SetWorkAreaSize(sizeMm.width(), sizeMm.height());
    cv::Mat fused;
    if (host.Calibrate().CalibAndFusionImage(left, right, fused, false) != 0 || fused.empty()) {
        throw Failure(QString("These two pictures and the calibration in %1 do not fit together.").arg(DataRoot()));
    }
    cv::Mat workArea;
    if (host.Calibrate().WarpImage(fused, sizeMm.width(), sizeMm.height(), workArea) != 0) {
        throw Failure("The work area lies outside of what the cameras show.");
    }
    if (!WritePicture(line.strOut, workArea)) {
        throw Failure(QString("The picture cannot be written to %1.").arg(line.strOut));
    }
    std::printf("%s: %d x %d px, 6 px per mm\n", qPrintable(line.strOut), workArea.cols, workArea.rows);
    if (workArea.cols != 6 * sizeMm.width() || workArea.rows != 6 * sizeMm.height()) {
        std::printf("The cameras do not show all of the %d x %d mm.\n", sizeMm.width(), sizeMm.height());
    }
    return Success;
}

int RunPoint(const CommandLine& line)
{
    UseDataFolder(line.strDataFolder);
    RequireCalibration(CalibrationUse::Points);
    PluginHost host;
    double dX = 0.0;
    double dY = 0.0;
    if (line.strCommand == "to-world") {
        host.Calibrate().PixelToWorld(line.dX, line.dY, &dX, &dY, false);
    } else {
        host.Calibrate().WorldToPixel(line.dX, line.dY, &dX, &dY, false);
    }
    std::printf("%.3f %.3f\n", dX, dY);
    return Success;
}

} // namespace Workbench
