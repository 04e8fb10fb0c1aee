#pragma once

// Puts marks on the grid that they were engraved on, whatever the lens has bent: by walking from neighbour to
// neighbour, since sorting by y fails under fisheye.

#include <opencv2/core/types.hpp>

#include <optional>
#include <vector>

namespace CrossPts
{

/// Row and column of each point, in the order of `points`, counted from the top left.
/// @param points  upright picture, pixels; a turn of up to about 30 degrees is borne
/// Empty when the points do not fill nRows x nCols cells, each exactly once.
std::optional<std::vector<cv::Point>> FitLattice(const std::vector<cv::Point2d>& points, int nRows, int nCols);

} // namespace CrossPts
