#include "CrossPtsDetectDllR.h"
#include "Log.h"
#include "PointLattice.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <set>

namespace
{

/// @param nSign         -1 where the raw picture is upside down
/// @param bFirstColumns whether the camera sees the first or the last columns of the grid
void Rearrange(std::vector<CalibrationPoint>& points, int nRows, int nCols, double dSign, bool bFirstColumns,
               const char* pOperation)
{
    const int nCount = static_cast<int>(points.size());
    const int nOwnCols = nRows > 0 ? nCount / nRows : 0;
    std::vector<cv::Point2d> upright;
    upright.reserve(points.size());
    for (const CalibrationPoint& point : points) {
        upright.emplace_back(dSign * static_cast<double>(point.fImageX), dSign * static_cast<double>(point.fImageY));
    }
    // Ids run over the whole grid, so a camera cannot see more columns than the grid has, and each id must be an int.
    // The walk over a lattice takes the square of its points, so more than any machine engraves are none.
    constexpr std::size_t nMostPoints = 5000;
    const bool bGrid = points.size() <= nMostPoints && nOwnCols <= nCols &&
                       static_cast<long>(nRows) * nCols <= std::numeric_limits<int>::max();
    const auto places = bGrid ? CrossPts::FitLattice(upright, nRows, nOwnCols) : std::nullopt;
    if (!places) {
        ILog_WriteLogF(2, "%s: %d points do not form a lattice of %d rows", pOperation, nCount, nRows);
        // Equal ids make the calibration refuse the points.
        for (CalibrationPoint& point : points) {
            point.nId = 1;
        }
        return;
    }
    const int nFirstCol = bFirstColumns ? 0 : nCols - nOwnCols;
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i].nId = (*places)[i].y * nCols + nFirstCol + (*places)[i].x + 1;
    }
    std::sort(points.begin(), points.end(),
              [](const CalibrationPoint& a, const CalibrationPoint& b) { return a.nId < b.nId; });
}

} // namespace

void LeftPtsRearrange(std::vector<CalibrationPoint>& points, int row, int col)
{
    Rearrange(points, row, col, -1.0, true, "LeftPtsRearrange");
}

void RightPtsRearrange(std::vector<CalibrationPoint>& points, int row, int col)
{
    Rearrange(points, row, col, 1.0, false, "RightPtsRearrange");
}

bool AddCalibrationPt_Coordinate(float x, float y, std::vector<CalibrationPoint>& points)
{
    if (!std::isfinite(x) || !std::isfinite(y)) {
        return false;
    }
    std::set<int> ids;
    for (const CalibrationPoint& point : points) {
        ids.insert(point.nId);
    }
    CalibrationPoint added;
    added.nId = 1;
    while (ids.count(added.nId) != 0) {
        ++added.nId;
    }
    added.fImageX = x;
    added.fImageY = y;
    points.push_back(added);
    return true;
}

bool DeleteCalibrationPt_ID(int id, std::vector<CalibrationPoint>& points)
{
    const auto it =
        std::find_if(points.begin(), points.end(), [id](const CalibrationPoint& point) { return point.nId == id; });
    if (it == points.end()) {
        return false;
    }
    points.erase(it);
    return true;
}
