#include "LensViews.h"

#include "Failure.h"
#include "KorvaneVision.h"
#include "PictureFile.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

namespace Korvane::CameraCalibration
{
// Weak: another vision library need not offer it.
__attribute__((weak)) std::vector<std::size_t> GetFittedPictures();
} // namespace Korvane::CameraCalibration

namespace Workbench
{

namespace Vision = Korvane::CameraCalibration;

namespace
{

/// All pictures of a folder are held together, as the module takes them.
constexpr std::size_t g_nMostBytes = 4UL * 1024 * 1024 * 1024;

struct Photograph {
    cv::Mat picture; ///< CV_8UC3; empty where it is left out
    LensView view;
};

QString SizeOf(const cv::Size& size)
{
    return QString("%1 x %2 px").arg(size.width).arg(size.height);
}

cv::Mat InColour(const cv::Mat& picture)
{
    cv::Mat colour = picture;
    if (picture.channels() != 3) {
        cv::cvtColor(picture, colour, picture.channels() == 1 ? cv::COLOR_GRAY2BGR : cv::COLOR_BGRA2BGR);
    }
    return colour;
}

std::vector<Photograph> ReadFolder(const QString& strFolder, const QString& strOwnPicture)
{
    const QDir folder(strFolder);
    if (!folder.exists()) {
        throw Failure(QString("There is no folder %1.").arg(strFolder));
    }
    QStringList listNames =
        folder.entryList({"*.jpg", "*.jpeg", "*.png", "*.bmp", "*.tif", "*.tiff"}, QDir::Files, QDir::Name);
    const QFileInfo own(strOwnPicture);
    if (QDir(own.absolutePath()) == folder) {
        listNames.removeAll(own.fileName());
    }
    if (listNames.isEmpty()) {
        throw Failure(QString("There is no picture in %1; .jpg, .png, .bmp and "
                              ".tif are looked for.")
                          .arg(strFolder));
    }
    std::vector<Photograph> photographs;
    std::size_t nBytes = 0;
    for (const QString& strName : listNames) {
        Photograph photograph;
        photograph.view.strName = strName;
        try {
            photograph.picture = InColour(ReadPicture(folder.filePath(strName)));
        } catch (const Failure&) {
            photograph.view.strLeftOut = "it cannot be read as a picture with 8 bits a channel";
        }
        nBytes += photograph.picture.total() * photograph.picture.elemSize();
        if (nBytes > g_nMostBytes) {
            throw Failure(QString("The pictures in %1 take more than 4 GiB of "
                                  "memory: fewer will do.")
                              .arg(strFolder));
        }
        photographs.push_back(std::move(photograph));
    }
    return photographs;
}

/// The size that most of them have; of two that are as frequent, that of the
/// first picture.
cv::Size UsualSize(const std::vector<Photograph>& photographs)
{
    const auto count = [&](const cv::Size& size) {
        return std::count_if(photographs.begin(), photographs.end(),
                             [&](const Photograph& other) { return other.picture.size() == size; });
    };
    cv::Size usual;
    for (const Photograph& photograph : photographs) {
        if (!photograph.picture.empty() && (usual.empty() || count(photograph.picture.size()) > count(usual))) {
            usual = photograph.picture.size();
        }
    }
    return usual;
}

void LeaveOutOtherSizes(const cv::Size& usual, std::vector<Photograph>& photographs)
{
    for (Photograph& photograph : photographs) {
        if (!photograph.picture.empty() && photograph.picture.size() != usual) {
            photograph.view.strLeftOut =
                QString("it has %1, most have %2").arg(SizeOf(photograph.picture.size()), SizeOf(usual));
            photograph.picture.release();
        }
    }
}

void FindCharts(const cv::Size& chart, std::vector<Photograph>& photographs)
{
    constexpr int nSymmetricGrid = 1; // as in cv::findCirclesGrid
    for (Photograph& photograph : photographs) {
        LensView& view = photograph.view;
        double dError = -1.0;
        if (!photograph.picture.empty() &&
            !Vision::FindCalibrationBoard(photograph.picture, chart, view.centres, dError, nSymmetricGrid,
                                          cv::SimpleBlobDetector::create())) {
            view.strLeftOut = QString::fromStdString(Vision::GetLastError());
            view.centres.clear();
        }
    }
}

std::vector<cv::Point3f> ChartPoints(const cv::Size& chart)
{
    std::vector<cv::Point3f> points;
    for (int r = 0; r < chart.height; ++r) {
        for (int c = 0; c < chart.width; ++c) {
            points.emplace_back(static_cast<float>(c), static_cast<float>(r), 0.0f);
        }
    }
    return points;
}

/// Where the chart was held, by the lens that was found, and how far its discs
/// are from where they should be seen.
void MeasureView(const LensReport& report, LensView& view)
{
    const std::vector<cv::Point3f> chart = ChartPoints(report.chart);
    cv::Mat turn, place, cameraFromChart;
    if (view.centres.size() != chart.size() ||
        !cv::solvePnP(chart, view.centres, report.cameraMatrix, report.distCoeffs, turn, place)) {
        return;
    }
    std::vector<cv::Point2f> seen;
    cv::projectPoints(chart, turn, place, report.cameraMatrix, report.distCoeffs, seen);
    view.dRmsPx = cv::norm(seen, view.centres, cv::NORM_L2) / std::sqrt(static_cast<double>(seen.size()));
    cv::Rodrigues(turn, cameraFromChart);
    view.dTiltDeg = std::acos(std::min(1.0, std::abs(cameraFromChart.at<double>(2, 2)))) * 180.0 / std::numbers::pi;
    const cv::Vec3d middle(0.5 * (report.chart.width - 1), 0.5 * (report.chart.height - 1), 0.0);
    const cv::Matx33d rotation(cameraFromChart);
    view.dDistance = cv::norm(rotation * middle + cv::Vec3d(place));
}

} // namespace

std::size_t LensReport::Used() const
{
    return static_cast<std::size_t>(
        std::count_if(views.begin(), views.end(), [](const LensView& view) { return view.IsUsed(); }));
}

LensReport CalibrateLens(const QString& strFolder, const QSize& chartDiscs, const QString& strOwnPicture)
{
    std::vector<Photograph> photographs = ReadFolder(strFolder, strOwnPicture);
    LensReport report;
    report.pictureSize = UsualSize(photographs);
    report.chart = {chartDiscs.width(), chartDiscs.height()};
    LeaveOutOtherSizes(report.pictureSize, photographs);
    FindCharts(report.chart, photographs);

    std::vector<cv::Mat> pictures;
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < photographs.size(); ++i) {
        if (!photographs[i].picture.empty()) {
            pictures.push_back(photographs[i].picture);
            places.push_back(i);
        }
        report.views.push_back(photographs[i].view);
    }
    if (!Vision::CalibrateDistortedCamera(pictures, report.chart, report.cameraMatrix, report.distCoeffs,
                                          report.dRmsPx)) {
        report.strProblem = Vision::GetLastError();
        return report;
    }
    for (LensView& view : report.views) {
        MeasureView(report, view);
    }
    if (Vision::GetFittedPictures) {
        const std::vector<std::size_t> fitted = Vision::GetFittedPictures();
        for (std::size_t k = 0; k < places.size(); ++k) {
            LensView& view = report.views[places[k]];
            if (view.IsUsed() && std::find(fitted.begin(), fitted.end(), k) == fitted.end()) {
                view.strLeftOut = QString("%1 px rms off the lens of the others").arg(view.dRmsPx, 0, 'f', 2);
            }
        }
    }
    return report;
}

} // namespace Workbench
