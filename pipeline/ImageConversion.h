#pragma once

// Between the two worlds of pictures: `cv::Mat` in the pipeline, `QImage` on the pages. `MatToQImage` is the hot road
// of the live picture and makes exactly one copy.

#include <opencv2/core/mat.hpp>

#include <QImage>
#include <QString>

namespace Vision
{

/// A deep copy of an 8-bit picture.
/// @param mat  CV_8UC1 (becomes an indexed grey image), CV_8UC3 in BGR order (RGB888) or CV_8UC4 (ARGB32), any stride
/// A null image for an empty matrix, for any other type (both in silence), and where memory runs out (one log line).
QImage MatToQImage(const cv::Mat& mat);

} // namespace Vision

/// A view on the pixels of a 32-bit or 8-bit grey image, which must outlive it; RGB888 becomes a BGR copy of its own.
/// Any other format gives an empty matrix.
cv::Mat QImageToMat(const QImage& image);

/// A copy of an RGB888 image with red and blue exchanged; a null image, with a log line, for any other format.
QImage SwapRedBlue(const QImage& image);

/// Nearest-neighbour rotation about the centre into an image that just holds the result; uncovered pixels are
/// transparent.
/// @param dAngle  degrees, clockwise as y points down
QImage RotateImage(const QImage& image, double dAngle);

/// The device that the host has assigned to camera 0 (top), 1 (left), 2 (right) or 3 (movable); empty where there is
/// none.
QString GetCameraDeviceName(int nIndex);
