#include "HomographyFiles.h"

#include "FileStore.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core/persistence.hpp>

#include <vector>

namespace
{

constexpr int g_nPairs = 9;

std::vector<cv::Point2f> FirstNine(const QList<QPointF>& points)
{
    std::vector<cv::Point2f> first;
    first.reserve(g_nPairs);
    for (int i = 0; i < g_nPairs; ++i) {
        first.emplace_back(static_cast<float>(points[i].x()), static_cast<float>(points[i].y()));
    }
    return first;
}

bool WriteHomography(const QList<QPointF>& from, const QList<QPointF>& to, const QString& strFile)
{
    if (from.size() < g_nPairs || to.size() < g_nPairs) {
        return false;
    }
    const cv::Mat homography = cv::findHomography(FirstNine(from), FirstNine(to));
    if (homography.empty()) {
        return false;
    }
    cv::FileStorage file(ToLocalBytes(strFile).toStdString(), cv::FileStorage::WRITE | cv::FileStorage::FORMAT_XML);
    if (!file.isOpened()) {
        return false;
    }
    file << "HomMat2D" << homography;
    return true;
}

} // namespace

bool WritePix2Mm(const QList<QPointF>& worldMm, const QList<QPointF>& imagePx, const QString& strFile)
{
    return WriteHomography(imagePx, worldMm, strFile);
}

bool WriteMm2Pix(const QList<QPointF>& worldMm, const QList<QPointF>& imagePx, const QString& strFile)
{
    return WriteHomography(worldMm, imagePx, strFile);
}
