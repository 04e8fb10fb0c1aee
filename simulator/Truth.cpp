#include "Truth.h"

#include "ChartPainter.h"
#include "MachineImpl.h"

namespace Simulator
{

Truth::Truth(const Machine& machine) : m_machine(machine)
{
}

std::optional<cv::Point2d> Truth::PixelFromMachine(Side side, const cv::Point2d& machineMm) const
{
    return m_machine.m_pImpl->Camera(side).model.PixelFromMachine(machineMm);
}

std::optional<cv::Point2d> Truth::MachineFromPixel(Side side, const cv::Point2d& pixel) const
{
    return m_machine.m_pImpl->Camera(side).model.MachineFromPixel(pixel);
}

bool Truth::Sees(Side side, const cv::Point2d& machineMm) const
{
    const CameraModel& model = m_machine.m_pImpl->Camera(side).model;
    const std::optional<cv::Point2d> pixel = model.PixelFromMachine(machineMm);
    const cv::Size size = model.PictureSize();
    return pixel && pixel->x >= -0.5 && pixel->y >= -0.5 && pixel->x < size.width - 0.5 && pixel->y < size.height - 0.5;
}

std::optional<cv::Point2d> Truth::PixelFromSpace(Side side, const cv::Point3d& machineMm) const
{
    return Simulator::PixelFromSpace(m_machine.m_pImpl->Camera(side).model, machineMm);
}

std::vector<cv::Point2d> Truth::ChartCentres(Side side, const HeldChart& chart) const
{
    std::vector<cv::Point2d> centres;
    for (int r = 0; r < chart.layout.nRows; ++r) {
        for (int c = 0; c < chart.layout.nCols; ++c) {
            const auto p = PixelFromSpace(side, chart.MachineFromChart(chart.layout.DiscMm(c, r)));
            centres.push_back(p.value_or(cv::Point2d(-1.0e6, -1.0e6)));
        }
    }
    return centres;
}

cv::Size Truth::PictureSize(Side side) const
{
    return m_machine.m_pImpl->Camera(side).model.PictureSize();
}

cv::Point3d Truth::CameraCentreMm(Side side) const
{
    return m_machine.m_pImpl->Camera(side).model.CentreMm();
}

cv::Matx33d Truth::CameraMatrix(Side side) const
{
    const Lens& lens = m_machine.m_pImpl->Camera(side).model.GetLens();
    return {lens.fx, 0.0, lens.cx, 0.0, lens.fy, lens.cy, 0.0, 0.0, 1.0};
}

} // namespace Simulator
