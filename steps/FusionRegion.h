#pragma once

// The two pictures of the manual fusion as one, and what a rectangle drawn on that one means for each of the two. No
// widget; the fusion page asks both.

#include <opencv2/core/mat.hpp>

#include <QRect>
#include <QSize>

/// A picture brought upright.
/// @param nCode  of `cv::rotate`; any other number gives an empty picture
cv::Mat Upright(const cv::Mat& picture, int nCode);

/// The right picture behind the left one, in the type of the left one.
/// @param left, right  of the same height; grey, BGR or BGRA of 8 bits where their types differ
cv::Mat SideBySide(const cv::Mat& left, const cv::Mat& right);

/// One rectangle for each picture, pixels of the upright pictures.
struct FusionRegion {
    cv::Rect left;
    cv::Rect right;
    const char* pProblem = nullptr; ///< why there is none, in words for the log
};

/// Cuts a rectangle where the two pictures meet, which it must cross. It is cut to the height of the picture, and on no
/// other side: this is meant.
/// @param drawn  pixels of both pictures as one; not normalised, so that one that runs to the left crosses nothing
/// @param both  size of both pictures as one
FusionRegion SplitAtSeam(const QRect& drawn, QSize both);
