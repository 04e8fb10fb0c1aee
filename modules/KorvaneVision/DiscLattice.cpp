#include "DiscLattice.h"

#include <opencv2/calib3d.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>

namespace Korvane
{

namespace
{

constexpr int g_nNeighbours = 8;
/// How far from the predicted place the next disc may lie, in steps.
constexpr double g_dStepTolerance = 0.3;
/// Seen one beside the other, discs differ little in size.
constexpr double g_dLargestAreaRatio = 1.7;
/// Some charts mark a corner with a larger disc.
constexpr double g_dLargestMarkRatio = 5.0;
constexpr std::size_t g_nMostDiscs = 3000;

bool AlikeInSize(double a, double b)
{
    return a < g_dLargestAreaRatio * b && b < g_dLargestAreaRatio * a;
}

/// The discs in cells, so that the nearest to a place is found without asking all.
class Neighbourhood
{
public:
    explicit Neighbourhood(const std::vector<Disc>& discs) : m_discs(discs)
    {
        for (const Disc& disc : discs) {
            m_areas.push_back(disc.AreaPx());
        }
    }

    double Area(std::size_t nDisc) const { return m_areas[nDisc]; }

    /// Those of like size, nearest first.
    std::vector<std::size_t> Around(std::size_t nDisc) const
    {
        std::vector<std::pair<double, std::size_t>> found;
        for (std::size_t i = 0; i < m_discs.size(); ++i) {
            if (i != nDisc && AlikeInSize(m_areas[i], m_areas[nDisc])) {
                const cv::Point2d d = m_discs[i].centre - m_discs[nDisc].centre;
                found.emplace_back(d.dot(d), i);
            }
        }
        const std::size_t nKeep = std::min<std::size_t>(g_nNeighbours, found.size());
        std::partial_sort(found.begin(), found.begin() + static_cast<std::ptrdiff_t>(nKeep), found.end());
        std::vector<std::size_t> nearest;
        for (std::size_t i = 0; i < nKeep; ++i) {
            nearest.push_back(found[i].second);
        }
        return nearest;
    }

    /// The nearest of a size between `area` by the usual ratio and `ratio` times `area`.
    std::optional<std::size_t> At(const cv::Point2d& place, double tolerance, double area,
                                  double ratio = g_dLargestAreaRatio) const
    {
        std::optional<std::size_t> nearest;
        double best = tolerance * tolerance;
        for (std::size_t i = 0; i < m_discs.size(); ++i) {
            const cv::Point2d d = m_discs[i].centre - place;
            const double square = d.dot(d);
            if (square < best && m_areas[i] < ratio * area && area < g_dLargestAreaRatio * m_areas[i]) {
                best = square;
                nearest = i;
            }
        }
        return nearest;
    }

private:
    const std::vector<Disc>& m_discs;
    std::vector<double> m_areas;
};

/// The lattice that grows from one disc and two steps.
class Walk
{
public:
    Walk(const std::vector<Disc>& discs, const Neighbourhood& near, const cv::Size& board)
        : m_discs(discs), m_near(near), m_board(board), m_nReach(std::max(board.width, board.height) + 1),
          m_cells((2 * static_cast<std::size_t>(m_nReach) + 1) * (2 * static_cast<std::size_t>(m_nReach) + 1))
    {
    }

    std::size_t From(std::size_t nSeed, const cv::Point2d& u, const cv::Point2d& v)
    {
        std::fill(m_cells.begin(), m_cells.end(), Cell{});
        std::vector<bool> used(m_discs.size(), false);
        std::deque<cv::Point> queue{{0, 0}};
        *At({0, 0}) = {static_cast<std::ptrdiff_t>(nSeed), u, v};
        used[nSeed] = true;
        std::size_t nFound = 1;
        while (!queue.empty()) {
            const cv::Point place = queue.front();
            queue.pop_front();
            const Cell here = *At(place);
            const Disc& disc = m_discs[static_cast<std::size_t>(here.nDisc)];
            for (const cv::Point& direction : {cv::Point(1, 0), cv::Point(-1, 0), cv::Point(0, 1), cv::Point(0, -1)}) {
                Cell* pNext = At(place + direction);
                if (pNext == nullptr || pNext->nDisc >= 0) {
                    continue;
                }
                const cv::Point2d step = direction.x * here.u + direction.y * here.v;
                const double area = m_near.Area(static_cast<std::size_t>(here.nDisc));
                const double length = std::hypot(step.x, step.y);
                auto next = m_near.At(disc.centre + step, g_dStepTolerance * length, area);
                const bool bMark = !next;
                if (bMark) {
                    next = m_near.At(disc.centre + step, 0.5 * g_dStepTolerance * length, area, g_dLargestMarkRatio);
                }
                if (!next || used[*next]) {
                    continue;
                }
                const cv::Point2d made = m_discs[*next].centre - disc.centre;
                *pNext = {static_cast<std::ptrdiff_t>(*next), direction.x != 0 ? direction.x * made : here.u,
                          direction.y != 0 ? direction.y * made : here.v};
                used[*next] = true;
                ++nFound;
                // Nothing is measured by a mark, so nothing grows from it.
                if (!bMark) {
                    queue.push_back(place + direction);
                }
            }
        }
        return nFound;
    }

    struct Window {
        std::vector<std::size_t> order;
        bool bGoesOn = false; ///< the lattice has most of a row or column more
    };

    /// The windows that are filled, in both orientations.
    std::vector<Window> FullWindows()
    {
        std::vector<Window> windows;
        Collect(m_board, false, windows);
        if (m_board.width != m_board.height) {
            Collect({m_board.height, m_board.width}, true, windows);
        }
        return windows;
    }

private:
    struct Cell {
        std::ptrdiff_t nDisc = -1;
        cv::Point2d u, v; ///< the steps of the lattice here
    };

    /// Larger than the disc beside it, where it is no corner of the window.
    bool MarkInside(const cv::Point& place, const cv::Rect& window)
    {
        const bool bCorner = (place.x == window.x || place.x == window.br().x - 1) &&
                             (place.y == window.y || place.y == window.br().y - 1);
        if (bCorner) {
            return false;
        }
        // Its neighbour towards the middle is never a corner itself on charts of three and more.
        const int nToMiddle = place.x <= window.x + (window.width - 1) / 2 ? 1 : -1;
        const Cell* pBeside = At(place + cv::Point(nToMiddle, 0));
        return !AlikeInSize(m_near.Area(static_cast<std::size_t>(At(place)->nDisc)),
                            m_near.Area(static_cast<std::size_t>(pBeside->nDisc)));
    }

    Cell* At(const cv::Point& place)
    {
        if (std::abs(place.x) > m_nReach || std::abs(place.y) > m_nReach) {
            return nullptr;
        }
        const std::size_t nSide = 2 * static_cast<std::size_t>(m_nReach) + 1;
        return &m_cells[static_cast<std::size_t>(place.y + m_nReach) * nSide +
                        static_cast<std::size_t>(place.x + m_nReach)];
    }

    /// A larger chart of which a hand or the picture's border hides a disc or two must not pass for one of this size.
    bool GoesOn(const cv::Rect& window)
    {
        const auto more = [&](const cv::Point& first, const cv::Point& step, int nLength) {
            int nFilled = 0;
            for (int k = 0; k < nLength; ++k) {
                const Cell* pCell = At(first + k * step);
                nFilled += pCell != nullptr && pCell->nDisc >= 0 ? 1 : 0;
            }
            return 5 * nFilled > 2 * nLength;
        };
        const cv::Point end = window.br();
        return more({window.x, window.y - 1}, {1, 0}, window.width) || more({window.x, end.y}, {1, 0}, window.width) ||
               more({window.x - 1, window.y}, {0, 1}, window.height) || more({end.x, window.y}, {0, 1}, window.height);
    }

    void Collect(const cv::Size& extent, bool bTransposed, std::vector<Window>& windows)
    {
        for (int y = -m_nReach; y + extent.height <= m_nReach + 1; ++y) {
            for (int x = -m_nReach; x + extent.width <= m_nReach + 1; ++x) {
                bool bFull = true;
                for (int k = 0; k < extent.area() && bFull; ++k) {
                    bFull = At({x + k % extent.width, y + k / extent.width})->nDisc >= 0;
                }
                const cv::Rect window({x, y}, extent);
                for (int k = 0; k < extent.area() && bFull; ++k) {
                    bFull = !MarkInside({x + k % extent.width, y + k / extent.width}, window);
                }
                if (!bFull) {
                    continue;
                }
                std::vector<std::size_t> order;
                for (int r = 0; r < m_board.height; ++r) {
                    for (int c = 0; c < m_board.width; ++c) {
                        const cv::Point place = bTransposed ? cv::Point(x + r, y + c) : cv::Point(x + c, y + r);
                        order.push_back(static_cast<std::size_t>(At(place)->nDisc));
                    }
                }
                windows.push_back({std::move(order), GoesOn(window)});
            }
        }
    }

    const std::vector<Disc>& m_discs;
    const Neighbourhood& m_near;
    cv::Size m_board;
    int m_nReach;
    std::vector<Cell> m_cells;
};

void PutInOrder(const std::vector<Disc>& discs, const cv::Size& board, std::vector<std::size_t>& order)
{
    const auto nCols = static_cast<std::ptrdiff_t>(board.width);
    const cv::Point2d first = discs[order.front()].centre;
    const cv::Point2d alongRow = discs[order[static_cast<std::size_t>(nCols - 1)]].centre - first;
    const cv::Point2d downColumn = discs[order[order.size() - static_cast<std::size_t>(nCols)]].centre - first;
    if (alongRow.cross(downColumn) < 0.0) {
        for (auto row = order.begin(); row != order.end(); row += nCols) {
            std::reverse(row, row + nCols);
        }
    }
    if (discs[order.front()].centre.x > discs[order.back()].centre.x) {
        std::reverse(order.begin(), order.end());
    }
}

} // namespace

LatticeSearch FindLattice(const std::vector<Disc>& discs, const cv::Size& board)
{
    LatticeSearch search;
    if (discs.size() < static_cast<std::size_t>(board.area()) || discs.size() > g_nMostDiscs) {
        return search;
    }
    const Neighbourhood near(discs);
    Walk walk(discs, near, board);
    int nWalks = 0;
    for (std::size_t nSeed = 0; nSeed < discs.size(); ++nSeed) {
        const std::vector<std::size_t> around = near.Around(nSeed);
        for (std::size_t a = 0; a < around.size(); ++a) {
            for (std::size_t b = a + 1; b < around.size(); ++b) {
                const cv::Point2d u = discs[around[a]].centre - discs[nSeed].centre;
                const cv::Point2d v = discs[around[b]].centre - discs[nSeed].centre;
                // At 75 degrees from the surface's normal a right angle may look like 30 degrees, no less.
                if (std::abs(u.cross(v)) < 0.45 * std::hypot(u.x, u.y) * std::hypot(v.x, v.y)) {
                    continue;
                }
                if (++nWalks > 4000) {
                    return search;
                }
                const std::size_t nFound = walk.From(nSeed, u, v);
                search.nLargest = std::max(search.nLargest, nFound);
                if (nFound < static_cast<std::size_t>(board.area())) {
                    continue;
                }
                std::vector<Walk::Window> windows = walk.FullWindows();
                if (windows.size() > 1 || (windows.size() == 1 && windows.front().bGoesOn)) {
                    search.bTooLarge = true;
                    return search;
                }
                if (windows.size() == 1) {
                    search.order = std::move(windows.front().order);
                    PutInOrder(discs, board, search.order);
                    return search;
                }
            }
        }
    }
    return search;
}

struct LatticeResiduals : cv::LMSolver::Callback {
    LatticeResiduals(const std::vector<cv::Point2d>& lattice, const std::vector<cv::Point2d>& centres,
                     LatticeModel* pModel)
        : m_lattice(lattice), m_centres(centres), m_pModel(pModel)
    {
    }

    bool compute(cv::InputArray parameters, cv::OutputArray errors, cv::OutputArray jacobian) const override
    {
        const cv::Mat p = parameters.getMat();
        const auto nRows = static_cast<int>(2 * m_centres.size());
        errors.create(nRows, 1, CV_64F);
        cv::Mat e = errors.getMat();
        Evaluate(p, e);
        if (jacobian.needed()) {
            jacobian.create(nRows, p.rows, CV_64F);
            cv::Mat j = jacobian.getMat();
            cv::Mat moved(nRows, 1, CV_64F);
            for (int i = 0; i < p.rows; ++i) {
                cv::Mat q = p.clone();
                const double step = 1.0e-6 * std::max(std::abs(p.at<double>(i)), 1.0e-2);
                q.at<double>(i) += step;
                Evaluate(q, moved);
                cv::Mat column = (moved - e) / step;
                column.copyTo(j.col(i));
            }
        }
        return true;
    }

private:
    void Evaluate(const cv::Mat& p, cv::Mat& e) const
    {
        for (int i = 0; i < p.rows; ++i) {
            m_pModel->m_parameters[i] = p.at<double>(i);
        }
        for (std::size_t i = 0; i < m_centres.size(); ++i) {
            const cv::Point2d d = m_pModel->PixelFromLattice(m_lattice[i]) - m_centres[i];
            e.at<double>(static_cast<int>(2 * i)) = d.x;
            e.at<double>(static_cast<int>(2 * i + 1)) = d.y;
        }
    }

    const std::vector<cv::Point2d>& m_lattice;
    const std::vector<cv::Point2d>& m_centres;
    LatticeModel* m_pModel;
};

std::optional<LatticeModel> LatticeModel::Fit(const std::vector<cv::Point2d>& centres, const cv::Size& board,
                                              const cv::Size& picture)
{
    LatticeModel model;
    model.m_middle = {0.5 * (picture.width - 1), 0.5 * (picture.height - 1)};
    model.m_halfDiagonal = 0.5 * std::hypot(picture.width, picture.height);
    std::vector<cv::Point2d> lattice, normalised;
    for (std::size_t i = 0; i < centres.size(); ++i) {
        lattice.emplace_back(static_cast<int>(i) % board.width, static_cast<int>(i) / board.width);
        normalised.push_back((centres[i] - model.m_middle) / model.m_halfDiagonal);
    }
    const cv::Mat homography = cv::findHomography(lattice, normalised);
    if (homography.empty() || !cv::checkRange(homography)) {
        return std::nullopt;
    }
    // A few discs do not tell the lens.
    const int nParameters = board.area() >= 25 ? 12 : 8;
    cv::Mat parameters = cv::Mat::zeros(nParameters, 1, CV_64F);
    for (int i = 0; i < 8; ++i) {
        parameters.at<double>(i) = homography.at<double>(i / 3, i % 3);
    }
    const auto pSolver = cv::LMSolver::create(cv::makePtr<LatticeResiduals>(lattice, centres, &model), 30);
    pSolver->run(parameters);
    if (!cv::checkRange(parameters)) {
        return std::nullopt;
    }
    for (int i = 0; i < nParameters; ++i) {
        model.m_parameters[i] = parameters.at<double>(i);
    }
    return model;
}

cv::Point2d LatticeModel::PixelFromLattice(const cv::Point2d& lattice) const
{
    const cv::Vec<double, 12>& p = m_parameters;
    const double w = p[6] * lattice.x + p[7] * lattice.y + 1.0;
    const double x = (p[0] * lattice.x + p[1] * lattice.y + p[2]) / w;
    const double y = (p[3] * lattice.x + p[4] * lattice.y + p[5]) / w;
    const double square = x * x + y * y;
    const double radial = 1.0 + square * (p[8] + square * p[9]);
    const double dx = 2.0 * p[10] * x * y + p[11] * (square + 2.0 * x * x);
    const double dy = p[10] * (square + 2.0 * y * y) + 2.0 * p[11] * x * y;
    return {m_middle.x + m_halfDiagonal * (radial * x + dx), m_middle.y + m_halfDiagonal * (radial * y + dy)};
}

} // namespace Korvane
