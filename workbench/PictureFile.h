#pragma once

// Reads and writes the workbench's picture files. What goes wrong is a `Failure` of one sentence that names the file
// and, for writing, the reason. A file is written whole or not at all: an interrupted run leaves the one that was
// there.

#include <opencv2/core.hpp>

#include <QString>

#include <vector>

namespace Workbench
{

/// The picture as its file holds it, 8 bits a channel. Throws `Failure`.
cv::Mat ReadPicture(const QString& strFile);

/// Throws `Failure` with the code `WrongUse` where the suffix names no format that can be written; asked before the
/// work.
void RequirePictureSuffix(const QString& strFile);

/// @param parameters  as `cv::imencode` takes them
/// Throws `Failure`.
void WritePicture(const QString& strFile, const cv::Mat& picture, const std::vector<int>& parameters = {});

} // namespace Workbench
