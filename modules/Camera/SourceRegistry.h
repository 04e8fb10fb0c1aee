#pragma once

// Makes sources from what the settings say, one for each camera of the process: all instances that open a camera share
// its source.

#include "CameraSettings.h"
#include "CameraSource.h"

#include <memory>

namespace Camera
{

/// Whether there is something at the camera's source; a picture that is damaged is there. False with the reason.
bool IsAttached(const NamedSource& camera, const QString& strIniFolder, std::string& strWhy);

/// The camera's name and its source, for the log.
std::string LabelOf(const NamedSource& camera, const QString& strIniFolder);

/// @param camera       name and source: `sim:left`, `sim:right`, or the path of a folder, a picture, a video file or a
///                     device
/// @param strIniFolder where relative paths begin
/// @return null with one log line when there is nothing at the path or the source is of no known sort
std::shared_ptr<CameraSource> SharedSource(const NamedSource& camera, const QString& strIniFolder);

} // namespace Camera
