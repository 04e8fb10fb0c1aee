#include "CrossRefinement.h"

#include "CrossView.h"
#include "RobustStatistics.h"

#include <Eigen/Dense>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace Fisheye
{

namespace
{

/// One pixel beside an arm: where it lies along and across the arm, and its grey value.
struct ArmPixel {
    double alongMm;
    double acrossMm;
    double grey;
};

/// Where the line is within one stretch of an arm.
struct BlockPosition {
    double alongMm;
    double acrossMm;
    double sigmaMm;
    double depth; ///< grey levels
};

/// A straight line across = offset + slope * along.
struct ArmLine {
    double offsetMm = 0.0;
    double slope = 0.0;
    double sigmaMm = 0.0;
    double depth = 0.0;
    double seenShare = 0.0;
};

constexpr int kMostBlocksPerHalf = 10;
constexpr double kBlockPx = 3.0;
constexpr double kGapPx = 2.5; ///< the other line covers what is nearer to the centre

/// All pixels within reach of the two arms, in millimetres from the origin of the view. First those beside the arm
/// along X (across is y), then those beside the arm along Y (across is x).
std::array<std::vector<ArmPixel>, 2> CollectArmPixels(const cv::Mat& gray, const LocalView& view, double armMm,
                                                      double reachPx)
{
    std::array<std::vector<ArmPixel>, 2> arms;
    const double reachXMm = reachPx / view.pxPerMmX;
    const double reachYMm = reachPx / view.pxPerMmY;
    const std::array<cv::Point2d, 2> reachMm{cv::Point2d(armMm, reachYMm), cv::Point2d(reachXMm, armMm)};
    for (std::size_t arm = 0; arm < 2; ++arm) {
        // Bounding box of the bent strip: its outline at nine points.
        double left = gray.cols;
        double top = gray.rows;
        double right = -1.0;
        double bottom = -1.0;
        for (int i = -1; i <= 1; ++i) {
            for (int j = -1; j <= 1; ++j) {
                if (const auto pixel = view.Pixel(i * reachMm[arm].x, j * reachMm[arm].y)) {
                    left = std::min(left, pixel->x);
                    right = std::max(right, pixel->x);
                    top = std::min(top, pixel->y);
                    bottom = std::max(bottom, pixel->y);
                }
            }
        }
        const int nLeft = std::max(0, static_cast<int>(left) - 2);
        const int nRight = std::min(gray.cols - 1, static_cast<int>(right) + 3);
        const int nTop = std::max(0, static_cast<int>(top) - 2);
        const int nBottom = std::min(gray.rows - 1, static_cast<int>(bottom) + 3);
        for (int y = nTop; y <= nBottom; ++y) {
            for (int x = nLeft; x <= nRight; ++x) {
                const auto surface = view.projector.SurfaceFromPixel(cv::Point2d(x, y));
                if (!surface) {
                    continue;
                }
                const cv::Point2d offset = *surface - view.originMm;
                if (std::abs(offset.x) <= reachMm[arm].x && std::abs(offset.y) <= reachMm[arm].y) {
                    arms[arm].push_back({arm == 0 ? offset.x : offset.y, arm == 0 ? offset.y : offset.x,
                                         static_cast<double>(gray.at<unsigned char>(y, x))});
                }
            }
        }
    }
    return arms;
}

/// Fits background, tilt of the background, depth and place of a line of Gaussian profile to the pixels of one block,
/// linear in the place around `line`.
std::optional<BlockPosition> FitBlock(const std::vector<const ArmPixel*>& pixels, const ArmLine& line, double profileMm,
                                      double sign, double* pSumSquares)
{
    if (pixels.size() < 12) {
        return std::nullopt;
    }
    // Summed up as the pixels come, without memory of their own.
    double products[4][4] = {};
    double greyProducts[4] = {};
    double greySquares = 0.0;
    double alongMm = 0.0;
    for (const ArmPixel* pPixel : pixels) {
        const double distance = pPixel->acrossMm - line.offsetMm - line.slope * pPixel->alongMm;
        const double z = distance / profileMm;
        const double profile = std::exp(-0.5 * z * z);
        const double terms[4] = {1.0, z, -sign * profile, -sign * profile * z / profileMm};
        for (int row = 0; row < 4; ++row) {
            for (int col = 0; col <= row; ++col) {
                products[row][col] += terms[row] * terms[col];
            }
            greyProducts[row] += terms[row] * pPixel->grey;
        }
        greySquares += pPixel->grey * pPixel->grey;
        alongMm += pPixel->alongMm;
    }
    alongMm /= static_cast<double>(pixels.size());
    // The lower triangle is all that the decomposition reads.
    const Eigen::Matrix4d normal = Eigen::Map<const Eigen::Matrix<double, 4, 4, Eigen::RowMajor>>(&products[0][0]);
    const Eigen::LDLT<Eigen::Matrix4d> ldlt(normal);
    if (ldlt.info() != Eigen::Success || !(ldlt.vectorD().minCoeff() > 1.0e-12 * ldlt.vectorD().maxCoeff())) {
        return std::nullopt;
    }
    const Eigen::Map<const Eigen::Vector4d> right(greyProducts);
    const Eigen::Vector4d solution = ldlt.solve(right);
    const double sumSquares = std::max(0.0, greySquares - solution.dot(right));
    if (pSumSquares) {
        *pSumSquares += sumSquares;
    }
    // A quarter of a grey level: no picture of eight bits is quieter.
    const double noise = std::sqrt(sumSquares / static_cast<double>(pixels.size() - 4) + 0.0625);
    const Eigen::Matrix4d covariance = ldlt.solve(Eigen::Matrix4d::Identity());
    const double depth = solution[2];
    if (!(depth > 2.0 * noise * std::sqrt(covariance(2, 2))) || !(depth > 1.0)) {
        return std::nullopt;
    }
    const double shiftMm = solution[3] / depth;
    if (std::abs(shiftMm) > 2.5 * profileMm) {
        return std::nullopt;
    }
    return BlockPosition{alongMm, line.offsetMm + line.slope * alongMm + shiftMm,
                         noise * std::sqrt(covariance(3, 3)) / depth, depth};
}

/// Robust straight line through the blocks, its slope held by a prior. Empty for too few blocks.
std::optional<ArmLine> FitLine(const std::vector<BlockPosition>& blocks, const ArmLine& start, double slopeSigma,
                               double floorMm, int nBlocksPerHalf)
{
    if (blocks.size() < 5) {
        return std::nullopt;
    }
    ArmLine line = start;
    std::vector<double> residuals(blocks.size());
    for (int iteration = 0; iteration < 8; ++iteration) {
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            residuals[i] = blocks[i].acrossMm - line.offsetMm - line.slope * blocks[i].alongMm;
        }
        if (iteration == 0) {
            // The start may be off as a whole.
            const double median = MedianOf(residuals);
            line.offsetMm += median;
            for (double& residual : residuals) {
                residual -= median;
            }
        }
        const double scatterMm = std::max(RobustSigma(residuals), floorMm);
        double s0 = 0.0;
        double s1 = 0.0;
        double s2 = 1.0 / (slopeSigma * slopeSigma);
        double r0 = 0.0;
        double r1 = 0.0;
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            const BlockPosition& block = blocks[i];
            const double z = residuals[i] / (3.0 * std::max(scatterMm, block.sigmaMm));
            const double robust = 1.0 / (1.0 + z * z * z * z);
            const double weight = robust / (block.sigmaMm * block.sigmaMm + scatterMm * scatterMm);
            s0 += weight;
            s1 += weight * block.alongMm;
            s2 += weight * block.alongMm * block.alongMm;
            r0 += weight * block.acrossMm;
            r1 += weight * block.acrossMm * block.alongMm;
        }
        const double determinant = s0 * s2 - s1 * s1;
        if (!(determinant > 0.0)) {
            return std::nullopt;
        }
        line.offsetMm = (s2 * r0 - s1 * r1) / determinant;
        line.slope = (s0 * r1 - s1 * r0) / determinant;
        line.sigmaMm = std::sqrt(s2 / determinant);
    }
    std::vector<double> depths;
    double nInline = 0.0;
    for (const BlockPosition& block : blocks) {
        const double residual = block.acrossMm - line.offsetMm - line.slope * block.alongMm;
        if (std::abs(residual) < 4.0 * std::max(floorMm, 2.0 * block.sigmaMm)) {
            nInline += 1.0;
        }
        depths.push_back(block.depth);
    }
    line.depth = MedianOf(depths);
    line.seenShare = nInline / (2.0 * nBlocksPerHalf);
    return line;
}

/// Pixels of an arm sorted into blocks along it.
std::vector<std::vector<const ArmPixel*>> Blocks(const std::vector<ArmPixel>& pixels, double armMm, double gapMm,
                                                 const ArmLine& line, double reachMm, int nPerHalf)
{
    std::vector<std::vector<const ArmPixel*>> blocks(2 * static_cast<std::size_t>(nPerHalf));
    for (const ArmPixel& pixel : pixels) {
        const double along = std::abs(pixel.alongMm);
        if (along < gapMm || along >= armMm ||
            std::abs(pixel.acrossMm - line.offsetMm - line.slope * pixel.alongMm) > reachMm) {
            continue;
        }
        const int nBlock = static_cast<int>((along - gapMm) / (armMm - gapMm) * nPerHalf);
        const int nSide = pixel.alongMm < 0.0 ? 0 : nPerHalf;
        blocks[static_cast<std::size_t>(std::min(nBlock, nPerHalf - 1)) + static_cast<std::size_t>(nSide)].push_back(
            &pixel);
    }
    return blocks;
}

/// Position of the line along one arm.
/// @param pxPerMm  across the arm; along it the scale is taken for the same
std::optional<ArmLine> MeasureArm(const std::vector<ArmPixel>& pixels, double pxPerMm, const CrossSearch& search)
{
    constexpr double kReachPx = 6.0;
    constexpr std::array<double, 9> kProfilesPx{0.55, 0.7, 0.85, 1.0, 1.15, 1.35, 1.6, 2.0, 2.5};
    const double sign = search.bBright ? -1.0 : 1.0;
    const double gapMm = kGapPx / pxPerMm;
    const int nPerHalf =
        std::clamp(static_cast<int>((search.armMm * pxPerMm - kGapPx) / kBlockPx), 3, kMostBlocksPerHalf);
    ArmLine line;
    double profilePx = 1.15;
    for (int iteration = 0; iteration < 8; ++iteration) {
        const auto blocks = Blocks(pixels, search.armMm, gapMm, line, kReachPx / pxPerMm, nPerHalf);
        if (iteration == 2 || iteration == 5) {
            // The width of the line decides how much a block's place depends on how pixels happen to lie.
            double best = -1.0;
            for (const double candidatePx : kProfilesPx) {
                double sumSquares = 0.0;
                for (const auto& block : blocks) {
                    FitBlock(block, line, candidatePx / pxPerMm, sign, &sumSquares);
                }
                if (best < 0.0 || sumSquares < best) {
                    best = sumSquares;
                    profilePx = candidatePx;
                }
            }
        }
        std::vector<BlockPosition> positions;
        for (const auto& block : blocks) {
            if (const auto position = FitBlock(block, line, profilePx / pxPerMm, sign, nullptr)) {
                positions.push_back(*position);
            }
        }
        const auto next = FitLine(positions, line, search.slope, 0.05 / pxPerMm, nPerHalf);
        if (!next) {
            return std::nullopt;
        }
        line = *next;
    }
    return line;
}

} // namespace

std::optional<CrossCentre> MeasureCross(const cv::Mat& gray, const FisheyeProjector& projector,
                                        const cv::Point2d& nearPixel, const CrossSearch& search)
{
    const auto view = MakeLocalView(projector, nearPixel);
    if (!view) {
        return std::nullopt;
    }
    const double pxPerMm = std::min(view->pxPerMmX, view->pxPerMmY);
    if (search.armMm * pxPerMm < 2.0 * kGapPx || search.armMm * pxPerMm > 2000.0) {
        return std::nullopt;
    }
    constexpr double kCollectPx = 10.0;
    const auto arms = CollectArmPixels(gray, *view, search.armMm, kCollectPx);
    const auto alongX = MeasureArm(arms[0], view->pxPerMmY, search);
    const auto alongY = MeasureArm(arms[1], view->pxPerMmX, search);
    if (!alongX || !alongY) {
        return std::nullopt;
    }
    // y = a + b x and x = c + d y meet.
    const double yMm = (alongX->offsetMm + alongX->slope * alongY->offsetMm) / (1.0 - alongX->slope * alongY->slope);
    const double xMm = alongY->offsetMm + alongY->slope * yMm;
    const auto pixel = view->Pixel(xMm, yMm);
    if (!pixel || cv::norm(*pixel - nearPixel) > kCollectPx) {
        return std::nullopt;
    }
    CrossCentre centre;
    centre.pixel = *pixel;
    centre.sigmaPx = std::hypot(alongX->sigmaMm * view->pxPerMmY, alongY->sigmaMm * view->pxPerMmX) / std::sqrt(2.0);
    centre.contrast = 0.5 * (alongX->depth + alongY->depth);
    centre.lineShare = std::min(alongX->seenShare, alongY->seenShare);
    return centre;
}

std::optional<CrossCentre> LocateCross(const cv::Mat& gray, const FisheyeProjector& projector,
                                       const cv::Point2d& expected, const CrossSearch& search, bool bSearch)
{
    constexpr double kLeastShare = 0.35;
    constexpr double kLeastContrast = 2.0;
    for (const double part : {1.0, 0.5, 0.28}) {
        CrossSearch shorter = search;
        shorter.armMm *= part;
        const std::optional<cv::Point2d> start =
            bSearch ? FindCross(gray, projector, expected, shorter) : std::optional(expected);
        if (!start) {
            continue;
        }
        const std::optional<CrossCentre> centre = MeasureCross(gray, projector, *start, shorter);
        if (centre && centre->lineShare >= kLeastShare && centre->contrast >= kLeastContrast) {
            return centre;
        }
    }
    return std::nullopt;
}

} // namespace Fisheye
