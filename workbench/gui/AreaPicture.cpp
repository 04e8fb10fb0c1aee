#include "AreaPicture.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace Workbench
{

namespace
{

constexpr int g_nSmallestSide = 512;

/// The image holds the matrix for as long as it needs its pixels.
QImage Wrap(const cv::Mat& picture)
{
    return QImage(
        picture.data, picture.cols, picture.rows, static_cast<qsizetype>(picture.step), QImage::Format_BGR888,
        [](void* pHeld) { delete static_cast<cv::Mat*>(pHeld); }, new cv::Mat(picture));
}

} // namespace

AreaPicture::AreaPicture(const cv::Mat& picture)
{
    cv::Mat level = picture;
    m_levels.push_back(Wrap(level));
    while (std::min(level.cols, level.rows) > g_nSmallestSide) {
        cv::Mat half;
        cv::resize(level, half, {(level.cols + 1) / 2, (level.rows + 1) / 2}, 0.0, 0.0, cv::INTER_AREA);
        level = half;
        m_levels.push_back(Wrap(level));
    }
}

const QImage& AreaPicture::LevelFor(double dScale) const
{
    const double dHalvings = dScale > 0.0 && dScale < 1.0 ? std::floor(std::log2(1.0 / dScale)) : 0.0;
    return m_levels[std::min(static_cast<std::size_t>(dHalvings), m_levels.size() - 1)];
}

} // namespace Workbench
