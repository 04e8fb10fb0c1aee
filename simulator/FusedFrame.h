#pragma once

// Where things lie in the picture that the vision module fuses from the two cameras of a manual machine: the frame in
// which its operator marks the crosses. Knows the truth and asks the module, so it is for tests, for reports and for
// hosts that play the operator; who uses it links the real module.

#include "Clicks.h"
#include "Machine.h"

#include <opencv2/core.hpp>

#include <optional>
#include <string>
#include <vector>

namespace Simulator
{

/// Pixel of a raw picture of this size after the turn by 90 degrees clockwise that makes it upright.
cv::Point2d UprightPoint(const cv::Point2d& raw, const cv::Size& rawSize);

/// The same turn as a matrix, for whole pictures.
cv::Matx33d UprightFromRaw(const cv::Size& rawSize);

struct FusedFrame {
    cv::Point2d originPx; ///< of the upright left picture's (0, 0) in the fused picture
    cv::Size sizePx;
};

/// Shows the module a bright square and looks where it comes out.
/// @param leftFromRight  3 x 3 CV_64F, upright right picture to upright left one
/// @return empty where the module does not blend the two pictures
std::optional<FusedFrame> AskFusedFrame(const Machine& machine, const cv::Mat& leftFromRight);

struct CrossMark {
    Side side = Side::Left; ///< whose picture shows the cross
    cv::Point2d place;      ///< where the operator marks it, pixels of the fused picture
    cv::Point2d off;        ///< how far that is from the cross
};

/// The marks of an operator who sees every cross, in the order of the grid; empty where a cross lies outside of the
/// picture of its camera.
std::vector<CrossMark> MarksOf(const Machine& machine, const cv::Mat& leftFromRight, const FusedFrame& frame,
                               const ClickOptions& options);

/// The places of `MarksOf` with a homography from a file.
/// @param strHomography  local 8-bit path of what `SaveHomography` has written
/// @return empty, too, where the file cannot be read or the module does not blend
std::vector<cv::Point2d> MarkCrosses(const Machine& machine, const std::string& strHomography,
                                     const ClickOptions& options);

/// @param homography  3 x 3, CV_64F
cv::Point2d Mapped(const cv::Mat& homography, const cv::Point2d& p);

} // namespace Simulator
