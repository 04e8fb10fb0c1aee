#include "PointLattice.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <deque>
#include <limits>

namespace CrossPts
{

namespace
{

// How far from its predicted place a neighbour may lie, as a share of the shorter step.
constexpr double g_dTolerance = 0.38;
// Neighbours tried as a first step in each direction.
constexpr std::size_t g_nMaxSteps = 4;

using Points = std::vector<cv::Point2d>;

/// The local steps to the next column and the next row, carried along from neighbour to neighbour.
struct Steps {
    cv::Point2d column;
    cv::Point2d row;
};

struct Cell {
    cv::Point place{0, 0};
    Steps steps;
    bool bTaken = false;
};

/// Steps from `points[nSeed]` into the quarter plane around +x (or +y), the shortest first.
Points StepsInto(const Points& points, std::size_t nSeed, bool bAlongX)
{
    Points steps;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const cv::Point2d step = points[i] - points[nSeed];
        const double dAlong = bAlongX ? step.x : step.y;
        const double dAcross = bAlongX ? step.y : step.x;
        if (i != nSeed && std::abs(dAlong) > std::abs(dAcross)) {
            // A seed at the far edge has its neighbour behind it.
            steps.push_back(dAlong > 0 ? step : -step);
        }
    }
    const std::size_t nKeep = std::min(steps.size(), g_nMaxSteps);
    std::partial_sort(steps.begin(), steps.begin() + static_cast<std::ptrdiff_t>(nKeep), steps.end(),
                      [](const cv::Point2d& a, const cv::Point2d& b) { return a.dot(a) < b.dot(b); });
    steps.resize(nKeep);
    return steps;
}

double ShorterStep(const Steps& steps)
{
    const double dColumn = cv::norm(steps.column);
    const double dRow = cv::norm(steps.row);
    return dColumn == 0.0 ? dRow : dRow == 0.0 ? dColumn : std::min(dColumn, dRow);
}

std::optional<std::size_t> Nearest(const Points& points, const cv::Point2d& place, double dWithin)
{
    std::optional<std::size_t> nBest;
    double dBest = dWithin * dWithin;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const cv::Point2d d = points[i] - place;
        if (d.dot(d) <= dBest) {
            dBest = d.dot(d);
            nBest = i;
        }
    }
    return nBest;
}

/// Walks the lattice from the seed with the given first steps. Empty when the walk meets a contradiction or misses a
/// point.
std::optional<std::vector<cv::Point>> Walk(const Points& points, std::size_t nSeed, const Steps& first)
{
    static const std::array<cv::Point, 4> directions{cv::Point(1, 0), cv::Point(-1, 0), cv::Point(0, 1),
                                                     cv::Point(0, -1)};
    std::vector<Cell> cells(points.size());
    cells[nSeed] = {cv::Point(0, 0), first, true};
    std::deque<std::size_t> queue{nSeed};
    std::size_t nTaken = 1;
    while (!queue.empty()) {
        const std::size_t nFrom = queue.front();
        queue.pop_front();
        for (const cv::Point& direction : directions) {
            const Steps steps = cells[nFrom].steps;
            const cv::Point2d step = direction.x != 0 ? steps.column * direction.x : steps.row * direction.y;
            if (step.dot(step) == 0.0) {
                continue;
            }
            const auto nTo = Nearest(points, points[nFrom] + step, g_dTolerance * ShorterStep(steps));
            if (!nTo || *nTo == nFrom) {
                continue;
            }
            const cv::Point place = cells[nFrom].place + direction;
            if (cells[*nTo].bTaken) {
                if (cells[*nTo].place != place) {
                    return std::nullopt;
                }
                continue;
            }
            Steps next = steps;
            const cv::Point2d taken = points[*nTo] - points[nFrom];
            (direction.x != 0 ? next.column : next.row) = direction.x + direction.y > 0 ? taken : -taken;
            cells[*nTo] = {place, next, true};
            queue.push_back(*nTo);
            ++nTaken;
        }
    }
    if (nTaken != points.size()) {
        return std::nullopt;
    }
    std::vector<cv::Point> places;
    places.reserve(cells.size());
    for (const Cell& cell : cells) {
        places.push_back(cell.place);
    }
    return places;
}

/// Moves the top left place to (0, 0); false when the places are not nRows x nCols cells, each taken once.
bool FillsGrid(std::vector<cv::Point>& places, int nRows, int nCols)
{
    cv::Point least = places.front();
    for (const cv::Point& place : places) {
        least = {std::min(least.x, place.x), std::min(least.y, place.y)};
    }
    std::vector<bool> taken(places.size(), false);
    for (cv::Point& place : places) {
        place -= least;
        if (place.x >= nCols || place.y >= nRows) {
            return false;
        }
        const auto nCell =
            static_cast<std::size_t>(place.y) * static_cast<std::size_t>(nCols) + static_cast<std::size_t>(place.x);
        if (taken[nCell]) {
            return false;
        }
        taken[nCell] = true;
    }
    return true;
}

} // namespace

std::optional<std::vector<cv::Point>> FitLattice(const Points& points, int nRows, int nCols)
{
    const auto isFinite = [](const cv::Point2d& p) { return std::isfinite(p.x) && std::isfinite(p.y); };
    if (nRows <= 0 || nCols <= 0 ||
        points.size() != static_cast<std::size_t>(nRows) * static_cast<std::size_t>(nCols) ||
        !std::all_of(points.begin(), points.end(), isFinite)) {
        return std::nullopt;
    }
    cv::Point2d centre;
    for (const cv::Point2d& point : points) {
        centre += point / static_cast<double>(points.size());
    }
    const std::size_t nSeed = *Nearest(points, centre, std::numeric_limits<double>::max());
    // A single row or column has no step across it.
    const Points none{cv::Point2d(0, 0)};
    const Points columnSteps = nCols > 1 ? StepsInto(points, nSeed, true) : none;
    const Points rowSteps = nRows > 1 ? StepsInto(points, nSeed, false) : none;
    for (const cv::Point2d& column : columnSteps) {
        for (const cv::Point2d& row : rowSteps) {
            auto places = Walk(points, nSeed, {column, row});
            if (places && FillsGrid(*places, nRows, nCols)) {
                return places;
            }
        }
    }
    return std::nullopt;
}

} // namespace CrossPts
