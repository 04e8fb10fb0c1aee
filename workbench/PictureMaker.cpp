#include "PictureMaker.h"

#include "DataFolder.h"
#include "Failure.h"
#include "FolderLock.h"

namespace Workbench
{

namespace
{

/// Time that a live camera runs until its exposure has settled, as for the wizard's snapshots.
constexpr int g_nSettleMs = 500;

} // namespace

PictureMaker::PictureMaker(RuntimeModules& modules, const InstanceSetup& setup, const QString& strPlugin)
    : m_setup(setup), m_host(setup, strPlugin), m_pLeft(modules.NewCamera()), m_pRight(modules.NewCamera())
{
}

cv::Mat PictureMaker::Snap(ICameraDevice* pCamera, const QString& strName, const char* pNoPicture)
{
    const QByteArray name = strName.toUtf8();
    cv::Mat picture;
    bool bOpen = pCamera && strName != "None";
    if (bOpen && !pCamera->IsCameraOpen(name.constData())) {
        bOpen =
            pCamera->OpenCamera(name.constData()) == 0 && pCamera->ApplyCameraParameters(name.constData(), g_nSettleMs);
    }
    if (!bOpen || pCamera->SnapPicture(picture, name.constData()) != 0 || picture.empty()) {
        throw Failure(pNoPicture);
    }
    return picture;
}

cv::Mat PictureMaker::Make(const StageTeller& tell)
{
    // First, so that a machine that is not calibrated says so at once.
    RequireCalibration(CalibrationUse::Pictures);
    tell("Taking pictures");
    const cv::Mat left = Snap(m_pLeft.get(), m_setup.cameras.strLeft, "The left camera gives no picture.");
    const cv::Mat right = Snap(m_pRight.get(), m_setup.cameras.strRight, "The right camera gives no picture.");
    // Its scratch pictures are those of every other run in this folder.
    const FolderLock lock(DataRoot());
    tell("Stitching the pictures");
    cv::Mat fused;
    if (m_host.Calibrate().CalibAndFusionImage(left, right, fused, false) != 0 || fused.empty()) {
        throw Failure("The pictures of the cameras and the calibration do not fit together; the log says more.");
    }
    tell("Cutting out the work area");
    cv::Mat workArea;
    if (m_host.Calibrate().WarpImage(fused, m_setup.areaMm.width(), m_setup.areaMm.height(), workArea) != 0 ||
        workArea.type() != CV_8UC3) {
        throw Failure("The work area lies outside of what the cameras show.");
    }
    return workArea;
}

} // namespace Workbench
