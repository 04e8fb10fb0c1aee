#include "OperatorScript.h"

#include "Clicks.h"
#include "Failure.h"
#include "FusedFrame.h"
#include "Truth.h"

#include <algorithm>

namespace Workbench
{

namespace
{

/// The cameras of the simulated automatic machine.
constexpr QSize g_simulatedPicture(2592, 1944);

/// Of that machine in the list of machines.
constexpr const char* g_pSimulatedManualMachine = "M1 - 900 x 600 mm";

/// What both cameras see of the bed, as a rectangle across the seam of their upright pictures side by side.
QRectF OverlapRegion(const Simulator::Machine& machine)
{
    using Simulator::Side;
    const Simulator::Truth truth(machine);
    const cv::Size raw = truth.PictureSize(Side::Left);
    const cv::Size upright(raw.height, raw.width);
    double dLeft = upright.width;
    double dRight = 0.0;
    double dTop = upright.height;
    double dBottom = 0.0;
    for (double y = 10.0; y < machine.WorkAreaMm().height; y += 10.0) {
        for (double x = 10.0; x < machine.WorkAreaMm().width; x += 10.0) {
            if (truth.Sees(Side::Left, {x, y}) && truth.Sees(Side::Right, {x, y})) {
                const cv::Point2d left = Simulator::UprightPoint(*truth.PixelFromMachine(Side::Left, {x, y}), raw);
                const cv::Point2d right = Simulator::UprightPoint(*truth.PixelFromMachine(Side::Right, {x, y}), raw);
                dLeft = std::min(dLeft, left.x);
                dRight = std::max(dRight, right.x);
                dTop = std::min({dTop, left.y, right.y});
                dBottom = std::max({dBottom, left.y, right.y});
            }
        }
    }
    const double dWidth = 2.0 * upright.width;
    return {QPointF(dLeft / dWidth, dTop / upright.height),
            QPointF((upright.width + dRight) / dWidth, dBottom / upright.height)};
}

} // namespace

ScriptPictures SimulatedPictures(Simulator::Machine::Kind flow)
{
    if (flow == Simulator::Machine::Kind::Automatic) {
        return {.leftPx = g_simulatedPicture, .rightPx = g_simulatedPicture};
    }
    // The fused one has a frame that no homography changes.
    const std::optional<Simulator::FusedFrame> frame =
        Simulator::AskFusedFrame(Simulator::Machine(flow, 1), cv::Mat::eye(3, 3, CV_64F));
    return {.fusedPx = frame ? QSize(frame->sizePx.width, frame->sizePx.height) : QSize()};
}

OperatorScript SimulatedOperator(const Simulator::Machine& machine, const Simulator::ClickOptions& options)
{
    OperatorScript script;
    for (const cv::Point2d& pixel : Simulator::ClickCrosses(machine, Simulator::Side::Left, options)) {
        script.left.push_back(TurnedPoint({pixel.x, pixel.y}, g_simulatedPicture));
    }
    for (const cv::Point2d& pixel : Simulator::ClickCrosses(machine, Simulator::Side::Right, options)) {
        script.right.emplace_back(pixel.x, pixel.y);
    }
    if (script.left.empty() || script.right.empty()) {
        throw Failure("A camera of the simulated machine does not see all of its crosses.");
    }
    return script;
}

OperatorScript SimulatedManualOperator(std::uint64_t nSeed, const Simulator::ClickOptions& options,
                                       const QString& strOutput)
{
    OperatorScript script;
    script.strSubModel = g_pSimulatedManualMachine;
    script.region = OverlapRegion(Simulator::Machine(Simulator::Machine::Kind::Manual, nSeed));
    script.findMarks = [nSeed, options, strOutput] {
        const Simulator::Machine machine(Simulator::Machine::Kind::Manual, nSeed);
        std::vector<QPointF> marks;
        const std::string strHomography = (strOutput + "/mapImgR2L.xml").toLocal8Bit().toStdString();
        for (const cv::Point2d& mark : Simulator::MarkCrosses(machine, strHomography, options)) {
            marks.emplace_back(mark.x, mark.y);
        }
        return marks;
    };
    return script;
}

QPointF TurnedPoint(QPointF point, QSize picture)
{
    // Whole halves, as the wizard takes them, so that a point goes there and back exactly on odd sizes too.
    const int nHalfWidth = picture.width() / 2;
    const int nHalfHeight = picture.height() / 2;
    return {2.0 * nHalfWidth - point.x(), 2.0 * nHalfHeight - point.y()};
}

} // namespace Workbench
