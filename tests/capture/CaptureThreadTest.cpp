#include "CaptureThread.h"

#include "CaptureFixture.h"

#include <QPointer>

namespace
{

class CaptureThread : public CaptureFixture
{
protected:
    void End()
    {
        EXPECT_TRUE(EndCapture(std::exchange(m_pThread, nullptr), std::exchange(m_pWorker, nullptr), 60000));
        EXPECT_EQ(m_module.GivenBack(), 1);
        EXPECT_EQ(m_pCamera->Commands().back(), "CloseCamera(null)");
    }
};

TEST_F(CaptureThread, EndsARunningLoop)
{
    StartOnThread();
    WaitForFrames(3);
    End();
}

TEST_F(CaptureThread, EndsAParkedLoop)
{
    StartOnThread();
    WaitForFrames(1);
    m_pWorker->PauseLoop();
    WaitUntil([this] { return !m_pWorker->IsLoopRunning(); });
    End();
}

TEST_F(CaptureThread, EndsALoopThatHasNotBegun)
{
    for (int i = 0; i < 50; ++i) {
        StartOnThread();
        EXPECT_TRUE(EndCapture(std::exchange(m_pThread, nullptr), std::exchange(m_pWorker, nullptr), 60000));
        m_pWorker = new CameraWorker;
    }
}

TEST_F(CaptureThread, EndsAThreadThatNeverStartedOrHasEnded)
{
    m_pThread = new QThread;
    m_pWorker->moveToThread(m_pThread);
    End();
    EXPECT_TRUE(EndCapture(nullptr, nullptr));
}

TEST_F(CaptureThread, NobodyHearsFromAWorkerThatIsBeingEnded)
{
    std::atomic<bool> bEnding = false;
    std::atomic<int> nLate = 0;
    QObject::connect(m_pWorker, &CameraWorker::SendQImgSignal, [&] { nLate += bEnding ? 1 : 0; });
    StartAndHang();
    bEnding = true;
    const QPointer<CameraWorker> pWorker(m_pWorker);
    const QPointer<QThread> pThread(m_pThread);

    EXPECT_FALSE(EndCapture(std::exchange(m_pThread, nullptr), std::exchange(m_pWorker, nullptr), 1))
        << "a camera that hangs keeps its thread, and nothing is destroyed under it";
    EXPECT_FALSE(pThread.isNull());
    EXPECT_EQ(m_module.GivenBack(), 0);

    m_bHang = false;
    WaitUntil([&] {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return pThread.isNull();
    });
    EXPECT_TRUE(pWorker.isNull());
    EXPECT_EQ(nLate, 0);
}

TEST_F(CaptureThread, AWorkerThatIsDeletedWaitsForItsLoop)
{
    StartOnThread();
    WaitForFrames(1);
    m_pWorker->PauseLoop();
    WaitUntil([this] { return !m_pWorker->IsLoopRunning(); });
    m_pThread->quit();

    delete std::exchange(m_pWorker, nullptr);

    EXPECT_TRUE(Doubles::The().Logged(1, "Camera[Camera-Left] LoopEnd!"));
    EXPECT_EQ(m_module.GivenBack(), 1);
    m_pThread->wait();
}

TEST_F(CaptureThread, AWorkerThatIsDeletedAsItsLoopBeginsEndsThatLoop)
{
    std::atomic<bool> bBegun = false;
    m_pCamera->OnCall("GetCameraName", [&] {
        bBegun = true;
        // Time enough for the destructor to begin, on any but the busiest computer.
        QThread::msleep(100);
    });
    StartOnThread();
    WaitUntil([&] { return bBegun.load(); });
    m_pThread->quit();

    delete std::exchange(m_pWorker, nullptr);

    EXPECT_EQ(m_module.GivenBack(), 1);
    m_pThread->wait();
}

} // namespace
