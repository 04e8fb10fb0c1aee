#include "ChartPose.h"

#include "SeededNoise.h"
#include "Truth.h"

#include <algorithm>
#include <cmath>

namespace Simulator
{

namespace
{

/// Of so many ways to hold it the one whose middle comes nearest to the wanted place is taken.
constexpr int kDrawn = 24;

/// The ninths of the picture, middle first, so that a few pictures already lie apart.
cv::Point2d WantedPlace(int nPose, const cv::Size& picture)
{
    static const cv::Point2d places[] = {{0.5, 0.5},  {0.2, 0.25}, {0.8, 0.75}, {0.8, 0.25}, {0.2, 0.75},
                                         {0.5, 0.25}, {0.5, 0.75}, {0.2, 0.5},  {0.8, 0.5}};
    const cv::Point2d place = places[static_cast<std::size_t>(nPose) % std::size(places)];
    return {place.x * picture.width, place.y * picture.height};
}

/// Nobody stands in the light, trembles or puts a finger on it.
void HoldWell(HeldChart& chart)
{
    const HeldChart usual;
    chart.blurPx = usual.blurPx;
    chart.paperLevel = usual.paperLevel;
    chart.inkLevel = usual.inkLevel;
    chart.lightSlopePerMm = usual.lightSlopePerMm;
    chart.glare = usual.glare;
    chart.fingers.clear();
}

HeldChart BestDrawn(const Machine& machine, const Truth& truth, const ChartPose& pose)
{
    const cv::Point2d wanted = WantedPlace(pose.nPose, truth.PictureSize(pose.side));
    HeldChart best;
    double bestDistance = -1.0;
    for (std::uint64_t i = 0; i < kDrawn; ++i) {
        const std::uint64_t nSeed = Mix(static_cast<std::uint64_t>(pose.nPose), i);
        const HeldChart chart = DrawChart(machine, pose.side, nSeed, ChartShown::Whole);
        const cv::Point2d middle = truth.PixelFromSpace(pose.side, chart.middleMm).value_or(cv::Point2d());
        const double distance = cv::norm(middle - wanted);
        if (bestDistance < 0.0 || distance < bestDistance) {
            best = chart;
            bestDistance = distance;
        }
    }
    return best;
}

std::size_t HiddenDiscs(const Truth& truth, Side side, const HeldChart& chart)
{
    const cv::Size picture = truth.PictureSize(side);
    const std::vector<cv::Point2d> centres = truth.ChartCentres(side, chart);
    return static_cast<std::size_t>(std::count_if(centres.begin(), centres.end(), [&](const cv::Point2d& p) {
        return !(p.x >= 0.0 && p.y >= 0.0 && p.x < picture.width && p.y < picture.height);
    }));
}

void PushOutOfView(const Truth& truth, Side side, HeldChart& chart)
{
    // Toward the near end of the bed, where the operator stands.
    const std::size_t nAll =
        static_cast<std::size_t>(chart.layout.nCols) * static_cast<std::size_t>(chart.layout.nRows);
    for (int i = 0; i < 500 && HiddenDiscs(truth, side, chart) < nAll / 3; ++i) {
        chart.middleMm.y += 5.0;
    }
}

} // namespace

HeldChart ChartOf(const Machine& machine, const ChartPose& pose)
{
    const Truth truth(machine);
    HeldChart chart = BestDrawn(machine, truth, pose);
    HoldWell(chart);
    if (pose.nTilt != 0) {
        const double side = 100.0 * pose.nTilt * kDegree;
        chart.machineFromChart =
            RotationAbout({std::cos(side), std::sin(side), 0.0}, 20.0 * kDegree) * chart.machineFromChart;
    }
    // Machine Z points away from the cameras, so that a turn from X to Y is clockwise for them.
    chart.machineFromChart =
        chart.machineFromChart * RotationAbout({0.0, 0.0, 1.0}, 90.0 * (pose.nTurns % 4) * kDegree);
    if (pose.bOutOfView) {
        PushOutOfView(truth, pose.side, chart);
    }
    return chart;
}

} // namespace Simulator
