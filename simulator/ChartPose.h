#pragma once

// How a patient operator holds the chart: a row of poses that come to cover the picture of one camera, each sharp, well
// lit and clear of fingers, and what may be done to any of them by hand. A host makes the chart of a pose and hands it
// to Machine::HoldChart; HeldChart.h has charts of all difficulties.

#include "HeldChart.h"

namespace Simulator
{

struct ChartPose {
    Side side = Side::Left;
    int nPose = 0;           ///< from 0; nine in a row lie about once in each ninth of the picture
    int nTilt = 0;           ///< further tilts: 0 as the pose has it, each next one to another side
    int nTurns = 0;          ///< right angles that the chart is turned by, clockwise as the camera sees it
    bool bOutOfView = false; ///< pushed so far aside that about a third of the discs cannot be seen
};

/// The chart of a pose. Every disc of one that is not tilted further, turned or out of view lies in the picture.
/// @param machine  only where its cameras are and what they see is used
HeldChart ChartOf(const Machine& machine, const ChartPose& pose);

} // namespace Simulator
