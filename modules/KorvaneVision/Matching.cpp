// Matching points of the two pictures: features inside the two regions of the pictures made smaller, then each match
// to a small part of a pixel in the full ones.

#include "Alignment.h"
#include "Grey.h"
#include "PairHomography.h"
#include "Upright.h"
#include "VisionError.h"

#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <string>
#include <tuple>
#include <utility>

namespace
{

using Korvane::CameraCalibration::ImageDirFlags;

constexpr int g_nSmallestSidePx = 32;
/// A feature needs its surroundings.
constexpr int g_nSmallestReducedPx = 8;
/// The strongest features of a region: more cost time and tell nothing new.
constexpr int g_nMostFeatures = 2500;
/// Searched are at most so many pixels of a region; a larger one is made smaller still.
constexpr double g_dMostPixels = 1.2e6;
/// Low, so that a dim picture has features too; which are the strongest does not depend on the light.
constexpr double g_dFeatureContrast = 0.012;
constexpr std::size_t g_nFewestMatches = 8;
/// How far the matches of the smaller pictures may be off one homography, in pixels of the full ones: what two lens
/// models leave over a region, and the features' own inexactness.
constexpr double g_dRoughPx = 8.0;
/// How exact the matches must be at the upper and lower ends of the region, standard deviation.
constexpr double g_dLargestDoubtPx = 1.5;
constexpr double g_dSmoothingPx = 0.8;

/// One region of one upright picture.
struct Region {
    cv::Rect place;                  ///< in the upright picture
    cv::Mat grey;                    ///< CV_8UC1
    std::vector<cv::Point2d> points; ///< of the features, in the upright picture
    cv::Mat descriptors;
};

/// The part of a region that lies in the picture. Regions come from a mouse: they may reach beyond, by any number.
cv::Rect Clipped(const cv::Rect& region, const cv::Size& picture)
{
    const auto end = [](int nFrom, int nLength, int nLast) {
        return static_cast<int>(std::min<std::int64_t>(std::int64_t{nFrom} + std::max(nLength, 0), nLast));
    };
    const cv::Point from(std::max(region.x, 0), std::max(region.y, 0));
    const cv::Point to(end(region.x, region.width, picture.width), end(region.y, region.height, picture.height));
    return to.x > from.x && to.y > from.y ? cv::Rect(from, to) : cv::Rect();
}

void FindFeatures(Region& region, double dScaleX, double dScaleY)
{
    const double dPixels = static_cast<double>(region.place.area()) * dScaleX * dScaleY;
    const double dMore = dPixels > g_dMostPixels ? std::sqrt(g_dMostPixels / dPixels) : 1.0;
    const cv::Size size(std::max(cvRound(region.place.width * dScaleX * dMore), 1),
                        std::max(cvRound(region.place.height * dScaleY * dMore), 1));
    if (std::min(size.width, size.height) < g_nSmallestReducedPx) {
        return;
    }
    cv::Mat reduced;
    cv::resize(region.grey, reduced, size, 0.0, 0.0, cv::INTER_AREA);
    std::vector<cv::KeyPoint> keys;
    const auto pDetector = cv::SIFT::create(g_nMostFeatures, 3, g_dFeatureContrast);
    pDetector->detectAndCompute(reduced, cv::noArray(), keys, region.descriptors);
    const double dStepX = static_cast<double>(region.place.width) / size.width;
    const double dStepY = static_cast<double>(region.place.height) / size.height;
    for (const cv::KeyPoint& key : keys) {
        region.points.emplace_back(region.place.x + (static_cast<double>(key.pt.x) + 0.5) * dStepX - 0.5,
                                   region.place.y + (static_cast<double>(key.pt.y) + 0.5) * dStepY - 0.5);
    }
    // Hellinger distance tells more than the Euclidean one (Arandjelovic and Zisserman 2012).
    for (int i = 0; i < region.descriptors.rows; ++i) {
        cv::Mat row = region.descriptors.row(i);
        cv::normalize(row, row, 1.0, 0.0, cv::NORM_L1);
        cv::sqrt(row, row);
    }
}

/// The nearest of `there` for each of `here`, where it is nearer than the second by the ratio; -1 for the others.
std::vector<int> Nearest(const cv::Mat& here, const cv::Mat& there, double dRatio)
{
    std::vector<std::vector<cv::DMatch>> found;
    cv::BFMatcher(cv::NORM_L2).knnMatch(here, there, found, 2);
    std::vector<int> nearest(static_cast<std::size_t>(here.rows), -1);
    for (const auto& best : found) {
        if (best.size() == 2 &&
            static_cast<double>(best[0].distance) < dRatio * static_cast<double>(best[1].distance)) {
            nearest[static_cast<std::size_t>(best[0].queryIdx)] = best[0].trainIdx;
        }
    }
    return nearest;
}

struct Pairs {
    std::vector<cv::Point2f> right, left;
};

/// Ratio test both ways, and each the other's nearest.
Pairs MutualMatches(const Region& left, const Region& right, double dRatio)
{
    Pairs pairs;
    const std::vector<int> leftToRight = Nearest(left.descriptors, right.descriptors, dRatio);
    const std::vector<int> rightToLeft = Nearest(right.descriptors, left.descriptors, dRatio);
    for (std::size_t i = 0; i < leftToRight.size(); ++i) {
        const int nRight = leftToRight[i];
        if (nRight >= 0 && rightToLeft[static_cast<std::size_t>(nRight)] == static_cast<int>(i)) {
            pairs.left.emplace_back(left.points[i]);
            pairs.right.emplace_back(right.points[static_cast<std::size_t>(nRight)]);
        }
    }
    return pairs;
}

cv::Mat Smooth(const cv::Mat& grey)
{
    cv::Mat smooth;
    grey.convertTo(smooth, CV_32F);
    cv::GaussianBlur(smooth, smooth, {}, g_dSmoothingPx);
    return smooth;
}

/// The matches that agree with the homography, each moved to where the full pictures show it. The right region is
/// brought over the left one once, so that what is left of each is a shift of a few pixels.
Pairs Refined(const Region& left, const Region& right, const Pairs& pairs, const Korvane::HomographyFit& fit)
{
    const cv::Matx33d leftFromPlace(1.0, 0.0, left.place.x, 0.0, 1.0, left.place.y, 0.0, 0.0, 1.0);
    const cv::Matx33d rightFromPlace(1.0, 0.0, right.place.x, 0.0, 1.0, right.place.y, 0.0, 0.0, 1.0);
    const cv::Matx33d rightFromLeft = fit.targetFromSource.inv();
    const cv::Matx33d placeFromPlace = rightFromPlace.inv() * rightFromLeft * leftFromPlace;
    const cv::Mat fixed = Smooth(left.grey);
    cv::Mat moving;
    cv::warpPerspective(Smooth(right.grey), moving, placeFromPlace, fixed.size(),
                        cv::INTER_CUBIC | cv::WARP_INVERSE_MAP, cv::BORDER_CONSTANT);
    Korvane::AlignmentOptions options;
    options.dReachPx = g_dRoughPx;
    const cv::Point2d corner(left.place.tl());
    const cv::Rect2d rightPlace(right.place);
    std::vector<cv::Point2d> found(pairs.left.size());
    std::vector<unsigned char> isFound(pairs.left.size(), 0);
    cv::parallel_for_(cv::Range(0, static_cast<int>(pairs.left.size())), [&](const cv::Range& range) {
        for (auto i = static_cast<std::size_t>(range.start); i < static_cast<std::size_t>(range.end); ++i) {
            if (!fit.inliers[i]) {
                continue;
            }
            const auto aligned = Korvane::AlignedPoint(fixed, moving, cv::Point2d(pairs.left[i]) - corner, options);
            if (aligned) {
                found[i] = Korvane::Mapped(rightFromLeft, *aligned + corner);
                isFound[i] = rightPlace.contains(found[i]) ? 1 : 0;
            }
        }
    });
    Pairs refined;
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (isFound[i] != 0) {
            refined.left.push_back(pairs.left[i]);
            refined.right.emplace_back(found[i]);
        }
    }
    return refined;
}

/// Empty when the numbers are those of a search, else what is wrong.
std::string WhyNoSearch(double dScaleX, double dScaleY, double dRatio)
{
    const auto isScale = [](double d) { return d >= 0.05 && d <= 1.0; };
    if (!isScale(dScaleX) || !isScale(dScaleY)) {
        return "the scales of the search are not between 0.05 and 1";
    }
    return dRatio > 0.0 && dRatio <= 1.0 ? std::string() : "the ratio of the search is not between 0 and 1";
}

std::string PlaceInWords(const cv::Rect& region)
{
    return std::to_string(region.width) + " x " + std::to_string(region.height) + " at (" + std::to_string(region.x) +
           ", " + std::to_string(region.y) + ")";
}

/// @return empty when `pairs` holds matches, else why there are none
std::string MatchRegions(Region& left, Region& right, double dScaleX, double dScaleY, double dRatio, Pairs& pairs)
{
    for (auto& [pRegion, pName] : {std::pair{&left, "left"}, std::pair{&right, "right"}}) {
        FindFeatures(*pRegion, dScaleX, dScaleY);
        if (pRegion->points.size() < g_nFewestMatches) {
            return "only " + std::to_string(pRegion->points.size()) + " features are seen in the " + pName +
                   " region, at least " + std::to_string(g_nFewestMatches) + " are needed";
        }
    }
    const Pairs rough = MutualMatches(left, right, dRatio);
    if (rough.left.size() < g_nFewestMatches) {
        return "only " + std::to_string(rough.left.size()) + " features of the two regions match, at least " +
               std::to_string(g_nFewestMatches) + " are needed";
    }
    const Korvane::HomographySearch search = Korvane::FitHomography(rough.right, rough.left, {g_dRoughPx, 5000, 0.999});
    if (!search.fit) {
        return "the matches fit no flat surface: " + search.strReason;
    }
    // Both pictures are upright and seen from above.
    if (search.fit->nInliers < g_nFewestMatches || !(cv::determinant(search.fit->targetFromSource) > 0.0)) {
        return "only " + std::to_string(search.fit->nInliers) + " of " + std::to_string(rough.left.size()) +
               " matches fit one flat surface, at least " + std::to_string(g_nFewestMatches) + " must";
    }
    pairs = Refined(left, right, rough, *search.fit);
    if (pairs.left.size() < g_nFewestMatches) {
        return "only " + std::to_string(pairs.left.size()) + " matches hold in the full pictures, at least " +
               std::to_string(g_nFewestMatches) + " must";
    }
    const Korvane::HomographySearch last = Korvane::FitHomography(pairs.right, pairs.left, {g_dRoughPx, 5000, 0.999});
    if (!last.fit) {
        return "the matches fit no flat surface: " + last.strReason;
    }
    const double dMiddle = left.place.x + 0.5 * left.place.width;
    const double dDoubt = std::max(Korvane::DoubtPx(*last.fit, pairs.left, {dMiddle, 1.0 * left.place.y}),
                                   Korvane::DoubtPx(*last.fit, pairs.left, {dMiddle, 1.0 * left.place.br().y}));
    if (dDoubt > g_dLargestDoubtPx) {
        return "the " + std::to_string(pairs.left.size()) +
               " matches are too few or cover too little of the regions: " + "at their ends the pictures may be " +
               std::to_string(dDoubt) + " px off each other, at most " + std::to_string(g_dLargestDoubtPx) +
               " is accepted";
    }
    return {};
}

} // namespace

bool Korvane::CameraCalibration::CalibrationMatchPointsForDualCam(
    const cv::Mat& left, const ImageDirFlags& leftFlags, const cv::Rect& leftRoi, const cv::Mat& right,
    const ImageDirFlags& rightFlags, const cv::Rect& rightRoi, const double& a, const double& b, const double& ratio,
    std::vector<cv::Point2f>& first, std::vector<cv::Point2f>& second)
{
    constexpr const char* pOperation = "CalibrationMatchPointsForDualCam";
    first.clear();
    second.clear();
    try {
        for (const std::string& strProblem : {WhyNoPair(left, right), WhyNoSearch(a, b, ratio)}) {
            if (!strProblem.empty()) {
                return Fail(pOperation, strProblem);
            }
        }
        Region leftRegion, rightRegion;
        const cv::Mat turnedLeft = Upright(left, leftFlags);
        const cv::Mat turnedRight = Upright(right, rightFlags);
        for (const auto& [pRegion, pTurned, pWanted, pName] :
             {std::tuple{&leftRegion, &turnedLeft, &leftRoi, "left"},
              std::tuple{&rightRegion, &turnedRight, &rightRoi, "right"}}) {
            pRegion->place = Clipped(*pWanted, pTurned->size());
            if (std::min(pRegion->place.width, pRegion->place.height) < g_nSmallestSidePx) {
                return Fail(pOperation, std::string("the ") + pName + " region " + PlaceInWords(*pWanted) +
                                            " has less than 32 pixels a side inside the picture of " +
                                            std::to_string(pTurned->cols) + " x " + std::to_string(pTurned->rows));
            }
            pRegion->grey = Korvane::Grey((*pTurned)(pRegion->place));
        }
        Pairs pairs;
        const std::string strProblem = MatchRegions(leftRegion, rightRegion, a, b, ratio, pairs);
        if (!strProblem.empty()) {
            return Fail(pOperation, strProblem);
        }
        first = std::move(pairs.right);
        second = std::move(pairs.left);
        return true;
    } catch (const std::exception& exception) {
        first.clear();
        second.clear();
        return Fail(pOperation, exception.what());
    }
}
