#pragma once

// What every run-time operation does alike: it finds the files of a calibration, asks which flow made them, and lets
// nothing that OpenCV or the allocator throws reach the host.

#include <QString>

#include <exception>

namespace Pipeline
{

/// Work area picture density, px per mm.
inline constexpr int nPixelsPerMm = 6;

inline const QString strResultFolder = QStringLiteral("/Vision/calib/Camera_Two/Result/");
inline const QString strOutputFolder = QStringLiteral("/Vision/calib/Camera_Two/Output/");
inline const QString strScratchFolder = QStringLiteral("/Vision/calib/Camera_Two/");
inline const QString strCameraParamSection = QStringLiteral("CAMERA_PARAM");

/// `AUTO_CALIBRATION` of the stitching file, which has INI text whatever its suffix says. Default 0: the manual flow.
int ReadStitchAutoCalibration(const QString& strRoot);

/// One log line, level 3, for what `pOperation` caught.
void LogException(const char* pOperation, const char* pWhat);

/// Runs `body`; whatever it throws, a user's own module included, is logged and becomes `nFailure`.
template <typename Body> int Guarded(const char* pOperation, int nFailure, Body&& body)
{
    try {
        return body();
    } catch (const std::exception& exception) {
        LogException(pOperation, exception.what());
    } catch (...) {
        LogException(pOperation, "something that is no std::exception was thrown");
    }
    return nFailure;
}

} // namespace Pipeline
