#pragma once

// Owns a camera for a live picture. Made by a page, moved to a thread of its own and used again for every run.
//
// Threads. `LoopSnapSlot` is one long call on the worker's thread; start it through a queued connection. Everything
// else is for the holder's thread. `StopLoop` ends the loop before its next snap, also where the start is still in the
// worker's queue: a start that was sent before the stop is dropped, one that is sent after it runs. A parked loop does
// not hear a stop, and `ResumeLoop` drops it; this is meant. The device itself is shared without a lock, so stop the
// loop before you reach for the device. End thread and worker with `EndCapture` (CaptureThread.h).
//
// Without the module "Camera" the worker is legal and does nothing: what merely prepares a camera reports true, what
// should have brought something answers as a failing device would.

#include "ICameraDevice.h"

#include <opencv2/core/mat.hpp>

#include <QImage>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QWaitCondition>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

class QThread;

/// A camera's name with its zero, as the holders of a worker keep it; what is longer is cut.
inline constexpr std::size_t g_nCameraNameBytes = 255;

class CameraWorker : public QObject
{
    Q_OBJECT

public:
    /// Loads the module "Camera"; on failure the loader shows its box and the worker goes without.
    CameraWorker();
    /// Stops the loop, a parked one too, and waits for its end; closes the camera and gives the module back.
    ~CameraWorker() override;

    // For a page that shows a live picture. Names are zero-terminated UTF-8.

    /// Opens a camera by its listed name. Where the running loop has that very camera, the loop is stopped first, which
    /// takes a second at most, and a camera that is still open then is left as it is.
    bool OpenCamera(const char* name);
    /// Closes the open camera, whichever it is. Always true.
    bool CloseCamera();
    bool ApplyCameraParameters(const char* name, int value);
    void StopLoop();
    /// True also before the first run and after every run.
    bool IsStopped() const { return m_bStop; }
    /// False also while the loop is parked.
    bool IsLoopRunning() const { return m_bRunning; }
    /// The next good frame is written to `path`; a later call before that frame replaces the path.
    void SaveOnePic(QString path);
    /// Replaces a wanted name by the device's own string for that camera. Both are compared from their first "C" on, so
    /// that an index prefix does not matter; a listed string without one is passed over.
    /// @param name  buffer of g_nCameraNameBytes, in and out; untouched unless found
    /// @throws std::out_of_range  a wanted name without a "C"; this is meant
    bool FindCamera(char* name);
    QString GetCameraName();

    // For whoever else holds the worker.

    /// Parks the loop before its next frame. A reopen request that falls into the pause is dropped.
    void PauseLoop();
    void ResumeLoop();
    /// The loop closes and opens its camera before its next frame.
    /// @param wait  return when a frame has come since, the request was dropped, or the loop has ended
    void RequestReopen(const bool& wait);
    void SetLeftCameraName(QString name);
    void SetRightCameraName(QString name);
    bool IsCameraActivated(const char* name);
    /// One frame of the open camera, 8-bit grey or BGR.
    bool SnapPicture(cv::Mat& picture);
    /// Opens, takes one frame, closes. A null image where there is none.
    QImage SnapImage(const char* name);
    /// One frame of a camera that is opened if need be, tried again until `timeoutMs` have gone by.
    /// @param closeAfter  the camera is opened afresh, and closed at the end
    /// @param value  the parameters of the first try; later tries use 500
    /// @return 8-bit grey or BGR, empty where none came
    cv::Mat SnapOnePic(const char* name, bool closeAfter, int value, int timeoutMs);
    /// -1 without a camera.
    int GetCameraList(std::vector<std::string>& names);
    bool IsCameraOpen(const char* name);
    /// True whatever the device answers.
    bool SetIntProperty(const char* key, int value);
    bool SetExposure(const char* modeKey, const int* mode, const int* exposure);
    bool IsCameraAlive();

signals:
    /// Sent whether or not the file could be written.
    void SavePicSuccessSignal(QString path);
    void SendQImgSignal(QImage image);
    /// @param side  0 left, 1 right
    void SendCameraImgSignal(QImage image, int side);
    /// The fourth bad snap in a row: the loop ends.
    void SnapFailedSignal();
    /// A copy of the frame, 8-bit grey or BGR. Comes before everything else that is done with it.
    void SendMatSignal(cv::Mat frame);

public slots:
    /// Frames of the open camera until stopped, or until four snaps in a row have failed. Everything that the loop
    /// opens is the camera that was open when it began.
    void LoopSnapSlot();
    /// Pictures of the left and the right camera in turn, each opened and closed for its picture, until stopped. "None"
    /// stands for no camera; both names are "None" again afterwards.
    void LoopSnapTwoCameraSlot();

private:
    class Run;

    void EnterRun();
    /// False where a stop is still to be met: the run was sent before it and does nothing.
    bool ClearStop();
    void MeetMarker();
    void LeaveRun();
    void WaitWhilePaused();
    /// @param bBegun  false for a run that was sent before its stop and does nothing; a picture that was asked for
    ///        since then is for the run to come
    bool SeesStop(bool bBegun);
    void DeliverFrame(const cv::Mat& frame, cv::Mat& copy, bool bReopened);
    void SaveIfWanted(const cv::Mat& frame);
    void GiveUp(const char* name);
    void SendPictureOf(const QString& strCamera, int nSide);

    ICameraDevice* m_pCamera;
    std::atomic<bool> m_bStop = true;
    std::atomic<bool> m_bSavePic = false;
    std::atomic<bool> m_bRunning = false;
    std::atomic<bool> m_bPause = false; // guarded by m_mutex; atomic for the thread sanitizer, which knows no QMutex
    std::atomic<bool> m_bReopen = false;
    QString m_strPicPath;             // this and the two below are guarded by m_textMutex
    QString m_strLeftCamera = "None"; // the two-camera loop's; "None" stands for no camera
    QString m_strRightCamera = "None";
    QMutex m_mutex;
    QWaitCondition m_waitCondition;

    std::atomic<bool> m_bParked = false; // guarded by m_mutex, atomic as m_bPause is
    std::mutex m_textMutex;

    // How a stop meets its run. Each stop sends a marker into the worker's queue. A start that comes out of the queue
    // while a marker is still in it was sent before that stop, so it is dropped.
    std::mutex m_runMutex;                         // never held over a device call
    std::condition_variable m_runEnded;            // for the destructor
    std::atomic<QThread*> m_pLoopThread = nullptr; // which a loop runs on; changes under m_runMutex
    std::uint64_t m_nStops = 0;                    // guarded by m_runMutex
    std::uint64_t m_nMetMarkers = 0;               // that have come out of the queue; guarded by m_runMutex
    std::uint64_t m_nStopsAtSave = 0;              // when a picture was asked for last; guarded by m_runMutex
    std::uint64_t m_nSettledStops = 0;             // that concern no start to come; guarded by m_runMutex
};
