#include "CaptureFixture.h"

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <QFile>
#include <QMetaMethod>
#include <QTemporaryDir>

#include <array>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Lines = std::vector<std::pair<int, std::string>>;

/// 255 bytes, as callers have them.
struct NameBuffer {
    explicit NameBuffer(const std::string& strName) { std::strncpy(szName.data(), strName.c_str(), 254); }
    std::array<char, 255> szName{};
};

class CameraWorkerLoop : public CaptureFixture
{
};

class CameraWorkerCalls : public CaptureFixture
{
protected:
    void SetUp() override
    {
        CaptureFixture::SetUp();
        m_pCamera->SetName("");
    }
};

// ---- The live loop ----

TEST_F(CameraWorkerLoop, ADeviceThatFailsEverySnapIsGivenUpAtTheFourthAndLeftOpen)
{
    m_pCamera->Answer("SnapPicture", -1);
    int nFailed = 0;
    int nFrames = 0;
    QObject::connect(m_pWorker, &CameraWorker::SnapFailedSignal, [&] {
        ++nFailed;
        EXPECT_TRUE(m_pWorker->IsStopped());
        EXPECT_EQ(m_pCamera->Count("OpenCamera"), 3) << "it is reported before the camera is opened again";
    });
    QObject::connect(m_pWorker, &CameraWorker::SendMatSignal, [&] { ++nFrames; });
    QObject::connect(m_pWorker, &CameraWorker::SendQImgSignal, [&] { ++nFrames; });

    m_pWorker->LoopSnapSlot();

    const std::string strApply = "ApplyCameraParameters(Camera-Left, 500)";
    EXPECT_THAT(m_pCamera->Commands(),
                ElementsAre("SnapPicture(null)", "CloseCamera(null)", "OpenCamera(Camera-Left)", strApply, //
                            "SnapPicture(null)", "CloseCamera(null)", "OpenCamera(Camera-Left)", strApply, //
                            "SnapPicture(null)", "CloseCamera(null)", "OpenCamera(Camera-Left)", strApply, //
                            "SnapPicture(null)", "CloseCamera(null)", "CloseCamera(null)", "OpenCamera(Camera-Left)",
                            strApply));
    EXPECT_EQ(m_pCamera->Count("CloseCamera"), 5);
    EXPECT_EQ(nFailed, 1);
    EXPECT_EQ(nFrames, 0);
    EXPECT_EQ(Doubles::The().logLines, (Lines{{1, "Camera[Camera-Left] LoopStart!"},
                                              {2, "Camera[Camera-Left] Snap Failed!"},
                                              {1, "Camera[Camera-Left] LoopEnd!"}}));
    EXPECT_TRUE(m_pCamera->IsCameraOpen("Camera-Left"));
    EXPECT_TRUE(m_pWorker->IsStopped());
    EXPECT_FALSE(m_pWorker->IsLoopRunning());
}

TEST_F(CameraWorkerLoop, AnyAnswerButZeroIsABadSnap)
{
    m_pCamera->AnswerNext("SnapPicture", {1, 7, -2, 2});

    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(m_pCamera->Count("SnapPicture"), 4);
}

TEST_F(CameraWorkerLoop, ThreeBadSnapsBetweenGoodOnesNeverStopIt)
{
    m_pCamera->AnswerNext("SnapPicture", {-1, -1, -1, 0, -1, -1, -1, 0, -1, -1, -1, 0});
    StopAfterFrames(3);
    int nFailed = 0;
    QObject::connect(m_pWorker, &CameraWorker::SnapFailedSignal, [&] { ++nFailed; });

    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(m_pCamera->Count("SnapPicture"), 12);
    EXPECT_EQ(nFailed, 0);
    EXPECT_EQ(Doubles::The().logLines,
              (Lines{{1, "Camera[Camera-Left] LoopStart!"}, {1, "Camera[Camera-Left] LoopEnd!"}}));
}

TEST_F(CameraWorkerLoop, ReconnectsThatFailAreNotLookedAt)
{
    m_pCamera->Answer("OpenCamera", -1);
    m_pCamera->Answer("CloseCamera", -1);
    m_pCamera->Answer("ApplyCameraParameters", 0);
    m_pCamera->AnswerNext("SnapPicture", {-1, -1, 0});
    StopAfterFrames(1);

    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(m_pCamera->Count("SnapPicture"), 3);
    EXPECT_EQ(m_pCamera->Count("ApplyCameraParameters"), 2);
}

TEST_F(CameraWorkerLoop, AGoodFrameTouchesNothingButTheSnap)
{
    StopAfterFrames(5);

    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(m_pCamera->Commands(), std::vector<std::string>(5, "SnapPicture(null)"));
}

TEST_F(CameraWorkerLoop, FramesComeAsMatThenAsSavedFileThenAsImage)
{
    const QTemporaryDir folder;
    std::vector<std::string> order;
    QObject::connect(m_pWorker, &CameraWorker::SendMatSignal, [&] { order.push_back("mat"); });
    QObject::connect(m_pWorker, &CameraWorker::SavePicSuccessSignal, [&] { order.push_back("saved"); });
    QObject::connect(m_pWorker, &CameraWorker::SendQImgSignal, [&] { order.push_back("image"); });
    StopAfterFrames(2);
    m_pWorker->SaveOnePic(folder.filePath("1.png"));

    m_pWorker->LoopSnapSlot();

    EXPECT_THAT(order, ElementsAre("mat", "saved", "image", "mat", "image"));
}

TEST_F(CameraWorkerLoop, EachFrameIsADeepCopyAndARightColouredImage)
{
    const cv::Mat source(4, 6, CV_8UC3, cv::Scalar(1, 2, 3));
    m_pCamera->SetPicture(source);
    cv::Mat frame;
    QImage image;
    QObject::connect(m_pWorker, &CameraWorker::SendMatSignal, [&](const cv::Mat& one) { frame = one; });
    QObject::connect(m_pWorker, &CameraWorker::SendQImgSignal, [&](const QImage& one) { image = one; });
    StopAfterFrames(1);

    m_pWorker->LoopSnapSlot();

    EXPECT_NE(frame.data, source.data);
    EXPECT_EQ(cv::norm(frame, source, cv::NORM_INF), 0.0);
    EXPECT_EQ(image.size(), QSize(6, 4));
    EXPECT_EQ(image.pixel(5, 3), qRgb(3, 2, 1));
}

TEST_F(CameraWorkerLoop, FramesThatAReceiverKeepsAreNotWrittenOverByLaterOnes)
{
    int nSnap = 0;
    m_pCamera->OnCall("SnapPicture", [&] { m_pCamera->SetPicture(cv::Mat(4, 6, CV_8UC1, cv::Scalar(++nSnap))); });
    std::vector<std::pair<int, cv::Mat>> kept;
    std::vector<const uchar*> places;
    QObject::connect(m_pWorker, &CameraWorker::SendMatSignal, [&](const cv::Mat& frame) {
        EXPECT_EQ(cv::countNonZero(frame == nSnap), 24);
        places.push_back(frame.data);
        if (nSnap % 3 != 0) {
            kept.emplace_back(nSnap, frame);
        }
    });
    StopAfterFrames(9);

    m_pWorker->LoopSnapSlot();

    ASSERT_EQ(kept.size(), 6u);
    for (const auto& [nValue, frame] : kept) {
        EXPECT_EQ(cv::countNonZero(frame == nValue), 24) << nValue;
    }
    EXPECT_EQ(places[2], places[3]) << "memory that nobody keeps is used again";
}

TEST_F(CameraWorkerLoop, FramesAndImagesTravelThroughAQueue)
{
    QObject receiver;
    cv::Mat frame;
    QImage image;
    QObject::connect(
        m_pWorker, &CameraWorker::SendMatSignal, &receiver, [&](const cv::Mat& one) { frame = one; },
        Qt::QueuedConnection);
    QObject::connect(
        m_pWorker, &CameraWorker::SendQImgSignal, &receiver, [&](const QImage& one) { image = one; },
        Qt::QueuedConnection);
    StopAfterFrames(1);

    m_pWorker->LoopSnapSlot();
    EXPECT_TRUE(frame.empty());
    QCoreApplication::processEvents();

    EXPECT_EQ(frame.size(), cv::Size(6, 4));
    EXPECT_EQ(image.size(), QSize(6, 4));
}

TEST_F(CameraWorkerLoop, AGoodSnapWithoutAPictureIsDeliveredAsNullImage)
{
    m_pCamera->SetPicture(cv::Mat());
    const QTemporaryDir folder;
    int nSaved = 0;
    bool bNull = false;
    QObject::connect(m_pWorker, &CameraWorker::SavePicSuccessSignal, [&] { ++nSaved; });
    QObject::connect(m_pWorker, &CameraWorker::SendQImgSignal, [&](const QImage& image) { bNull = image.isNull(); });
    StopAfterFrames(1);
    m_pWorker->SaveOnePic(folder.filePath("1.png"));

    m_pWorker->LoopSnapSlot();

    EXPECT_TRUE(bNull);
    EXPECT_EQ(nSaved, 1);
    EXPECT_FALSE(QFile::exists(folder.filePath("1.png")));
}

TEST_F(CameraWorkerLoop, TheNameIsTakenOnceAtTheStart)
{
    m_pCamera->OnCall("SnapPicture", [this] { m_pCamera->SetName("Camera-Right"); });
    m_pCamera->AnswerNext("SnapPicture", {-1, 0});
    StopAfterFrames(1);

    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(m_pCamera->Count("GetCameraName"), 1);
    EXPECT_THAT(m_pCamera->Commands(), ElementsAre("SnapPicture(null)", "CloseCamera(null)", "OpenCamera(Camera-Left)",
                                                   "ApplyCameraParameters(Camera-Left, 500)", "SnapPicture(null)"));
}

TEST_F(CameraWorkerLoop, RunsWithAnEmptyName)
{
    m_pCamera->SetName("");
    m_pCamera->AnswerNext("SnapPicture", {-1, 0});
    StopAfterFrames(1);

    m_pWorker->LoopSnapSlot();

    EXPECT_THAT(m_pCamera->Commands(), ElementsAre("SnapPicture(null)", "CloseCamera(null)", "OpenCamera()",
                                                   "ApplyCameraParameters(, 500)", "SnapPicture(null)"));
    EXPECT_TRUE(Doubles::The().Logged(1, "Camera[] LoopStart!"));
}

TEST_F(CameraWorkerLoop, RunsWithLongAndNonAsciiNames)
{
    const std::string strName = std::string(5000, 'C') + "\xe5\xb7\xa6\xe7\x9b\xb8\xe6\x9c\xba";
    m_pCamera->SetName(strName);
    m_pCamera->AnswerNext("SnapPicture", {-1, 0});
    StopAfterFrames(1);

    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(m_pCamera->Commands()[2], "OpenCamera(" + strName + ")");
    EXPECT_TRUE(Doubles::The().Logged(1, "Camera[" + strName + "] LoopEnd!"));
}

// ---- Saving ----

TEST_F(CameraWorkerLoop, ASaveIsHeldUntilAGoodFrameComes)
{
    const QTemporaryDir folder;
    const QString strPath = folder.filePath("1.png");
    m_pCamera->AnswerNext("SnapPicture", {-1, -1, -1, 0, 0});
    QStringList saved;
    QObject::connect(m_pWorker, &CameraWorker::SavePicSuccessSignal, [&](const QString& strOne) {
        saved << strOne;
        EXPECT_EQ(m_pCamera->Count("SnapPicture"), 4);
        EXPECT_TRUE(QFile::exists(strOne)) << "written before it is reported";
    });
    StopAfterFrames(2);
    m_pWorker->SaveOnePic(strPath);

    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(saved, QStringList{strPath});
    EXPECT_EQ(cv::norm(cv::imread(strPath.toStdString()), cv::Mat(4, 6, CV_8UC3, cv::Scalar(10, 20, 30)), cv::NORM_INF),
              0.0);
}

TEST_F(CameraWorkerLoop, ASaveIsDroppedWithoutAWriteWhenTheLoopEndsFirst)
{
    const QTemporaryDir folder;
    int nSaved = 0;
    QObject::connect(m_pWorker, &CameraWorker::SavePicSuccessSignal, [&] { ++nSaved; });
    m_pCamera->AnswerNext("SnapPicture", {-1, -1, -1, -1});
    m_pWorker->SaveOnePic(folder.filePath("1.png"));
    m_pWorker->LoopSnapSlot();

    StopAfterFrames(2);
    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(m_pCamera->Count("SnapPicture"), 6) << "the next run delivers";
    EXPECT_EQ(nSaved, 0) << "and owes nothing to the run before";
    EXPECT_FALSE(QFile::exists(folder.filePath("1.png")));
}

TEST_F(CameraWorkerLoop, ASaveAskedForBetweenRunsIsAnsweredByTheNext)
{
    const QTemporaryDir folder;
    StopAfterFrames(1);
    m_pWorker->LoopSnapSlot();
    int nSaved = 0;
    QObject::connect(m_pWorker, &CameraWorker::SavePicSuccessSignal, [&] {
        ++nSaved;
        m_pWorker->StopLoop();
    });

    m_pWorker->SaveOnePic(folder.filePath("1.png"));
    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(nSaved, 1);
}

TEST_F(CameraWorkerLoop, TheLaterPathReplacesTheEarlier)
{
    const QTemporaryDir folder;
    QStringList saved;
    QObject::connect(m_pWorker, &CameraWorker::SavePicSuccessSignal, [&](const QString& strOne) { saved << strOne; });
    StopAfterFrames(2);
    m_pWorker->SaveOnePic(folder.filePath("1.png"));
    m_pWorker->SaveOnePic(folder.filePath("2.png"));

    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(saved, QStringList{folder.filePath("2.png")});
}

TEST_F(CameraWorkerLoop, ASaveAskedForWhileOneIsAnsweredIsNotLost)
{
    const QTemporaryDir folder;
    QStringList saved;
    QObject::connect(m_pWorker, &CameraWorker::SavePicSuccessSignal, [&](const QString& strOne) {
        saved << strOne;
        if (saved.size() == 1) {
            m_pWorker->SaveOnePic(folder.filePath("2.png"));
        }
    });
    StopAfterFrames(3);
    m_pWorker->SaveOnePic(folder.filePath("1.png"));

    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(saved, (QStringList{folder.filePath("1.png"), folder.filePath("2.png")}));
}

TEST_F(CameraWorkerLoop, AFailingWriteIsReportedAsDoneAndTheLoopGoesOn)
{
    const QTemporaryDir folder;
    const QStringList paths{folder.filePath("no/such/folder/1.png"), folder.filePath("1.unheard-of"), QString()};
    QStringList saved;
    QObject::connect(m_pWorker, &CameraWorker::SavePicSuccessSignal, [&](const QString& strOne) {
        saved << strOne;
        if (saved.size() < paths.size()) {
            m_pWorker->SaveOnePic(paths[saved.size()]);
        }
    });
    StopAfterFrames(4);
    m_pWorker->SaveOnePic(paths[0]);

    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(saved, paths);
    EXPECT_EQ(m_pCamera->Count("SnapPicture"), 4);
    for (const QString& strPath : paths) {
        EXPECT_FALSE(QFile::exists(strPath));
    }
}

TEST_F(CameraWorkerLoop, SavesUnderANonAsciiPath)
{
    const QTemporaryDir folder;
    const QString strPath = folder.filePath(QString::fromUtf8("\xe5\xb7\xa6 k\xc3\xa4mera.png"));
    StopAfterFrames(1);
    m_pWorker->SaveOnePic(strPath);

    m_pWorker->LoopSnapSlot();

    EXPECT_TRUE(QFile::exists(strPath));
}

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

// ---- Reopening ----

TEST_F(CameraWorkerLoop, AReopenComesBeforeTheNextFrame)
{
    QObject::connect(m_pWorker, &CameraWorker::SendQImgSignal, [this] {
        if (m_pCamera->Count("SnapPicture") == 1) {
            m_pWorker->RequestReopen(false);
        }
    });
    StopAfterFrames(3);

    m_pWorker->LoopSnapSlot();

    EXPECT_THAT(m_pCamera->Commands(), ElementsAre("SnapPicture(null)", "CloseCamera(null)", "OpenCamera(Camera-Left)",
                                                   "SnapPicture(null)", "SnapPicture(null)"));
}

TEST_F(CameraWorkerLoop, AReopenIsRepeatedUntilAFrameHasCome)
{
    m_pCamera->AnswerNext("SnapPicture", {-1, 0, 0});
    m_pWorker->RequestReopen(false);
    StopAfterFrames(2);

    m_pWorker->LoopSnapSlot();

    EXPECT_THAT(m_pCamera->Commands(),
                ElementsAre("CloseCamera(null)", "OpenCamera(Camera-Left)", "SnapPicture(null)", "CloseCamera(null)",
                            "OpenCamera(Camera-Left)", "ApplyCameraParameters(Camera-Left, 500)", "CloseCamera(null)",
                            "OpenCamera(Camera-Left)", "SnapPicture(null)", "SnapPicture(null)"));
}

TEST_F(CameraWorkerLoop, AWaitingReopenReturnsWhenAFrameHasCome)
{
    StartOnThread();
    WaitForFrames(1);

    m_pWorker->RequestReopen(true);

    EXPECT_EQ(m_pCamera->Count("OpenCamera"), 1);
    EXPECT_TRUE(m_pWorker->IsLoopRunning());
}

TEST_F(CameraWorkerLoop, AWaitingReopenReturnsWhenTheLoopGivesUp)
{
    StartOnThread();
    WaitForFrames(1);
    m_pCamera->Answer("SnapPicture", -1);

    m_pWorker->RequestReopen(true);

    WaitForQueue();
    EXPECT_TRUE(m_pWorker->IsStopped());
}

TEST_F(CameraWorkerLoop, AWaitingReopenReturnsWithoutALoop)
{
    m_pWorker->RequestReopen(true);
    EXPECT_THAT(m_pCamera->Commands(), IsEmpty());

    StopAfterFrames(1);
    m_pWorker->LoopSnapSlot();
    EXPECT_THAT(m_pCamera->Commands(), ElementsAre("CloseCamera(null)", "OpenCamera(Camera-Left)", "SnapPicture(null)"))
        << "the next run sees to it";
}

TEST_F(CameraWorkerLoop, AReopenDuringTheTwoCameraLoopWaitsForTheLiveLoop)
{
    m_pWorker->SetLeftCameraName("Camera-Left");
    QObject::connect(m_pWorker, &CameraWorker::SendCameraImgSignal, [this] {
        m_pWorker->RequestReopen(false);
        m_pWorker->StopLoop();
    });
    m_pWorker->LoopSnapTwoCameraSlot();
    m_pCamera->SetName("Camera-Left");
    m_pCamera->ForgetCalls();

    StopAfterFrames(1);
    m_pWorker->LoopSnapSlot();

    EXPECT_THAT(m_pCamera->Commands(),
                ElementsAre("CloseCamera(null)", "OpenCamera(Camera-Left)", "SnapPicture(null)"));
}

TEST_F(CameraWorkerLoop, AWaitingReopenFromWithinTheLoopDoesNotWaitForItself)
{
    QObject::connect(m_pWorker, &CameraWorker::SendQImgSignal, [this] { m_pWorker->RequestReopen(true); });
    StopAfterFrames(2);

    m_pWorker->LoopSnapSlot();

    EXPECT_EQ(m_pCamera->Count("OpenCamera"), 1);
}

// ---- Opening while the loop runs ----

TEST_F(CameraWorkerLoop, OpeningTheCameraOfTheRunningLoopStopsItAndLeavesAnOpenCameraAlone)
{
    StartOnThread();
    WaitForFrames(1);

    EXPECT_TRUE(m_pWorker->OpenCamera("Camera-Left"));

    EXPECT_FALSE(m_pWorker->IsLoopRunning());
    EXPECT_TRUE(m_pWorker->IsStopped());
    EXPECT_EQ(m_pCamera->Count("OpenCamera"), 0);
    EXPECT_EQ(m_pCamera->Count("IsCameraOpen"), 1);
    WaitForQueue();
}

TEST_F(CameraWorkerLoop, OpeningTheCameraOfTheRunningLoopWaitsForASlowSnap)
{
    StartAndHang();
    std::thread slowCamera([this] {
        WaitUntil([this] { return m_pWorker->IsStopped(); });
        QThread::msleep(250);
        m_bHang = false;
    });

    EXPECT_TRUE(m_pWorker->OpenCamera("Camera-Left"));

    EXPECT_FALSE(m_pWorker->IsLoopRunning());
    EXPECT_EQ(m_pCamera->Count("OpenCamera"), 0);
    slowCamera.join();
}

TEST_F(CameraWorkerLoop, OpeningTheCameraOfTheRunningLoopOpensItWhereItIsNotOpenAnyMore)
{
    m_pCamera->Answer("IsCameraOpen", 0);
    StartOnThread();
    WaitForFrames(1);

    EXPECT_TRUE(m_pWorker->OpenCamera("Camera-Left"));

    EXPECT_FALSE(m_pWorker->IsLoopRunning());
    EXPECT_EQ(m_pCamera->Count("OpenCamera"), 1);
}

TEST_F(CameraWorkerLoop, OpeningTheCameraOfAHungLoopGoesOnAfterAWhile)
{
    StartAndHang();

    EXPECT_TRUE(m_pWorker->OpenCamera("Camera-Left"));

    EXPECT_TRUE(m_pWorker->IsLoopRunning());
    EXPECT_TRUE(m_pWorker->IsStopped());
    m_bHang = false;
    WaitForQueue();
}

TEST_F(CameraWorkerLoop, OpeningAnotherCameraLeavesTheLoopRunning)
{
    StartOnThread();
    WaitForFrames(1);

    EXPECT_TRUE(m_pWorker->OpenCamera("Camera-Right"));

    WaitForFrames(2);
    EXPECT_TRUE(m_pWorker->IsLoopRunning());
    EXPECT_FALSE(m_pWorker->IsStopped());
    EXPECT_EQ(m_pCamera->Count("IsCameraOpen"), 0);
}

// ---- The two-camera loop ----

TEST_F(CameraWorkerLoop, TwoCamerasTakeTurnsAndAreForgottenAfterwards)
{
    m_pWorker->SetLeftCameraName("Camera-Left");
    m_pWorker->SetRightCameraName("Camera-Right");
    m_pCamera->AnswerNext("SnapPicture", {0, -1});
    std::vector<std::pair<int, bool>> pictures;
    QObject::connect(m_pWorker, &CameraWorker::SendCameraImgSignal, [&](const QImage& image, int nSide) {
        pictures.emplace_back(nSide, image.isNull());
        EXPECT_FALSE(m_pWorker->IsStopped());
        EXPECT_FALSE(m_pWorker->IsLoopRunning());
        if (pictures.size() >= 4) {
            m_pWorker->StopLoop();
        }
    });

    m_pWorker->LoopSnapTwoCameraSlot();

    EXPECT_THAT(pictures, ElementsAre(Pair(0, false), Pair(1, true), Pair(0, false), Pair(1, false)));
    const std::vector<std::string> round{"OpenCamera(Camera-Left)",  "SnapPicture(null)", "CloseCamera(null)",
                                         "OpenCamera(Camera-Right)", "SnapPicture(null)", "CloseCamera(null)"};
    std::vector<std::string> twice = round;
    twice.insert(twice.end(), round.begin(), round.end());
    EXPECT_EQ(m_pCamera->Commands(), twice);
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());

    m_pWorker->SetLeftCameraName("Camera-Left");
    m_pWorker->LoopSnapTwoCameraSlot();
    EXPECT_EQ(pictures.size(), 5u) << "the right name is \"None\" again";
}

TEST_F(CameraWorkerLoop, WithoutNamesTheTwoCameraLoopTouchesNothing)
{
    QMetaObject::invokeMethod(m_pWorker, &CameraWorker::LoopSnapTwoCameraSlot, Qt::QueuedConnection);
    m_pThread = new QThread;
    m_pWorker->moveToThread(m_pThread);
    m_pThread->start();
    WaitUntil([this] { return !m_pWorker->IsStopped(); });
    m_pWorker->StopLoop();
    WaitForQueue();

    EXPECT_THAT(m_pCamera->Commands(), IsEmpty());
}

// ---- Finding ----

TEST_F(CameraWorkerCalls, FindWritesTheDevicesOwnString)
{
    m_pCamera->SetList({"[0] Camera-Right", "[1] Camera-Left"});
    NameBuffer name("Camera-Left");

    EXPECT_TRUE(m_pWorker->FindCamera(name.szName.data()));

    EXPECT_STREQ(name.szName.data(), "[1] Camera-Left");
}

TEST_F(CameraWorkerCalls, FindIgnoresThePrefixOfTheWantedNameAsWell)
{
    m_pCamera->SetList({"[0] Camera-Left"});
    NameBuffer name("[7] Camera-Left");

    EXPECT_TRUE(m_pWorker->FindCamera(name.szName.data()));

    EXPECT_STREQ(name.szName.data(), "[0] Camera-Left");
}

TEST_F(CameraWorkerCalls, FindTakesTheFirstOfEqualNames)
{
    m_pCamera->SetList({"[4] Camera-Left", "Camera-Left"});
    NameBuffer name("Camera-Left");

    EXPECT_TRUE(m_pWorker->FindCamera(name.szName.data()));

    EXPECT_STREQ(name.szName.data(), "[4] Camera-Left");
}

TEST_F(CameraWorkerCalls, FindIsExactAndCaseSensitiveAndLeavesTheBufferAlone)
{
    m_pCamera->SetList({"[0] Camera-Left2", "[1] Camera-left", "[2] A Camera-Lef"});
    NameBuffer name("Camera-Left");

    EXPECT_FALSE(m_pWorker->FindCamera(name.szName.data()));

    EXPECT_STREQ(name.szName.data(), "Camera-Left");
}

TEST_F(CameraWorkerCalls, FindThrowsForAWantedNameWithoutAC)
{
    m_pCamera->SetList({"[0] Camera-Left"});
    for (const char* pName : {"", "None", "camera-left", "[0] "}) {
        NameBuffer name(pName);
        EXPECT_THROW(m_pWorker->FindCamera(name.szName.data()), std::out_of_range) << pName;
        EXPECT_STREQ(name.szName.data(), pName);
    }
    EXPECT_EQ(m_pCamera->Count("GetCameraList"), 0);
}

TEST_F(CameraWorkerCalls, FindPassesOverListedNamesWithoutAC)
{
    m_pCamera->SetList({"", "[0] webcam", "[1] Camera-Left"});
    NameBuffer name("Camera-Left");

    EXPECT_TRUE(m_pWorker->FindCamera(name.szName.data()));

    EXPECT_STREQ(name.szName.data(), "[1] Camera-Left");
}

TEST_F(CameraWorkerCalls, FindWritesNoMoreThan254Bytes)
{
    const std::string strWanted = "C" + std::string(252, 'x');
    const std::string strListed = "[0] " + strWanted;
    m_pCamera->SetList({strListed});
    NameBuffer name(strWanted);

    EXPECT_TRUE(m_pWorker->FindCamera(name.szName.data()));

    EXPECT_EQ(std::string(name.szName.data()), strListed.substr(0, 254));
}

TEST_F(CameraWorkerCalls, FindKnowsNonAsciiNames)
{
    m_pCamera->SetList({"[0] Camera-\xe5\x8f\xb3", "[1] Camera-\xe5\xb7\xa6"});
    NameBuffer name("Camera-\xe5\xb7\xa6");

    EXPECT_TRUE(m_pWorker->FindCamera(name.szName.data()));

    EXPECT_STREQ(name.szName.data(), "[1] Camera-\xe5\xb7\xa6");
}

TEST_F(CameraWorkerCalls, FindInAnEmptyListFindsNothing)
{
    NameBuffer name("Camera-Left");

    EXPECT_FALSE(m_pWorker->FindCamera(name.szName.data()));
}

// ---- Single pictures ----

TEST_F(CameraWorkerCalls, SnapImageOpensSnapsAndCloses)
{
    EXPECT_EQ(m_pWorker->SnapImage("Camera-Left").size(), QSize(6, 4));

    EXPECT_THAT(m_pCamera->Commands(),
                ElementsAre("OpenCamera(Camera-Left)", "SnapPicture(null)", "CloseCamera(null)"));
}

TEST_F(CameraWorkerCalls, SnapImageTriesAlsoWhereOpeningFailedAndClosesAfterAFailure)
{
    m_pCamera->Answer("OpenCamera", 5);
    m_pCamera->Answer("SnapPicture", -1);

    EXPECT_TRUE(m_pWorker->SnapImage("Camera-Left").isNull());

    EXPECT_THAT(m_pCamera->Commands(),
                ElementsAre("OpenCamera(Camera-Left)", "SnapPicture(null)", "CloseCamera(null)"));
}

TEST_F(CameraWorkerCalls, SnapImageFailsForMinusOneOnly)
{
    m_pCamera->SetFailingPicture(cv::Mat(2, 2, CV_8UC1, cv::Scalar(7)));
    m_pCamera->Answer("SnapPicture", 3);

    EXPECT_EQ(m_pWorker->SnapImage("Camera-Left").size(), QSize(2, 2));
}

TEST_F(CameraWorkerCalls, SnapPictureFailsForMinusOneOnly)
{
    cv::Mat picture;
    EXPECT_TRUE(m_pWorker->SnapPicture(picture));
    EXPECT_EQ(picture.size(), cv::Size(6, 4));
    m_pCamera->AnswerNext("SnapPicture", {1, -1});
    EXPECT_TRUE(m_pWorker->SnapPicture(picture));
    EXPECT_FALSE(m_pWorker->SnapPicture(picture));
    EXPECT_EQ(m_pCamera->Commands(), std::vector<std::string>(3, "SnapPicture(null)"));
}

TEST_F(CameraWorkerCalls, SnapOnePicOpensAClosedCameraAndLeavesItOpen)
{
    EXPECT_EQ(m_pWorker->SnapOnePic("Camera-Left", false, 120, 1000).size(), cv::Size(6, 4));

    EXPECT_THAT(m_pCamera->Calls(), ElementsAre("IsCameraOpen(Camera-Left)", "OpenCamera(Camera-Left)",
                                                "ApplyCameraParameters(Camera-Left, 120)", "SnapPicture(null)"));
}

TEST_F(CameraWorkerCalls, SnapOnePicUsesAnOpenCameraAsItIs)
{
    m_pCamera->SetName("Camera-Left");

    EXPECT_FALSE(m_pWorker->SnapOnePic("Camera-Left", false, 120, 1000).empty());

    EXPECT_THAT(m_pCamera->Calls(), ElementsAre("IsCameraOpen(Camera-Left)", "SnapPicture(null)"));
}

TEST_F(CameraWorkerCalls, SnapOnePicOpensAnOpenCameraAfreshWhereItIsToCloseIt)
{
    m_pCamera->SetName("Camera-Left");

    EXPECT_FALSE(m_pWorker->SnapOnePic("Camera-Left", true, 120, 1000).empty());

    EXPECT_THAT(m_pCamera->Calls(),
                ElementsAre("IsCameraOpen(Camera-Left)", "CloseCamera(null)", "OpenCamera(Camera-Left)",
                            "ApplyCameraParameters(Camera-Left, 120)", "SnapPicture(null)", "CloseCamera(null)"));
}

TEST_F(CameraWorkerCalls, SnapOnePicOpensAClosedCameraAndClosesIt)
{
    EXPECT_FALSE(m_pWorker->SnapOnePic("Camera-Left", true, 120, 1000).empty());

    EXPECT_THAT(m_pCamera->Commands(), ElementsAre("OpenCamera(Camera-Left)", "ApplyCameraParameters(Camera-Left, 120)",
                                                   "SnapPicture(null)", "CloseCamera(null)"));
}

TEST_F(CameraWorkerCalls, SnapOnePicTriesAgainWith500)
{
    m_pCamera->SetName("Camera-Left");
    m_pCamera->AnswerNext("SnapPicture", {-1, 2, 0});

    EXPECT_FALSE(m_pWorker->SnapOnePic("Camera-Left", false, 120, 600000).empty());

    const std::string strApply = "ApplyCameraParameters(Camera-Left, 500)";
    EXPECT_THAT(m_pCamera->Commands(), ElementsAre("SnapPicture(null)", "CloseCamera(null)", "OpenCamera(Camera-Left)",
                                                   strApply, "SnapPicture(null)", "CloseCamera(null)",
                                                   "OpenCamera(Camera-Left)", strApply, "SnapPicture(null)"));
}

TEST_F(CameraWorkerCalls, SnapOnePicGivesUpEmptyWhenItsTimeIsOver)
{
    m_pCamera->Answer("SnapPicture", -1);
    m_pCamera->SetFailingPicture(cv::Mat(2, 2, CV_8UC1, cv::Scalar(7)));

    EXPECT_TRUE(m_pWorker->SnapOnePic("Camera-Left", true, 120, -1).empty());

    EXPECT_THAT(m_pCamera->Commands(), ElementsAre("OpenCamera(Camera-Left)", "ApplyCameraParameters(Camera-Left, 120)",
                                                   "SnapPicture(null)", "CloseCamera(null)"));
}

// ---- What merely forwards ----

TEST_F(CameraWorkerCalls, OpenTellsWhetherTheDeviceAnsweredZero)
{
    m_pCamera->AnswerNext("OpenCamera", {0, 1, -1});
    EXPECT_TRUE(m_pWorker->OpenCamera("Camera-Left"));
    EXPECT_FALSE(m_pWorker->OpenCamera("Camera-Left"));
    EXPECT_FALSE(m_pWorker->OpenCamera("Camera-Left"));
    EXPECT_EQ(m_pCamera->Calls(), std::vector<std::string>(3, "OpenCamera(Camera-Left)"));
}

TEST_F(CameraWorkerCalls, CloseClosesTheOpenCameraAndIsAlwaysTrue)
{
    m_pCamera->Answer("CloseCamera", -1);
    EXPECT_TRUE(m_pWorker->CloseCamera());
    EXPECT_THAT(m_pCamera->Calls(), ElementsAre("CloseCamera(null)"));
}

TEST_F(CameraWorkerCalls, NamesAndStatesAreTheDevices)
{
    m_pCamera->SetName("Camera-\xe5\xb7\xa6");
    m_pCamera->SetList({"[0] Camera-Left"});
    m_pCamera->AnswerNext("GetCameraList", {17});
    m_pCamera->AnswerNext("IsCameraAlive", {0, 1});
    std::vector<std::string> names;

    EXPECT_EQ(m_pWorker->GetCameraName(), QString::fromUtf8("Camera-\xe5\xb7\xa6"));
    EXPECT_EQ(m_pWorker->GetCameraList(names), 17);
    EXPECT_THAT(names, ElementsAre("[0] Camera-Left"));
    EXPECT_FALSE(m_pWorker->IsCameraAlive());
    EXPECT_TRUE(m_pWorker->IsCameraAlive());
    EXPECT_FALSE(m_pWorker->IsCameraOpen("Camera-Left"));
    EXPECT_TRUE(m_pWorker->IsCameraOpen("Camera-\xe5\xb7\xa6"));
}

TEST_F(CameraWorkerCalls, ParametersAreForwardedWithTheirAnswer)
{
    m_pCamera->AnswerNext("ApplyCameraParameters", {1, 0});
    EXPECT_TRUE(m_pWorker->ApplyCameraParameters("Camera-Left", 500));
    EXPECT_FALSE(m_pWorker->ApplyCameraParameters("Camera-Left", 7));
    EXPECT_THAT(m_pCamera->Calls(),
                ElementsAre("ApplyCameraParameters(Camera-Left, 500)", "ApplyCameraParameters(Camera-Left, 7)"));
}

TEST_F(CameraWorkerCalls, AnIntegerPropertyIsTrueWhateverTheDeviceAnswers)
{
    m_pCamera->AnswerNext("SetIntProperty", {0, -1});
    EXPECT_TRUE(m_pWorker->SetIntProperty("gain", 4));
    EXPECT_TRUE(m_pWorker->SetIntProperty("gain", 5));
    EXPECT_EQ(m_pCamera->Calls(), std::vector<std::string>(2, "SetIntProperty(gain)"));
    EXPECT_THAT(m_pCamera->Values(), ElementsAre(4, 5));
}

TEST_F(CameraWorkerCalls, ExposureIsModeThenValueAndStopsAtMinusOne)
{
    const int nMode = 1;
    const int nExposure = 80;
    EXPECT_TRUE(m_pWorker->SetExposure("autoExposure", &nMode, &nExposure));
    EXPECT_THAT(m_pCamera->Calls(), ElementsAre("SetExposureMode(autoExposure)", "SetExposureValue(exposure)"));
    EXPECT_THAT(m_pCamera->Values(), ElementsAre(1, 80));

    m_pCamera->AnswerNext("SetExposureMode", {-1, 1, 1});
    m_pCamera->AnswerNext("SetExposureValue", {-1, 2});
    m_pCamera->ForgetCalls();
    EXPECT_FALSE(m_pWorker->SetExposure("autoExposure", &nMode, &nExposure));
    EXPECT_EQ(m_pCamera->Count("SetExposureValue"), 0);
    EXPECT_FALSE(m_pWorker->SetExposure("autoExposure", &nMode, &nExposure));
    EXPECT_TRUE(m_pWorker->SetExposure("autoExposure", &nMode, &nExposure));
}

std::vector<QString> g_debugLines;

void KeepDebugLine(QtMsgType type, const QMessageLogContext&, const QString& strLine)
{
    if (type == QtDebugMsg) {
        g_debugLines.push_back(strLine);
    }
}

TEST_F(CameraWorkerCalls, ACameraIsActivatedWhenItsNameIsExactlyTheDevices)
{
    m_pCamera->SetName("[0] Camera-Left");
    g_debugLines.clear();
    const QtMessageHandler pBefore = qInstallMessageHandler(KeepDebugLine);

    EXPECT_FALSE(m_pWorker->IsCameraActivated("Camera-Left"));
    EXPECT_FALSE(m_pWorker->IsCameraActivated(""));
    EXPECT_THAT(g_debugLines, IsEmpty());
    EXPECT_TRUE(m_pWorker->IsCameraActivated("[0] Camera-Left"));

    qInstallMessageHandler(pBefore);
    EXPECT_THAT(g_debugLines, ElementsAre("CameraWorker::IsCameraActivated : return true."));
}

TEST_F(CameraWorkerCalls, SignalsAndSlotsStandInTheirOrder)
{
    const QMetaObject& meta = CameraWorker::staticMetaObject;
    std::vector<std::string> methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        methods.push_back(meta.method(i).methodSignature().toStdString());
    }
    EXPECT_THAT(methods, ElementsAre("SavePicSuccessSignal(QString)", "SendQImgSignal(QImage)",
                                     "SendCameraImgSignal(QImage,int)", "SnapFailedSignal()", "SendMatSignal(cv::Mat)",
                                     "LoopSnapSlot()", "LoopSnapTwoCameraSlot()"));
}

// ---- Without a camera ----

class CameraWorkerWithoutCamera : public testing::Test
{
protected:
    CameraWorkerWithoutCamera()
    {
        Doubles::Reset();
        m_module.GiveNull();
        m_pWorker = std::make_unique<CameraWorker>();
    }
    ~CameraWorkerWithoutCamera() override
    {
        m_pWorker.reset();
        ReleaseAllModules();
    }

    Doubles::CameraModule m_module;
    std::unique_ptr<CameraWorker> m_pWorker;
};

TEST_F(CameraWorkerWithoutCamera, LoopsReturnWithoutAWord)
{
    m_pWorker->LoopSnapSlot();
    m_pWorker->SetLeftCameraName("Camera-Left");
    m_pWorker->LoopSnapTwoCameraSlot();

    EXPECT_TRUE(m_pWorker->IsStopped());
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
}

TEST_F(CameraWorkerWithoutCamera, WhatPreparesReportsTrueAndWhatShouldBringSomethingFails)
{
    const int nValue = 1;
    std::vector<std::string> names;
    cv::Mat picture;
    NameBuffer name("Camera-Left");

    EXPECT_TRUE(m_pWorker->OpenCamera("Camera-Left"));
    EXPECT_TRUE(m_pWorker->CloseCamera());
    EXPECT_TRUE(m_pWorker->SetIntProperty("gain", 1));
    EXPECT_TRUE(m_pWorker->SetExposure("autoExposure", &nValue, &nValue));
    EXPECT_EQ(m_pWorker->GetCameraList(names), -1);
    EXPECT_EQ(m_pWorker->GetCameraName(), "");
    EXPECT_FALSE(m_pWorker->IsCameraAlive());
    EXPECT_FALSE(m_pWorker->ApplyCameraParameters("Camera-Left", 500));
    EXPECT_FALSE(m_pWorker->IsCameraActivated(""));
    EXPECT_FALSE(m_pWorker->IsCameraOpen("Camera-Left"));
    EXPECT_FALSE(m_pWorker->SnapPicture(picture));
    EXPECT_TRUE(m_pWorker->SnapImage("Camera-Left").isNull());
    EXPECT_TRUE(m_pWorker->SnapOnePic("Camera-Left", true, 500, 1000).empty());
    EXPECT_FALSE(m_pWorker->FindCamera(name.szName.data()));
    EXPECT_STREQ(name.szName.data(), "Camera-Left");
}

} // namespace
