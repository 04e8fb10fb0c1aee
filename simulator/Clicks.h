#pragma once

// An operator of flesh: clicks every cross that a camera is to see, some pixels off and in no order. Knows the truth,
// so it is for tests and for hosts that play the operator of a simulated machine.

#include "Machine.h"

#include <opencv2/core/types.hpp>

#include <cstdint>
#include <vector>

namespace Simulator
{

/// How the operator clicks.
struct ClickOptions {
    double sigmaPx = 3.0; ///< distance of a click from the cross, sigma in x and in y
    std::uint64_t nSeed = 1;
    bool bShuffle = true; ///< clicks come in no order
};

/// Crosses that this camera is to see, in the order of the grid, machine millimetres.
std::vector<cv::Point2d> CrossesOf(const CrossGrid& grid, Side side);

/// One click per cross, in pixels of the raw picture; empty where a cross lies outside of the picture.
/// @param pClickRmsPx  how far off they are; may be null
std::vector<cv::Point2d> ClickCrosses(const Machine& machine, Side side, const ClickOptions& options,
                                      double* pClickRmsPx = nullptr);

} // namespace Simulator
