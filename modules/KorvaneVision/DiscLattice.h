#pragma once

// Discs on a lattice: which disc stands in which row and column, and how well all of them fit one flat lattice seen
// through a lens. Works on centres and sizes only, never on the picture.

#include "Discs.h"

#include <opencv2/core.hpp>

#include <optional>
#include <vector>

namespace Korvane
{

struct LatticeSearch {
    std::vector<std::size_t> order; ///< indices of the discs, row by row, `width` to a row; empty when not found
    std::size_t nLargest = 0;       ///< most discs that ever hung together
    bool bTooLarge = false;         ///< a lattice with more rows or columns than the chart has
};

/// Walks from disc to disc over every candidate and accepts what fills the chart's rows and columns and no more.
/// Rows and columns turn with the picture but are never mirrored: from the first row's direction to the first column's
/// is a turn to the right. Of the ways that are left, the one whose first disc lies left of the last.
LatticeSearch FindLattice(const std::vector<Disc>& discs, const cv::Size& board);

/// A flat lattice of unit pitch seen by a camera with radial distortion about the picture's centre and decentring
/// (Brown 1966), which also makes up for an axis that is not quite in the centre.
class LatticeModel
{
public:
    /// @param centres  row by row
    /// @return empty where no lattice passes near the points
    static std::optional<LatticeModel> Fit(const std::vector<cv::Point2d>& centres, const cv::Size& board,
                                           const cv::Size& picture);

    /// Pixel of a point of the lattice, x along the rows, in pitches.
    cv::Point2d PixelFromLattice(const cv::Point2d& lattice) const;

private:
    cv::Vec<double, 12> m_parameters; ///< homography without its last 1, two radial terms, two of decentring
    cv::Point2d m_middle;
    double m_halfDiagonal = 1.0;
    friend struct LatticeResiduals;
};

} // namespace Korvane
