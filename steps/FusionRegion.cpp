#include "FusionRegion.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>

namespace
{

cv::Mat AsType(const cv::Mat& picture, int nType)
{
    if (picture.type() == nType) {
        return picture;
    }
    // By way of BGR, from which any of the three is reached.
    cv::Mat bgr = picture;
    if (picture.channels() != 3) {
        cv::cvtColor(picture, bgr, picture.channels() == 1 ? cv::COLOR_GRAY2BGR : cv::COLOR_BGRA2BGR);
    }
    if (CV_MAT_CN(nType) == 3) {
        return bgr;
    }
    cv::Mat converted;
    cv::cvtColor(bgr, converted, CV_MAT_CN(nType) == 1 ? cv::COLOR_BGR2GRAY : cv::COLOR_BGR2BGRA);
    return converted;
}

} // namespace

cv::Mat Upright(const cv::Mat& picture, int nCode)
{
    cv::Mat turned;
    if (!picture.empty() && nCode >= cv::ROTATE_90_CLOCKWISE && nCode <= cv::ROTATE_90_COUNTERCLOCKWISE) {
        cv::rotate(picture, turned, nCode);
    }
    return turned;
}

cv::Mat SideBySide(const cv::Mat& left, const cv::Mat& right)
{
    cv::Mat both(left.rows, left.cols + right.cols, left.type());
    left.copyTo(both.colRange(0, left.cols));
    AsType(right, left.type()).copyTo(both.colRange(left.cols, both.cols));
    return both;
}

FusionRegion SplitAtSeam(const QRect& drawn, QSize both)
{
    const int nSeam = both.width() / 2;
    FusionRegion region;
    if (drawn.right() <= nSeam) {
        region.pProblem = "[Fusion]The left roi is empty!";
        return region;
    }
    if (drawn.left() >= nSeam) {
        region.pProblem = "[Fusion]The right roi is empty!";
        return region;
    }
    const int nHeight = std::min(both.height() - drawn.top(), drawn.bottom() - drawn.top());
    region.left =
        cv::Rect(drawn.left(), drawn.top(), std::min(nSeam - drawn.left(), drawn.right() - drawn.left()), nHeight);
    region.right = cv::Rect(0, drawn.top(), drawn.right() - nSeam, nHeight);
    return region;
}
