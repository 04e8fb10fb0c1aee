#pragma once

// Which cameras there are: the section "CameraSetting" of the file CameraSetting.ini. Its keys that begin with
// "Camera-" are the cameras' names, the values their sources. Read anew on every call, so that an edit counts at once.

#include <QString>

#include <cstddef>
#include <string>
#include <vector>

namespace Camera
{

struct NamedSource {
    std::string strName; ///< UTF-8, without index
    QString strSource;   ///< as written, trimmed
};

/// <data root>/Data/CameraSetting.ini
QString SettingsFile();

/// Cameras with a source, "Camera-Left" and "Camera-Right" first, then by name. A file that is missing, damaged or too
/// large gives what can be read of it and one log line.
std::vector<NamedSource> ReadCameraSettings(const QString& strFile);

/// "[0] Camera-Left"
std::string ListedName(std::size_t nIndex, const std::string& strName);

/// The name without an index before it: "[7] Camera-Left" and "Camera-Left" are the same camera. Null gives "".
std::string PureName(const char* pName);

} // namespace Camera
