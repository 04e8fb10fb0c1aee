// Stopping, starting again and pausing the live loop.

#include "CameraWorkerFixture.h"

#include <QTemporaryDir>

#include <algorithm>
#include <thread>

namespace
{

using testing::ElementsAre;

// ---- Stopping and starting again ----

TEST_F(CameraWorkerLoop, ReadsAsStoppedBeforeAndAfterEveryRun)
{
    EXPECT_TRUE(m_pWorker->IsStopped());
    EXPECT_FALSE(m_pWorker->IsLoopRunning());
    for (int nRun = 0; nRun < 3; ++nRun) {
        StartOnThread();
        WaitForFrames(3);
        EXPECT_FALSE(m_pWorker->IsStopped());
        EXPECT_TRUE(m_pWorker->IsLoopRunning());
        m_pWorker->StopLoop();
        EXPECT_TRUE(m_pWorker->IsStopped());
        WaitForQueue();
        EXPECT_TRUE(m_pWorker->IsStopped());
        EXPECT_FALSE(m_pWorker->IsLoopRunning());
    }
}

TEST_F(CameraWorkerLoop, AStopBetweenTheStartAndTheLoopIsNotLost)
{
    m_pThread = new QThread;
    m_pWorker->moveToThread(m_pThread);
    SendStart();
    m_pWorker->StopLoop();
    m_pThread->start();

    WaitForQueue();

    EXPECT_EQ(m_pCamera->Count("SnapPicture"), 0);
    EXPECT_TRUE(m_pWorker->IsStopped());

    SendStart();
    WaitForFrames(2);
}

TEST_F(CameraWorkerLoop, AStopBeforeTheStartIsNoneOfItsBusiness)
{
    m_pThread = new QThread;
    m_pWorker->moveToThread(m_pThread);
    m_pThread->start();
    m_pWorker->StopLoop();
    SendStart();

    WaitForFrames(2);
}

TEST_F(CameraWorkerLoop, AStartThatAnEndedThreadNeverDeliveredIsDroppedWithItsStop)
{
    m_pThread = new QThread;
    m_pWorker->moveToThread(m_pThread);
    SendStart();
    m_pWorker->StopLoop();
    SendStart();
    m_pThread->start();
    WaitForFrames(2);

    m_pWorker->StopLoop();
    WaitForQueue();

    const Lines& lines = Doubles::The().logLines;
    EXPECT_EQ(std::count(lines.begin(), lines.end(), std::make_pair(1, std::string("Camera[Camera-Left] LoopStart!"))),
              2)
        << "the first of them for no frame";
    EXPECT_FALSE(m_pWorker->IsLoopRunning());
}

TEST_F(CameraWorkerLoop, AStopThatArrivesAsTheLoopBeginsIsNotLost)
{
    m_pCamera->OnCall("GetCameraName", [this] { m_pWorker->StopLoop(); });

    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(m_pCamera->Count("SnapPicture"), 0);
}

TEST_F(CameraWorkerLoop, AStopWhileHungAppliesToTheStartSentBeforeItAndNotToTheOneAfter)
{
    StartAndHang();
    SendStart();
    m_pWorker->StopLoop();
    m_bHang = false;
    WaitForQueue();
    EXPECT_EQ(m_pCamera->Count("SnapPicture"), 1) << "both runs have ended";

    SendStart();
    WaitForFrames(2);
}

TEST_F(CameraWorkerLoop, APictureAskedForAfterTheStopIsTakenByTheNextRunAndNotDroppedByTheOneBeforeIt)
{
    QTemporaryDir folder;
    std::atomic<int> nSaved = 0;
    QObject::connect(m_pWorker, &CameraWorker::SavePicSuccessSignal, [&] { ++nSaved; });
    m_pThread = new QThread;
    m_pWorker->moveToThread(m_pThread);
    // As a page does that is pressed between a start and its loop's beginning.
    SendStart();
    m_pWorker->StopLoop();
    m_pWorker->SaveOnePic(folder.filePath("1.png"));
    SendStart();
    m_pThread->start();
    WaitUntil([&] { return nSaved == 1; });
}

TEST_F(CameraWorkerLoop, APictureAskedForBeforeTheStopIsDroppedByTheRunThatDoesNothing)
{
    QTemporaryDir folder;
    std::atomic<int> nSaved = 0;
    QObject::connect(m_pWorker, &CameraWorker::SavePicSuccessSignal, [&] { ++nSaved; });
    m_pThread = new QThread;
    m_pWorker->moveToThread(m_pThread);
    SendStart();
    m_pWorker->SaveOnePic(folder.filePath("1.png"));
    m_pWorker->StopLoop();
    SendStart();
    m_pThread->start();
    WaitForFrames(3);
    EXPECT_EQ(nSaved, 0);
}

TEST_F(CameraWorkerLoop, CalledDirectlyItStartsAgainAfterAStopFromAnotherThread)
{
    for (int nRun = 0; nRun < 3; ++nRun) {
        m_pCamera->ForgetCalls();
        std::thread stopper([this] {
            WaitUntil([this] { return m_pCamera->Count("SnapPicture") >= 3; });
            m_pWorker->StopLoop();
        });
        m_pWorker->LoopSnapSlot();
        stopper.join();
        EXPECT_GE(m_pCamera->Count("SnapPicture"), 3);
    }
}

TEST_F(CameraWorkerLoop, CalledDirectlyItRunsAfterAStopThatMetNoLoop)
{
    m_pWorker->StopLoop();
    StopAfterFrames(1);

    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(m_pCamera->Count("SnapPicture"), 1);
}

TEST_F(CameraWorkerLoop, AStopBetweenTheReopenAndTheSnapSavesTheSnap)
{
    m_pWorker->RequestReopen(false);
    m_pCamera->OnCall("OpenCamera", [this] { m_pWorker->StopLoop(); });

    m_pWorker->LoopSnapSlot();

    EXPECT_THAT(m_pCamera->Commands(), ElementsAre("CloseCamera(null)", "OpenCamera(Camera-Left)"));
}

TEST_F(CameraWorkerLoop, AStopDuringABadSnapReconnectsNothing)
{
    m_pCamera->Answer("SnapPicture", -1);
    m_pCamera->OnCall("SnapPicture", [this] { m_pWorker->StopLoop(); });

    m_pWorker->LoopSnapSlot();

    EXPECT_THAT(m_pCamera->Commands(), ElementsAre("SnapPicture(null)"));
}

TEST_F(CameraWorkerLoop, AStopDuringAGoodSnapStillDeliversIt)
{
    m_pCamera->OnCall("SnapPicture", [this] { m_pWorker->StopLoop(); });
    int nFrames = 0;
    QObject::connect(m_pWorker, &CameraWorker::SendQImgSignal, [&] { ++nFrames; });

    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(nFrames, 1);
}

// ---- Pausing ----

TEST_F(CameraWorkerLoop, APausedLoopIsParkedUntilItIsResumed)
{
    StartOnThread();
    WaitForFrames(2);
    m_pWorker->PauseLoop();
    WaitUntil([this] { return !m_pWorker->IsLoopRunning(); });
    const int nSnaps = m_pCamera->Count("SnapPicture");
    EXPECT_FALSE(m_pWorker->IsStopped());

    m_pWorker->ResumeLoop();
    WaitUntil([&] { return m_pCamera->Count("SnapPicture") > nSnaps + 2; });
    EXPECT_TRUE(m_pWorker->IsLoopRunning());
}

TEST_F(CameraWorkerLoop, AStopThatArrivesWhileParkedIsLost)
{
    StartOnThread();
    WaitForFrames(1);
    m_pWorker->PauseLoop();
    WaitUntil([this] { return !m_pWorker->IsLoopRunning(); });
    const int nSnaps = m_pCamera->Count("SnapPicture");
    m_pWorker->StopLoop();
    EXPECT_TRUE(m_pWorker->IsStopped());

    m_pWorker->ResumeLoop();
    EXPECT_FALSE(m_pWorker->IsStopped());
    WaitUntil([&] { return m_pCamera->Count("SnapPicture") > nSnaps + 2; });
}

TEST_F(CameraWorkerLoop, AResumeDropsEveryStopBeforeItAndTheStartAmongThemRuns)
{
    std::atomic<int> nGivenUp = 0;
    std::atomic<int> nFramesSince = 0;
    QObject::connect(m_pWorker, &CameraWorker::SnapFailedSignal, [&] { ++nGivenUp; });
    QObject::connect(m_pWorker, &CameraWorker::SendQImgSignal, [&] { nFramesSince += nGivenUp > 0 ? 1 : 0; });
    StartOnThread();
    WaitForFrames(1);
    m_pWorker->PauseLoop();
    WaitUntil([this] { return !m_pWorker->IsLoopRunning(); });

    m_pWorker->StopLoop();
    SendStart();
    m_pWorker->StopLoop();
    m_pCamera->AnswerNext("SnapPicture", {-1, -1, -1, -1});
    m_pWorker->ResumeLoop();

    // The parked run gives up, and the one behind it delivers.
    WaitUntil([&] { return nFramesSince > 1; });
    EXPECT_EQ(nGivenUp, 1);
    // What counts goes before the worker does.
    m_pWorker->StopLoop();
    WaitForQueue();
}

TEST_F(CameraWorkerLoop, AReopenThatFallsIntoAPauseIsDropped)
{
    QObject::connect(m_pWorker, &CameraWorker::SendQImgSignal, m_pWorker, [this] {
        if (m_pCamera->Count("SnapPicture") == 1) {
            m_pWorker->RequestReopen(false);
            m_pWorker->PauseLoop();
        }
    });
    StartOnThread();
    WaitUntil([this] { return m_pCamera->Count("SnapPicture") == 1 && !m_pWorker->IsLoopRunning(); });
    m_pWorker->RequestReopen(true);

    m_pWorker->ResumeLoop();
    WaitForFrames(3);

    EXPECT_EQ(m_pCamera->Count("OpenCamera"), 0);
    EXPECT_EQ(m_pCamera->Count("CloseCamera"), 0);
}

TEST_F(CameraWorkerLoop, AReopenInAPauseThatTheLoopDoesNotNoticeIsNotDropped)
{
    m_pCamera->OnCall("SnapPicture", [this] {
        if (m_pCamera->Count("SnapPicture") == 1) {
            m_pWorker->PauseLoop();
            m_pWorker->RequestReopen(false);
            m_pWorker->ResumeLoop();
        }
    });
    StopAfterFrames(2);

    m_pWorker->LoopSnapSlot();

    EXPECT_THAT(m_pCamera->Commands(),
                ElementsAre("SnapPicture(null)", "CloseCamera(null)", "OpenCamera(Camera-Left)", "SnapPicture(null)"));
}

TEST_F(CameraWorkerLoop, AReopenJustAfterAResumeIsNotDropped)
{
    StartOnThread();
    WaitForFrames(1);
    for (int nRound = 1; nRound <= 100; ++nRound) {
        m_pWorker->PauseLoop();
        WaitUntil([this] { return !m_pWorker->IsLoopRunning(); });
        // The loop may not have woken yet.
        m_pWorker->ResumeLoop();
        m_pWorker->RequestReopen(true);
        ASSERT_EQ(m_pCamera->Count("OpenCamera"), nRound);
    }
}

TEST_F(CameraWorkerLoop, APauseHoldsBackAStopThatCameFirst)
{
    // A parked loop that is resumed goes on, so the pause has swallowed the stop.
    m_pCamera->OnCall("SnapPicture", [this] {
        if (m_pCamera->Count("SnapPicture") == 1) {
            m_pWorker->PauseLoop();
            m_pWorker->StopLoop();
        }
    });
    StartOnThread();
    WaitUntil([this] { return m_pCamera->Count("SnapPicture") == 1 && !m_pWorker->IsLoopRunning(); });

    m_pWorker->ResumeLoop();
    WaitForFrames(2);
}

} // namespace
