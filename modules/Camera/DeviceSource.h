#pragma once

// A V4L2 camera. It is asked for its largest picture, keeps no old frames for a holder that snaps seldom, and gets the
// properties that were set again when it was unplugged and came back.

#include "CameraSource.h"

#include <QString>

#include <opencv2/videoio.hpp>

#include <chrono>
#include <functional>
#include <map>
#include <memory>

namespace Camera
{

/// Opens a device; null with the reason where that fails.
using CaptureOpener = std::function<std::unique_ptr<cv::VideoCapture>(const std::string& strFile, std::string& strWhy)>;

std::unique_ptr<cv::VideoCapture> OpenV4l2(const std::string& strFile, std::string& strWhy);

class DeviceSource : public CameraSource
{
public:
    DeviceSource(std::string strLabel, QString strFile, CaptureOpener opener = OpenV4l2);

protected:
    std::optional<Stamp> Look(std::string& strWhy) const override;
    bool OpenSource(std::string& strWhy) override;
    void CloseSource() override { m_pCapture.reset(); }
    bool ReadFrame(cv::Mat& frame, std::string& strWhy) override;
    bool ApplyProperty(Property property, int nValue) override;
    bool SettleSource(int nBudgetMs, std::string& strWhy) override;

private:
    bool Grab(std::string& strWhy);
    void DropOldFrames();
    bool SetControl(Property property, int nValue, double& dTaken);

    const std::string m_strFile;
    const CaptureOpener m_opener;
    std::unique_ptr<cv::VideoCapture> m_pCapture;
    std::chrono::steady_clock::time_point m_lastGrab;
    std::map<Property, int> m_mapProperties; ///< what the device took so far
};

/// The name of a device that stays with the camera where the given one depends on the order of plugging.
/// @param strByIdFolder  where the system keeps such names
/// @return empty when there is none, or when the given one is a name of that sort itself
QString ByIdName(const QString& strDevice, const QString& strByIdFolder = "/dev/v4l/by-id");

} // namespace Camera
