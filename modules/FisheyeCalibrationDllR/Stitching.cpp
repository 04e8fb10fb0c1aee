#include "Stitching.h"

#include "DualModel.h"
#include "FisheyeCalibrationDllR.h"
#include "Log.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <string>
#include <vector>

namespace Fisheye
{

namespace
{

constexpr double kMaxStitchedPixels = 5.0e8;
// Share of the marks' extent by which the stitched picture reaches beyond them: a model is not trusted far outside of
// what it was fitted to.
constexpr double kReachBeyondMarks = 0.15;

struct CameraInput {
    const char* pName;
    PictureView view;
    FisheyeModel model;
};

bool Refuse(const char* pOperation, const std::string& strReason)
{
    ILog_WriteLogF(2, "%s: %s", pOperation, strReason.c_str());
    return false;
}

bool CheckCamera(const char* pOperation, const unsigned char* pPixels, long nWidth, long nHeight, int nBits,
                 const FishEyeCalibrationParam& param, CameraInput& camera)
{
    const std::string strName = camera.pName;
    if (!pPixels) {
        return Refuse(pOperation, "there are no pixels of the " + strName + " camera");
    }
    if (nWidth <= 0 || nHeight <= 0 || nWidth > kMaxSide || nHeight > kMaxSide ||
        (nBits != 8 && nBits != 24 && nBits != 32)) {
        return Refuse(pOperation, "the " + strName + " picture is " + std::to_string(nWidth) + " x " +
                                      std::to_string(nHeight) + " at " + std::to_string(nBits) +
                                      " bits; 8, 24 or 32 bits are expected");
    }
    const char* pReason = "";
    const auto model = UnpackRecord(param, &pReason);
    if (!model) {
        return Refuse(pOperation, "the " + strName + " camera's record is not usable: " + pReason);
    }
    if (model->nWidth != nWidth || model->nHeight != nHeight) {
        return Refuse(pOperation, "the " + strName + " camera's record is for pictures of " +
                                      std::to_string(model->nWidth) + " x " + std::to_string(model->nHeight) +
                                      ", not of " + std::to_string(nWidth) + " x " + std::to_string(nHeight));
    }
    camera.view = {pPixels, static_cast<int>(nWidth), static_cast<int>(nHeight), nBits / 8};
    camera.model = *model;
    return true;
}

/// Density of the surface on the sensor against the one straight below, at an angle, for a camera that looks straight
/// down.
double RelativeResolution(const FisheyeModel& model, double thetaRad)
{
    const double radial = model.RadiusDerivative(thetaRad) * std::cos(thetaRad) * std::cos(thetaRad);
    const double tangential = model.Radius(thetaRad) / std::tan(thetaRad);
    return radial > 0.0 ? std::sqrt(radial * tangential) : 0.0;
}

struct FarEdge {
    double x = 0.0;
    double y = 0.0;

    void Reach(const cv::Point2d& point)
    {
        x = std::max(x, point.x);
        y = std::max(y, point.y);
    }
};

/// The farthest millimetre of the surface that a camera sees well, along each axis.
FarEdge FootprintEdge(const FisheyeModel& model)
{
    const FisheyeProjector projector(model);
    const double dUsable = UsableTheta(model);
    const double dRadius = model.Radius(dUsable);
    const auto clampInside = [&](cv::Point2d pixel) {
        // A pixel beyond the usable angle is drawn in along its ray's azimuth.
        const cv::Point2d d((pixel.x - model.cx) / model.fx, (pixel.y - model.cy) / model.fy);
        const double dLength = std::hypot(d.x, d.y);
        const double dScale = dLength > dRadius ? dRadius / dLength * 0.999999 : 1.0;
        return cv::Point2d(model.cx + d.x * dScale * model.fx, model.cy + d.y * dScale * model.fy);
    };
    FarEdge edge;
    constexpr int nSteps = 400;
    for (int i = 0; i <= nSteps; ++i) {
        const double u = (model.nWidth - 1.0) * i / nSteps;
        const double v = (model.nHeight - 1.0) * i / nSteps;
        for (const cv::Point2d& border : {cv::Point2d(u, 0.0), cv::Point2d(u, model.nHeight - 1.0), cv::Point2d(0.0, v),
                                          cv::Point2d(model.nWidth - 1.0, v)}) {
            if (const auto surface = projector.SurfaceFromPixel(clampInside(border))) {
                edge.Reach(*surface);
            }
        }
    }
    return edge;
}

/// How far the marks let the models be trusted; unlimited without marks.
FarEdge MarksEdge(const std::vector<CalibrationPoint>& left, const std::vector<CalibrationPoint>& right)
{
    FarEdge low{1.0e9, 1.0e9};
    FarEdge high{-1.0e9, -1.0e9};
    for (const auto* pPoints : {&left, &right}) {
        for (const CalibrationPoint& point : *pPoints) {
            if (std::isfinite(point.fWorldX) && std::isfinite(point.fWorldY)) {
                low = {std::min<double>(low.x, point.fWorldX), std::min<double>(low.y, point.fWorldY)};
                high = {std::max<double>(high.x, point.fWorldX), std::max<double>(high.y, point.fWorldY)};
            }
        }
    }
    if (low.x >= high.x || low.y >= high.y) {
        return {1.0e9, 1.0e9};
    }
    return {high.x + kReachBeyondMarks * (high.x - low.x), high.y + kReachBeyondMarks * (high.y - low.y)};
}

/// Mean of a 5 x 5 patch per channel; false where it is cut off or not well exposed.
bool PatchMean(const PictureView& view, const SourcePlace& place, std::array<double, 3>& mean)
{
    constexpr int nHalf = 2;
    if (!IsInside(view, place)) {
        return false;
    }
    const int x = static_cast<int>(place.x + 0.5);
    const int y = static_cast<int>(place.y + 0.5);
    if (x < nHalf || y < nHalf || x >= view.nWidth - nHalf || y >= view.nHeight - nHalf) {
        return false;
    }
    const int nUsed = std::min(view.nChannels, 3);
    std::array<int, 3> sum{};
    for (int dy = -nHalf; dy <= nHalf; ++dy) {
        const unsigned char* p = view.pPixels + static_cast<std::size_t>(y + dy) * view.Stride() +
                                 static_cast<std::size_t>((x - nHalf) * view.nChannels);
        for (int dx = -nHalf; dx <= nHalf; ++dx, p += view.nChannels) {
            for (int c = 0; c < nUsed; ++c) {
                sum[static_cast<std::size_t>(c)] += p[c];
            }
        }
    }
    for (int c = 0; c < nUsed; ++c) {
        const auto i = static_cast<std::size_t>(c);
        mean[i] = sum[i] / 25.0;
        if (mean[i] < 8.0 || mean[i] > 247.0) {
            return false;
        }
    }
    return true;
}

struct Ratio {
    double y;
    double logRatio;
};

/// A line through the middle of the cloud: least squares, thrice reweighted against outliers.
void FitLine(const std::vector<Ratio>& ratios, double yMid, double& dValue, double& dSlope)
{
    std::vector<double> sorted;
    sorted.reserve(ratios.size());
    for (const Ratio& ratio : ratios) {
        sorted.push_back(ratio.logRatio);
    }
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    dValue = *middle;
    dSlope = 0.0;
    for (int nRound = 0; nRound < 3; ++nRound) {
        double s0 = 0, s1 = 0, s2 = 0, t0 = 0, t1 = 0;
        for (const Ratio& ratio : ratios) {
            const double dy = ratio.y - yMid;
            const double r = (ratio.logRatio - dValue - dSlope * dy) / 0.05;
            const double w = 1.0 / (1.0 + r * r);
            s0 += w;
            s1 += w * dy;
            s2 += w * dy * dy;
            t0 += w * ratio.logRatio;
            t1 += w * dy * ratio.logRatio;
        }
        const double dDeterminant = s0 * s2 - s1 * s1;
        if (dDeterminant <= 1.0e-9 * s0 * s2 || s2 <= 0.0) {
            dValue = t0 / s0;
            dSlope = 0.0;
        } else {
            dValue = (t0 * s2 - t1 * s1) / dDeterminant;
            dSlope = (t1 * s0 - t0 * s1) / dDeterminant;
        }
    }
}

} // namespace

double UsableTheta(const FisheyeModel& model)
{
    const double dLimit = std::min(model.maxThetaRad, 1.3);
    constexpr int nSteps = 200;
    for (int i = 1; i <= nSteps; ++i) {
        const double theta = dLimit * i / nSteps;
        if (RelativeResolution(model, theta) < kLeastResolution) {
            return dLimit * (i - 1) / nSteps;
        }
    }
    return dLimit;
}

StitchProjection::StitchProjection(const FisheyeModel& model, double dPxPerMm)
    : m_model(model), m_dUsableTheta(UsableTheta(model))
{
    const cv::Matx33d r = model.RotationMatrix();
    for (int i = 0; i < 3; ++i) {
        m_cameraFromPixel(i, 0) = r(i, 0) / dPxPerMm;
        m_cameraFromPixel(i, 1) = r(i, 1) / dPxPerMm;
        m_cameraFromPixel(i, 2) = model.translationMm[i];
    }
}

SourcePlace StitchProjection::operator()(double x, double y) const
{
    const cv::Matx33d& m = m_cameraFromPixel;
    const double cx = m(0, 0) * x + m(0, 1) * y + m(0, 2);
    const double cy = m(1, 0) * x + m(1, 1) * y + m(1, 2);
    const double cz = m(2, 0) * x + m(2, 1) * y + m(2, 2);
    const double dLateral = std::sqrt(cx * cx + cy * cy);
    SourcePlace place;
    place.thetaRad = std::atan2(dLateral, cz);
    if (!(place.thetaRad <= m_dUsableTheta)) {
        return place;
    }
    const double dScale = dLateral > 1.0e-12 ? m_model.Radius(place.thetaRad) / dLateral : 1.0 / cz;
    place.x = m_model.fx * dScale * cx + m_model.cx;
    place.y = m_model.fy * dScale * cy + m_model.cy;
    place.bValid = true;
    return place;
}

std::array<double, 3> BrightnessMatch::Gain(double yPx, bool bFirst) const
{
    const double dy = std::clamp(yPx, yLowPx, yHighPx) - yMidPx;
    std::array<double, 3> gain{};
    for (std::size_t c = 0; c < 3; ++c) {
        const double dHalf = 0.5 * (logRatio[c] + slope[c] * dy);
        gain[c] = std::exp(bFirst ? dHalf : -dHalf);
    }
    return gain;
}

BrightnessMatch MatchBrightness(const PictureView& first, const StitchProjection& firstPlace, const PictureView& second,
                                const StitchProjection& secondPlace, int nWidth, int nHeight)
{
    // Only near the seam: there the two must agree, elsewhere one is shown alone.
    constexpr double dNearSeamRad = 0.15;
    constexpr std::size_t nLeastPatches = 40;
    const int nStep = std::max(24, std::max(nWidth, nHeight) / 240);
    std::array<std::vector<Ratio>, 3> ratios;
    for (int y = nStep / 2; y < nHeight; y += nStep) {
        for (int x = nStep / 2; x < nWidth; x += nStep) {
            const SourcePlace a = firstPlace(x, y);
            if (!IsInside(first, a)) {
                continue;
            }
            const SourcePlace b = secondPlace(x, y);
            std::array<double, 3> aMean{};
            std::array<double, 3> bMean{};
            if (std::abs(a.thetaRad - b.thetaRad) > dNearSeamRad || !PatchMean(first, a, aMean) ||
                !PatchMean(second, b, bMean)) {
                continue;
            }
            for (std::size_t c = 0; c < static_cast<std::size_t>(std::min(first.nChannels, 3)); ++c) {
                ratios[c].push_back({static_cast<double>(y), std::log(bMean[c] / aMean[c])});
            }
        }
    }
    BrightnessMatch match;
    if (ratios[0].size() < nLeastPatches) {
        return match;
    }
    match.yLowPx = ratios[0].front().y;
    match.yHighPx = ratios[0].back().y;
    match.yMidPx = 0.5 * (match.yLowPx + match.yHighPx);
    for (std::size_t c = 0; c < 3 && !ratios[c].empty(); ++c) {
        FitLine(ratios[c], match.yMidPx, match.logRatio[c], match.slope[c]);
    }
    return match;
}

namespace
{

bool ComputeSize(const CameraInput& left, const CameraInput& right, const std::vector<CalibrationPoint>& leftPoints,
                 const std::vector<CalibrationPoint>& rightPoints, long& nWidth, long& nHeight)
{
    FarEdge edge = FootprintEdge(left.model);
    const FarEdge rightEdge = FootprintEdge(right.model);
    edge.Reach({rightEdge.x, rightEdge.y});
    const FarEdge marks = MarksEdge(leftPoints, rightPoints);
    // Whole millimetres, so that corners are whole pixels.
    const double dWidthMm = std::floor(std::min(edge.x, marks.x));
    const double dHeightMm = std::floor(std::min(edge.y, marks.y));
    const double dDensity = double{kPxPerMm};
    if (dWidthMm < 1.0 || dHeightMm < 1.0 || dWidthMm * dDensity > kMaxSide || dHeightMm * dDensity > kMaxSide ||
        dWidthMm * dHeightMm * dDensity * dDensity > kMaxStitchedPixels) {
        return Refuse("ComputeStitchedImageSize", "the cameras would show " + std::to_string(dWidthMm) + " x " +
                                                      std::to_string(dHeightMm) + " mm, which is no work area");
    }
    nWidth = static_cast<long>(dWidthMm * dDensity);
    nHeight = static_cast<long>(dHeightMm * dDensity);
    return true;
}

void Stitch(const CameraInput& left, const CameraInput& right, unsigned char* pOut, int nWidth, int nHeight)
{
    const StitchProjection leftPlace(left.model, double{kPxPerMm});
    const StitchProjection rightPlace(right.model, double{kPxPerMm});
    const BrightnessMatch match = MatchBrightness(left.view, leftPlace, right.view, rightPlace, nWidth, nHeight);
    const auto gain = [&match](bool bFirst) {
        return [&match, bFirst](int nCellRow) { return match.Gain((nCellRow + 0.5) * kGridStep, bFirst); };
    };
    const WarpLayer leftLayer{left.view, leftPlace, gain(true)};
    const WarpLayer rightLayer{right.view, rightPlace, gain(false)};
    PaintWarp({pOut, nWidth, nHeight, nullptr}, leftLayer, &rightLayer);
}

} // namespace

} // namespace Fisheye

bool ComputeStitchedImageSize(unsigned char* leftData, long leftWidth, long leftHeight, int leftBits,
                              FishEyeCalibrationParam leftParam, std::vector<CalibrationPoint> leftPoints,
                              unsigned char* rightData, long rightWidth, long rightHeight, int rightBits,
                              FishEyeCalibrationParam rightParam, std::vector<CalibrationPoint> rightPoints,
                              long& outWidth, long& outHeight, int& outBits)
{
    constexpr const char* pOperation = "ComputeStitchedImageSize";
    try {
        Fisheye::CameraInput left{"left", {}, {}};
        Fisheye::CameraInput right{"right", {}, {}};
        if (!Fisheye::CheckCamera(pOperation, leftData, leftWidth, leftHeight, leftBits, leftParam, left) ||
            !Fisheye::CheckCamera(pOperation, rightData, rightWidth, rightHeight, rightBits, rightParam, right) ||
            !Fisheye::ComputeSize(left, right, leftPoints, rightPoints, outWidth, outHeight)) {
            return false;
        }
        outBits = leftBits;
        return true;
    } catch (const std::exception& exception) {
        return Fisheye::Refuse(pOperation, exception.what());
    }
}

bool FishEyeImageStitching(unsigned char* leftData, long leftWidth, long leftHeight, int leftBits,
                           FishEyeCalibrationParam leftParam, std::vector<CalibrationPoint>, unsigned char* rightData,
                           long rightWidth, long rightHeight, int rightBits, FishEyeCalibrationParam rightParam,
                           std::vector<CalibrationPoint>, unsigned char* out, long outWidth, long outHeight,
                           int outBits, DualFishEyeCalibrationParam& dualParam)
{
    constexpr const char* pOperation = "FishEyeImageStitching";
    try {
        Fisheye::CameraInput left{"left", {}, {}};
        Fisheye::CameraInput right{"right", {}, {}};
        if (!Fisheye::CheckCamera(pOperation, leftData, leftWidth, leftHeight, leftBits, leftParam, left) ||
            !Fisheye::CheckCamera(pOperation, rightData, rightWidth, rightHeight, rightBits, rightParam, right)) {
            return false;
        }
        if (leftBits != rightBits || outBits != leftBits) {
            return Fisheye::Refuse(pOperation, "the depths differ: left " + std::to_string(leftBits) + ", right " +
                                                   std::to_string(rightBits) + ", stitched " + std::to_string(outBits) +
                                                   " bits");
        }
        if (!out || outWidth <= 0 || outHeight <= 0 || outWidth > Fisheye::kMaxSide || outHeight > Fisheye::kMaxSide) {
            return Fisheye::Refuse(pOperation, "a stitched picture of " + std::to_string(outWidth) + " x " +
                                                   std::to_string(outHeight) + " cannot be painted");
        }
        Fisheye::Stitch(left, right, out, static_cast<int>(outWidth), static_cast<int>(outHeight));
        Fisheye::DualModel dual;
        dual.nWidth = static_cast<int>(outWidth);
        dual.nHeight = static_cast<int>(outHeight);
        dualParam = Fisheye::PackDualRecord(dual);
        return true;
    } catch (const std::exception& exception) {
        return Fisheye::Refuse(pOperation, exception.what());
    }
}
