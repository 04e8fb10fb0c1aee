#include "FisheyeScene.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <random>

namespace FisheyeScene
{

namespace
{

constexpr int kRows = 7;
constexpr int kAllCols = 8;

/// Decentring and a wave around the axis: smooth, and not radial.
cv::Point2d ExtraBend(const Camera& camera, const cv::Point2d& pixel)
{
    const double half = 0.5 * std::hypot(camera.model.nWidth, camera.model.nHeight);
    const double x = (pixel.x - camera.model.cx) / half;
    const double y = (pixel.y - camera.model.cy) / half;
    const double r2 = x * x + y * y;
    const double turn = std::atan2(y, x);
    return camera.extraBendPx * cv::Point2d(0.5 * (r2 + 2.0 * x * x) + 0.3 * r2 * std::cos(3.0 * turn),
                                            0.4 * x * y - 0.3 * r2 * std::sin(3.0 * turn));
}

Camera MakeCamera(std::uint64_t nSeed, double xMm, bool bTurned)
{
    std::mt19937_64 generator(nSeed * 2654435761ULL + (bTurned ? 17 : 3));
    std::normal_distribution<double> normal;
    Camera camera;
    Fisheye::FisheyeModel& model = camera.model;
    model.nWidth = 2592;
    model.nHeight = 1944;
    model.fx = 1350.0 * (1.0 + 0.02 * normal(generator));
    model.fy = model.fx * (1.0 + 0.003 * normal(generator));
    model.cx = 1295.5 + 12.0 * normal(generator);
    model.cy = 971.5 + 12.0 * normal(generator);
    model.k = {-0.02 + 0.01 * normal(generator), 0.01 * normal(generator), -0.004, 0.001};
    const cv::Vec3d tilt(0.015 * normal(generator), 0.015 * normal(generator), 0.01 * normal(generator));
    Fisheye::FisheyeModel turn;
    Fisheye::FisheyeModel lean;
    turn.rotation = {0.0, 0.0, bTurned ? CV_PI : 0.0};
    lean.rotation = tilt;
    const cv::Matx33d rotation = lean.RotationMatrix() * turn.RotationMatrix();
    const double angle = std::acos(std::clamp(0.5 * (cv::trace(rotation) - 1.0), -1.0, 1.0));
    const cv::Vec3d axis(rotation(2, 1) - rotation(1, 2), rotation(0, 2) - rotation(2, 0),
                         rotation(1, 0) - rotation(0, 1));
    model.rotation = axis * (angle / std::max(1.0e-12, cv::norm(axis)));
    const cv::Vec3d centre(xMm + 5.0 * normal(generator), 450.0 + 5.0 * normal(generator),
                           -700.0 + 8.0 * normal(generator));
    model.translationMm = -(model.RotationMatrix() * centre);
    model.maxThetaRad = model.LargestMonotonicTheta(Fisheye::kThetaLimitRad);
    return camera;
}

/// Smooth noise of unit deviation with structures of about this many pixels.
cv::Mat Structure(cv::RNG& rng, cv::Size size, int nPxX, int nPxY)
{
    cv::Mat coarse(size.height / nPxY + 3, size.width / nPxX + 3, CV_32F);
    rng.fill(coarse, cv::RNG::NORMAL, 0.0, 1.3);
    cv::Mat fine;
    cv::resize(coarse, fine, {coarse.cols * nPxX, coarse.rows * nPxY}, 0.0, 0.0, cv::INTER_CUBIC);
    return fine(cv::Rect({nPxX, nPxY}, size)).clone();
}

/// Share of a line of this width that a blurred pixel at this distance shows, all in millimetres.
double Coverage(double distance, double width, double blur)
{
    const double s = 1.0 / (blur * std::sqrt(2.0));
    return 0.5 * (std::erf((distance + 0.5 * width) * s) - std::erf((distance - 0.5 * width) * s));
}

} // namespace

cv::Point2d Camera::PixelFromMachine(const cv::Point2d& machineMm) const
{
    const auto pixel = model.PixelFromMachine({machineMm.x, machineMm.y, 0.0});
    if (!pixel) {
        return {-1.0e6, -1.0e6};
    }
    return *pixel + ExtraBend(*this, *pixel);
}

bool Camera::MachineFromPixel(const cv::Point2d& pixel, cv::Point2d& machineMm) const
{
    cv::Point2d straight = pixel;
    // The bend changes by a thousandth of a pixel from one pixel to the next.
    for (int i = 0; extraBendPx > 0.0 && i < 3; ++i) {
        straight = pixel - ExtraBend(*this, straight);
    }
    const auto surface = model.SurfaceFromPixel(straight);
    if (surface) {
        machineMm = *surface;
    }
    return surface.has_value();
}

Camera RightCamera(std::uint64_t nSeed)
{
    return MakeCamera(nSeed, 930.0, false);
}

Camera LeftCamera(std::uint64_t nSeed)
{
    return MakeCamera(nSeed, 370.0, true);
}

std::vector<CalibrationPoint> ExactPoints(const Camera& camera, int nFirstCol, int nCols)
{
    std::vector<CalibrationPoint> points;
    for (int row = 0; row < kRows; ++row) {
        for (int col = nFirstCol; col < nFirstCol + nCols; ++col) {
            CalibrationPoint point;
            point.nId = row * kAllCols + col + 1;
            point.nRow = row;
            point.nCol = col;
            point.fWorldX = static_cast<float>(55 + 170 * col);
            point.fWorldY = static_cast<float>(45 + 135 * row);
            const cv::Point2d pixel = camera.PixelFromMachine({point.fWorldX, point.fWorldY});
            point.fImageX = static_cast<float>(pixel.x);
            point.fImageY = static_cast<float>(pixel.y);
            points.push_back(point);
        }
    }
    return points;
}

std::vector<CalibrationPoint> Clicked(std::vector<CalibrationPoint> points, double sigmaPx, std::uint64_t nSeed)
{
    std::mt19937_64 generator(nSeed);
    std::normal_distribution<double> normal(0.0, sigmaPx);
    for (CalibrationPoint& point : points) {
        point.fImageX += static_cast<float>(normal(generator));
        point.fImageY += static_cast<float>(normal(generator));
    }
    return points;
}

namespace
{

/// An arrow head at a cross, as a share of the line's depth.
double ArrowCoverage(const cv::Point2d& d, const SceneOptions& options, double blurMm)
{
    // Both strokes end in the tip, half an arm from where they begin in X and in Y.
    const double alongX = d.x - 0.75 * options.armMm;
    const double alongY = std::abs(d.y) - 0.25 * options.armMm;
    const double across = (alongX + alongY) * std::sqrt(0.5);
    const double along = (alongX - alongY) * std::sqrt(0.5);
    return Coverage(across, options.lineWidthMm, blurMm) * Coverage(along, std::sqrt(0.5) * options.armMm, blurMm);
}

} // namespace

cv::Mat Render(const Camera& camera, const std::vector<CalibrationPoint>& exactPoints, const SceneOptions& options)
{
    const cv::Size size(camera.model.nWidth, camera.model.nHeight);
    cv::RNG rng(options.nSeed * 7919 + 13);
    cv::Mat picture =
        150.0 + options.textureSigma * (0.5 * Structure(rng, size, 3, 3) + 0.5 * Structure(rng, size, 9, 9) +
                                        0.5 * Structure(rng, size, 60, 60) + 0.5 * Structure(rng, size, 150, 3));
    cv::Mat lines = cv::Mat::zeros(size, CV_32F);
    for (const CalibrationPoint& point : exactPoints) {
        if (std::count(options.missingIds.begin(), options.missingIds.end(), point.nId) > 0) {
            continue;
        }
        const bool bArrow = std::count(options.arrowIds.begin(), options.arrowIds.end(), point.nId) > 0;
        const cv::Point2d centreMm(point.fWorldX, point.fWorldY);
        const cv::Point2d centre = camera.PixelFromMachine(centreMm);
        const double pxPerMm = cv::norm(camera.PixelFromMachine(centreMm + cv::Point2d(1.0, 0.0)) - centre);
        // A pixel integrates over its square: a twelfth of its width squared more variance.
        const double blurMm = std::sqrt(options.blurPx * options.blurPx + 1.0 / 12.0) / pxPerMm;
        const int nReach = static_cast<int>(2.6 * options.armMm * std::max(1.0, pxPerMm / 1.9)) + 8;
        for (int y = std::max(0, cvRound(centre.y) - nReach);
             y <= std::min(size.height - 1, cvRound(centre.y) + nReach); ++y) {
            for (int x = std::max(0, cvRound(centre.x) - nReach);
                 x <= std::min(size.width - 1, cvRound(centre.x) + nReach); ++x) {
                cv::Point2d machineMm;
                if (!camera.MachineFromPixel(cv::Point2d(x, y), machineMm)) {
                    continue;
                }
                const cv::Point2d d = machineMm - centreMm;
                const double alongX =
                    Coverage(d.y, options.lineWidthMm, blurMm) * Coverage(d.x, 2.0 * options.armMm, blurMm);
                const double alongY =
                    Coverage(d.x, options.lineWidthMm, blurMm) * Coverage(d.y, 2.0 * options.armMm, blurMm);
                const double arrow = bArrow ? ArrowCoverage(d, options, blurMm) : 0.0;
                const double covered = std::max({alongX, alongY, arrow});
                lines.at<float>(y, x) = std::max(lines.at<float>(y, x), static_cast<float>(covered));
            }
        }
    }
    picture += (options.bBright ? options.depth : -options.depth) * lines;
    for (int y = 0; y < size.height; ++y) {
        auto* const pRow = picture.ptr<float>(y);
        for (int x = 0; x < size.width; ++x) {
            pRow[x] *= static_cast<float>(1.0 - options.unevenLight * (0.6 * x / size.width + 0.4 * y / size.height));
        }
    }
    cv::Mat noise(size, CV_32F);
    rng.fill(noise, cv::RNG::NORMAL, 0.0, options.noiseSigma);
    picture += noise;
    cv::Mat gray;
    picture.convertTo(gray, CV_8U);
    return gray;
}

ErrorMm SurfaceError(const Camera& camera, const Fisheye::FisheyeModel& fitted, const cv::Rect2d& areaMm)
{
    const Fisheye::FisheyeProjector projector(fitted);
    ErrorMm error;
    double sum = 0.0;
    for (double y = areaMm.y; y <= areaMm.y + areaMm.height + 1.0e-9; y += 10.0) {
        for (double x = areaMm.x; x <= areaMm.x + areaMm.width + 1.0e-9; x += 10.0) {
            const cv::Point2d pixel = camera.PixelFromMachine({x, y});
            if (pixel.x < 0.0 || pixel.y < 0.0 || pixel.x > camera.model.nWidth - 1 ||
                pixel.y > camera.model.nHeight - 1) {
                continue;
            }
            const auto seen = projector.SurfaceFromPixel(pixel);
            const double off = seen ? cv::norm(*seen - cv::Point2d(x, y)) : 1.0e3;
            sum += off * off;
            error.max = std::max(error.max, off);
            ++error.nPoints;
        }
    }
    error.rms = std::sqrt(sum / std::max(1, error.nPoints));
    return error;
}

} // namespace FisheyeScene
