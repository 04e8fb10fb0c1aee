#include "ObviousStitching.h"

#include "Stitching.h"

#include <opencv2/imgproc.hpp>

#include <cmath>

namespace Bench
{

namespace
{

/// Source coordinates of every stitched pixel, -1 where the camera does not see it, and its angle.
void MakeMaps(const Camera& camera, const cv::Size& size, cv::Mat& mapX, cv::Mat& mapY, cv::Mat& theta)
{
    const Fisheye::StitchProjection place(camera.model, 6.0);
    mapX.create(size, CV_32F);
    mapY.create(size, CV_32F);
    theta.create(size, CV_32F);
    cv::parallel_for_(cv::Range(0, size.height), [&](const cv::Range& range) {
        for (int y = range.start; y < range.end; ++y) {
            for (int x = 0; x < size.width; ++x) {
                const Fisheye::SourcePlace p = place(x, y);
                const bool bInside = p.bValid && p.x >= 0.0 && p.y >= 0.0 && p.x <= camera.picture.cols - 1.0 &&
                                     p.y <= camera.picture.rows - 1.0;
                mapX.at<float>(y, x) = bInside ? static_cast<float>(p.x) : -1.0f;
                mapY.at<float>(y, x) = bInside ? static_cast<float>(p.y) : -1.0f;
                theta.at<float>(y, x) = bInside ? static_cast<float>(p.thetaRad) : 10.0f;
            }
        }
    });
}

/// Weight of the left picture by the difference of the angles.
cv::Mat LeftWeight(const cv::Mat& leftTheta, const cv::Mat& rightTheta)
{
    cv::Mat weight = (rightTheta - leftTheta) / (2.0 * Fisheye::kFeatherRad) + 0.5;
    cv::min(weight, 1.0, weight);
    cv::max(weight, 0.0, weight);
    return weight;
}

} // namespace

cv::Mat StitchObviously(const Camera& left, const Camera& right, const cv::Size& size)
{
    cv::Mat leftX, leftY, leftTheta, rightX, rightY, rightTheta;
    MakeMaps(left, size, leftX, leftY, leftTheta);
    MakeMaps(right, size, rightX, rightY, rightTheta);
    cv::Mat leftWarped, rightWarped;
    cv::remap(left.picture, leftWarped, leftX, leftY, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    cv::remap(right.picture, rightWarped, rightX, rightY, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    const cv::Mat leftMask = leftX >= 0.0f;
    const cv::Mat rightMask = rightX >= 0.0f;
    cv::Mat weight = LeftWeight(leftTheta, rightTheta);
    weight.setTo(0.0, ~leftMask);
    weight.setTo(1.0, leftMask & ~rightMask);
    cv::Mat weight3, leftFloat, rightFloat, blended, out;
    cv::merge(std::vector<cv::Mat>{weight, weight, weight}, weight3);
    leftWarped.convertTo(leftFloat, CV_32F);
    rightWarped.convertTo(rightFloat, CV_32F);
    blended = leftFloat.mul(weight3) + rightFloat.mul(cv::Scalar::all(1.0) - weight3);
    blended.convertTo(out, CV_8U);
    return out;
}

TunedStitching::TunedStitching(const Camera& left, const Camera& right, const cv::Size& size)
{
    cv::Mat leftX, leftY, leftTheta, rightX, rightY, rightTheta;
    MakeMaps(left, size, leftX, leftY, leftTheta);
    MakeMaps(right, size, rightX, rightY, rightTheta);
    cv::convertMaps(leftX, leftY, m_leftMap, m_leftFraction, CV_16SC2);
    cv::convertMaps(rightX, rightY, m_rightMap, m_rightFraction, CV_16SC2);
    m_leftWeight = LeftWeight(leftTheta, rightTheta);
    m_rightWeight = 1.0 - m_leftWeight;
}

const cv::Mat& TunedStitching::Stitch(const cv::Mat& left, const cv::Mat& right)
{
    cv::remap(left, m_left, m_leftMap, m_leftFraction, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    cv::remap(right, m_right, m_rightMap, m_rightFraction, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    cv::blendLinear(m_left, m_right, m_leftWeight, m_rightWeight, m_out);
    return m_out;
}

cv::Mat RectifyObviously(const Camera& camera, const cv::Size& size)
{
    const Fisheye::FisheyeModel& model = camera.model;
    const double dHalf = std::min(model.ThetaFromRadius(0.5 * model.nWidth / model.fx).value_or(1.0), 1.05);
    const double dFocal = 0.5 * size.width / std::tan(dHalf);
    cv::Mat mapX(size, CV_32F), mapY(size, CV_32F);
    cv::parallel_for_(cv::Range(0, size.height), [&](const cv::Range& range) {
        for (int y = range.start; y < range.end; ++y) {
            for (int x = 0; x < size.width; ++x) {
                const double u = (x - 0.5 * (size.width - 1)) / dFocal;
                const double v = (y - 0.5 * (size.height - 1)) / dFocal;
                const double dLateral = std::hypot(u, v);
                const double dScale = dLateral > 0.0 ? model.Radius(std::atan(dLateral)) / dLateral : 1.0;
                mapX.at<float>(y, x) = static_cast<float>(model.fx * dScale * u + model.cx);
                mapY.at<float>(y, x) = static_cast<float>(model.fy * dScale * v + model.cy);
            }
        }
    });
    cv::Mat out;
    cv::remap(camera.picture, out, mapX, mapY, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    return out;
}

} // namespace Bench
