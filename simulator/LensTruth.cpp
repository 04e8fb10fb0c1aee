#include "LensTruth.h"

#include "Truth.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <limits>

namespace Simulator
{

namespace
{

struct RaySample {
    cv::Vec3d ray; ///< machine frame, unit length
    cv::Point2d pixel;
};

std::vector<RaySample> SampleRays(const Truth& truth, Side side, const std::vector<cv::Point2f>& covered)
{
    constexpr int nStepPx = 40;
    std::vector<cv::Point2f> hull;
    cv::convexHull(covered, hull);
    const cv::Size size = truth.PictureSize(side);
    const cv::Point3d eye = truth.CameraCentreMm(side);
    std::vector<RaySample> samples;
    for (int y = nStepPx / 2; y < size.height; y += nStepPx) {
        for (int x = nStepPx / 2; x < size.width; x += nStepPx) {
            const cv::Point2f pixel(static_cast<float>(x), static_cast<float>(y));
            const auto mm = truth.MachineFromPixel(side, cv::Point2d(x, y));
            if (mm && cv::pointPolygonTest(hull, pixel, false) > 0.0) {
                samples.push_back({cv::normalize(cv::Vec3d(mm->x - eye.x, mm->y - eye.y, -eye.z)), cv::Point2d(x, y)});
            }
        }
    }
    return samples;
}

/// The turn that brings the true rays onto those of the fit. Source: Kabsch 1976.
cv::Matx33d FitTurn(const std::vector<RaySample>& samples, const cv::Mat& camera, const cv::Mat& lens)
{
    std::vector<cv::Point2d> pixels, flat;
    pixels.reserve(samples.size());
    for (const RaySample& sample : samples) {
        pixels.push_back(sample.pixel);
    }
    cv::undistortPoints(pixels, flat, camera, lens);
    cv::Matx33d sum = cv::Matx33d::zeros();
    for (std::size_t i = 0; i < flat.size(); ++i) {
        sum += cv::normalize(cv::Vec3d(flat[i].x, flat[i].y, 1.0)) * samples[i].ray.t();
    }
    cv::Matx33d u, vt;
    cv::Matx31d w;
    cv::SVD::compute(sum, w, u, vt);
    return u * cv::Matx33d::diag({1.0, 1.0, cv::determinant(u * vt)}) * vt;
}

} // namespace

double LensMappingRmsPx(const Machine& machine, Side side, const cv::Mat& camera, const cv::Mat& lens,
                        const std::vector<cv::Point2f>& covered)
{
    const std::vector<RaySample> samples = SampleRays(Truth(machine), side, covered);
    if (samples.size() < 3) {
        return std::numeric_limits<double>::infinity();
    }
    const cv::Matx33d turn = FitTurn(samples, camera, lens);
    std::vector<cv::Point3d> rays;
    rays.reserve(samples.size());
    for (const RaySample& sample : samples) {
        rays.emplace_back(cv::Point3d(turn * sample.ray));
    }
    std::vector<cv::Point2d> seen;
    cv::projectPoints(rays, cv::Vec3d(), cv::Vec3d(), camera, lens, seen);
    double sum = 0.0;
    for (std::size_t i = 0; i < seen.size(); ++i) {
        const cv::Point2d off = seen[i] - samples[i].pixel;
        sum += off.dot(off);
    }
    return std::sqrt(sum / static_cast<double>(seen.size()));
}

} // namespace Simulator
