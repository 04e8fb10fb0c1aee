// The live loop and the pictures that it saves.

#include "CameraWorkerFixture.h"

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <QFile>
#include <QTemporaryDir>

namespace
{

using testing::ElementsAre;

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

} // namespace
