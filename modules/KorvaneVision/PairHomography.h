#pragma once

// The robust fit of a homography to point pairs, with the reasons why there is none. What `CreateHomography` and the
// search for matches share. Writes no log line.

#include <opencv2/core.hpp>

#include <optional>
#include <string>
#include <vector>

namespace Korvane
{

struct HomographyOptions {
    double dThresholdPx = 3.0; ///< a pair farther off than this is an outlier; of the target picture
    int nIterations = 2000;    ///< most samples that are drawn
    double dConfidence = 0.995;
};

struct HomographyFit {
    cv::Matx33d targetFromSource;
    std::vector<bool> inliers; ///< one a pair
    std::size_t nInliers = 0;
    double dRmsPx = 0.0; ///< of the inliers
};

struct HomographySearch {
    std::optional<HomographyFit> fit;
    std::string strReason; ///< why there is none
};

/// MAGSAC++ (Barath et al. 2020) for the consensus, least squares of the distances over its inliers for the result.
/// Refused are fewer than four pairs, numbers that are not finite, points on a line or all but one on a line, a
/// consensus that chance could have made, and a homography that tears what it was fitted to.
HomographySearch FitHomography(const std::vector<cv::Point2f>& source, const std::vector<cv::Point2f>& target,
                               const HomographyOptions& options);

/// How far the homography may be off at a place, standard deviation in pixels: what the scatter of the inliers and
/// where they lie leave open.
double DoubtPx(const HomographyFit& fit, const std::vector<cv::Point2f>& target, const cv::Point2d& place);

/// Where a homography puts a point.
cv::Point2d Mapped(const cv::Matx33d& bFromA, const cv::Point2d& a);

} // namespace Korvane
