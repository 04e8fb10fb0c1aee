#pragma once

// The work area picture as the view shows it: the full picture and ever halved ones, so that painting it zoomed out
// costs what the window has pixels. Made on a worker thread, then only read.

#include <opencv2/core/mat.hpp>

#include <QImage>

#include <memory>
#include <vector>

namespace Workbench
{

class AreaPicture
{
public:
    /// @param picture  CV_8UC3 BGR; its pixels are shared, not copied, and must not be painted over later
    explicit AreaPicture(const cv::Mat& picture);

    QSize Size() const { return m_levels.front().size(); }
    /// The picture to paint with where one of its pixels covers `dScale` pixels of the screen: the smallest that still
    /// has a pixel for each of the screen's.
    const QImage& LevelFor(double dScale) const;
    std::size_t LevelCount() const { return m_levels.size(); }

private:
    std::vector<QImage> m_levels; ///< the full picture first
};

using AreaPicturePointer = std::shared_ptr<const AreaPicture>;

} // namespace Workbench
