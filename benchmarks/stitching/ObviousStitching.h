#pragma once

// The same stitched picture made with OpenCV's own operations, as one would write it first and as one would tune it.
// What the module is measured against.

#include "FisheyeModel.h"

#include <opencv2/core.hpp>

namespace Bench
{

/// A camera's raw picture, CV_8UC3, and its model.
struct Camera {
    cv::Mat picture;
    Fisheye::FisheyeModel model;
};

/// Per picture: both maps from the model, `cv::remap` twice, masks, a float feather. CV_8UC3 of `size` at 6 px per mm.
cv::Mat StitchObviously(const Camera& left, const Camera& right, const cv::Size& size);

/// Fixed-point maps and weights made once; per picture `cv::remap` twice into kept buffers and `cv::blendLinear`.
class TunedStitching
{
public:
    TunedStitching(const Camera& left, const Camera& right, const cv::Size& size);
    const cv::Mat& Stitch(const cv::Mat& left, const cv::Mat& right);

private:
    cv::Mat m_leftMap, m_leftFraction, m_rightMap, m_rightFraction;
    cv::Mat m_leftWeight, m_rightWeight;
    cv::Mat m_left, m_right, m_out;
};

/// Rectilinear picture by a map made per call and `cv::remap`.
cv::Mat RectifyObviously(const Camera& camera, const cv::Size& size);

} // namespace Bench
