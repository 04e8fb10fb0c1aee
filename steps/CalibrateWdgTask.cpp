// The page's calibration task. It runs on the progress dialog's thread.

#include "CalibrateWdg.h"

#include "CalibGlobalParam.h"
#include "CCameraCalibration.h"
#include "FileStore.h"
#include "FusionPattern.h"
#include "IDeviceHost.h"
#include "Log.h"
#include "PageParts.h"

#include <string>

namespace
{

constexpr int g_nTaskDone = 0;
constexpr int g_nCalibrationFailed = -1;
constexpr int g_nUploadFailed = -2;
constexpr int g_nPatternNotAccepted = -3;

/// Statuses of the host.
constexpr int g_nUploaded = 1011;
constexpr int g_nNotAccepted = 1016;

std::string LocalPath(const QString& strPath)
{
    return ToLocalBytes(strPath).toStdString();
}

} // namespace

int CalibrateWdg::ThreadDialog_ThreadRun(int nTask, void* /*pData*/)
{
    if (nTask != 0) {
        return 1;
    }
    if (!CalibrateCurrentCamera()) {
        return g_nCalibrationFailed;
    }
    return m_nStepIndex == 1 ? g_nTaskDone : SendFusionPattern();
}

int CalibrateWdg::Reserved2(int /*nFirst*/)
{
    return -1;
}

int CalibrateWdg::Reserved3(int /*nFirst*/, void* /*pSecond*/, void* /*pThird*/)
{
    return -1;
}

double CalibrateWdg::Reserved4(int /*nFirst*/)
{
    return 0.0;
}

int CalibrateWdg::SendFusionPattern()
{
    WriteIniInt("CAMERA_PARAM", "CAMERA_TYPE", m_nCameraType, OutputFolder() + "CameraParam.ini");
    if (!m_pDeviceHost) {
        return g_nUploadFailed;
    }
    const QString strPattern = FusionPatternPath();
    ILog_WriteLog(1, "ThreadDialog_ThreadRun : DeviceDocumentImport Start!");
    const int nStatus = m_pDeviceHost->RunCommand("DeviceDocumentImport", strPattern);
    ILog_WriteLog(1, "ThreadDialog_ThreadRun : DeviceDocumentImport End!");
    if (nStatus == g_nUploaded) {
        return g_nTaskDone;
    }
    return nStatus == g_nNotAccepted ? g_nPatternNotAccepted : g_nUploadFailed;
}

// In the manual flow itself the pictures are taken, inspected and not used: nothing there rectifies by a lens file of
// this page. This is meant.
bool CalibrateWdg::CalibrateCurrentCamera()
{
    if (m_nCameraType == 0) {
        return true;
    }
    if (!m_pCalibration) {
        m_pCalibration = std::make_unique<CCameraCalibration>();
    }
    m_pCalibration->SetCallback([](CalibResult, void*) {}, this);
    m_pCalibration->SetDescrPath(LocalPath(g_calibGlobalParam.strCalibResourcePath + "/caltab.descr"));
    m_dFocus = 0.0015;
    m_dKappa = 0.0;
    m_dSx = 1.4e-06;
    m_dSy = 1.4e-06;
    m_nCx = 1296;
    m_nCy = 972;
    m_nImageWidth = 2592;
    m_nImageHeight = 1944;
    if (!m_pCalibration->SetCamPara(m_dFocus, m_dKappa, m_dSx, m_dSy, m_nCx, m_nCy, m_nImageWidth, m_nImageHeight)
             .m_bSuccess) {
        return false;
    }
    m_pCalibration->SetWorkAreaSize(g_calibGlobalParam.nWorkAreaWidth, g_calibGlobalParam.nWorkAreaHeight);
    m_pCalibration->SetImageDir(LocalPath(ImageFolder(m_nStepIndex)));
    const QString strFile =
        m_nStepIndex == 1 ? Wording("cameraL_calibrateMap.xml") : Wording("cameraR_calibrateMap.xml");
    return m_pCalibration->CalibrateAndSave(LocalPath(OutputFolder() + strFile));
}
