#include "Upright.h"
#include "VisionError.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <exception>
#include <string>

namespace
{

/// Neighbouring matches differ in colour, so that a line can be followed across the seam.
cv::Scalar ColourOf(std::size_t nMatch)
{
    static const std::array<cv::Scalar, 6> s_aColours{cv::Scalar(60, 60, 255),  cv::Scalar(60, 220, 60),
                                                      cv::Scalar(255, 120, 60), cv::Scalar(40, 220, 240),
                                                      cv::Scalar(240, 60, 220), cv::Scalar(230, 220, 40)};
    return s_aColours[nMatch % s_aColours.size()];
}

bool IsInside(const cv::Point2f& p, const cv::Size& size)
{
    return p.x >= -0.5f && p.y >= -0.5f && p.x < static_cast<float>(size.width) &&
           p.y < static_cast<float>(size.height); // not so for NaN
}

void CopyAsColour(const cv::Mat& picture, cv::Mat part)
{
    if (picture.channels() == 3) {
        picture.copyTo(part);
    } else {
        cv::cvtColor(picture, part, picture.channels() == 1 ? cv::COLOR_GRAY2BGR : cv::COLOR_BGRA2BGR);
    }
}

} // namespace

bool Korvane::CameraCalibration::CreateMatchesImage(const cv::Mat& left, const ImageDirFlags& leftFlags,
                                                    const cv::Mat& right, const ImageDirFlags& rightFlags,
                                                    const std::vector<cv::Point2f>& first,
                                                    const std::vector<cv::Point2f>& second, cv::Mat& out)
{
    constexpr const char* pOperation = "CreateMatchesImage";
    const auto refuse = [&](const std::string& strReason) {
        out.release();
        return Fail(pOperation, strReason);
    };
    try {
        const std::string strProblem = WhyNoPair(left, right);
        if (!strProblem.empty()) {
            return refuse(strProblem);
        }
        if (first.size() != second.size()) {
            return refuse("there are " + std::to_string(first.size()) + " points for " + std::to_string(second.size()));
        }
        const cv::Mat turnedLeft = Upright(left, leftFlags);
        const cv::Mat turnedRight = Upright(right, rightFlags);
        cv::Mat drawn =
            cv::Mat::zeros(std::max(turnedLeft.rows, turnedRight.rows), turnedLeft.cols + turnedRight.cols, CV_8UC3);
        CopyAsColour(turnedLeft, drawn(cv::Rect({0, 0}, turnedLeft.size())));
        CopyAsColour(turnedRight, drawn(cv::Rect({turnedLeft.cols, 0}, turnedRight.size())));
        // Seen on a screen the picture is reduced several times; a line of one pixel would vanish.
        const int nThickness = std::max(1, drawn.cols / 1500);
        for (std::size_t i = 0; i < first.size(); ++i) {
            if (!IsInside(first[i], turnedRight.size()) || !IsInside(second[i], turnedLeft.size())) {
                continue;
            }
            const cv::Point from(cvRound(second[i].x), cvRound(second[i].y));
            const cv::Point to(turnedLeft.cols + cvRound(first[i].x), cvRound(first[i].y));
            cv::line(drawn, from, to, ColourOf(i), nThickness, cv::LINE_AA);
            cv::circle(drawn, from, 5 * nThickness, ColourOf(i), nThickness, cv::LINE_AA);
            cv::circle(drawn, to, 5 * nThickness, ColourOf(i), nThickness, cv::LINE_AA);
        }
        out = drawn;
        return true;
    } catch (const std::exception& exception) {
        return refuse(exception.what());
    }
}
