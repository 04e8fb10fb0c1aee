#pragma once

// Writes a frame of the live loop to a picture file, with one log line where that does not work: the encoders of OpenCV
// tell of a full disk on standard error only, and leave half a picture. Any thread.

#include <opencv2/core.hpp>

#include <QString>

/// @param strPath  its suffix names the format; a picture that stands there is replaced, and gone where that fails
/// @param frame    as the camera delivers it, 8 bits a channel
/// @return false, with the log line, where the picture cannot be encoded or written whole
bool WriteFrame(const QString& strPath, const cv::Mat& frame);
