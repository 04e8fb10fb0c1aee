#include "Commands.h"

#include "DataFolder.h"
#include "Failure.h"
#include "FolderLock.h"
#include "PictureFile.h"
#include "PluginHost.h"

#include <cstdio>

namespace Workbench
{

namespace
{

QString DepthOf(const cv::Mat& picture)
{
    return QString("%1 bits").arg(8 * static_cast<int>(picture.elemSize()));
}

QString SizeOf(const cv::Mat& picture)
{
    return QString("%1 x %2 px").arg(picture.cols).arg(picture.rows);
}

} // namespace

int RunPicture(const CommandLine& line)
{
    UseDataFolder(line.strDataFolder);
    RequirePictureSuffix(line.strOut);
    const cv::Mat left = ReadPicture(line.strLeft);
    const cv::Mat right = ReadPicture(line.strRight);
    if (left.type() != right.type()) {
        throw Failure(QString("The two pictures have different depths: the left one has %1, the right one %2.")
                          .arg(DepthOf(left), DepthOf(right)));
    }
    RequireCalibration(CalibrationUse::Pictures);
    RequireSizesOfCalibration({left.cols, left.rows}, {right.cols, right.rows});
    const QSize sizeMm = line.sizeMm.isValid() ? line.sizeMm : StoredWorkAreaMm();
    const FolderLock lock(DataRoot());

    PluginHost host;
    host.Calibrate().SetWorkAreaSize(sizeMm.width(), sizeMm.height());
    cv::Mat fused;
    if (host.Calibrate().CalibAndFusionImage(left, right, fused, false) != 0 || fused.empty()) {
        throw Failure(
            QString("These two pictures (left %1, right %2) and the calibration in %3 do not fit together; the "
                    "log says more.")
                .arg(SizeOf(left), SizeOf(right), DataRoot()));
    }
    cv::Mat workArea;
    if (host.Calibrate().WarpImage(fused, sizeMm.width(), sizeMm.height(), workArea) != 0) {
        throw Failure("The work area lies outside of what the cameras show.");
    }
    WritePicture(line.strOut, workArea);
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
