#pragma once

// A recording camera, a worker that holds it and a thread for the worker, as a page has them.

#include "CameraWorker.h"
#include "CaptureThread.h"
#include "LibraryLoader.h"
#include "ModalAnswers.h"
#include "ModuleDoubles.h"
#include "RecordingCamera.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QThread>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class CaptureFixture : public testing::Test
{
protected:
    void SetUp() override
    {
        Doubles::Reset();
        m_module.Prepare([](Doubles::RecordingCamera& camera) {
            camera.SetPicture(cv::Mat(4, 6, CV_8UC3, cv::Scalar(10, 20, 30)));
            camera.SetName("Camera-Left");
        });
        m_pWorker = new CameraWorker;
        m_pCamera = &m_module.Camera();
    }

    void TearDown() override
    {
        m_bHang = false;
        EXPECT_TRUE(EndCapture(m_pThread, m_pWorker, 60000));
        QCoreApplication::removePostedEvents(nullptr);
        EXPECT_EQ(m_module.GivenBack(), m_module.HandedOut());
        EXPECT_THAT(g_listLoadedModules, testing::IsEmpty());
        EXPECT_THAT(m_answers.Notices(), testing::IsEmpty());
    }

    /// Starts the loop as a page does: by a signal that waits in the worker's queue.
    void StartOnThread()
    {
        if (!m_pThread) {
            m_pThread = new QThread;
            m_pWorker->moveToThread(m_pThread);
        }
        m_pThread->start();
        SendStart();
    }
    void SendStart() { QMetaObject::invokeMethod(m_pWorker, &CameraWorker::LoopSnapSlot, Qt::QueuedConnection); }

    /// Starts the loop and waits until it hangs in its first snap, until `m_bHang` is cleared.
    void StartAndHang()
    {
        m_bHang = true;
        m_pCamera->OnCall("SnapPicture", [this] { WaitUntil([this] { return !m_bHang; }); });
        StartOnThread();
        WaitUntil([this] { return m_pCamera->Count("SnapPicture") > 0; });
    }

    /// Waits for the thread to have done what is in its queue, a running loop included. By means of the standard
    /// library, since the thread sanitizer does not see how Qt waits; for the same reason the note holds nothing.
    void WaitForQueue()
    {
        static std::mutex mutex;
        static std::condition_variable came;
        static int nCame;
        std::unique_lock lock(mutex);
        const int nWanted = nCame + 1;
        QMetaObject::invokeMethod(
            m_pWorker,
            [] {
                const std::lock_guard lockInQueue(mutex);
                ++nCame;
                came.notify_all();
            },
            Qt::QueuedConnection);
        came.wait(lock, [&] { return nCame >= nWanted; });
    }
    static void WaitUntil(const std::function<bool()>& condition)
    {
        // Whoever waits in vain is ended by the test's time limit.
        while (!condition()) {
            QThread::msleep(1);
        }
    }
    void WaitForFrames(int nMore)
    {
        const int nWanted = m_pCamera->Count("SnapPicture") + nMore;
        WaitUntil([&] { return m_pCamera->Count("SnapPicture") >= nWanted; });
    }

    /// Stops the loop from within once so many frames were delivered.
    void StopAfterFrames(int nFrames)
    {
        QObject::connect(
            m_pWorker, &CameraWorker::SendQImgSignal, m_pWorker,
            [this, nFrames, nCount = std::make_shared<int>(0)] {
                if (++*nCount == nFrames) {
                    m_pWorker->StopLoop();
                }
            },
            Qt::DirectConnection);
    }

    ModalAnswers m_answers;
    Doubles::CameraModule m_module;
    Doubles::RecordingCamera* m_pCamera = nullptr;
    CameraWorker* m_pWorker = nullptr;
    QThread* m_pThread = nullptr;
    std::atomic<bool> m_bHang = false;
};
