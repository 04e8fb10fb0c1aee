#include "SeamScene.h"

#include "SeededNoise.h"
#include "Truth.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <vector>

namespace Simulator
{

namespace
{

constexpr double kGridMm = 5.0;

/// Points of the bed that both cameras see.
std::vector<cv::Point2d> SeenByBoth(const Machine& machine)
{
    const Truth truth(machine);
    const cv::Size2d bed = machine.WorkAreaMm();
    std::vector<cv::Point2d> seen;
    for (double y = 0.5 * kGridMm; y < bed.height; y += kGridMm) {
        for (double x = 0.5 * kGridMm; x < bed.width; x += kGridMm) {
            if (truth.Sees(Side::Left, {x, y}) && truth.Sees(Side::Right, {x, y})) {
                seen.emplace_back(x, y);
            }
        }
    }
    return seen;
}

/// Small figures of a few strokes, no two alike.
std::vector<EngravedLine> Strokes(const std::vector<cv::Point2d>& seen, Draw& draw)
{
    std::vector<EngravedLine> lines;
    const auto any = [&] { return seen[static_cast<std::size_t>(draw.Unit() * static_cast<double>(seen.size()))]; };
    for (int nFigure = 0; nFigure < 220; ++nFigure) {
        const cv::Point2d middle = any();
        const int nStrokes = 2 + static_cast<int>(draw.Unit() * 3.0);
        for (int i = 0; i < nStrokes; ++i) {
            const cv::Point2d from = middle + cv::Point2d(draw.Within(6.0), draw.Within(6.0));
            const double angle = draw.Within(std::numbers::pi);
            lines.push_back({from, from + draw.Between(4.0, 16.0) * cv::Point2d(std::cos(angle), std::sin(angle))});
        }
    }
    return lines;
}

/// Whether a board flat above the bed stands between a camera and a point of the bed.
bool Hides(const HeldChart& board, const cv::Point3d& cameraMm, const cv::Point2d& pointMm)
{
    const double t = (board.middleMm.z - cameraMm.z) / (0.0 - cameraMm.z);
    const cv::Point2d eye(cameraMm.x, cameraMm.y);
    const cv::Point2d hit = eye + t * (pointMm - eye);
    const cv::Size2d sheet = board.layout.SheetMm();
    return std::abs(hit.x - board.middleMm.x) <= 0.5 * sheet.width &&
           std::abs(hit.y - board.middleMm.y) <= 0.5 * sheet.height;
}

double HiddenShare(const Machine& machine, const HeldChart& board, const std::vector<cv::Point2d>& seen)
{
    const Truth truth(machine);
    std::size_t nHidden = 0;
    for (const cv::Point2d& mm : seen) {
        nHidden +=
            Hides(board, truth.CameraCentreMm(Side::Left), mm) || Hides(board, truth.CameraCentreMm(Side::Right), mm)
                ? 1
                : 0;
    }
    return static_cast<double>(nHidden) / static_cast<double>(seen.size());
}

/// A print of discs with its own order: both cameras see it, in places that no view of the bed explains.
HeldChart BoardOver(const Machine& machine, const std::vector<cv::Point2d>& seen, const SeamSceneOptions& options,
                    Draw& draw)
{
    cv::Point2d middle;
    for (const cv::Point2d& mm : seen) {
        middle += mm * (1.0 / static_cast<double>(seen.size()));
    }
    HeldChart board;
    board.layout.nCols = 5;
    board.layout.nRows = 5;
    board.layout.pitchMm = 20.0;
    board.layout.discDiameterMm = 11.0;
    board.middleMm = {middle.x, middle.y + draw.Within(150.0), -options.boardAboveMm};
    for (board.layout.borderMm = 10.0; HiddenShare(machine, board, seen) < options.hiddenShare;) {
        board.layout.borderMm += 1.0;
    }
    return board;
}

cv::Rect Region(const Machine& machine, Side side, const std::vector<cv::Point2d>& seen)
{
    const Truth truth(machine);
    const cv::Size raw = truth.PictureSize(side);
    std::vector<cv::Point2f> points;
    points.reserve(seen.size());
    for (const cv::Point2d& mm : seen) {
        points.emplace_back(TurnedClockwise(*truth.PixelFromMachine(side, mm), raw));
    }
    const cv::Point2f corner =
        std::accumulate(points.begin(), points.end(), points.front(), [](const auto& a, const auto& b) {
            return cv::Point2f(std::min(a.x, b.x), std::min(a.y, b.y));
        });
    const cv::Point2f end =
        std::accumulate(points.begin(), points.end(), points.front(), [](const auto& a, const auto& b) {
            return cv::Point2f(std::max(a.x, b.x), std::max(a.y, b.y));
        });
    // A pixel reaches half a pixel beyond its centre.
    return cv::Rect(cv::Point(cvFloor(corner.x), cvFloor(corner.y)), cv::Point(cvCeil(end.x), cvCeil(end.y))) &
           cv::Rect(0, 0, raw.height, raw.width);
}

/// How much nearer a point of the bed lies to the middle of the left picture's width than to that of the right one.
double NearerToLeft(const Truth& truth, const cv::Point2d& mm)
{
    const auto fromMiddle = [&](Side side) {
        const cv::Size raw = truth.PictureSize(side);
        return std::abs(TurnedClockwise(*truth.PixelFromMachine(side, mm), raw).x - 0.5 * (raw.height - 1));
    };
    return fromMiddle(Side::Right) - fromMiddle(Side::Left);
}

} // namespace

cv::Point2d TurnedClockwise(const cv::Point2d& raw, const cv::Size& rawSize)
{
    return {rawSize.height - 1 - raw.y, raw.x};
}

SeamScene MakeSeamScene(Machine& machine, std::uint64_t nSeed, const SeamSceneOptions& options)
{
    Draw draw(nSeed, 0x5ea);
    const std::vector<cv::Point2d> seen = SeenByBoth(machine);
    machine.PlaceMaterial();
    machine.TakeChartAway();
    if (options.bPattern) {
        machine.EngraveLines(Strokes(seen, draw));
    }
    SeamScene scene;
    if (options.hiddenShare > 0.0) {
        const HeldChart board = BoardOver(machine, seen, options, draw);
        scene.hiddenShare = HiddenShare(machine, board, seen);
        machine.HoldChart(board);
    }
    scene.left = machine.Snap(Side::Left);
    machine.SetLight(options.rightLight);
    scene.right = machine.Snap(Side::Right);
    machine.SetLight(1.0);
    machine.TakeChartAway();
    scene.leftRoi = Region(machine, Side::Left, seen);
    scene.rightRoi = Region(machine, Side::Right, seen);
    return scene;
}

double SeamErrorPx(const Machine& machine, const cv::Mat& leftFromRight)
{
    const Truth truth(machine);
    const cv::Matx33d h(leftFromRight);
    const cv::Size2d bed = machine.WorkAreaMm();
    double largest = 0.0;
    for (double y = 0.5 * kGridMm; y < bed.height; y += kGridMm) {
        double from = 0.4 * bed.width, to = 0.6 * bed.width;
        for (int i = 0; i < 30; ++i) {
            const double middle = 0.5 * (from + to);
            (NearerToLeft(truth, {middle, y}) > 0.0 ? from : to) = middle;
        }
        const cv::Point2d mm(0.5 * (from + to), y);
        if (!truth.Sees(Side::Left, mm) || !truth.Sees(Side::Right, mm)) {
            continue;
        }
        const auto at = [&](Side side) {
            return TurnedClockwise(*truth.PixelFromMachine(side, mm), truth.PictureSize(side));
        };
        const cv::Point2d right = at(Side::Right);
        const cv::Vec3d q = h * cv::Vec3d(right.x, right.y, 1.0);
        const cv::Point2d d = cv::Point2d(q[0] / q[2], q[1] / q[2]) - at(Side::Left);
        largest = std::max(largest, std::hypot(d.x, d.y));
    }
    return largest;
}

} // namespace Simulator
