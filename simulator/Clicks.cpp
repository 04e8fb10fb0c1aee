#include "Clicks.h"

#include "SeededNoise.h"
#include "Truth.h"

#include <cmath>
#include <utility>

namespace Simulator
{

std::vector<cv::Point2d> CrossesOf(const CrossGrid& grid, Side side)
{
    const std::vector<cv::Point2d> all = grid.PointsMm();
    const int nFirst = side == Side::Left ? 0 : grid.nCol - grid.nColSingle;
    std::vector<cv::Point2d> crosses;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const int nCol = static_cast<int>(i) % grid.nCol;
        if (nCol >= nFirst && nCol < nFirst + grid.nColSingle) {
            crosses.push_back(all[i]);
        }
    }
    return crosses;
}

std::vector<cv::Point2d> ClickCrosses(const Machine& machine, Side side, const ClickOptions& options,
                                      double* pClickRmsPx)
{
    const Truth truth(machine);
    Draw draw(options.nSeed, side == Side::Left ? 0x51 : 0x52);
    double sum = 0.0;
    std::vector<cv::Point2d> clicks;
    for (const cv::Point2d& cross : CrossesOf(machine.Grid(), side)) {
        if (!truth.Sees(side, cross)) {
            return {};
        }
        const cv::Point2d error(options.sigmaPx * draw.Normal(), options.sigmaPx * draw.Normal());
        sum += error.dot(error);
        clicks.push_back(*truth.PixelFromMachine(side, cross) + error);
    }
    if (options.bShuffle) {
        for (std::size_t i = clicks.size(); i > 1; --i) {
            std::swap(clicks[i - 1], clicks[draw.Bits() % i]);
        }
    }
    if (pClickRmsPx) {
        *pClickRmsPx = clicks.empty() ? 0.0 : std::sqrt(sum / static_cast<double>(clicks.size()));
    }
    return clicks;
}

} // namespace Simulator
