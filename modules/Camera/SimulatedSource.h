#pragma once

// A camera of a machine that the host only simulates. The host sets its cameras through interfaces/SimulatedCameras.h;
// one lock for all of them keeps that safe against a snap that runs at the moment.

#include "CameraSource.h"

namespace Camera
{

class SimulatedSource : public CameraSource
{
public:
    /// @param strSide  "left" or "right"
    SimulatedSource(std::string strLabel, std::string strSide);

    /// Whether a host has set its cameras; false with the reason. Does not wait for a snap.
    static bool IsThere(std::string& strWhy);

protected:
    std::optional<Stamp> Look(std::string& strWhy) const override;
    bool OpenSource(std::string&) override { return true; }
    void CloseSource() override {}
    bool ReadFrame(cv::Mat& frame, std::string& strWhy) override;

private:
    const std::string m_strSide;
};

} // namespace Camera
