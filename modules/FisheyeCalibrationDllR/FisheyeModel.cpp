#include "FisheyeModel.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace Fisheye
{

namespace
{

constexpr double kRecordVersion = 0x46450001; // "FE", layout 1

enum Word {
    WordVersion = 0,
    WordWidth,
    WordHeight,
    WordFx,
    WordFy,
    WordCx,
    WordCy,
    WordK1,
    WordRotation = WordK1 + 4,
    WordTranslation = WordRotation + 3,
    WordResidual = WordTranslation + 3,
    WordMaxTheta,
    WordFirstUnread,
    WordCheck = 28,
};

/// FNV-1a over the bytes of all words before the check word, cut to 52 bits so that a double holds it exactly, and
/// never 0.
double CheckWord(const FishEyeCalibrationParam& record)
{
    std::uint64_t nHash = 14695981039346656037ULL;
    for (int i = 0; i < WordCheck; ++i) {
        unsigned char bytes[sizeof(double)];
        std::memcpy(bytes, &record.words[static_cast<std::size_t>(i)], sizeof bytes);
        for (const unsigned char byte : bytes) {
            nHash = (nHash ^ byte) * 1099511628211ULL;
        }
    }
    return static_cast<double>((nHash >> 12) | 1U);
}

bool InRange(double value, double low, double high)
{
    return std::isfinite(value) && value >= low && value <= high;
}

bool IsWhole(double value)
{
    return std::floor(value) == value;
}

const char* WhatNoCameraHas(const FisheyeModel& model)
{
    if (!InRange(model.fx, 0.02 * model.nWidth, 50.0 * model.nWidth) ||
        !InRange(model.fy, 0.02 * model.nWidth, 50.0 * model.nWidth)) {
        return "its focal length is one that no camera has";
    }
    if (!InRange(model.cx, -1.0 * model.nWidth, 2.0 * model.nWidth) ||
        !InRange(model.cy, -1.0 * model.nHeight, 2.0 * model.nHeight)) {
        return "its principal point lies far outside the picture";
    }
    for (const double k : model.k) {
        if (!InRange(k, -1000.0, 1000.0)) {
            return "its distortion is one that no lens has";
        }
    }
    for (int i = 0; i < 3; ++i) {
        if (!InRange(model.rotation[i], -7.0, 7.0) || !InRange(model.translationMm[i], -1.0e6, 1.0e6)) {
            return "its pose is one that no camera has";
        }
    }
    if (!InRange(model.residualPx, 0.0, 1.0e5)) {
        return "its residual is no residual";
    }
    if (!InRange(model.maxThetaRad, 0.01, kThetaLimitRad) ||
        model.LargestMonotonicTheta(model.maxThetaRad) < 0.999 * model.maxThetaRad) {
        return "its largest angle does not fit its distortion";
    }
    const double heightMm = -FisheyeProjector(model).CentreMm().z;
    if (std::abs(heightMm) < 1.0) {
        return "its camera lies in the surface";
    }
    if (heightMm < 0.0) {
        return "its camera lies below the surface";
    }
    return nullptr;
}

} // namespace

cv::Matx33d FisheyeModel::RotationMatrix() const
{
    // Rodrigues' formula.
    const double angle = cv::norm(rotation);
    const cv::Matx33d cross(0.0, -rotation[2], rotation[1], rotation[2], 0.0, -rotation[0], -rotation[1], rotation[0],
                            0.0);
    if (angle < 1.0e-9) {
        return cv::Matx33d::eye() + cross;
    }
    return cv::Matx33d::eye() + cross * (std::sin(angle) / angle) +
           cross * cross * ((1.0 - std::cos(angle)) / (angle * angle));
}

std::optional<cv::Point2d> FisheyeModel::PixelFromMachine(const cv::Point3d& machineMm) const
{
    return FisheyeProjector(*this).PixelFromMachine(machineMm);
}

std::optional<cv::Point2d> FisheyeModel::SurfaceFromPixel(const cv::Point2d& pixel) const
{
    return FisheyeProjector(*this).SurfaceFromPixel(pixel);
}

double FisheyeModel::Radius(double thetaRad) const
{
    const double t2 = thetaRad * thetaRad;
    return thetaRad * (1.0 + t2 * (k[0] + t2 * (k[1] + t2 * (k[2] + t2 * k[3]))));
}

double FisheyeModel::RadiusDerivative(double thetaRad) const
{
    const double t2 = thetaRad * thetaRad;
    return 1.0 + t2 * (3.0 * k[0] + t2 * (5.0 * k[1] + t2 * (7.0 * k[2] + t2 * 9.0 * k[3])));
}

std::optional<double> FisheyeModel::ThetaFromRadius(double radius) const
{
    if (!(radius >= 0.0) || radius > Radius(maxThetaRad)) {
        return std::nullopt;
    }
    // Newton, held inside a bracket that shrinks: the radius grows all the way up to maxThetaRad.
    double low = 0.0;
    double high = maxThetaRad;
    double theta = std::min(radius, high);
    for (int i = 0; i < 60; ++i) {
        const double excess = Radius(theta) - radius;
        (excess > 0.0 ? high : low) = theta;
        const double slope = RadiusDerivative(theta);
        double next = slope > 1.0e-9 ? theta - excess / slope : 0.5 * (low + high);
        if (!(next >= low && next <= high)) {
            next = 0.5 * (low + high);
        }
        if (std::abs(next - theta) < 1.0e-14) {
            return next;
        }
        theta = next;
    }
    return theta;
}

double FisheyeModel::LargestMonotonicTheta(double limitRad) const
{
    constexpr int nSteps = 1000;
    double good = 0.0;
    for (int i = 1; i <= nSteps; ++i) {
        const double theta = limitRad * i / nSteps;
        if (!(RadiusDerivative(theta) > 0.0)) {
            double bad = theta;
            for (int j = 0; j < 40; ++j) {
                const double middle = 0.5 * (good + bad);
                (RadiusDerivative(middle) > 0.0 ? good : bad) = middle;
            }
            return good;
        }
        good = theta;
    }
    return good;
}

FisheyeProjector::FisheyeProjector(const FisheyeModel& model)
    : m_model(model), m_cameraFromMachine(model.RotationMatrix())
{
    const cv::Vec3d centre = m_cameraFromMachine.t() * model.translationMm;
    m_centreMm = {-centre[0], -centre[1], -centre[2]};
}

std::optional<cv::Point2d> FisheyeProjector::PixelFromMachine(const cv::Point3d& machineMm) const
{
    const cv::Vec3d camera =
        m_cameraFromMachine * cv::Vec3d(machineMm.x, machineMm.y, machineMm.z) + m_model.translationMm;
    const double lateral = std::hypot(camera[0], camera[1]);
    const double theta = std::atan2(lateral, camera[2]);
    if (!(theta <= m_model.maxThetaRad)) {
        return std::nullopt;
    }
    // On the optical axis r / lateral tends to 1 / z.
    const double scale = lateral > 1.0e-12 ? m_model.Radius(theta) / lateral : 1.0 / camera[2];
    const cv::Point2d pixel(m_model.fx * scale * camera[0] + m_model.cx, m_model.fy * scale * camera[1] + m_model.cy);
    if (!std::isfinite(pixel.x) || !std::isfinite(pixel.y)) {
        return std::nullopt;
    }
    return pixel;
}

std::optional<cv::Point2d> FisheyeProjector::SurfaceFromPixel(const cv::Point2d& pixel) const
{
    const double x = (pixel.x - m_model.cx) / m_model.fx;
    const double y = (pixel.y - m_model.cy) / m_model.fy;
    const double radius = std::hypot(x, y);
    const std::optional<double> theta = m_model.ThetaFromRadius(radius);
    if (!theta) {
        return std::nullopt;
    }
    const double lateral = radius > 1.0e-15 ? std::sin(*theta) / radius : 1.0;
    const cv::Vec3d ray = m_cameraFromMachine.t() * cv::Vec3d(lateral * x, lateral * y, std::cos(*theta));
    const double distance = -m_centreMm.z / ray[2];
    if (!(distance > 0.0) || !std::isfinite(distance)) {
        return std::nullopt;
    }
    return cv::Point2d(m_centreMm.x + distance * ray[0], m_centreMm.y + distance * ray[1]);
}

double FisheyeProjector::ThetaOfMachine(const cv::Point3d& machineMm) const
{
    const cv::Vec3d camera =
        m_cameraFromMachine * cv::Vec3d(machineMm.x, machineMm.y, machineMm.z) + m_model.translationMm;
    return camera[2] > 0.0 ? std::atan2(std::hypot(camera[0], camera[1]), camera[2]) : CV_PI;
}

FishEyeCalibrationParam PackRecord(const FisheyeModel& model)
{
    FishEyeCalibrationParam record;
    auto& words = record.words;
    words[WordVersion] = kRecordVersion;
    words[WordWidth] = model.nWidth;
    words[WordHeight] = model.nHeight;
    words[WordFx] = model.fx;
    words[WordFy] = model.fy;
    words[WordCx] = model.cx;
    words[WordCy] = model.cy;
    for (std::size_t i = 0; i < 4; ++i) {
        words[WordK1 + i] = model.k[i];
    }
    for (int i = 0; i < 3; ++i) {
        words[WordRotation + static_cast<std::size_t>(i)] = model.rotation[i];
        words[WordTranslation + static_cast<std::size_t>(i)] = model.translationMm[i];
    }
    words[WordResidual] = model.residualPx;
    words[WordMaxTheta] = model.maxThetaRad;
    for (double& word : words) {
        word += 0.0; // a negative zero would not survive a text file, and its bytes enter the check word
    }
    words[WordCheck] = CheckWord(record);
    return record;
}

std::optional<FisheyeModel> UnpackRecord(const FishEyeCalibrationParam& record, const char** pReason)
{
    const auto refuse = [pReason](const char* pText) {
        if (pReason) {
            *pReason = pText;
        }
        return std::nullopt;
    };
    const auto& words = record.words;
    if (std::all_of(words.begin(), words.end(), [](double word) { return word == 0.0; })) {
        return refuse("the record was never filled");
    }
    if (words[WordVersion] != kRecordVersion) {
        return refuse("the record has an unknown version");
    }
    if (!std::all_of(words.begin(), words.end(), [](double word) { return std::isfinite(word); })) {
        return refuse("the record holds a value that is no finite number");
    }
    if (words[WordCheck] != CheckWord(record)) {
        return refuse("the record is damaged: its check word does not fit");
    }
    if (!InRange(words[WordWidth], 1.0, 65536.0) || !InRange(words[WordHeight], 1.0, 65536.0) ||
        !IsWhole(words[WordWidth]) || !IsWhole(words[WordHeight])) {
        return refuse("its picture size is one that no camera has");
    }
    FisheyeModel model;
    model.nWidth = static_cast<int>(words[WordWidth]);
    model.nHeight = static_cast<int>(words[WordHeight]);
    model.fx = words[WordFx];
    model.fy = words[WordFy];
    model.cx = words[WordCx];
    model.cy = words[WordCy];
    for (std::size_t i = 0; i < 4; ++i) {
        model.k[i] = words[WordK1 + i];
    }
    for (int i = 0; i < 3; ++i) {
        model.rotation[i] = words[WordRotation + static_cast<std::size_t>(i)];
        model.translationMm[i] = words[WordTranslation + static_cast<std::size_t>(i)];
    }
    model.residualPx = words[WordResidual];
    model.maxThetaRad = words[WordMaxTheta];
    for (std::size_t i = WordFirstUnread; i < WordCheck; ++i) {
        if (words[i] != 0.0) {
            return refuse("the record holds more than this version knows");
        }
    }
    if (const char* pText = WhatNoCameraHas(model)) {
        return refuse(pText);
    }
    return model;
}

} // namespace Fisheye
