#include "PairHomography.h"

#include "KorvaneVision.h"
#include "VisionError.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <limits>

namespace Korvane
{

namespace
{

constexpr std::size_t g_nFewestPairs = 4;
/// Five pairs that agree are one more than any four do; among many they must be a fair share.
constexpr std::size_t g_nFewestInliers = 5;
constexpr double g_dLeastShare = 0.2;
/// Points whose extent across is less than this share of their extent along lie on a line.
constexpr double g_dLeastWidth = 0.01;
/// Smallest of the eight singular values that fix a homography, as a share of the largest, for points of unit extent.
constexpr double g_dLeastRank = 2.0e-3;
constexpr double g_dLeastScatterPx = 0.1;
constexpr double g_dLargestCoordinate = 1.0e6;
constexpr int g_nMostIterations = 20000;

/// The points in the frame of their own principal axes, each of unit extent. Empty for points on a line.
std::vector<cv::Point2d> Whitened(const std::vector<cv::Point2f>& points)
{
    const auto count = static_cast<double>(points.size());
    cv::Point2d middle;
    for (const cv::Point2f& p : points) {
        middle += cv::Point2d(p) / count;
    }
    cv::Matx22d spread = cv::Matx22d::zeros();
    for (const cv::Point2f& p : points) {
        const cv::Vec2d d(p.x - middle.x, p.y - middle.y);
        spread += d * d.t() * (1.0 / count);
    }
    cv::Vec2d squares;
    cv::Matx22d axes; // one a row
    cv::eigen(spread, squares, axes);
    if (!(squares[0] > 0.0) || !(squares[1] > g_dLeastWidth * g_dLeastWidth * squares[0])) {
        return {};
    }
    std::vector<cv::Point2d> whitened;
    for (const cv::Point2f& p : points) {
        const cv::Vec2d q = axes * cv::Vec2d(p.x - middle.x, p.y - middle.y);
        whitened.emplace_back(q[0] / std::sqrt(squares[0]), q[1] / std::sqrt(squares[1]));
    }
    return whitened;
}

/// Whether the pairs leave a homography free: the rank of the linear equations (Hartley and Zisserman 2004, 4.1).
bool IsFixed(const std::vector<cv::Point2d>& source, const std::vector<cv::Point2d>& target)
{
    cv::Mat equations = cv::Mat::zeros(2 * static_cast<int>(source.size()), 9, CV_64F);
    for (std::size_t i = 0; i < source.size(); ++i) {
        const cv::Vec3d p(source[i].x, source[i].y, 1.0);
        auto* pFirst = equations.ptr<double>(2 * static_cast<int>(i));
        auto* pSecond = equations.ptr<double>(2 * static_cast<int>(i) + 1);
        for (int k = 0; k < 3; ++k) {
            pFirst[k] = p[k];
            pFirst[6 + k] = -target[i].x * p[k];
            pSecond[3 + k] = p[k];
            pSecond[6 + k] = -target[i].y * p[k];
        }
    }
    // Eigenvalues of the normal matrix are the squares of the singular values.
    cv::Mat squares;
    cv::eigen(equations.t() * equations, squares);
    return squares.at<double>(7) > g_dLeastRank * g_dLeastRank * squares.at<double>(0);
}

/// Empty for pairs that fix a homography, else what is wrong with where they lie.
std::string WhyNotFixed(const std::vector<cv::Point2f>& source, const std::vector<cv::Point2f>& target)
{
    const std::vector<cv::Point2d> a = Whitened(source);
    const std::vector<cv::Point2d> b = Whitened(target);
    if (a.empty() || b.empty()) {
        return "the points lie on a line";
    }
    return IsFixed(a, b) ? std::string() : "nearly all of the points lie on a line";
}

bool IsFinite(const std::vector<cv::Point2f>& points)
{
    return std::all_of(points.begin(), points.end(), [](const cv::Point2f& p) {
        return std::abs(p.x) <= g_dLargestCoordinate && std::abs(p.y) <= g_dLargestCoordinate; // not so for NaN
    });
}

/// No point lies beyond the horizon of the others. A mirror is none: picture and machine may have opposite axes.
bool KeepsTogether(const cv::Matx33d& h, const std::vector<cv::Point2f>& points)
{
    const auto weight = [&](const cv::Point2f& p) { return h(2, 0) * p.x + h(2, 1) * p.y + h(2, 2); };
    const double sign = weight(points.front()) > 0.0 ? 1.0 : -1.0;
    return cv::determinant(h) != 0.0 &&
           std::all_of(points.begin(), points.end(), [&](const cv::Point2f& p) { return sign * weight(p) > 1.0e-9; });
}

std::optional<cv::Matx33d> AsHomography(const cv::Mat& matrix)
{
    if (matrix.rows != 3 || matrix.cols != 3 || !cv::checkRange(matrix)) {
        return std::nullopt;
    }
    const double corner = matrix.at<double>(2, 2);
    const double scale = std::abs(corner) > 1.0e-9 * cv::norm(matrix) ? corner : cv::norm(matrix);
    return scale != 0.0 ? std::make_optional(cv::Matx33d(matrix) * (1.0 / scale)) : std::nullopt;
}

void MarkInliers(const std::vector<cv::Point2f>& source, const std::vector<cv::Point2f>& target, double dThresholdPx,
                 HomographyFit& fit)
{
    fit.inliers.assign(source.size(), false);
    fit.nInliers = 0;
    double sum = 0.0;
    for (std::size_t i = 0; i < source.size(); ++i) {
        const cv::Point2d d = Mapped(fit.targetFromSource, source[i]) - cv::Point2d(target[i]);
        if (d.dot(d) <= dThresholdPx * dThresholdPx) {
            fit.inliers[i] = true;
            ++fit.nInliers;
            sum += d.dot(d);
        }
    }
    fit.dRmsPx = fit.nInliers > 0 ? std::sqrt(sum / static_cast<double>(fit.nInliers)) : 0.0;
}

std::vector<cv::Point2f> Kept(const std::vector<cv::Point2f>& points, const std::vector<bool>& inliers)
{
    std::vector<cv::Point2f> kept;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (inliers[i]) {
            kept.push_back(points[i]);
        }
    }
    return kept;
}

/// The homography that most of the pairs agree on, before any least squares.
std::optional<HomographyFit> Start(const std::vector<cv::Point2f>& source, const std::vector<cv::Point2f>& target,
                                   const HomographyOptions& options, bool bMirror)
{
    std::vector<cv::Point2f> seen = target;
    for (cv::Point2f& p : seen) {
        p.x = bMirror ? -p.x : p.x;
    }
    const int nMethod = source.size() == g_nFewestPairs ? 0 : cv::USAC_MAGSAC;
    const auto start =
        AsHomography(cv::findHomography(source, seen, nMethod, options.dThresholdPx, cv::noArray(),
                                        std::min(options.nIterations, g_nMostIterations), options.dConfidence));
    if (!start) {
        return std::nullopt;
    }
    HomographyFit fit;
    fit.targetFromSource = bMirror ? cv::Matx33d::diag({-1.0, 1.0, 1.0}) * *start : *start;
    MarkInliers(source, target, options.dThresholdPx, fit);
    return fit;
}

HomographySearch Refused(const std::string& strReason)
{
    return {std::nullopt, strReason};
}

} // namespace

cv::Point2d Mapped(const cv::Matx33d& bFromA, const cv::Point2d& a)
{
    const cv::Vec3d b = bFromA * cv::Vec3d(a.x, a.y, 1.0);
    return {b[0] / b[2], b[1] / b[2]};
}

double DoubtPx(const HomographyFit& fit, const std::vector<cv::Point2f>& target, const cv::Point2d& place)
{
    // Small changes of a homography, seen in the target picture: eight directions, linear in what they add to a point.
    using Directions = cv::Matx<double, 2, 8>;
    const std::vector<cv::Point2f> points = Kept(target, fit.inliers);
    const cv::Rect2d box = cv::boundingRect(points);
    const cv::Point2d middle = 0.5 * (box.tl() + box.br());
    const double reach = std::max({box.width, box.height, 1.0});
    const auto directions = [&](const cv::Point2d& p) {
        const double u = (p.x - middle.x) / reach;
        const double v = (p.y - middle.y) / reach;
        return Directions(1, u, v, 0, 0, 0, u * u, u * v, 0, 0, 0, 1, u, v, u * v, v * v);
    };
    cv::Matx<double, 8, 8> normal = cv::Matx<double, 8, 8>::zeros();
    for (const cv::Point2f& p : points) {
        const Directions d = directions(p);
        normal += d.t() * d;
    }
    const auto count = static_cast<double>(points.size());
    // A few pairs that happen to agree well are no proof of exactness.
    const double scatter =
        std::max(fit.dRmsPx * std::sqrt(count / std::max(2.0 * count - 8.0, 1.0)), g_dLeastScatterPx);
    bool bSolved = false;
    const cv::Matx<double, 8, 8> inverse = normal.inv(cv::DECOMP_CHOLESKY, &bSolved);
    if (!bSolved) {
        return std::numeric_limits<double>::infinity();
    }
    const Directions at = directions(place);
    return scatter * std::sqrt(std::max(cv::trace(at * inverse * at.t()), 0.0));
}

HomographySearch FitHomography(const std::vector<cv::Point2f>& source, const std::vector<cv::Point2f>& target,
                               const HomographyOptions& options)
{
    if (source.size() != target.size()) {
        return Refused("there are " + std::to_string(source.size()) + " points for " + std::to_string(target.size()));
    }
    if (source.size() < g_nFewestPairs) {
        return Refused("there are " + std::to_string(source.size()) + " pairs of points, at least 4 are needed");
    }
    if (!IsFinite(source) || !IsFinite(target)) {
        return Refused("the points hold numbers that are no pixels");
    }
    const std::string strAll = WhyNotFixed(source, target);
    if (!strAll.empty()) {
        return Refused(strAll);
    }
    const bool bMinimal = source.size() == g_nFewestPairs;
    std::optional<HomographyFit> found = Start(source, target, options, false);
    // The consensus is sought among views from one side, and what comes may be a mirror.
    if (!found || 2 * found->nInliers < source.size()) {
        std::optional<HomographyFit> mirrored = Start(source, target, options, true);
        if (mirrored && (!found || mirrored->nInliers > found->nInliers)) {
            found = std::move(mirrored);
        }
    }
    if (!found) {
        return Refused("no homography fits the points");
    }
    HomographyFit fit = std::move(*found);
    const auto nShare = static_cast<std::size_t>(g_dLeastShare * static_cast<double>(source.size()));
    const std::size_t nFewest = bMinimal ? g_nFewestPairs : std::max(g_nFewestInliers, nShare);
    // What the least squares gain moves a few pairs across the threshold; three rounds settle that.
    for (int nRound = 0; nRound < 3 && fit.nInliers >= nFewest && !bMinimal; ++nRound) {
        const auto refined = AsHomography(cv::findHomography(Kept(source, fit.inliers), Kept(target, fit.inliers), 0));
        if (!refined) {
            return Refused("no homography fits the points");
        }
        fit.targetFromSource = *refined;
        const std::vector<bool> before = fit.inliers;
        MarkInliers(source, target, options.dThresholdPx, fit);
        if (fit.inliers == before) {
            break;
        }
    }
    if (fit.nInliers < nFewest) {
        return Refused("of " + std::to_string(source.size()) + " pairs of points only " + std::to_string(fit.nInliers) +
                       " agree, at least " + std::to_string(nFewest) + " must");
    }
    const std::vector<cv::Point2f> kept = Kept(source, fit.inliers);
    const std::string strKept = WhyNotFixed(kept, Kept(target, fit.inliers));
    if (!strKept.empty()) {
        return Refused(strKept);
    }
    if (!KeepsTogether(fit.targetFromSource, kept)) {
        return Refused("the points fit no view of a flat surface");
    }
    return {fit, {}};
}

} // namespace Korvane

bool Korvane::CameraCalibration::CreateHomography(const std::vector<cv::Point2f>& source,
                                                  const std::vector<cv::Point2f>& target, cv::Mat& homography,
                                                  double& error, const double& threshold, const int& iterations,
                                                  const double& confidence)
{
    constexpr const char* pOperation = "CreateHomography";
    // Copied first: the numbers may be references into what is emptied next.
    const HomographyOptions options{threshold, iterations, confidence};
    homography.release();
    error = -1.0;
    try {
        if (!(options.dThresholdPx > 0.0) || !std::isfinite(options.dThresholdPx) || options.nIterations < 1 ||
            !(options.dConfidence > 0.0 && options.dConfidence < 1.0)) {
            return Fail(pOperation, "the threshold, the iterations or the confidence are out of range");
        }
        const HomographySearch search = FitHomography(source, target, options);
        if (!search.fit) {
            return Fail(pOperation, search.strReason);
        }
        homography = cv::Mat(search.fit->targetFromSource, true);
        error = search.fit->dRmsPx;
        return true;
    } catch (const std::exception& exception) {
        homography.release();
        return Fail(pOperation, exception.what());
    }
}
