#include "HeldChart.h"

#include "ChartPainter.h"
#include "SeededNoise.h"
#include "Truth.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Simulator
{

namespace
{

/// Fingers come from beside the sheet, this far.
constexpr double kFingerMm = 400.0;

/// For each pixel: `std::hypot` minds ranges that no chart has and takes several times as long.
double Length(const cv::Point2d& p)
{
    return std::sqrt(p.dot(p));
}

double DistanceToStroke(const ChartFinger& finger, const cv::Point2d& p)
{
    const cv::Point2d along = finger.toMm - finger.fromMm;
    const double t = std::clamp((p - finger.fromMm).dot(along) / std::max(along.dot(along), 1.0e-9), 0.0, 1.0);
    const cv::Point2d off = p - (finger.fromMm + t * along);
    return Length(off) - finger.radiusMm;
}

/// Beyond it the share of a soft edge differs from 0 or 1 by less than a millionth.
constexpr double kSoftSigmas = 5.0;

/// Share of a soft edge inside, for a signed distance in pixels that grows outward.
double InsideShare(double distancePx, double sigmaPx)
{
    if (std::abs(distancePx) > kSoftSigmas * sigmaPx) {
        return distancePx > 0.0 ? 0.0 : 1.0;
    }
    return 0.5 * std::erfc(distancePx / (std::numbers::sqrt2 * sigmaPx));
}

struct DiscCount {
    int nWhole = 0;
    int nCentres = 0; ///< in view and free
    int nAll = 0;
};

DiscCount CountDiscs(const Truth& truth, Side side, const cv::Size& picture, const HeldChart& chart)
{
    constexpr double kMarginPx = 6.0;
    const auto shows = [&](const cv::Point2d& mm, double margin) {
        const std::optional<cv::Point2d> p = truth.PixelFromSpace(side, chart.MachineFromChart(mm));
        return p && p->x >= margin && p->y >= margin && p->x <= picture.width - 1 - margin &&
               p->y <= picture.height - 1 - margin;
    };
    const double radius = 0.5 * chart.layout.discDiameterMm;
    DiscCount count;
    for (int r = 0; r < chart.layout.nRows; ++r) {
        for (int c = 0; c < chart.layout.nCols; ++c) {
            const cv::Point2d disc = chart.layout.DiscMm(c, r);
            double fingerMm = 1.0e9;
            for (const ChartFinger& finger : chart.fingers) {
                fingerMm = std::min(fingerMm, DistanceToStroke(finger, disc));
            }
            bool bWhole = fingerMm > radius + 1.5;
            for (int k = 0; k < 16 && bWhole; ++k) {
                const double a = k * std::numbers::pi / 8.0;
                bWhole = shows(disc + radius * cv::Point2d(std::cos(a), std::sin(a)), kMarginPx);
            }
            count.nWhole += bWhole ? 1 : 0;
            count.nCentres += fingerMm > 0.0 && shows(disc, 0.0) ? 1 : 0;
            ++count.nAll;
        }
    }
    return count;
}

void PutFingers(Draw& draw, bool bOverDiscs, HeldChart& chart)
{
    const cv::Size2d sheet = chart.layout.SheetMm();
    const int nFingers = bOverDiscs ? 1 + static_cast<int>(3.0 * draw.Unit()) : static_cast<int>(3.0 * draw.Unit());
    for (int i = 0; i < nFingers; ++i) {
        const double side = draw.Unit() < 0.5 ? -0.5 : 0.5;
        const double y = draw.Within(0.45 * sheet.height);
        const double reach = bOverDiscs ? draw.Between(30.0, 90.0) : draw.Between(2.0, 8.0);
        chart.fingers.push_back({{side * sheet.width + std::copysign(kFingerMm, side), y + draw.Within(120.0)},
                                 {side * sheet.width - std::copysign(reach, side), y},
                                 draw.Between(7.0, 11.0)});
    }
}

HeldChart Propose(Draw& draw, const Truth& truth, Side side, const cv::Size& picture, ChartShown eShown)
{
    HeldChart chart;
    const cv::Point3d eye = truth.CameraCentreMm(side);
    const bool bPart = eShown == ChartShown::Part;
    const double reach = bPart ? 0.55 : 0.40;
    const cv::Point2d aim(picture.width * (0.5 + draw.Within(reach)), picture.height * (0.5 + draw.Within(reach)));
    const cv::Point2d surface = truth.MachineFromPixel(side, aim).value_or(cv::Point2d(eye.x, eye.y));
    const double height = draw.Between(-330.0, -10.0);
    const double t = (height - eye.z) / -eye.z;
    chart.middleMm = {eye.x + t * (surface.x - eye.x), eye.y + t * (surface.y - eye.y), height};
    const double spin = draw.Unit() < 0.8 ? 90.0 * std::floor(4.0 * draw.Unit()) + draw.Within(12.0) : draw.Within(180);
    const double tiltAxis = draw.Within(std::numbers::pi);
    const double tilt = draw.Between(0.0, 40.0) * kDegree;
    chart.machineFromChart = RotationAbout({std::cos(tiltAxis), std::sin(tiltAxis), 0.0}, tilt) *
                             RotationAbout({0.0, 0.0, 1.0}, spin * kDegree);
    chart.blurPx = draw.Unit() < 0.7 ? draw.Between(0.5, 1.5) : draw.Between(1.5, 5.0);
    chart.paperLevel = draw.Between(130.0, 235.0);
    chart.inkLevel = draw.Unit() < 0.7 ? draw.Between(20.0, 60.0) : chart.paperLevel - draw.Between(35.0, 70.0);
    const double slopeAngle = draw.Within(std::numbers::pi);
    chart.lightSlopePerMm = draw.Between(0.0, 0.0025) * cv::Point2d(std::cos(slopeAngle), std::sin(slopeAngle));
    if (draw.Unit() < 0.3) {
        chart.glare = {{draw.Within(100.0), draw.Within(130.0)}, draw.Between(40.0, 110.0), draw.Between(20.0, 90.0)};
    }
    PutFingers(draw, bPart && draw.Unit() < 0.4, chart);
    return chart;
}

} // namespace

cv::Point2d ChartLayout::DiscMm(int nCol, int nRow) const
{
    return {(nCol - 0.5 * (nCols - 1)) * pitchMm, (nRow - 0.5 * (nRows - 1)) * pitchMm};
}

cv::Size2d ChartLayout::SheetMm() const
{
    const double around = discDiameterMm + 2.0 * borderMm;
    return {(nCols - 1) * pitchMm + around, (nRows - 1) * pitchMm + around};
}

cv::Point3d HeldChart::MachineFromChart(const cv::Point2d& chartMm) const
{
    const cv::Vec3d offset = machineFromChart * cv::Vec3d(chartMm.x, chartMm.y, 0.0);
    return {middleMm.x + offset[0], middleMm.y + offset[1], middleMm.z + offset[2]};
}

cv::Matx33d RotationAbout(const cv::Vec3d& axis, double angle)
{
    const cv::Vec3d k = axis / cv::norm(axis);
    const cv::Matx33d cross(0, -k[2], k[1], k[2], 0, -k[0], -k[1], k[0], 0);
    return cv::Matx33d::eye() + std::sin(angle) * cross + (1.0 - std::cos(angle)) * (cross * cross);
}

HeldChart DrawChart(const Machine& machine, Side side, std::uint64_t nSeed, ChartShown eShown)
{
    const Truth truth(machine);
    const cv::Size picture = truth.PictureSize(side);
    Draw draw(nSeed, side == Side::Left ? 0x71 : 0x72);
    HeldChart chart;
    // About every fifth proposal fits; the bound only keeps a strange machine from looping for ever.
    for (int i = 0; i < 2000; ++i) {
        chart = Propose(draw, truth, side, picture, eShown);
        const DiscCount count = CountDiscs(truth, side, picture, chart);
        if (eShown == ChartShown::Whole ? count.nWhole == count.nAll
                                        : count.nCentres > 0 && count.nCentres < count.nAll) {
            break;
        }
    }
    return chart;
}

std::optional<cv::Point2d> PixelFromSpace(const CameraModel& model, const cv::Point3d& machineMm)
{
    const cv::Point3d eye = model.CentreMm();
    const double depth = machineMm.z - eye.z;
    if (!(depth > 1.0)) {
        return std::nullopt;
    }
    const double t = -eye.z / depth;
    return model.PixelFromMachine({eye.x + t * (machineMm.x - eye.x), eye.y + t * (machineMm.y - eye.y)});
}

ChartPainter::ChartPainter(const CameraModel& model, const HeldChart& chart)
    : m_chart(chart), m_sheetMm(chart.layout.SheetMm()), m_sigmaPx(std::hypot(0.35, chart.blurPx))
{
    // A chart point p lies at middle + R p; with its eye distance along R's third column it is a plane of rays.
    const cv::Point3d eye = model.CentreMm();
    const cv::Matx33d chartFromMachine = chart.machineFromChart.t();
    const cv::Vec3d eyeInChart =
        chartFromMachine * cv::Vec3d(eye.x - chart.middleMm.x, eye.y - chart.middleMm.y, eye.z - chart.middleMm.z);
    // Ray of surface point (x, y): direction d = R^T (x - eye.x, y - eye.y, -eye.z), met at eye - d * eye_z / d_z.
    const cv::Matx33d ray = chartFromMachine * cv::Matx33d(1, 0, -eye.x, 0, 1, -eye.y, 0, 0, -eye.z);
    m_chartFromSurface = cv::Matx33d(-eyeInChart[2], 0, eyeInChart[0], 0, -eyeInChart[2], eyeInChart[1], 0, 0, 1) * ray;
}

void ChartPainter::ChartFromSurface(const cv::Point2f* pSurface, std::vector<cv::Point2d>& row) const
{
    for (cv::Point2d& point : row) {
        const cv::Vec3d p = m_chartFromSurface * cv::Vec3d(pSurface->x, pSurface->y, 1.0);
        point = {p[0] / p[2], p[1] / p[2]};
        ++pSurface;
    }
}

ChartPainter::Cover ChartPainter::At(const cv::Point2d& p, const cv::Point2d& right, const cv::Point2d& below) const
{
    const double aroundMm = m_chart.fingers.empty() ? 20.0 : kFingerMm;
    if (!(std::abs(p.x) < 0.5 * m_sheetMm.width + aroundMm && std::abs(p.y) < 0.5 * m_sheetMm.height + aroundMm)) {
        return {};
    }
    const cv::Point2d across = right - p;
    const cv::Point2d down = below - p;
    // Pixels per millimetre along a direction of the chart.
    const auto toPx = [&](const cv::Point2d& normal, double mm) {
        return mm / std::max(Length({across.dot(normal), down.dot(normal)}), 1.0e-9);
    };
    // No edge is softer than this, whatever its direction: most pixels are clear of all of them.
    const double softMm = 1.001 * kSoftSigmas * m_sigmaPx * std::sqrt(across.dot(across) + down.dot(down));
    const auto insideShare = [&](const cv::Point2d& normal, double mm) {
        return std::abs(mm) > softMm ? (mm > 0.0 ? 0.0 : 1.0) : InsideShare(toPx(normal, mm), m_sigmaPx);
    };
    const double outXMm = std::abs(p.x) - 0.5 * m_sheetMm.width;
    const double outYMm = std::abs(p.y) - 0.5 * m_sheetMm.height;
    const bool bOutside = outXMm > softMm || outYMm > softMm;
    if (bOutside && std::none_of(m_chart.fingers.begin(), m_chart.fingers.end(),
                                 [&](const ChartFinger& finger) { return DistanceToStroke(finger, p) <= softMm; })) {
        return {};
    }
    Cover cover;
    double share = bOutside ? 0.0 : std::min(insideShare({1.0, 0.0}, outXMm), insideShare({0.0, 1.0}, outYMm));

    const ChartLayout& layout = m_chart.layout;
    const int nCol = std::clamp(cvRound(p.x / layout.pitchMm + 0.5 * (layout.nCols - 1)), 0, layout.nCols - 1);
    const int nRow = std::clamp(cvRound(p.y / layout.pitchMm + 0.5 * (layout.nRows - 1)), 0, layout.nRows - 1);
    const cv::Point2d off = p - layout.DiscMm(nCol, nRow);
    const double distance = Length(off);
    const cv::Point2d normal = distance > 0.0 ? off / distance : cv::Point2d(1.0, 0.0);
    const double ink = insideShare(normal, distance - 0.5 * layout.discDiameterMm);
    const double light = std::max(0.1, 1.0 + m_chart.lightSlopePerMm.dot(p));
    double level = light * (m_chart.paperLevel + ink * (m_chart.inkLevel - m_chart.paperLevel));
    if (m_chart.glare.level > 0.0) {
        const cv::Point2d g = (p - m_chart.glare.centreMm) / m_chart.glare.reachMm;
        level += m_chart.glare.level * std::exp(-0.5 * g.dot(g));
    }
    cv::Vec3d colour(level, level, level);
    for (const ChartFinger& finger : m_chart.fingers) {
        const double mm = DistanceToStroke(finger, p);
        const double skin = insideShare({std::numbers::sqrt2 / 2.0, std::numbers::sqrt2 / 2.0}, mm);
        if (skin <= 0.0) {
            continue;
        }
        const double shade = std::clamp(-mm / finger.radiusMm, 0.2, 1.0);
        const cv::Vec3d skinColour = cv::Vec3d(95.0, 120.0, 175.0) * (0.5 + 0.5 * shade);
        const double both = skin + (1.0 - skin) * share;
        colour = (skin * skinColour + (1.0 - skin) * share * colour) / both;
        share = both;
    }
    cover.share = static_cast<float>(share);
    cover.colour = cv::Vec3f(colour);
    return cover;
}

} // namespace Simulator
