#pragma once

// The automatic road as one would write it first with OpenCV's own operations: the same files, the same pictures, the
// same sizes. What the plug-in's `CalibAndFusionImage` is measured against.

#include "ObviousStitching.h"

#include <opencv2/core.hpp>

#include <string>

namespace Bench
{

class ObviousRoad
{
public:
    /// @param strFolder  takes the road's picture files
    /// @param left, right  the models of the two cameras; their pictures are not used
    ObviousRoad(const std::string& strFolder, const Camera& left, const Camera& right, const cv::Size& stitched);

    /// Writes both pictures, reads them back, makes grey copies and rectifies both into the doubled size.
    void Calib(const cv::Mat& left, const cv::Mat& right);
    /// Stitches what `Calib` read, writes the picture and reads it back.
    cv::Mat Fuse();
    /// Nothing but the stitching of what `Calib` read.
    cv::Mat Stitch() const;

private:
    std::string m_strFolder;
    Camera m_left, m_right;
    cv::Size m_stitched;
};

} // namespace Bench
