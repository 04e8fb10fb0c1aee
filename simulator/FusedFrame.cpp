#include "FusedFrame.h"

#include "KorvaneVision.h"
#include "SeededNoise.h"
#include "Truth.h"

#include <cmath>
#include <tuple>

namespace Simulator
{

namespace
{

namespace Vision = Korvane::CameraCalibration;

/// The run-time road's scales for a canvas of 900 x 600, as it calls rectification and blending.
constexpr double kRectifyX = 1.0, kRectifyY = 0.800000011920929;
constexpr double kBlendX = 1.2499999813735487, kBlendY = 1.0;

bool Blend(const cv::Mat& left, const cv::Mat& right, const Machine& machine, const cv::Mat& leftFromRight,
           cv::Mat& fused)
{
    const Truth truth(machine);
    const Vision::ImageDirFlags flags(cv::ROTATE_90_CLOCKWISE, false, false);
    cv::Mat leftRectified, rightRectified;
    double score = 0.0;
    for (const auto& [side, pRaw, pRectified] :
         {std::tuple{Side::Left, &left, &leftRectified}, std::tuple{Side::Right, &right, &rightRectified}}) {
        cv::Mat camera(truth.CameraMatrix(side));
        cv::Mat distortion = cv::Mat::zeros(1, 5, CV_64F);
        if (!Vision::UnDistortedImage(*pRaw, camera, distortion, kRectifyX, kRectifyY, *pRectified)) {
            return false;
        }
    }
    return Vision::DoBlendingImageForDualCam(leftRectified, flags, rightRectified, flags, kBlendX, kBlendY,
                                             leftFromRight, score, fused) &&
           !fused.empty();
}

} // namespace

cv::Point2d Mapped(const cv::Mat& homography, const cv::Point2d& p)
{
    const cv::Vec3d q = cv::Matx33d(homography) * cv::Vec3d(p.x, p.y, 1.0);
    return {q[0] / q[2], q[1] / q[2]};
}

cv::Point2d UprightPoint(const cv::Point2d& raw, const cv::Size& rawSize)
{
    return {rawSize.height - 1 - raw.y, raw.x};
}

cv::Matx33d UprightFromRaw(const cv::Size& rawSize)
{
    return {0.0, -1.0, rawSize.height - 1.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0};
}

std::optional<FusedFrame> AskFusedFrame(const Machine& machine, const cv::Mat& leftFromRight)
{
    const cv::Size raw = Truth(machine).PictureSize(Side::Left);
    const cv::Point middle(raw.width / 2, raw.height * 3 / 4); // far from the seam: upright x is small
    cv::Mat left = cv::Mat::zeros(raw, CV_8UC3);
    left(cv::Rect(middle.x - 30, middle.y - 30, 61, 61)).setTo(cv::Scalar::all(200));
    cv::Mat fused;
    if (!Blend(left, cv::Mat::zeros(raw, CV_8UC3), machine, leftFromRight, fused)) {
        return std::nullopt;
    }
    double sum = 0.0, sumX = 0.0, sumY = 0.0;
    for (int y = 0; y < fused.rows; ++y) {
        for (int x = 0; x < fused.cols; ++x) {
            const double w = fused.at<cv::Vec3b>(y, x)[1];
            sum += w;
            sumX += w * x;
            sumY += w * y;
        }
    }
    if (!(sum > 0.0)) {
        return std::nullopt;
    }
    const cv::Point2d origin = cv::Point2d(sumX / sum, sumY / sum) - UprightPoint(middle, raw);
    // The centroid of a resampled square is good to a few hundredths; whole pixels are taken as such.
    const cv::Point2d whole(std::round(origin.x), std::round(origin.y));
    return FusedFrame{cv::norm(origin - whole) < 0.1 ? whole : origin, fused.size()};
}

std::vector<CrossMark> MarksOf(const Machine& machine, const cv::Mat& leftFromRight, const FusedFrame& frame,
                               const ClickOptions& options)
{
    const Truth truth(machine);
    const CrossGrid grid = machine.Grid();
    const std::vector<cv::Point2d> world = grid.PointsMm();
    Draw draw(options.nSeed, 0x62);
    std::vector<CrossMark> marks;
    for (std::size_t i = 0; i < world.size(); ++i) {
        CrossMark mark;
        mark.side = static_cast<int>(i) % grid.nCol < grid.nColSingle ? Side::Left : Side::Right;
        if (!truth.Sees(mark.side, world[i])) {
            return {};
        }
        const cv::Point2d upright =
            UprightPoint(*truth.PixelFromMachine(mark.side, world[i]), truth.PictureSize(mark.side));
        mark.off = {options.sigmaPx * draw.Normal(), options.sigmaPx * draw.Normal()};
        mark.place = frame.originPx + (mark.side == Side::Left ? upright : Mapped(leftFromRight, upright)) + mark.off;
        marks.push_back(mark);
    }
    return marks;
}

std::vector<cv::Point2d> MarkCrosses(const Machine& machine, const std::string& strHomography,
                                     const ClickOptions& options)
{
    cv::Mat leftFromRight;
    if (!Vision::LoadHomography(strHomography, leftFromRight)) {
        return {};
    }
    const std::optional<FusedFrame> frame = AskFusedFrame(machine, leftFromRight);
    std::vector<cv::Point2d> places;
    if (frame) {
        for (const CrossMark& mark : MarksOf(machine, leftFromRight, *frame, options)) {
            places.push_back(mark.place);
        }
    }
    return places;
}

} // namespace Simulator
