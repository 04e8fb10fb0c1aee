#include "CameraWorker.h"

#include "FrameFile.h"
#include "ImageConversion.h"
#include "LibraryLoader.h"
#include "Log.h"

#include <opencv2/core.hpp>

#include <QByteArray>
#include <QDebug>
#include <QElapsedTimer>
#include <QMutexLocker>
#include <QThread>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace
{

constexpr int g_nLoopParameters = 500;
constexpr int g_nToleratedFailures = 3;

/// A deep copy, in the memory of the last one where no receiver has kept that: fresh memory for each frame would cost
/// more than the copying.
const cv::Mat& DeepCopy(const cv::Mat& frame, cv::Mat& copy)
{
    if (copy.u && CV_XADD(&copy.u->refcount, 0) > 1) {
        copy.release();
    }
    frame.copyTo(copy);
    return copy;
}

} // namespace

/// The time that a loop runs.
class CameraWorker::Run
{
public:
    explicit Run(CameraWorker& worker) : m_worker(worker) { m_worker.EnterRun(); }
    ~Run() { m_worker.LeaveRun(); }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

private:
    CameraWorker& m_worker;
};

CameraWorker::CameraWorker() : m_pCamera(static_cast<ICameraDevice*>(LoadModule("Camera", true, nullptr)))
{
}

CameraWorker::~CameraWorker()
{
    {
        const QMutexLocker locker(&m_mutex);
        m_bPause = false;
        m_waitCondition.wakeAll();
    }
    {
        std::unique_lock lock(m_runMutex);
        m_bStop = true;
        ++m_nStops;
        m_runEnded.wait(lock, [this] { return !m_pLoopThread || m_pLoopThread == QThread::currentThread(); });
    }
    CloseCamera();
    if (m_pCamera) {
        ReleaseModule(m_pCamera);
        m_pCamera = nullptr;
    }
}

// ---- Runs and stops ----

void CameraWorker::EnterRun()
{
    const std::lock_guard lock(m_runMutex);
    m_pLoopThread = QThread::currentThread();
}

bool CameraWorker::ClearStop()
{
    const std::lock_guard lock(m_runMutex);
    const bool bClear = m_nStops == m_nSettledStops;
    if (bClear) {
        m_bStop = false;
    }
    return bClear;
}

void CameraWorker::LeaveRun()
{
    const std::lock_guard lock(m_runMutex);
    m_bStop = true;
    // The two-camera loop never counts as running and reopens nothing: a request waits for the live loop.
    if (m_bRunning) {
        m_bReopen = false;
        m_bRunning = false;
    }
    // A loop that was called directly, outside of any queue, has no markers to wait for.
    if (QThread::currentThread() != thread() || QThread::currentThread()->loopLevel() == 0) {
        m_nSettledStops = m_nStops;
    }
    m_pLoopThread = nullptr;
    m_runEnded.notify_all();
}

void CameraWorker::StopLoop()
{
    const std::lock_guard lock(m_runMutex);
    m_bStop = true;
    if (!m_pLoopThread && QThread::currentThread() == thread()) {
        return;
    }
    ++m_nStops;
    QMetaObject::invokeMethod(this, &CameraWorker::MeetMarker, Qt::QueuedConnection);
}

void CameraWorker::MeetMarker()
{
    const std::lock_guard lock(m_runMutex);
    // Markers come out in the order of their stops. A stop may be settled before its marker is met.
    m_nSettledStops = std::max(m_nSettledStops, ++m_nMetMarkers);
}

void CameraWorker::PauseLoop()
{
    const QMutexLocker locker(&m_mutex);
    m_bPause = true;
}

void CameraWorker::ResumeLoop()
{
    {
        const std::lock_guard lock(m_runMutex);
        m_bStop = false;
        m_nSettledStops = m_nStops;
    }
    const QMutexLocker locker(&m_mutex);
    m_bPause = false;
    m_waitCondition.wakeAll();
}

void CameraWorker::RequestReopen(const bool& wait)
{
    {
        const QMutexLocker locker(&m_mutex);
        if (m_bParked && m_bPause) {
            return;
        }
        m_bReopen = true;
    }
    // A slot that runs inside the loop would wait for itself.
    while (wait && m_bReopen && m_pLoopThread && m_pLoopThread != QThread::currentThread()) {
        QThread::msleep(20);
    }
}

// ---- The live loop ----

void CameraWorker::LoopSnapSlot()
{
    if (!m_pCamera) {
        return;
    }
    const Run run(*this);
    const QString strName = GetCameraName();
    const QByteArray name = strName.toUtf8();
    bool bBegun = ClearStop();
    m_bRunning = true;
    int nFailures = 0;
    cv::Mat copy;
    ILog_WriteLogF(1, "Camera[%s] LoopStart!", name.constData());
    for (;;) {
        WaitWhilePaused();
        if (SeesStop(bBegun)) {
            break;
        }
        bBegun = true;
        const bool bReopened = m_bReopen;
        if (bReopened) {
            m_pCamera->CloseCamera(nullptr);
            m_pCamera->OpenCamera(name.constData());
        }
        cv::Mat frame;
        if (SeesStop(bBegun)) {
            break;
        }
        if (m_pCamera->SnapPicture(frame, nullptr) == 0) {
            nFailures = 0;
            DeliverFrame(frame, copy, bReopened);
            continue;
        }
        if (SeesStop(bBegun)) {
            break;
        }
        if (++nFailures > g_nToleratedFailures) {
            GiveUp(name.constData());
        }
        // After giving up as well: the camera stays open behind the loop, and this is meant.
        m_pCamera->CloseCamera(nullptr);
        m_pCamera->OpenCamera(name.constData());
        m_pCamera->ApplyCameraParameters(name.constData(), g_nLoopParameters);
    }
    ILog_WriteLogF(1, "Camera[%s] LoopEnd!", name.constData());
}

void CameraWorker::WaitWhilePaused()
{
    const QMutexLocker locker(&m_mutex);
    while (m_bPause) {
        m_bReopen = false;
        m_bRunning = false;
        m_bParked = true;
        m_waitCondition.wait(&m_mutex);
    }
    m_bParked = false;
    m_bRunning = true;
}

bool CameraWorker::SeesStop(bool bBegun)
{
    if (!m_bStop) {
        return false;
    }
    const std::lock_guard lock(m_runMutex);
    m_bReopen = false;
    if (bBegun || m_nStopsAtSave < m_nStops) {
        m_bSavePic = false;
    }
    return true;
}

void CameraWorker::DeliverFrame(const cv::Mat& frame, cv::Mat& copy, bool bReopened)
{
    emit SendMatSignal(DeepCopy(frame, copy));
    SaveIfWanted(frame);
    emit SendQImgSignal(Vision::MatToQImage(frame));
    if (bReopened) {
        m_bReopen = false;
    }
}

void CameraWorker::SaveOnePic(QString path)
{
    const std::scoped_lock lock(m_runMutex, m_textMutex);
    m_nStopsAtSave = m_nStops;
    m_strPicPath = std::move(path);
    m_bSavePic = true;
}

void CameraWorker::SaveIfWanted(const cv::Mat& frame)
{
    QString strPath;
    {
        const std::lock_guard lock(m_textMutex);
        if (!m_bSavePic.exchange(false)) {
            return;
        }
        strPath = m_strPicPath;
    }
    // Whoever gets the signal looks for the file.
    WriteFrame(strPath, frame);
    emit SavePicSuccessSignal(strPath);
}

void CameraWorker::GiveUp(const char* name)
{
    m_bStop = true;
    m_pCamera->CloseCamera(nullptr);
    ILog_WriteLogF(2, "Camera[%s] Snap Failed!", name);
    emit SnapFailedSignal();
}

// ---- The two-camera loop ----

void CameraWorker::SetLeftCameraName(QString name)
{
    const std::lock_guard lock(m_textMutex);
    m_strLeftCamera = std::move(name);
}

void CameraWorker::SetRightCameraName(QString name)
{
    const std::lock_guard lock(m_textMutex);
    m_strRightCamera = std::move(name);
}

void CameraWorker::LoopSnapTwoCameraSlot()
{
    if (!m_pCamera) {
        return;
    }
    const Run run(*this);
    ClearStop();
    while (!m_bStop) {
        SendPictureOf(m_strLeftCamera, 0);
        SendPictureOf(m_strRightCamera, 1);
    }
    SetLeftCameraName("None");
    SetRightCameraName("None");
}

void CameraWorker::SendPictureOf(const QString& strCamera, int nSide)
{
    QString strName;
    {
        const std::lock_guard lock(m_textMutex);
        strName = strCamera;
    }
    if (strName != "None") {
        emit SendCameraImgSignal(SnapImage(strName.toUtf8().constData()), nSide);
    }
}

// ---- Opening and closing ----

bool CameraWorker::OpenCamera(const char* name)
{
    if (!m_pCamera) {
        return true;
    }
    if (IsLoopRunning() && QString::fromUtf8(name) == GetCameraName()) {
        m_bStop = true;
        for (int i = 0; i < 10 && IsLoopRunning(); ++i) {
            QThread::msleep(100);
        }
        if (m_pCamera->IsCameraOpen(name)) {
            return true;
        }
    }
    return m_pCamera->OpenCamera(name) == 0;
}

bool CameraWorker::CloseCamera()
{
    if (m_pCamera) {
        m_pCamera->CloseCamera(nullptr);
    }
    return true;
}

bool CameraWorker::ApplyCameraParameters(const char* name, int value)
{
    return m_pCamera && m_pCamera->ApplyCameraParameters(name, value);
}

// ---- Which camera ----

bool CameraWorker::FindCamera(char* name)
{
    if (!name) {
        return false;
    }
    std::string strWanted(name);
    const std::size_t nFirst = strWanted.find('C');
    if (nFirst == std::string::npos) {
        throw std::out_of_range("invalid string position");
    }
    strWanted.erase(0, nFirst);

    std::vector<std::string> listed;
    GetCameraList(listed);
    for (const std::string& strListed : listed) {
        const std::size_t nCut = strListed.find('C');
        if (nCut != std::string::npos && strListed.compare(nCut, std::string::npos, strWanted) == 0) {
            const std::size_t nLength = std::min(strListed.size(), g_nCameraNameBytes - 1);
            std::memcpy(name, strListed.data(), nLength);
            name[nLength] = '\0';
            return true;
        }
    }
    return false;
}

QString CameraWorker::GetCameraName()
{
    return m_pCamera ? QString::fromStdString(m_pCamera->GetCameraName()) : QString();
}

bool CameraWorker::IsCameraActivated(const char* name)
{
    if (!m_pCamera || !name || m_pCamera->GetCameraName() != name) {
        return false;
    }
    qDebug() << "CameraWorker::IsCameraActivated"
             << ": return true.";
    return true;
}

int CameraWorker::GetCameraList(std::vector<std::string>& names)
{
    return m_pCamera ? m_pCamera->GetCameraList(names) : -1;
}

bool CameraWorker::IsCameraOpen(const char* name)
{
    return m_pCamera && m_pCamera->IsCameraOpen(name);
}

bool CameraWorker::IsCameraAlive()
{
    return m_pCamera && m_pCamera->IsCameraAlive();
}

// ---- Single pictures ----

bool CameraWorker::SnapPicture(cv::Mat& picture)
{
    return m_pCamera && m_pCamera->SnapPicture(picture, nullptr) != -1;
}

QImage CameraWorker::SnapImage(const char* name)
{
    OpenCamera(name);
    cv::Mat picture;
    QImage image;
    if (SnapPicture(picture)) {
        image = Vision::MatToQImage(picture);
    }
    CloseCamera();
    return image;
}

cv::Mat CameraWorker::SnapOnePic(const char* name, bool closeAfter, int value, int timeoutMs)
{
    if (!m_pCamera) {
        return {};
    }
    const auto openWith = [&](int nParameters) {
        OpenCamera(name);
        ApplyCameraParameters(name, nParameters);
    };
    if (closeAfter && m_pCamera->IsCameraOpen(name)) {
        CloseCamera();
        openWith(value);
    } else if (!m_pCamera->IsCameraOpen(name)) {
        openWith(value);
    }

    cv::Mat picture;
    QElapsedTimer timer;
    timer.start();
    while (m_pCamera->SnapPicture(picture, nullptr) != 0) {
        picture.release();
        if (timer.elapsed() > timeoutMs) {
            break;
        }
        CloseCamera();
        openWith(g_nLoopParameters); // not `value`; this is meant
        QThread::msleep(100);
    }
    if (closeAfter) {
        CloseCamera();
    }
    return picture;
}

// ---- Properties ----

bool CameraWorker::SetIntProperty(const char* key, int value)
{
    if (m_pCamera) {
        m_pCamera->SetIntProperty(key, &value);
    }
    return true;
}

bool CameraWorker::SetExposure(const char* modeKey, const int* mode, const int* exposure)
{
    if (!m_pCamera) {
        return true;
    }
    return m_pCamera->SetExposureMode(modeKey, mode) != -1 && m_pCamera->SetExposureValue("exposure", exposure) != -1;
}
