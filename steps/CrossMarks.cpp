#include "CrossMarks.h"

#include "FileStore.h"
#include "Log.h"
#include "PageParts.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>

namespace
{

/// What the left picture and its marks turn about: the same whole pixel for both.
cv::Point TurnCentre(cv::Size picture)
{
    return {picture.width / 2, picture.height / 2};
}

} // namespace

int NextMarkId(const std::vector<CalibrationPoint>& marks)
{
    const int nCount = static_cast<int>(marks.size());
    for (int i = 0; i < nCount; ++i) {
        if (std::none_of(marks.begin(), marks.end(), [=](const CalibrationPoint& mark) { return mark.nId == i + 1; })) {
            return i + 2;
        }
    }
    return nCount + 1;
}

CalibrationPoint NewMark(int nId, int nRowSingle, int nColSingle, QPointF image)
{
    CalibrationPoint mark;
    mark.nId = nId;
    mark.nRow = nColSingle != 0 ? (nId - 1) / nColSingle : 0;
    mark.nCol = nRowSingle != 0 ? (nId - 1) % nRowSingle : 0;
    mark.fImageX = static_cast<float>(image.x());
    mark.fImageY = static_cast<float>(image.y());
    return mark;
}

void SortById(std::vector<CalibrationPoint>& marks)
{
    std::sort(marks.begin(), marks.end(),
              [](const CalibrationPoint& a, const CalibrationPoint& b) { return a.nId < b.nId; });
}

cv::Mat HalfTurned(const cv::Mat& picture)
{
    const cv::Point2f centre = TurnCentre(picture.size());
    cv::Mat turned;
    cv::warpAffine(picture, turned, cv::getRotationMatrix2D(centre, 180.0, 1.0), picture.size(), cv::INTER_LINEAR,
                   cv::BORDER_CONSTANT, cv::Scalar::all(0));
    return turned;
}

bool RotatePoints(const QList<QPointF>& marks, cv::Size picture, std::vector<cv::Point2f>& turned)
{
    if (marks.isEmpty()) {
        ILog_WriteLogF(3, "%s: Wrong number of coordinates!", "AutoDualCalibrateWdg::RotatePoints");
        return false;
    }
    const cv::Point2d centre = TurnCentre(picture);
    for (auto mark = marks.crbegin(); mark != marks.crend(); ++mark) {
        const cv::Point2d image = cv::Point2f(static_cast<float>(mark->x()), static_cast<float>(mark->y()));
        turned.emplace_back(2.0 * centre - image);
    }
    return true;
}

std::optional<QPointF> StoredWorldPoint(int nIndex)
{
    const QString strFile = ProgressFile();
    const auto read = [&](const char* pAxis) -> std::optional<double> {
        const QString strKey = pAxis + QString::number(nIndex);
        if (ReadIniString(g_pProgressSection, strKey, QString(), strFile).isEmpty()) {
            return std::nullopt;
        }
        return ReadIniDouble(g_pProgressSection, strKey, 0.0, strFile);
    };
    const std::optional<double> x = nIndex < 0 ? std::nullopt : read("X");
    const std::optional<double> y = x ? read("Y") : std::nullopt;
    return y ? std::optional(QPointF(*x, *y)) : std::nullopt;
}

QList<QPointF> StoredWorldPoints(int nCount)
{
    QList<QPointF> points;
    for (int i = 0; i < nCount; ++i) {
        const std::optional<QPointF> point = StoredWorldPoint(i);
        if (!point) {
            break;
        }
        points << *point;
    }
    return points;
}
