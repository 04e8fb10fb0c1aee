#pragma once

// The folders and plain text files of a calibrated machine, as both flows write them. Used by the two calibrations of
// the simulator only.

#include "CalibrationPoint.h"

#include <opencv2/core.hpp>

#include <QString>

#include <vector>

namespace Simulator
{

class CalibrationFolder
{
public:
    explicit CalibrationFolder(const QString& strRoot);

    /// Makes every folder; false when one cannot be made.
    bool Create() const;
    /// Removes the folder of results with all it holds.
    void RemoveResults() const;

    /// Path below the results.
    QString Result(const QString& strName) const;
    /// Path below the wizard's own pictures.
    QString Picture(const QString& strName) const;

    /// The two cameras by the names that the camera module lists.
    bool WriteCameraNames() const;
    /// What the host knows of the machine.
    bool WriteMachineSettings(const cv::Size2d& bedMm) const;

private:
    QString m_strRoot;
};

/// One key of the section "CAMERA_PARAM".
bool WriteCameraParam(const QString& strFile, const QString& strKey, int nValue);

/// One line a point, twelve values, six significant digits.
bool WritePoints(const QString& strFile, const std::vector<CalibrationPoint>& points);
bool ReadPoints(const QString& strFile, std::vector<CalibrationPoint>& points);

} // namespace Simulator
