#pragma once

// The page that photographs the chart, with a recording camera that streams, a recording host and files of its own.
// What is awaited here comes from the capture thread; whoever waits in vain is ended by the test's time limit.

#include "CalibrateWdg.h"
#include "Log.h"
#include "PageFixture.h"
#include "RecordingHost.h"

#include <QFile>
#include <QPointer>
#include <QSignalSpy>
#include <QThread>

#include <atomic>
#include <functional>
#include <memory>

class LensPageFixture : public PageFixture
{
protected:
    void SetUp() override
    {
        PageFixture::SetUp();
        // Its first row is red, and the pixel before its last column blue.
        m_picture = cv::Mat(30, 40, CV_8UC3, cv::Scalar(0, 200, 0));
        m_picture.row(0).setTo(cv::Scalar(0, 0, 255));
        m_module.Prepare([this](Doubles::RecordingCamera& camera) {
            camera.SetList({"[0] Camera-Left", "[1] Camera-Right"});
            camera.SetPicture(m_picture);
            // A device that takes its time, and hangs when told to.
            camera.OnCall("SnapPicture", [this] {
                do {
                    QThread::msleep(1);
                    m_bHangs = m_bHang.load();
                } while (m_bHangs);
            });
            if (m_script) {
                m_script(camera);
            }
        });
    }
    void TearDown() override
    {
        m_bHang = false;
        m_pPage.reset();
        PageFixture::TearDown();
    }

    CalibrateWdg& Make(int nCameraType = 0, bool bWithHost = true)
    {
        m_pPage = std::make_unique<CalibrateWdg>(nullptr, bWithHost ? &m_host : nullptr);
        m_pPage->SetCameraType(nCameraType);
        return *m_pPage;
    }
    /// Shows the page and waits for its live picture.
    CalibrateWdg& MakeStreaming(int nCameraType = 0)
    {
        Make(nCameraType).resize(1120, 640);
        m_pPage->show();
        WaitForStream();
        return *m_pPage;
    }

    static void WaitUntil(const std::function<bool()>& condition)
    {
        while (!condition()) {
            QTest::qWait(1);
        }
    }
    /// A live picture that is newer than this call.
    void WaitForStream()
    {
        Label("snapPic").clear();
        WaitUntil([this] { return HasPicture("snapPic"); });
    }

    /// From here on the device hangs in a snap, until `m_bHang` is cleared.
    void Hang()
    {
        m_bHang = true;
        WaitUntil([this] { return m_bHangs.load(); });
    }

    QLabel& Label(const char* pName) { return Child<QLabel>(*m_pPage, QString("label_") + pName); }
    bool HasPicture(const char* pName) { return !Label(pName).pixmap(Qt::ReturnByValue).isNull(); }
    bool IsOpen(const char* pButton) { return Button(*m_pPage, pButton).isEnabled(); }
    std::string PicNum() { return Label("picNum").text().toStdString(); }
    static std::string Valid(int nPictures)
    {
        return QString("Number of valid pictures: %1").arg(nPictures).toStdString();
    }
    std::string State() { return Label("hintPic").property("state").toString().toStdString(); }

    /// Presses the photo button and waits for the inspection.
    void Shoot(bool bGood = true)
    {
        Doubles::The().answers["FindCalibrationBoard"] = bGood;
        Press(*m_pPage, "snap");
        ASSERT_FALSE(IsOpen("snap"));
        WaitUntil([this] { return IsOpen("snap"); });
    }
    /// Good pictures up to that number, which becomes the one in hand and has passed.
    void ShootUpTo(int nLast, int nFirst = 1)
    {
        for (int i = nFirst; i <= nLast; ++i) {
            if (i > nFirst) {
                Press(*m_pPage, "nextPic");
            }
            Shoot();
        }
    }
    /// Nine good pictures of the left camera, calibrated; waits for the right camera's live picture.
    void FinishLeftCamera()
    {
        ShootUpTo(9);
        Press(*m_pPage, "rectify");
        WaitForOpen("[1] Camera-Right");
        WaitForStream();
    }
    void WaitForOpen(const std::string& strCamera)
    {
        WaitUntil([&] { return Times("OpenCamera(" + strCamera + ")") > 0; });
    }

    Doubles::RecordingCamera& Camera() { return m_module.Camera(); }
    int Times(const std::string& strCall)
    {
        const std::vector<std::string> calls = Camera().Calls();
        return static_cast<int>(std::count(calls.begin(), calls.end(), strCall));
    }
    /// What the camera was told, without the snaps of the stream.
    std::vector<std::string> CommandsButSnaps()
    {
        std::vector<std::string> commands = Camera().Commands();
        std::erase(commands, "SnapPicture(null)");
        return commands;
    }
    /// Ends the stream, so that the log can be read. The line that is written takes the log's lock after the capture
    /// thread did, which is what the thread sanitizer sees.
    const LogLines& Log()
    {
        m_pPage->hide();
        ILog_WriteLog(0, "The test reads the log.");
        return Doubles::The().logLines;
    }
    bool Logged(int nLevel, const std::string& strText)
    {
        Log();
        return Doubles::The().Logged(nLevel, strText);
    }

    QString Output(const QString& strFile) const { return m_root.CameraTwo("Output/" + strFile); }
    QString Picture(const QString& strFolder, int nNumber) const
    {
        return Output(strFolder + "_images/" + QString::number(nNumber) + ".png");
    }
    void WriteProgress(const QByteArray& lines) const { m_root.WriteFile(ProgressFile(), "[PROGRESS]\n" + lines); }
    QStringList NoticeTexts() const
    {
        QStringList texts;
        for (const ModalAnswers::Notice& notice : m_answers.Notices()) {
            texts << notice.strText;
        }
        return texts;
    }

    Doubles::RecordingHost m_host;
    std::function<void(Doubles::RecordingCamera&)> m_script;
    std::atomic<bool> m_bHang = false;
    std::atomic<bool> m_bHangs = false;
    std::unique_ptr<CalibrateWdg> m_pPage;
};

inline const QString g_strPoorPicture = "Poor picture quality, Please re-shoot!";
inline const QString g_strNoCamera =
    "No matching camera found. Please unplug and reinsert the USB cable, then click the take a picture button to "
    "reconnect.";
inline const QString g_strDisconnected = "The camera is disconnected, click the Take a picture button and try again.";
