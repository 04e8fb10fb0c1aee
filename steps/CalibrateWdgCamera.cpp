// The page's camera: which one, its thread, its pictures.

#include "CalibrateWdg.h"

#include "ui_CalibrateWdg.h"

#include "CalibGlobalParam.h"
#include "CameraPicture.h"
#include "CameraWorker.h"
#include "CCameraCalibration.h"
#include "FileStore.h"
#include "Log.h"
#include "Notice.h"
#include "PageParts.h"

#include <QFile>
#include <QPointer>
#include <QThread>

#include <array>
#include <cstring>
#include <exception>
#include <utility>

namespace
{

constexpr const char* g_pSnapClicked = "CalibrateWdg::on_pushButton_snap_clicked";
constexpr int g_nCameraParameters = 500;
constexpr unsigned long g_nPatienceMs = 2000;

/// A wanted name without its letter "C" matches nothing.
bool IsFound(CameraWorker& worker, char* pName)
{
    try {
        return worker.FindCamera(pName);
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace

void CalibrateWdg::SwitchCamera()
{
    m_strWantedCamera =
        m_nStepIndex == 1 ? g_calibGlobalParam.strLeftCameraName : g_calibGlobalParam.strRightCameraName;
    if (!m_pCameraThread || !m_pCameraThread->isRunning()) {
        StartCamera(m_strWantedCamera);
    } else if (m_strWantedCamera != m_strCurrentCamera) {
        m_bSwitchAfterStop = true;
        StopCamera();
    }
}

void CalibrateWdg::StartCamera(const QString& strName)
{
    if (strName == Wording("None") || strName == "None") {
        return;
    }
    StopCamera();
    MakeCapture();
    const QByteArray name = QStringToUtf8(strName);
    if (!m_pCameraWorker->OpenCamera(name.constData())) {
        return;
    }
    if (!m_pCameraWorker->ApplyCameraParameters(name.constData(), g_nCameraParameters)) {
        // And streams all the same: the loop opens its camera again. This is meant.
        m_pCameraWorker->CloseCamera();
    }
    m_pCameraThread->start();
    emit startSnapSignal();
    m_strCurrentCamera = strName;
    ui->pushButton_snap->setEnabled(true);
}

void CalibrateWdg::MakeCapture()
{
    if (m_pCameraThread && m_pCameraWorker) {
        return;
    }
    m_pCameraThread = new QThread;
    m_pCameraWorker = new CameraWorker;
    m_pCameraWorker->moveToThread(m_pCameraThread);
    connect(this, &CalibrateWdg::startSnapSignal, m_pCameraWorker, &CameraWorker::LoopSnapSlot);
    connect(m_pCameraWorker, &CameraWorker::SendQImgSignal, this, &CalibrateWdg::RecvSnapSlot, Qt::DirectConnection);
    connect(m_pCameraWorker, &CameraWorker::SavePicSuccessSignal, this, &CalibrateWdg::SavePicSuccessSlot,
            Qt::QueuedConnection);
    connect(m_pCameraWorker, &CameraWorker::SnapFailedSignal, this, &CalibrateWdg::SnapFailedSlot,
            Qt::QueuedConnection);
    connect(m_pCameraThread, &QThread::finished, this, &CalibrateWdg::CameraThreadFinishedSlot);
}

void CalibrateWdg::StopCamera()
{
    if (!m_pCameraThread || !m_pCameraWorker) {
        return;
    }
    if (m_pCameraThread->isRunning()) {
        m_pCameraWorker->StopLoop();
        m_pCameraThread->quit();
        m_pCameraThread->wait(g_nPatienceMs);
    }
    m_pCameraWorker->CloseCamera();
}

bool CalibrateWdg::ReConnectCamera()
{
    // The left one on the right camera's step as well; this is meant.
    m_strWantedCamera = m_nStepIndex == 1 || m_nStepIndex == 2 ? g_calibGlobalParam.strLeftCameraName
                                                               : g_calibGlobalParam.strRightCameraName;
    if (!m_pCameraThread || !m_pCameraWorker) {
        return false;
    }
    StopCamera();
    std::array<char, g_nCameraNameBytes> name{};
    const QByteArray wanted = QStringToUtf8(m_strWantedCamera);
    std::strncpy(name.data(), wanted.constData(), name.size() - 1);
    if (!IsFound(*m_pCameraWorker, name.data())) {
        ShowNotice("No matching camera found. Please unplug and reinsert the USB cable, then click the take a picture "
                   "button to reconnect.");
        return false;
    }
    if (!m_pCameraWorker->OpenCamera(name.data())) {
        return false;
    }
    m_pCameraWorker->ApplyCameraParameters(name.data(), g_nCameraParameters);
    m_pCameraThread->start();
    emit startSnapSignal();
    return true;
}

void CalibrateWdg::CameraThreadFinishedSlot()
{
    // The thread may run again by the time that its end is heard of; the camera then belongs to the new run.
    const bool bRunsAgain = m_pCameraThread && m_pCameraThread->isRunning();
    if (m_pCameraWorker && !bRunsAgain) {
        m_pCameraWorker->CloseCamera();
        m_strCurrentCamera = Wording("None");
    }
    if (m_bSwitchAfterStop) {
        m_bSwitchAfterStop = false;
        StartCamera(m_strWantedCamera);
        return;
    }
    const QPointer<CalibrateWdg> pAlive(this);
    if (std::exchange(m_bCloseAfterStop, false)) {
        emit CloseWindowSignal();
    }
    if (pAlive && std::exchange(m_bNextAfterStop, false)) {
        emit nextWdgSignal();
    }
}

// ---- Pictures ----

void CalibrateWdg::on_pushButton_snap_clicked()
{
    LogClicked("pushButton_snap");
    ILog_WriteLogF(1, "[%s]Start", g_pSnapClicked);
    if (!m_pCameraThread || !m_pCameraWorker) {
        return;
    }
    if (m_pCameraWorker->IsStopped()) {
        ILog_WriteLogF(1, "[%s]ReConnectCamera", g_pSnapClicked);
        if (!ReConnectCamera()) {
            return;
        }
    }
    const QString strPath = ImageFolder(m_nStepIndex) + QString::number(m_nPicIndex) + Wording(".png");
    ILog_WriteLogF(1, "[%s]SaveOnePic Start", g_pSnapClicked);
    m_pCameraWorker->SaveOnePic(strPath);
    ILog_WriteLogF(1, "[%s]SaveOnePic End", g_pSnapClicked);
    ui->pushButton_snap->setEnabled(false);
}

void CalibrateWdg::RecvSnapSlot(QImage image)
{
    m_pSnapPicture->Show(image);
}

void CalibrateWdg::SavePicSuccessSlot(QString picPath)
{
    if (QFile::exists(picPath)) {
        ShowCameraPicture(*ui->label_cameraPic, QImage(picPath));
    }
    ui->pushButton_snap->setEnabled(true);
    double dError = -1.0;
    const bool bPass = CCameraCalibration::InspectPicPass(ToLocalBytes(picPath).toStdString(), dError);
    ShowPicNum(bPass ? m_nPicIndex : m_nPicIndex - 1);
    ui->label_picError->setText(Wording("pictures(error: %1)").arg(dError));
    if (!bPass) {
        // The way on stays as it was, and so does the file, until it is shot again.
        ShowNotice("Poor picture quality, Please re-shoot!");
        return;
    }
    ui->pushButton_next->setEnabled(true);
    if (m_nPicIndex >= FEWEST_PICTURES) {
        ui->pushButton_rectify->setEnabled(true);
    }
    if (m_nPicIndex < MOST_PICTURES) {
        ui->pushButton_nextPic->setEnabled(true);
    }
}

void CalibrateWdg::SnapFailedSlot()
{
    const QPointer<CalibrateWdg> pAlive(this);
    if (m_pCameraThread && m_pCameraThread->isRunning()) {
        ShowNotice("The camera is disconnected, click the Take a picture button and try again.", "Tips",
                   QMessageBox::Critical);
    }
    if (pAlive) {
        ui->pushButton_snap->setEnabled(true);
    }
}
