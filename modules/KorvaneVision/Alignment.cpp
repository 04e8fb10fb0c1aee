#include "Alignment.h"

#include <opencv2/imgproc.hpp>

#include <cmath>

namespace Korvane
{

namespace
{

constexpr int g_nRounds = 12;
constexpr double g_dSettledPx = 0.01;
/// Patches of smooth pictures hold fewer independent differences than pixels.
constexpr double g_dPixelsADifference = 4.0;

/// Mean zero, norm one; false for a patch without any contrast.
bool Normalise(cv::Mat& patch)
{
    patch -= cv::mean(patch)[0];
    const double norm = cv::norm(patch);
    if (!(norm > 1.0e-3 * std::sqrt(static_cast<double>(patch.total())))) {
        return false;
    }
    patch *= 1.0 / norm;
    return true;
}

/// The patch with a border of one, from which the gradients are taken.
bool Cut(const cv::Mat& picture, const cv::Point2d& middle, int nHalf, cv::Mat& patch)
{
    const double reach = nHalf + 2.0;
    if (!(middle.x >= reach && middle.y >= reach && middle.x <= picture.cols - 1 - reach &&
          middle.y <= picture.rows - 1 - reach)) {
        return false;
    }
    const int nSide = 2 * nHalf + 3;
    cv::getRectSubPix(picture, {nSide, nSide}, cv::Point2f(middle), patch);
    return Normalise(patch);
}

} // namespace

std::optional<cv::Point2d> AlignedPoint(const cv::Mat& fixed, const cv::Mat& moving, const cv::Point2d& point,
                                        const AlignmentOptions& options)
{
    cv::Mat a, b;
    if (!Cut(fixed, point, options.nHalfPx, a)) {
        return std::nullopt;
    }
    cv::Point2d place = point;
    const int nSide = a.cols;
    for (int nRound = 0; nRound < g_nRounds; ++nRound) {
        if (!Cut(moving, place, options.nHalfPx, b)) {
            return std::nullopt;
        }
        cv::Matx22d normal = cv::Matx22d::zeros();
        cv::Vec2d right(0.0, 0.0);
        double squares = 0.0;
        for (int y = 1; y + 1 < nSide; ++y) {
            for (int x = 1; x + 1 < nSide; ++x) {
                const auto slope = [&](int dx, int dy) {
                    return 0.25 * static_cast<double>(a.at<float>(y + dy, x + dx) - a.at<float>(y - dy, x - dx) +
                                                      b.at<float>(y + dy, x + dx) - b.at<float>(y - dy, x - dx));
                };
                const cv::Vec2d gradient(slope(1, 0), slope(0, 1));
                const double difference = static_cast<double>(a.at<float>(y, x) - b.at<float>(y, x));
                normal += gradient * gradient.t();
                right += difference * gradient;
                squares += difference * difference;
            }
        }
        cv::Vec2d values;
        cv::eigen(normal, values);
        if (!(values[1] > 1.0e-9)) {
            return std::nullopt;
        }
        const cv::Vec2d step = normal.inv(cv::DECOMP_CHOLESKY) * right;
        place += cv::Point2d(step[0], step[1]);
        const cv::Point2d moved = place - point;
        if (!(std::hypot(moved.x, moved.y) <= options.dReachPx)) {
            return std::nullopt;
        }
        if (std::hypot(step[0], step[1]) > g_dSettledPx) {
            continue;
        }
        const double correlation = a.dot(b);
        const double count = static_cast<double>((nSide - 2) * (nSide - 2));
        const double doubt = std::sqrt(g_dPixelsADifference * squares / count / values[1]);
        if (correlation < options.dLeastCorrelation || doubt > options.dLargestDoubtPx) {
            return std::nullopt;
        }
        return place;
    }
    return std::nullopt;
}

} // namespace Korvane
