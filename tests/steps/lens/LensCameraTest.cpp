// The camera of the page: when it starts, stops and changes, and what its failures look like.

#include "LensPageFixture.h"

#include <thread>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class LensCamera : public LensPageFixture
{
protected:
    /// Four bad snaps in a row, to the loop's end.
    void Disconnect()
    {
        const std::size_t nBefore = m_answers.Notices().size();
        Camera().Answer("SnapPicture", 1);
        WaitUntil([&] { return m_answers.Notices().size() > nBefore; });
        Camera().Answer("SnapPicture", 0);
    }
    /// Presses the photo button and lets the end of the stopped thread be heard of.
    void PressSnapAndSettle()
    {
        Press(*m_pPage, "snap");
        QTest::qWait(50);
    }
    std::vector<std::string> CommandsAfter(std::size_t nBefore)
    {
        std::vector<std::string> commands = CommandsButSnaps();
        commands.erase(commands.begin(), commands.begin() + static_cast<long>(nBefore));
        return commands;
    }
    /// A hang of the device that ends by itself some time after the call.
    std::thread EndHangLater(int nMilliseconds)
    {
        return std::thread([this, nMilliseconds] {
            std::this_thread::sleep_for(std::chrono::milliseconds(nMilliseconds));
            m_bHang = false;
        });
    }
};

constexpr const char* g_pOpenLeft = "OpenCamera([0] Camera-Left)";
constexpr const char* g_pSetLeft = "ApplyCameraParameters([0] Camera-Left, 500)";
constexpr const char* g_pOpenRight = "OpenCamera([1] Camera-Right)";
constexpr const char* g_pSetRight = "ApplyCameraParameters([1] Camera-Right, 500)";
constexpr const char* g_pClose = "CloseCamera(null)";

} // namespace

TEST_F(LensCamera, ShowingStartsTheLeftCameraAndHidingGivesItBack)
{
    MakeStreaming();
    EXPECT_THAT(CommandsButSnaps(), ElementsAre(g_pOpenLeft, g_pSetLeft));
    m_pPage->hide();
    EXPECT_EQ(CommandsButSnaps().back(), g_pClose);
    const int nSnaps = Camera().Count("SnapPicture");
    QTest::qWait(20);
    EXPECT_EQ(Camera().Count("SnapPicture"), nSnaps);
    m_pPage->show();
    WaitForStream();
    EXPECT_EQ(m_module.HandedOut(), 1);
}

TEST_F(LensCamera, AShowRightAfterAHideKeepsTheNewRunsCamera)
{
    MakeStreaming();
    m_pPage->hide();
    const std::size_t nBefore = CommandsButSnaps().size();
    m_pPage->show();
    WaitForStream();
    QTest::qWait(50);
    EXPECT_THAT(CommandsAfter(nBefore), ElementsAre(g_pClose, g_pOpenLeft, g_pSetLeft));
}

TEST_F(LensCamera, NoCameraIsStartedWhereNoneIsAssigned)
{
    for (const char* pName : {"None", "Keine"}) {
        Doubles::The().wordings["None"] = "Keine";
        g_calibGlobalParam.strLeftCameraName = pName;
        Make().show();
        EXPECT_EQ(m_module.HandedOut(), 0);
        EXPECT_TRUE(IsOpen("snap"));
        Press(*m_pPage, "snap");
        EXPECT_TRUE(IsOpen("snap"));
        EXPECT_THAT(m_answers.Notices(), IsEmpty());
        EXPECT_TRUE(Logged(1, "[CalibrateWdg::on_pushButton_snap_clicked]Start"));
        Doubles::The().logLines.clear();
        m_pPage.reset();
    }
}

TEST_F(LensCamera, ACameraThatDoesNotOpenIsNotToldAndTheNextPressReconnects)
{
    m_script = [](Doubles::RecordingCamera& camera) { camera.AnswerNext("OpenCamera", {1}); };
    Make().show();
    EXPECT_THAT(Camera().Commands(), ElementsAre(g_pOpenLeft));
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_TRUE(IsOpen("snap"));
    Shoot();
    EXPECT_TRUE(QFile::exists(Picture("L", 1)));
    EXPECT_THAT(CommandsButSnaps(), ElementsAre(g_pOpenLeft, g_pClose, g_pOpenLeft, g_pSetLeft));
    EXPECT_TRUE(Logged(1, "[CalibrateWdg::on_pushButton_snap_clicked]ReConnectCamera"));
}

TEST_F(LensCamera, ACameraThatRefusesItsParametersIsClosedAndStreamsAllTheSame)
{
    m_script = [](Doubles::RecordingCamera& camera) { camera.AnswerNext("ApplyCameraParameters", {0}); };
    MakeStreaming();
    EXPECT_THAT(CommandsButSnaps(), ElementsAre(g_pOpenLeft, g_pSetLeft, g_pClose));
    EXPECT_TRUE(IsOpen("snap"));
}

TEST_F(LensCamera, ACameraThatFailsIsToldAndTheNextPressReconnects)
{
    MakeStreaming();
    bool bOpenAtNotice = true;
    m_answers.OnBox([&](QMessageBox&) { bOpenAtNotice = IsOpen("snap"); });
    Button(*m_pPage, "snap").setEnabled(false);
    Disconnect();
    ASSERT_EQ(m_answers.Notices().size(), 1u);
    EXPECT_FALSE(bOpenAtNotice) << "the button opens after the notice";
    EXPECT_EQ(m_answers.Notices().front().strText, g_strDisconnected);
    EXPECT_EQ(m_answers.Notices().front().icon, QMessageBox::Critical);
    EXPECT_EQ(m_answers.Notices().front().strTitle, "Tips");
    EXPECT_TRUE(IsOpen("snap"));
    const std::size_t nBefore = CommandsButSnaps().size();
    Shoot();
    EXPECT_TRUE(QFile::exists(Picture("L", 1)));
    WaitForStream();
    // The end of the old thread is heard of only now, and leaves the camera alone.
    EXPECT_THAT(CommandsAfter(nBefore), ElementsAre(g_pClose, g_pOpenLeft, g_pSetLeft));
    EXPECT_EQ(m_answers.Notices().size(), 1u);
}

TEST_F(LensCamera, AFailureWithoutARunningThreadOnlyOpensTheButton)
{
    MakeStreaming();
    m_pPage->hide();
    Button(*m_pPage, "snap").setEnabled(false);
    ASSERT_TRUE(QMetaObject::invokeMethod(m_pPage.get(), "SnapFailedSlot"));
    EXPECT_TRUE(IsOpen("snap"));
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(LensCamera, AReconnectionThatFindsNoCameraEndsThePress)
{
    MakeStreaming();
    Disconnect();
    Camera().SetList({"[0] Camera-Right"});
    PressSnapAndSettle();
    EXPECT_EQ(NoticeTexts(), QStringList({g_strDisconnected, g_strNoCamera}));
    EXPECT_EQ(m_answers.Notices().back().icon, QMessageBox::Information);
    EXPECT_TRUE(IsOpen("snap"));
    EXPECT_FALSE(QFile::exists(Picture("L", 1)));
    EXPECT_EQ(CommandsButSnaps().back(), g_pClose);
    EXPECT_TRUE(Logged(1, "[CalibrateWdg::on_pushButton_snap_clicked]ReConnectCamera"));
    EXPECT_FALSE(Doubles::The().Logged(1, "[CalibrateWdg::on_pushButton_snap_clicked]SaveOnePic Start"));
}

TEST_F(LensCamera, AWantedNameThatCannotBeLookedForIsNotFound)
{
    g_calibGlobalParam.strLeftCameraName = "left";
    Make().show();
    WaitForStream();
    Disconnect();
    PressSnapAndSettle();
    EXPECT_EQ(NoticeTexts(), QStringList({g_strDisconnected, g_strNoCamera}));
    EXPECT_TRUE(IsOpen("snap"));
}

TEST_F(LensCamera, AReconnectionThatCannotOpenTheCameraIsSilent)
{
    MakeStreaming();
    Disconnect();
    // The one that failed has been opened again behind its loop.
    Camera().Answer("OpenCamera", 1);
    PressSnapAndSettle();
    EXPECT_EQ(NoticeTexts(), QStringList{g_strDisconnected});
    EXPECT_TRUE(IsOpen("snap"));
    EXPECT_FALSE(QFile::exists(Picture("L", 1)));
}

TEST_F(LensCamera, AReconnectionTakesTheDevicesOwnNameAndNoNotionOfItsParameters)
{
    MakeStreaming();
    Disconnect();
    Camera().SetList({"[7] Camera-Left"});
    Camera().AnswerNext("ApplyCameraParameters", {0});
    Shoot();
    const std::vector<std::string> commands = CommandsButSnaps();
    EXPECT_THAT(std::vector<std::string>(commands.end() - 2, commands.end()),
                ElementsAre("OpenCamera([7] Camera-Left)", "ApplyCameraParameters([7] Camera-Left, 500)"));
}

TEST_F(LensCamera, ALongNameIsCutToItsBuffer)
{
    const std::string strLong = "Camera" + std::string(300, 'x');
    g_calibGlobalParam.strLeftCameraName = QString::fromStdString(strLong);
    m_script = [&](Doubles::RecordingCamera& camera) {
        camera.SetList({strLong.substr(0, 254)});
        camera.AnswerNext("OpenCamera", {1});
    };
    Make().show();
    Shoot();
    EXPECT_EQ(Times("OpenCamera(" + strLong.substr(0, 254) + ")"), 1);
}

TEST_F(LensCamera, TheRightCameraComesWhenTheLeftOnesThreadHasEnded)
{
    MakeStreaming();
    FinishLeftCamera();
    EXPECT_THAT(CommandsButSnaps(),
                ElementsAre(g_pOpenLeft, g_pSetLeft, g_pClose, g_pClose, g_pClose, g_pOpenRight, g_pSetRight));
    EXPECT_TRUE(IsOpen("snap"));
}

TEST_F(LensCamera, ReconnectingInTheRightStepWorksOnTheLeftCamera)
{
    MakeStreaming();
    FinishLeftCamera();
    Disconnect();
    const std::size_t nBefore = CommandsButSnaps().size();
    Shoot();
    WaitForStream();
    EXPECT_THAT(CommandsAfter(nBefore), ElementsAre(g_pClose, g_pOpenLeft, g_pSetLeft));
    EXPECT_TRUE(QFile::exists(Picture("R", 1)));
    // The page still takes the right camera for the one that runs, so a show of the right step changes nothing.
    QShowEvent show;
    QCoreApplication::sendEvent(m_pPage.get(), &show);
    QTest::qWait(50);
    EXPECT_EQ(CommandsAfter(nBefore).size(), 3u);
    // The left step wants another one than that, and opens it anew.
    Press(*m_pPage, "backPic");
    WaitUntil([this] { return Times(g_pOpenLeft) == 3; });
}

TEST_F(LensCamera, TheCameraThatStartsOpensThePhotoButton)
{
    MakeStreaming();
    ShootUpTo(9);
    Press(*m_pPage, "rectify");
    Button(*m_pPage, "snap").setEnabled(false);
    WaitForOpen("[1] Camera-Right");
    WaitForStream();
    EXPECT_TRUE(IsOpen("snap"));
}

TEST_F(LensCamera, AReconnectedCameraIsNotTheOneThatTheStepHasStarted)
{
    MakeStreaming();
    m_pPage->hide();
    QTest::qWait(50);
    Camera().AnswerNext("OpenCamera", {1});
    m_pPage->show();
    Shoot();
    EXPECT_EQ(Times(g_pOpenLeft), 3);
    // Since the first stream ended the page knows of none, so the step starts its own.
    QShowEvent show;
    QCoreApplication::sendEvent(m_pPage.get(), &show);
    WaitUntil([this] { return Times(g_pOpenLeft) == 4; });
}

TEST_F(LensCamera, AnotherShowOfTheStepLeavesItsCameraAlone)
{
    MakeStreaming();
    QShowEvent show;
    QCoreApplication::sendEvent(m_pPage.get(), &show);
    WaitForStream();
    EXPECT_THAT(CommandsButSnaps(), ElementsAre(g_pOpenLeft, g_pSetLeft));
}

TEST_F(LensCamera, WithoutTheModuleThePressFindsNoCamera)
{
    m_module.GiveNull();
    Make().show();
    PressSnapAndSettle();
    EXPECT_TRUE(NoticeTexts().contains(g_strNoCamera));
    EXPECT_TRUE(IsOpen("snap"));
    m_pPage.reset();
    ReleaseAllModules();
}

TEST_F(LensCamera, APageThatGoesWaitsForACameraThatHangs)
{
    MakeStreaming();
    Hang();
    // The patience of hiding runs out.
    m_pPage->hide();
    const int nGivenBack = m_module.GivenBack();
    // The patience of the page's end runs out as well.
    std::thread later = EndHangLater(2300);
    m_pPage.reset();
    EXPECT_FALSE(m_bHang);
    EXPECT_EQ(m_module.GivenBack(), nGivenBack + 1);
    later.join();
    EXPECT_TRUE(Doubles::The().Logged(2, "CalibrateWdg::~CalibrateWdg, the camera hangs, the page waits for it"));
}

TEST_F(LensCamera, ACameraThatHangsWhileItIsChangedStartsNoOtherForAHiddenPage)
{
    MakeStreaming();
    ShootUpTo(9);
    Hang();
    Press(*m_pPage, "rectify");
    m_pPage->hide();
    m_bHang = false;
    WaitUntil([this] { return CommandsButSnaps().size() >= 5; });
    QTest::qWait(50);
    EXPECT_EQ(Times(g_pOpenRight), 0);
    m_pPage->show();
    WaitForOpen("[1] Camera-Right");
    WaitForStream();
}

TEST_F(LensCamera, APressWhileTheCameraHangsComesToAnEnd)
{
    MakeStreaming();
    Hang();
    m_pPage->hide();
    m_pPage->show();
    Press(*m_pPage, "snap");
    m_bHang = false;
    QTest::qWait(50);
    Button(*m_pPage, "snap").setEnabled(true);
    Shoot();
    EXPECT_TRUE(QFile::exists(Picture("L", 1)));
}
