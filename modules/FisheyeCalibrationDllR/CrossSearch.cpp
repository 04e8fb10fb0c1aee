#include "CrossRefinement.h"
#include "CrossView.h"
#include "RobustStatistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace Fisheye
{

namespace
{

/// The neighbourhood of the expected pixel, resampled so that the arms run along rows and columns.
struct Patch {
    int nHalf = 0;        ///< samples on each side of the centre
    double stepXMm = 0.0; ///< between columns
    double stepYMm = 0.0; ///< between rows
    cv::Mat grey;         ///< CV_32F
};

std::optional<Patch> ResamplePatch(const cv::Mat& gray, const LocalView& view, double stepPx, int nHalf)
{
    Patch patch{nHalf, stepPx / view.pxPerMmX, stepPx / view.pxPerMmY, cv::Mat(2 * nHalf + 1, 2 * nHalf + 1, CV_32F)};
    double sum = 0.0;
    int nInside = 0;
    cv::Mat outside = cv::Mat::zeros(patch.grey.size(), CV_8U);
    // Where one sample stands for several pixels it is their mean, or thin lines would be missed.
    const int nSub = stepPx > 1.4 ? 2 : 1;
    for (int row = -nHalf; row <= nHalf; ++row) {
        for (int col = -nHalf; col <= nHalf; ++col) {
            float value = 0.0f;
            bool bInside = true;
            for (int sub = 0; sub < nSub * nSub && bInside; ++sub) {
                const int nSubCol = sub % 2;
                const int nSubRow = sub / 2;
                const double dx = nSub == 1 ? 0.0 : 0.5 * nSubCol - 0.25;
                const double dy = nSub == 1 ? 0.0 : 0.5 * nSubRow - 0.25;
                const auto pixel = view.Pixel((col + dx) * patch.stepXMm, (row + dy) * patch.stepYMm);
                const auto sample = pixel ? GreyAt(gray, *pixel) : std::nullopt;
                bInside = sample.has_value();
                value += sample.value_or(0.0f) / static_cast<float>(nSub * nSub);
            }
            patch.grey.at<float>(row + nHalf, col + nHalf) = value;
            if (bInside) {
                sum += value;
                ++nInside;
            } else {
                outside.at<unsigned char>(row + nHalf, col + nHalf) = 255;
            }
        }
    }
    if (2 * nInside < patch.grey.rows * patch.grey.cols) {
        return std::nullopt;
    }
    patch.grey.setTo(sum / nInside, outside);
    return patch;
}

/// How much each sample of a row is darker than what lies three and four samples beside it, cut where single spots
/// would outweigh a line; summed down the columns (first row is zero), so that the mean of a stretch is a difference.
cv::Mat SummedDarkness(const cv::Mat& grey, bool bBright)
{
    constexpr int kReach = 4;
    cv::Mat darkness = cv::Mat::zeros(grey.size(), CV_32F);
    std::vector<double> magnitudes;
    for (int row = 0; row < grey.rows; ++row) {
        const auto* const pIn = grey.ptr<float>(row);
        auto* const pOut = darkness.ptr<float>(row);
        for (int col = kReach; col < grey.cols - kReach; ++col) {
            const float beside = 0.25f * (pIn[col - 4] + pIn[col - 3] + pIn[col + 3] + pIn[col + 4]);
            const float here = 0.25f * (pIn[col - 1] + 2.0f * pIn[col] + pIn[col + 1]);
            pOut[col] = bBright ? here - beside : beside - here;
            magnitudes.push_back(pOut[col]);
        }
    }
    const auto limit = static_cast<float>(4.0 * RobustSigma(std::move(magnitudes)) + 1.0);
    cv::Mat summed = cv::Mat::zeros(grey.rows + 1, grey.cols, CV_32F);
    for (int row = 0; row < grey.rows; ++row) {
        for (int col = 0; col < grey.cols; ++col) {
            summed.at<float>(row + 1, col) =
                summed.at<float>(row, col) + std::clamp(darkness.at<float>(row, col), -limit, limit);
        }
    }
    return summed;
}

/// Both half arms along the columns of a summed darkness, in multiples of what happens by chance.
class ArmScores
{
public:
    ArmScores(cv::Mat summed, int nHalf, int nRadius, int nArm, int nGap)
        : m_summed(std::move(summed)), m_nHalf(nHalf), m_nArm(nArm), m_nGap(nGap)
    {
        std::vector<double> means;
        for (int row = -nRadius; row <= nRadius; ++row) {
            for (int col = -nHalf + 4; col <= nHalf - 4; ++col) {
                means.push_back(Mean(row + nGap, row + nArm, col));
                means.push_back(Mean(row - nArm, row - nGap, col));
            }
        }
        m_sigma = RobustSigma(std::move(means)) + 0.05;
    }

    std::array<double, 2> At(int row, int col) const
    {
        return {Mean(row + m_nGap, row + m_nArm, col) / m_sigma, Mean(row - m_nArm, row - m_nGap, col) / m_sigma};
    }

private:
    double Mean(int rowFrom, int rowTo, int col) const
    {
        const float sum = m_summed.at<float>(rowTo + m_nHalf + 1, col + m_nHalf) -
                          m_summed.at<float>(rowFrom + m_nHalf, col + m_nHalf);
        return sum / (rowTo - rowFrom + 1);
    }

    cv::Mat m_summed;
    int m_nHalf;
    int m_nArm;
    int m_nGap;
    double m_sigma = 1.0;
};

} // namespace

std::optional<cv::Point2d> FindCross(const cv::Mat& gray, const FisheyeProjector& projector,
                                     const cv::Point2d& expectedPixel, const CrossSearch& search)
{
    const auto view = MakeLocalView(projector, expectedPixel);
    if (!view) {
        return std::nullopt;
    }
    constexpr double kSamplesPerMm = 2.5; // finer pictures are looked at more coarsely
    constexpr int kGap = 2;
    const double pxPerMm = std::min(view->pxPerMmX, view->pxPerMmY);
    const double stepPx = std::max(1.0, pxPerMm / kSamplesPerMm);
    const int nArm = static_cast<int>(search.armMm * pxPerMm / stepPx);
    const int nRadius = static_cast<int>(std::ceil(search.radiusPx / stepPx));
    if (nArm < 6 || nArm > 400 || nRadius > 400) {
        return std::nullopt;
    }
    const auto patch = ResamplePatch(gray, *view, stepPx, nArm + nRadius + 6);
    if (!patch) {
        return std::nullopt;
    }
    // Arms along Y lie in columns; the transposed patch shows the arms along X in columns.
    const ArmScores alongY(SummedDarkness(patch->grey, search.bBright), patch->nHalf, nRadius, nArm, kGap);
    const ArmScores alongX(SummedDarkness(patch->grey.t(), search.bBright), patch->nHalf, nRadius, nArm, kGap);
    constexpr double kStandsOut = 1.5;
    constexpr double kEnough = 12.0; // an arm cannot make up for the others
    constexpr double kBothHalves = 4.5;
    // The more places are tried, the better the best one is by chance.
    const double leastScore = nRadius > 5 ? 11.0 : 8.5;
    double best = 0.0;
    cv::Point bestPlace;
    for (int row = -nRadius; row <= nRadius; ++row) {
        for (int col = -nRadius; col <= nRadius; ++col) {
            const auto vertical = alongY.At(row, col);
            const auto horizontal = alongX.At(col, row);
            double score = 0.0;
            int nArms = 0;
            for (const double arm : {vertical[0], vertical[1], horizontal[0], horizontal[1]}) {
                score += std::min(arm, kEnough);
                nArms += arm > kStandsOut ? 1 : 0;
            }
            const bool bCross = nArms >= 3 && vertical[0] + vertical[1] > kBothHalves &&
                                horizontal[0] + horizontal[1] > kBothHalves && score > leastScore;
            // Among equals by the cut the higher of two full scores is the better centred one.
            score += 0.05 * (vertical[0] + vertical[1] + horizontal[0] + horizontal[1]);
            if (bCross && score > best) {
                best = score;
                bestPlace = {col, row};
            }
        }
    }
    if (best <= 0.0) {
        return std::nullopt;
    }
    return view->Pixel(bestPlace.x * patch->stepXMm, bestPlace.y * patch->stepYMm);
}

} // namespace Fisheye
