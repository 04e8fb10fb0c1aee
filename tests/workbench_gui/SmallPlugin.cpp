#include "CalibrateExports.h"
#include "SmallWizard.h"

#include <opencv2/imgproc.hpp>

#include <QPointer>

namespace
{

/// Half a pixel per millimetre is enough to look at; the conversions keep the plug-in's 6.
constexpr double g_dPxPerMm = 6.0;

class SmallInstance final : public Vision::ICalibrate
{
public:
    void SetWorkAreaSize(int nWidth, int nHeight) override { m_area = {nWidth, nHeight}; }
    int SetCameraNames(const char* pLeft, const char* pRight) override
    {
        m_bCameras = std::string(pLeft) == "[0] Camera-Left" && std::string(pRight) == "[1] Camera-Right";
        return 0;
    }
    int ReservedOperation3(std::intptr_t) override { return -1; }
    int SetReservedSize(int, int) override { return 0; }
    int PixelToWorld(double dX, double dY, double* pX, double* pY, bool) override
    {
        *pX = dX / g_dPxPerMm;
        *pY = dY / g_dPxPerMm;
        return 0;
    }
    int WorldToPixel(double dX, double dY, double* pX, double* pY, bool) override
    {
        *pX = dX * g_dPxPerMm;
        *pY = dY * g_dPxPerMm;
        return 0;
    }
    int CalibImage(const cv::Mat&, const cv::Mat&, cv::Mat&, cv::Mat&, bool) override { return 0; }
    int ReservedOperation8(std::intptr_t, std::intptr_t, bool) override { return -1; }
    int ShowCalibrationWizard(QWidget* pParent) override { return Show(pParent, "calibration"); }
    int ShowCoordinateWizard(QWidget* pParent) override { return Show(pParent, "coordinate"); }
    /// Shows nothing, as a plug-in does that cannot.
    int ShowFusionWizard(QWidget*) override { return 0; }
    int SetDeviceHost(IDeviceHost* pHost) override
    {
        m_bDevice = pHost != nullptr;
        return 0;
    }
    int WarpImage(const cv::Mat& src, const int& nWidth, const int& nHeight, cv::Mat& dst) override
    {
        cv::resize(src, dst, {nWidth, nHeight});
        return 0;
    }
    int CalibAndFusionImage(const cv::Mat& left, const cv::Mat& right, cv::Mat& dst, bool) override
    {
        cv::hconcat(left, right, dst);
        return 0;
    }
    int FusionImage(const cv::Mat&, const cv::Mat&, cv::Mat&, bool) override { return 0; }
    int SetCalibrationResourcePath(const char* pPath) override
    {
        m_bResources = pPath && *pPath;
        return 0;
    }

private:
    int Show(QWidget* pParent, const QString& strOpening)
    {
        if (!m_pWizard) {
            m_pWizard = new SmallWizard(pParent);
        }
        m_pWizard->setObjectName(strOpening);
        m_pWizard->setProperty("told", m_bCameras && m_bDevice && m_bResources && m_area.width > 0);
        m_pWizard->show();
        QObject::connect(m_pWizard, SIGNAL(ExitCalibDlgSignal()), pParent, SLOT(CloseWizardSlot()));
        return 0;
    }

    QPointer<SmallWizard> m_pWizard;
    cv::Size m_area;
    bool m_bCameras = false;
    bool m_bDevice = false;
    bool m_bResources = false;
};

} // namespace

Vision::ICalibrate* NewInterface()
{
    return new SmallInstance;
}

void ReleaseInterface(Vision::ICalibrate* pInstance)
{
    delete pInstance;
}
