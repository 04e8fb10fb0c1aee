#include "DotLocator.h"

#include <algorithm>
#include <cmath>

namespace Workbench
{

namespace
{

constexpr int g_nParameters = 6;

using Vector = cv::Vec<double, g_nParameters>;
using Matrix = cv::Matx<double, g_nParameters, g_nParameters>;

/// Darkness of a blurred disc at a distance from its centre, 0 to 1, and its derivative.
double Disc(double dDistance, const DotOptions& options, double& dDerivative)
{
    const double t = (dDistance - options.radiusPx) / options.blurPx;
    dDerivative = -std::exp(-0.5 * t * t) / (options.blurPx * std::sqrt(2.0 * CV_PI));
    return 0.5 * std::erfc(t / std::sqrt(2.0));
}

/// The darkest small disc around the expected place, as a start.
cv::Point2d CoarsePlace(const cv::Mat& grey, const cv::Point2d& expectedPx, const DotOptions& options)
{
    const int nReach = static_cast<int>(options.searchPx);
    const int nHalf = std::max(1, static_cast<int>(options.radiusPx));
    const cv::Rect window = cv::Rect(static_cast<int>(std::lround(expectedPx.x)) - nReach - nHalf,
                                     static_cast<int>(std::lround(expectedPx.y)) - nReach - nHalf,
                                     2 * (nReach + nHalf) + 1, 2 * (nReach + nHalf) + 1) &
                            cv::Rect(0, 0, grey.cols, grey.rows);
    cv::Point2d best = expectedPx;
    double dDarkest = 1.0e9;
    for (int y = window.y + nHalf; y < window.br().y - nHalf; y += 2) {
        for (int x = window.x + nHalf; x < window.br().x - nHalf; x += 2) {
            const double dMean = cv::mean(grey(cv::Rect(x - nHalf, y - nHalf, 2 * nHalf + 1, 2 * nHalf + 1)))[0];
            if (dMean < dDarkest) {
                dDarkest = dMean;
                best = cv::Point2d(x, y);
            }
        }
    }
    return best;
}

} // namespace

std::optional<cv::Point2d> LocateDot(const cv::Mat& grey, const cv::Point2d& expectedPx, const DotOptions& options)
{
    CV_Assert(grey.type() == CV_8UC1 && options.radiusPx > 0.0);
    const int nHalf = static_cast<int>(std::ceil(options.radiusPx + 4.0 * options.blurPx));
    cv::Point2d centre = CoarsePlace(grey, expectedPx, options);
    // Background at the centre, its slopes, the contrast.
    double dResidualRms = 0.0;
    double dBackground = 128.0, dSlopeX = 0.0, dSlopeY = 0.0, dContrast = 50.0;
    // Gauss-Newton; the coarse place lies well inside the dot.
    for (int nRound = 0; nRound < 15; ++nRound) {
        const cv::Rect window(static_cast<int>(std::lround(centre.x)) - nHalf,
                              static_cast<int>(std::lround(centre.y)) - nHalf, 2 * nHalf + 1, 2 * nHalf + 1);
        if ((window & cv::Rect(0, 0, grey.cols, grey.rows)) != window) {
            return std::nullopt;
        }
        Matrix normal = Matrix::zeros();
        Vector right = Vector::zeros();
        double dSquares = 0.0;
        for (int y = window.y; y < window.br().y; ++y) {
            const unsigned char* pRow = grey.ptr(y);
            for (int x = window.x; x < window.br().x; ++x) {
                const double dx = x - centre.x;
                const double dy = y - centre.y;
                const double dDistance = std::hypot(dx, dy);
                double dDerivative = 0.0;
                const double dDisc = Disc(dDistance, options, dDerivative);
                const double dRadial = dDistance > 1.0e-9 ? dContrast * dDerivative / dDistance : 0.0;
                // Moving the centre by +1 in x changes the distance by -dx / distance.
                const Vector j(dRadial * dx, dRadial * dy, 1.0, dx, dy, -dDisc);
                const double dResidual = pRow[x] - (dBackground + dSlopeX * dx + dSlopeY * dy - dContrast * dDisc);
                dSquares += dResidual * dResidual;
                for (int r = 0; r < g_nParameters; ++r) {
                    right[r] += j[r] * dResidual;
                    for (int c = 0; c < g_nParameters; ++c) {
                        normal(r, c) += j[r] * j[c];
                    }
                }
            }
        }
        dResidualRms = std::sqrt(dSquares / window.area());
        for (int i = 0; i < g_nParameters; ++i) {
            normal(i, i) *= 1.0 + 1.0e-9;
        }
        Vector step;
        if (!cv::solve(normal, right, step, cv::DECOMP_CHOLESKY)) {
            return std::nullopt;
        }
        const double dMove = std::hypot(step[0], step[1]);
        const double dHeld = dMove > 2.0 ? 2.0 / dMove : 1.0;
        centre += cv::Point2d(dHeld * step[0], dHeld * step[1]);
        dBackground += step[2];
        dSlopeX += step[3];
        dSlopeY += step[4];
        dContrast += step[5];
        if (!std::isfinite(centre.x) || !std::isfinite(centre.y) ||
            cv::norm(centre - expectedPx) > 2.0 * options.searchPx) {
            return std::nullopt;
        }
        if (dMove < 1.0e-4) {
            break;
        }
    }
    // What does not look like a dot is none, however dark it is.
    constexpr double dMostResidual = 0.5;
    if (dContrast < options.leastContrast || dResidualRms > dMostResidual * dContrast ||
        cv::norm(centre - expectedPx) > options.searchPx) {
        return std::nullopt;
    }
    return centre;
}

} // namespace Workbench
