#include "Commands.h"

#include "DataFolder.h"
#include "Failure.h"
#include "PluginHost.h"

#include <opencv2/imgcodecs.hpp>

#include <QFile>

#include <cstdio>

namespace Workbench
{

namespace
{

cv::Mat ReadPicture(const QString& strFile)
{
    if (!QFile::exists(strFile)) {
        throw Failure(QString("There is no file %1.").arg(strFile));
    }
    cv::Mat picture;
    try {
        picture = cv::imread(strFile.toStdString(), cv::IMREAD_UNCHANGED);
    } catch (const cv::Exception&) {
        picture.release();
    }
    if (picture.empty()) {
        throw Failure(QString("%1 is no picture that can be read.").arg(strFile));
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
    RequireCalibration();
    const QSize sizeMm = line.sizeMm.isValid() ? line.sizeMm : StoredWorkAreaMm();

    PluginHost host;
    host.Calibrate().SetWorkAreaSize(sizeMm.width(), sizeMm.height());
    cv::Mat fused;
    if (host.Calibrate().CalibAndFusionImage(left, right, fused, false) != 0 || fused.empty()) {
        throw Failure(QString("These two pictures do not fit the calibration in %1.").arg(DataRoot()));
    }
    cv::Mat workArea;
    if (host.Calibrate().WarpImage(fused, sizeMm.width(), sizeMm.height(), workArea) != 0) {
        throw Failure("The work area lies outside of what the cameras show.");
    }
    if (!WritePicture(line.strOut, workArea)) {
        throw Failure(QString("The picture cannot be written to %1.").arg(line.strOut));
    }
    std::printf("%s: %d x %d px, 6 px per mm\n", qPrintable(line.strOut), workArea.cols, workArea.rows);
    return Success;
}

int RunPoint(const CommandLine& line)
{
    UseDataFolder(line.strDataFolder);
    RequireCalibration();
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
