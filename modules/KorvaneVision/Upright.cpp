#include "Upright.h"

cv::Mat Korvane::Upright(const cv::Mat& picture, const CameraCalibration::ImageDirFlags& flags)
{
    // Into memory of its own each time: a header on the caller's picture would be written through.
    cv::Mat turned;
    if (flags.nRotateCode >= cv::ROTATE_90_CLOCKWISE && flags.nRotateCode <= cv::ROTATE_90_COUNTERCLOCKWISE) {
        cv::rotate(picture, turned, flags.nRotateCode);
    } else {
        turned = picture;
    }
    if (!flags.bMirrorX && !flags.bMirrorY) {
        return turned;
    }
    cv::Mat mirrored;
    cv::flip(turned, mirrored, flags.bMirrorX && flags.bMirrorY ? -1 : flags.bMirrorX ? 1 : 0);
    return mirrored;
}

std::string Korvane::WhyNoPair(const cv::Mat& left, const cv::Mat& right)
{
    if (left.empty() || right.empty() || left.dims != 2 || right.dims != 2 || left.depth() != CV_8U ||
        left.type() != right.type() || left.channels() == 2 || left.channels() > 4) {
        return "two 8-bit pictures with the same 1, 3 or 4 channels are expected";
    }
    return {};
}
