#include "ObviousBlending.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <vector>

namespace Bench
{

namespace
{

cv::Matx33d FullFromTurned(const cv::Size& size, double dScaleX, double dScaleY)
{
    return {dScaleX, 0.0,     0.5 * (size.width - 1) * (1.0 - dScaleX),
            0.0,     dScaleY, 0.5 * (size.height - 1) * (1.0 - dScaleY),
            0.0,     0.0,     1.0};
}

struct Layer {
    cv::Mat picture, mask, weight;
};

/// The picture in the frame, where it shows, and a weight that falls from its middle to its borders.
Layer Warp(const cv::Mat& raw, const ManualPair& pair, const cv::Matx33d& outFromFull, const cv::Size& frame)
{
    cv::Mat turned;
    cv::rotate(raw, turned, cv::ROTATE_90_CLOCKWISE);
    const cv::Matx33d outFromTurned = outFromFull * FullFromTurned(turned.size(), pair.dBlendX, pair.dBlendY);
    cv::Mat ramp(turned.size(), CV_32F);
    for (int y = 0; y < ramp.rows; ++y) {
        for (int x = 0; x < ramp.cols; ++x) {
            const int nBorder = std::min({x, y, ramp.cols - 1 - x, ramp.rows - 1 - y});
            ramp.at<float>(y, x) = static_cast<float>(nBorder + 1);
        }
    }
    Layer layer;
    cv::warpPerspective(turned, layer.picture, outFromTurned, frame, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    cv::warpPerspective(cv::Mat(turned.size(), CV_8U, cv::Scalar(255)), layer.mask, outFromTurned, frame,
                        cv::INTER_NEAREST, cv::BORDER_CONSTANT);
    cv::warpPerspective(ramp, layer.weight, outFromTurned, frame, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    return layer;
}

} // namespace

cv::Mat RectifyObviously(const cv::Mat& picture, const ManualPair& pair)
{
    cv::Mat scaled = pair.camera.clone();
    const cv::Point2d centre(0.5 * (picture.cols - 1), 0.5 * (picture.rows - 1));
    scaled.at<double>(0, 0) *= pair.dRectifyX;
    scaled.at<double>(0, 2) = centre.x + pair.dRectifyX * (scaled.at<double>(0, 2) - centre.x);
    scaled.at<double>(1, 1) *= pair.dRectifyY;
    scaled.at<double>(1, 2) = centre.y + pair.dRectifyY * (scaled.at<double>(1, 2) - centre.y);
    cv::Mat mapX, mapY, rectified;
    cv::initUndistortRectifyMap(pair.camera, pair.distortion, cv::noArray(), scaled, picture.size(), CV_32FC1, mapX,
                                mapY);
    cv::remap(picture, rectified, mapX, mapY, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    return rectified;
}

cv::Mat BlendObviously(const cv::Mat& left, const cv::Mat& right, const ManualPair& pair, const cv::Size& frame,
                       const cv::Matx33d& outFromFullLeft)
{
    const Layer a = Warp(left, pair, outFromFullLeft, frame);
    const Layer b = Warp(right, pair, outFromFullLeft * cv::Matx33d(pair.fullLeftFromFullRight), frame);
    const cv::Mat overlap = a.mask & b.mask;
    const cv::Scalar meanLeft = cv::mean(a.picture, overlap);
    const cv::Scalar meanRight = cv::mean(b.picture, overlap);
    cv::Scalar gainLeft, gainRight;
    for (int c = 0; c < 3; ++c) {
        gainLeft[c] = std::sqrt(meanRight[c] / std::max(meanLeft[c], 1.0));
        gainRight[c] = std::sqrt(meanLeft[c] / std::max(meanRight[c], 1.0));
    }
    cv::Mat weight = a.weight / (a.weight + b.weight + 1.0e-6f);
    cv::Mat weight3, leftFloat, rightFloat, out;
    cv::merge(std::vector<cv::Mat>{weight, weight, weight}, weight3);
    a.picture.convertTo(leftFloat, CV_32F);
    b.picture.convertTo(rightFloat, CV_32F);
    cv::multiply(leftFloat, gainLeft, leftFloat);
    cv::multiply(rightFloat, gainRight, rightFloat);
    const cv::Mat blended = leftFloat.mul(weight3) + rightFloat.mul(cv::Scalar::all(1.0) - weight3);
    blended.convertTo(out, CV_8U);
    return out;
}

} // namespace Bench
