#pragma once

// The manual road's pictures made with OpenCV's own operations, as one would write them first. What the module is
// measured against.

#include <opencv2/core.hpp>

namespace Bench
{

/// Two raw pictures of a manual machine and what its calibration knows of them.
struct ManualPair {
    cv::Mat left, right;           ///< CV_8UC3
    cv::Mat camera, distortion;    ///< of both
    double dRectifyX, dRectifyY;   ///< scales of the rectification
    double dBlendX, dBlendY;       ///< scales of the blending
    cv::Mat fullLeftFromFullRight; ///< both turned
};

/// Maps made per picture, `cv::remap` once.
cv::Mat RectifyObviously(const cv::Mat& picture, const ManualPair& pair);

/// Both pictures turned and warped into a frame of this size, masks warped with them, the levels of the overlap
/// matched, a float feather.
/// @param outFromFullLeft  where the full turned left picture lies in the frame
cv::Mat BlendObviously(const cv::Mat& left, const cv::Mat& right, const ManualPair& pair, const cv::Size& frame,
                       const cv::Matx33d& outFromFullLeft);

} // namespace Bench
