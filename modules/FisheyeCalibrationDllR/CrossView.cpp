#include "CrossView.h"

#include <cmath>

namespace Fisheye
{

std::optional<float> GreyAt(const cv::Mat& gray, const cv::Point2d& pixel)
{
    const int x = static_cast<int>(std::floor(pixel.x));
    const int y = static_cast<int>(std::floor(pixel.y));
    if (x < 0 || y < 0 || x + 1 >= gray.cols || y + 1 >= gray.rows) {
        return std::nullopt;
    }
    const auto fx = static_cast<float>(pixel.x - x);
    const auto fy = static_cast<float>(pixel.y - y);
    const unsigned char* const pTop = gray.ptr<unsigned char>(y) + x;
    const unsigned char* const pBottom = gray.ptr<unsigned char>(y + 1) + x;
    const float top = static_cast<float>(pTop[0]) * (1.0f - fx) + static_cast<float>(pTop[1]) * fx;
    const float bottom = static_cast<float>(pBottom[0]) * (1.0f - fx) + static_cast<float>(pBottom[1]) * fx;
    return top * (1.0f - fy) + bottom * fy;
}

std::optional<LocalView> MakeLocalView(const FisheyeProjector& projector, const cv::Point2d& pixel)
{
    const std::optional<cv::Point2d> origin = projector.SurfaceFromPixel(pixel);
    if (!origin) {
        return std::nullopt;
    }
    LocalView view{projector, *origin};
    constexpr double kStepMm = 0.5;
    const auto left = view.Pixel(-kStepMm, 0.0);
    const auto right = view.Pixel(kStepMm, 0.0);
    const auto up = view.Pixel(0.0, -kStepMm);
    const auto down = view.Pixel(0.0, kStepMm);
    if (!left || !right || !up || !down) {
        return std::nullopt;
    }
    view.pxPerMmX = cv::norm(*right - *left) / (2.0 * kStepMm);
    view.pxPerMmY = cv::norm(*down - *up) / (2.0 * kStepMm);
    if (!(view.pxPerMmX > 0.05) || !(view.pxPerMmY > 0.05)) {
        return std::nullopt; // nothing of a cross would be left at this scale
    }
    return view;
}

} // namespace Fisheye
