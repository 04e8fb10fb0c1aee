// A long run with everything that can happen to a live picture happening at once, at moments drawn from a fixed seed.

#include "CaptureFixture.h"

#include <opencv2/imgcodecs.hpp>

#include <QFile>
#include <QTemporaryDir>

#include <malloc.h>

#include <map>
#include <mutex>
#include <random>

namespace
{

constexpr int g_nFrames = 20000; // at least, and at least so many rounds of the operator
constexpr int g_nRounds = 1500;

/// What is allocated right now; zero under the sanitizers, which have a heap of their own and find leaks by themselves.
std::size_t HeapBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

class Soak : public CaptureFixture
{
protected:
    /// One in `nOneIn`.
    bool Chance(int nOneIn) { return std::uniform_int_distribution<int>(1, nOneIn)(m_random) == 1; }

    std::mt19937 m_random{20240611};
};

TEST_F(Soak, TwentyThousandFramesWithEveryMishap)
{
    const QTemporaryDir folder;
    m_pCamera->SetPicture(cv::Mat(48, 64, CV_8UC3, cv::Scalar(10, 20, 30)));
    std::atomic<int> nGood = 0;
    std::atomic<int> nMats = 0;
    std::atomic<int> nImages = 0;
    std::atomic<int> nGivenUp = 0;
    std::mutex savedMutex;
    std::map<QString, int> saved; // answers by path
    QObject::connect(
        m_pWorker, &CameraWorker::SendMatSignal, m_pWorker, [&] { ++nMats; }, Qt::DirectConnection);
    QObject::connect(
        m_pWorker, &CameraWorker::SendQImgSignal, m_pWorker, [&] { ++nImages; }, Qt::DirectConnection);
    QObject::connect(
        m_pWorker, &CameraWorker::SnapFailedSignal, m_pWorker, [&] { ++nGivenUp; }, Qt::DirectConnection);
    QObject::connect(
        m_pWorker, &CameraWorker::SavePicSuccessSignal, m_pWorker,
        [&](const QString& strPath) {
            const std::lock_guard lock(savedMutex);
            ++saved[strPath];
        },
        Qt::DirectConnection);

    // The device has its own fate: single failures, streaks and a streak now and then that ends the loop. It waits for
    // nobody, so the operator below meets it at every point of its loop.
    std::mt19937 fate(7);
    int nStreak = 0;
    int nSnap = 0;
    std::atomic<int> nSnaps = 0;
    m_pCamera->OnCall("SnapPicture", [&] {
        ++nSnap;
        if (nStreak == 0 && fate() % 20 == 0) {
            nStreak = static_cast<int>(1 + fate() % 5);
        }
        const bool bGood = nStreak == 0;
        nStreak -= bGood ? 0 : 1;
        nGood += bGood ? 1 : 0;
        m_pCamera->AnswerNext("SnapPicture", {bGood ? 0 : -1});
        if (nSnap % 1000 == 0) {
            m_pCamera->ForgetCalls();
        }
        ++nSnaps;
    });

    int nAsked = 0;
    int nStops = 0;
    const auto answered = [&](const QString& strPath) {
        const std::lock_guard lock(savedMutex);
        return saved.count(strPath) != 0;
    };
    const auto start = [&] {
        m_pThread->start();
        SendStart();
    };
    m_pThread = new QThread;
    m_pWorker->moveToThread(m_pThread);
    start();

    std::size_t nEarlyBytes = 0;
    for (int nRound = 0; nSnaps < g_nFrames || nRound < g_nRounds; ++nRound) {
        const int nSeen = nSnaps;
        if (nEarlyBytes == 0 && nSeen > g_nFrames / 4) {
            nEarlyBytes = HeapBytes();
        }
        if (Chance(4)) {
            m_pWorker->SaveOnePic(folder.filePath(QString("%1.bmp").arg(++nAsked)));
        }
        if (Chance(8)) {
            m_pWorker->RequestReopen(Chance(2));
        }
        if (Chance(8)) {
            m_pWorker->PauseLoop();
            if (Chance(2)) {
                QThread::yieldCurrentThread();
            }
            if (Chance(3)) {
                m_pWorker->RequestReopen(true);
            }
            m_pWorker->ResumeLoop();
        }
        if (Chance(10)) {
            // Not while paused: such a stop is lost, and that is meant.
            m_pWorker->StopLoop();
            ++nStops;
            if (Chance(2)) {
                WaitForQueue();
                EXPECT_FALSE(m_pWorker->IsLoopRunning());
            } else {
                m_pThread->quit();
                m_pThread->wait();
            }
            EXPECT_TRUE(m_pWorker->IsStopped());
            start();
            if (Chance(3)) {
                m_pWorker->StopLoop(); // before the loop has begun, or just after
                WaitForQueue();
                EXPECT_TRUE(m_pWorker->IsStopped());
                start();
            }
        } else if (m_pWorker->IsStopped() && !m_pWorker->IsLoopRunning()) {
            WaitForQueue();
            start(); // it had given up, or was about to begin
        }
        if (Chance(2)) {
            // A worker that gave up does not read as stopped once it was resumed.
            WaitUntil([&] { return nSnaps > nSeen || !m_pWorker->IsLoopRunning(); });
        }
    }

    // A save that is asked for from a running loop without mishaps is answered.
    m_pWorker->StopLoop();
    WaitForQueue();
    m_pCamera->OnCall("SnapPicture", {});
    const QString strLast = folder.filePath("last.bmp");
    m_pWorker->SaveOnePic(strLast);
    start();
    WaitUntil([&] { return answered(strLast); });
    m_pWorker->StopLoop();
    WaitForQueue();

    // Three quarters of the frames hold 130 MB. What may stay is what this test itself keeps: names and log lines.
    EXPECT_LT(HeapBytes(), nEarlyBytes + 4'000'000u);

    // Frames of the run without mishaps come on top of the good ones.
    EXPECT_GE(nMats, nGood);
    EXPECT_EQ(nMats, nImages);
    EXPECT_GT(nGood, g_nFrames / 2);
    EXPECT_GT(nGivenUp, 0);
    EXPECT_GT(nStops, g_nRounds / 20);
    EXPECT_GT(saved.size(), 1u);
    EXPECT_LE(saved.size(), static_cast<std::size_t>(nAsked) + 1);
    for (const auto& [strPath, nAnswers] : saved) {
        EXPECT_EQ(nAnswers, 1) << strPath.toStdString();
        EXPECT_FALSE(cv::imread(strPath.toStdString()).empty()) << strPath.toStdString();
    }
    for (int i = 1; i <= nAsked; ++i) {
        const QString strPath = folder.filePath(QString("%1.bmp").arg(i));
        EXPECT_EQ(QFile::exists(strPath), saved.count(strPath) == 1) << "dropped means not written";
    }
}

} // namespace
