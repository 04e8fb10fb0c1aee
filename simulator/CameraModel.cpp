#include "CameraModel.h"

#include "SeededNoise.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Simulator
{

namespace
{

constexpr double kMaxThetaFisheye = 1.45;
constexpr double kMaxThetaRectified = 1.2;

cv::Matx33d AboutX(double a)
{
    return {1, 0, 0, 0, std::cos(a), -std::sin(a), 0, std::sin(a), std::cos(a)};
}

cv::Matx33d AboutY(double a)
{
    return {std::cos(a), 0, std::sin(a), 0, 1, 0, -std::sin(a), 0, std::cos(a)};
}

cv::Matx33d AboutZ(double a)
{
    return {std::cos(a), -std::sin(a), 0, std::sin(a), std::cos(a), 0, 0, 0, 1};
}

double Radians(double degrees)
{
    return degrees * std::numbers::pi / 180.0;
}

} // namespace

CameraModel::CameraModel(const Lens& lens, const cv::Matx33d& cameraFromMachine, const cv::Point3d& centreMm,
                         cv::Size size)
    : m_lens(lens), m_cameraFromMachine(cameraFromMachine), m_machineFromCamera(cameraFromMachine.t()),
      m_centreMm(centreMm), m_size(size), m_maxTheta(lens.bRectified ? kMaxThetaRectified : kMaxThetaFisheye)
{
}

double CameraModel::Radius(double theta) const
{
    const double base = m_lens.bRectified ? std::tan(theta)
                                          : m_lens.equisolid * 2.0 * std::sin(0.5 * theta) +
                                                (1.0 - m_lens.equisolid) * 2.0 * std::tan(0.5 * theta);
    const double square = theta * theta;
    return base + m_lens.zone * square / (1.0 + square) * std::sin(m_lens.zoneFrequency * theta);
}

double CameraModel::RadiusDerivative(double theta) const
{
    const double square = theta * theta;
    double base = 0.0;
    if (m_lens.bRectified) {
        const double c = std::cos(theta);
        base = 1.0 / (c * c);
    } else {
        const double c = std::cos(0.5 * theta);
        base = m_lens.equisolid * c + (1.0 - m_lens.equisolid) / (c * c);
    }
    const double w = m_lens.zoneFrequency;
    const double weight = square / (1.0 + square);
    const double weightDerivative = 2.0 * theta / ((1.0 + square) * (1.0 + square));
    return base + m_lens.zone * (weightDerivative * std::sin(w * theta) + weight * w * std::cos(w * theta));
}

std::optional<cv::Point2d> CameraModel::PixelFromMachine(const cv::Point2d& machineMm) const
{
    const cv::Vec3d offset(machineMm.x - m_centreMm.x, machineMm.y - m_centreMm.y, -m_centreMm.z);
    const cv::Vec3d p = m_cameraFromMachine * offset;
    const double side = std::hypot(p[0], p[1]);
    const double theta = std::atan2(side, p[2]);
    if (!std::isfinite(side) || !(theta <= m_maxTheta)) {
        return std::nullopt;
    }
    const double scale = side > 0.0 ? Radius(theta) / side : 0.0;
    const double x = scale * p[0];
    const double y = scale * p[1];
    const double square = x * x + y * y;
    const double dx = 2.0 * m_lens.p1 * x * y + m_lens.p2 * (square + 2.0 * x * x);
    const double dy = m_lens.p1 * (square + 2.0 * y * y) + 2.0 * m_lens.p2 * x * y;
    return cv::Point2d(m_lens.fx * (x + dx) + m_lens.cx, m_lens.fy * (y + dy) + m_lens.cy);
}

std::optional<double> CameraModel::ThetaFromRadius(double radius, double thetaStart) const
{
    if (!(radius <= Radius(m_maxTheta))) {
        return std::nullopt;
    }
    double theta = std::clamp(thetaStart, 0.0, m_maxTheta);
    for (int i = 0; i < 30; ++i) {
        const double step = (Radius(theta) - radius) / RadiusDerivative(theta);
        theta = std::clamp(theta - step, 0.0, m_maxTheta);
        if (std::abs(step) < 1e-10) {
            break;
        }
    }
    return theta;
}

cv::Point2d CameraModel::Centred(const cv::Point2d& pixel) const
{
    const double u = (pixel.x - m_lens.cx) / m_lens.fx;
    const double v = (pixel.y - m_lens.cy) / m_lens.fy;
    double x = u;
    double y = v;
    // The decentring is a ten-thousandth: each round gains three digits.
    for (int i = 0; i < 5; ++i) {
        const double square = x * x + y * y;
        const double nextX = u - 2.0 * m_lens.p1 * x * y - m_lens.p2 * (square + 2.0 * x * x);
        const double nextY = v - m_lens.p1 * (square + 2.0 * y * y) - 2.0 * m_lens.p2 * x * y;
        const double change = std::abs(nextX - x) + std::abs(nextY - y);
        x = nextX;
        y = nextY;
        if (change < 1e-12) {
            break;
        }
    }
    return {x, y};
}

std::optional<CameraModel::Ray> CameraModel::RayOfPixel(const cv::Point2d& pixel) const
{
    const double u = (pixel.x - m_lens.cx) / m_lens.fx;
    const double v = (pixel.y - m_lens.cy) / m_lens.fy;
    if (!std::isfinite(u) || !std::isfinite(v) || std::hypot(u, v) > 10.0) {
        return std::nullopt;
    }
    const cv::Point2d plane = Centred(pixel);
    const double radius = std::hypot(plane.x, plane.y);
    const std::optional<double> theta = ThetaFromRadius(radius, std::atan(radius));
    if (!theta) {
        return std::nullopt;
    }
    return Ray{*theta, radius > 0.0 ? plane / radius : cv::Point2d(1.0, 0.0)};
}

std::optional<cv::Point2d> CameraModel::MachineFromPixel(const cv::Point2d& pixel) const
{
    const std::optional<Ray> ray = RayOfPixel(pixel);
    if (!ray) {
        return std::nullopt;
    }
    const double side = std::sin(ray->theta);
    const cv::Vec3d direction =
        m_machineFromCamera * cv::Vec3d(side * ray->direction.x, side * ray->direction.y, std::cos(ray->theta));
    if (direction[2] < g_dLeastDescent) {
        return std::nullopt;
    }
    const double length = -m_centreMm.z / direction[2];
    return cv::Point2d(m_centreMm.x + length * direction[0], m_centreMm.y + length * direction[1]);
}

std::optional<double> CameraModel::ThetaOfPixel(const cv::Point2d& pixel) const
{
    const std::optional<Ray> ray = RayOfPixel(pixel);
    return ray ? std::optional<double>(ray->theta) : std::nullopt;
}

cv::Size2d BedOf(Machine::Kind kind)
{
    return kind == Machine::Kind::Automatic ? cv::Size2d(1300.0, 900.0) : cv::Size2d(900.0, 600.0);
}

CameraModel MakeCamera(Machine::Kind kind, std::uint64_t nSeed, Side side)
{
    const cv::Size size(2592, 1944);
    const bool bLeft = side == Side::Left;
    Draw draw(nSeed, bLeft ? 0x11 : 0x12);
    Lens lens;
    cv::Point3d centre;
    cv::Matx33d mount;
    if (kind == Machine::Kind::Automatic) {
        lens.equisolid = draw.Between(0.55, 0.75);
        lens.fx = 1350.0 * (1.0 + draw.Within(0.02));
        lens.zone = draw.Between(4.5e-4, 6.0e-4) * (draw.Unit() < 0.5 ? -1.0 : 1.0);
        lens.zoneFrequency = draw.Between(11.5, 13.5);
        lens.p1 = draw.Within(1.0e-4);
        lens.p2 = draw.Within(1.0e-4);
        centre = {bLeft ? 370.0 : 930.0, 450.0, -700.0};
        mount = bLeft ? AboutZ(std::numbers::pi) : cv::Matx33d::eye();
    } else {
        lens.bRectified = true;
        lens.fx = 2200.0 * (1.0 + draw.Within(0.01));
        lens.zone = draw.Between(0.5e-4, 1.0e-4);
        lens.zoneFrequency = draw.Between(7.0, 9.0);
        centre = {bLeft ? 235.0 : 665.0, 300.0, -600.0};
        // Turning the raw picture by 90 degrees clockwise makes it upright: raw x is machine Y, raw y is minus X.
        mount = cv::Matx33d(0, 1, 0, -1, 0, 0, 0, 0, 1);
    }
    lens.fy = lens.fx * (1.0 + draw.Within(0.002));
    lens.cx = 0.5 * (size.width - 1) + draw.Within(30.0);
    lens.cy = 0.5 * (size.height - 1) + draw.Within(30.0);
    const double range = kind == Machine::Kind::Automatic ? 1.0 : 0.5;
    centre += cv::Point3d(draw.Within(10.0 * range), draw.Within(10.0 * range), draw.Within(10.0 * range));
    const double tilt = Radians(1.5 * range);
    const cv::Matx33d play = AboutZ(draw.Within(tilt)) * AboutY(draw.Within(tilt)) * AboutX(draw.Within(tilt));
    return CameraModel(lens, play * mount, centre, size);
}

} // namespace Simulator
