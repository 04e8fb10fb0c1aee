// The window with the pages of the manual flow.

#include "WindowFixture.h"

#include "CalibGlobalParam.h"
#include "CalibrateWdg.h"
#include "DrawRoiWidget.h"
#include "DualGraphicsView.h"
#include "FusionWdg.h"
#include "HandEyeAdjustWdg.h"

#include <QListWidget>
#include <QPointer>
#include <QTimer>

namespace
{

using testing::Contains;
using testing::IsEmpty;
using testing::Not;

constexpr const char* DISTORTION = "CalibrateWdg";
constexpr const char* FUSION = "FusionWdg";
constexpr const char* ADJUST = "HandEyeAdjustWdg";

class ManualWindow : public WizardWindow
{
protected:
    void SetUp() override
    {
        WizardWindow::SetUp();
        Stored("CAMERA_TYPE", 0);
    }
    void TearDown() override
    {
        g_calibGlobalParam = CalibGlobalParam();
        WizardWindow::TearDown();
    }

    void UseCameras()
    {
        g_calibGlobalParam.strLeftCameraName = "[0] Camera-Left";
        g_calibGlobalParam.strRightCameraName = "[1] Camera-Right";
        m_cameras.Prepare([](Doubles::RecordingCamera& camera) {
            camera.SetList({"[0] Camera-Left", "[1] Camera-Right"});
            camera.SetPicture(cv::Mat(300, 200, CV_8UC3, cv::Scalar::all(90)));
        });
    }
    /// The files of a manual run, in a folder.
    void WriteMaps(const char* pFolder)
    {
        for (const char* const pFile : {"cameraL_calibrateMap.xml", "cameraR_calibrateMap.xml", "mapImgR2L.xml"}) {
            m_data.WriteFile(m_data.CameraTwo(QString(pFolder) + "/" + pFile), "x");
        }
    }

    /// Photographs and draws a region on the fusion page, which is then to be confirmed.
    void Fuse()
    {
        QCoreApplication::processEvents();
        QWidget& page = *m_pWindow->centralWidget();
        Press(page, "snap");
        EndCountdown(page);
        Press(page, "setRoiRect");
        auto& label = Child<DrawRoiWidget>(page, "label_cameraPic");
        const QPoint centre = label.rect().center();
        const auto mouse = [&](QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons held) {
            QMouseEvent event(type, at, label.mapToGlobal(at), button, held, Qt::NoModifier);
            QApplication::sendEvent(&label, &event);
        };
        mouse(QEvent::MouseButtonPress, centre - QPoint(40, 40), Qt::LeftButton, Qt::LeftButton);
        mouse(QEvent::MouseMove, centre + QPoint(40, 40), Qt::NoButton, Qt::LeftButton);
        mouse(QEvent::MouseButtonRelease, centre + QPoint(40, 40), Qt::LeftButton, Qt::NoButton);
        mouse(QEvent::MouseButtonRelease, centre + QPoint(40, 40), Qt::RightButton, Qt::NoButton);
        ASSERT_TRUE(Button(page, "confirm").isEnabled());
    }
    static void EndCountdown(QWidget& page)
    {
        while (page.findChild<QTimer*>()->isActive()) {
            QMetaObject::invokeMethod(&page, "TimeOutSlot", Qt::DirectConnection);
        }
    }

    /// What is on show: the page's class, of wait pages what they wait for.
    QString OnShow()
    {
        const QString strPage = Page(*m_pWindow);
        return strPage == WAIT ? WaitsFor(*m_pWindow) : strPage;
    }

    inline static const QStringList ORDER{DISTORTION, "Fusion", FUSION, PATTERN, "HandEye", ADJUST};
};

TEST_F(ManualWindow, HasSixPagesInTheirOrder)
{
    MakeStarted();
    QStringList pages{OnShow()};
    for (int i = 0; i < 6; ++i) {
        m_pWindow->nextWdgSlot();
        pages << OnShow();
    }
    // The last page stays.
    EXPECT_EQ(pages, ORDER + QStringList{ADJUST});
    pages.clear();
    for (int i = 0; i < 6; ++i) {
        m_pWindow->backWdgSlot();
        pages << OnShow();
    }
    // The first page stays.
    EXPECT_EQ(pages, (QStringList{"HandEye", PATTERN, FUSION, "Fusion", DISTORTION, DISTORTION}));
}

TEST_F(ManualWindow, ItsPagesGoWithItAndOnlyTheLivePictureGivesItsCameraBack)
{
    UseCameras();
    MakeStarted();
    std::vector<QPointer<QWidget>> pages;
    for (int i = 0; i < 6; ++i) {
        pages.emplace_back(m_pWindow->centralWidget());
        QCoreApplication::processEvents();
        m_pWindow->nextWdgSlot();
    }
    m_pWindow.reset();
    for (const QPointer<QWidget>& pPage : pages) {
        EXPECT_TRUE(pPage.isNull());
    }
    EXPECT_EQ(m_cameras.HandedOut(), 3);
    EXPECT_EQ(m_cameras.GivenBack(), 1);
}

TEST_F(ManualWindow, TheAutomaticFlowMakesTheLastPageTooAndNeverShowsIt)
{
    Stored("CAMERA_TYPE", 1);
    MakeStarted();
    // Coordinate page, stitching page, and this one.
    EXPECT_EQ(m_cameras.HandedOut(), 3);
    for (int i = 0; i < 6; ++i) {
        EXPECT_NE(Page(*m_pWindow), ADJUST);
        m_pWindow->nextWdgSlot();
    }
    m_pWindow.reset();
    EXPECT_EQ(m_cameras.GivenBack(), 2);
}

// ---- where a run starts

TEST_F(ManualWindow, ResumesAtThePageBeforeTheStoredStep)
{
    const std::pair<int, int> rows[] = {{0, 0}, {1, 0}, {2, 1}, {3, 2}, {4, 3}, {5, 4}, {6, 5}, {99, 5}, {-4, 0}};
    for (const auto& [nProgress, nPage] : rows) {
        Stored("PROGRESS", nProgress);
        Make().ResumeFromProgress();
        EXPECT_EQ(OnShow(), ORDER[nPage]) << nProgress;
    }
}

TEST_F(ManualWindow, ACoordinateOnlyRunStartsAtThePatternPageWithNoWayBack)
{
    Make().EnterCoordinateOnly();
    EXPECT_EQ(OnShow(), PATTERN);
    QCoreApplication::processEvents();
    EXPECT_FALSE(Button(*m_pWindow, "back").isEnabled());
    EXPECT_EQ(ReadIniString("PROGRESS", "WIZARD", "", ProgressFile()), "Coordinate");
    m_pWindow->nextWdgSlot();
    m_pWindow->nextWdgSlot();
    QCoreApplication::processEvents();
    EXPECT_EQ(OnShow(), ADJUST);
    EXPECT_TRUE(Child<QLabel>(*m_pWindow, "label_hintBar").styleSheet().contains("/CoordinateStep4.png"));
}

TEST_F(ManualWindow, AFusionOnlyRunTakesTheLensesOfTheLastCalibration)
{
    UseCameras();
    WriteMaps("Output");
    WriteMaps("Result");
    // The page rectifies as long as it is not told that its flow has rectified pictures.
    Make().EnterFusionOnly();
    EXPECT_EQ(OnShow(), FUSION);
    QCoreApplication::processEvents();
    Press(*m_pWindow, "snap");
    EXPECT_THAT(Doubles::The().journal, Contains("LoadCameraParameters(Result/cameraL_calibrateMap.xml)"));
    EXPECT_THAT(Doubles::The().journal, Not(Contains("LoadCameraParameters(Output/cameraL_calibrateMap.xml)")));
    EndCountdown(*m_pWindow->centralWidget());

    // And a whole run those of its own, in the same window.
    Stored("PROGRESS", 0);
    m_pWindow->ResumeFromProgress();
    EXPECT_EQ(OnShow(), DISTORTION);
    m_pWindow->nextWdgSlot();
    m_pWindow->nextWdgSlot();
    QCoreApplication::processEvents();
    Press(*m_pWindow, "snap");
    EXPECT_THAT(Doubles::The().journal, Contains("LoadCameraParameters(Output/cameraL_calibrateMap.xml)"));
    EndCountdown(*m_pWindow->centralWidget());
}

TEST_F(ManualWindow, AFusionOnlyRunGoesOnToThePatternPage)
{
    UseCameras();
    Make().EnterFusionOnly();
    m_pWindow->ApplyCameraType();
    Fuse();
    Press(*m_pWindow, "confirm");
    EXPECT_EQ(OnShow(), PATTERN);
    EXPECT_TRUE(m_pWindow->isVisible());
}

TEST_F(ManualWindow, AFusionRunFromTheFirstPageEndsWithTheFusion)
{
    UseCameras();
    WriteMaps("Output");
    Make().EnterFusionFromFirstPage();
    m_pWindow->ApplyCameraType();
    EXPECT_EQ(OnShow(), DISTORTION);
    m_pWindow->nextWdgSlot();
    m_pWindow->nextWdgSlot();
    Fuse();
    QSignalSpy ended(m_pWindow.get(), &CalibrateTwoCameraWnd::ExitCalibDlgSignal);
    Press(*m_pWindow, "confirm");
    EXPECT_EQ(ended.size(), 1);
    EXPECT_FALSE(m_pWindow->isVisible());
    EXPECT_TRUE(QFileInfo::exists(m_data.CameraTwo("Result/mapImgR2L.xml")));
}

TEST_F(ManualWindow, AResumedRunDoesNotEndWithTheFusion)
{
    UseCameras();
    Make().EnterFusionFromFirstPage();
    m_pWindow->ResumeFromProgress();
    m_pWindow->ApplyCameraType();
    m_pWindow->nextWdgSlot();
    m_pWindow->nextWdgSlot();
    Fuse();
    QSignalSpy ended(m_pWindow.get(), &CalibrateTwoCameraWnd::ExitCalibDlgSignal);
    Press(*m_pWindow, "confirm");
    EXPECT_EQ(OnShow(), PATTERN);
    EXPECT_EQ(ended.size(), 0);
    EXPECT_TRUE(m_pWindow->isVisible());
}

// ---- the flow's type

TEST_F(ManualWindow, PatternAndWaitPagesKeepTheirDefaults)
{
    Make().EnterCoordinateOnly();
    m_pWindow->ApplyCameraType();
    QCoreApplication::processEvents();
    EXPECT_EQ(StepEnables(*m_pWindow), QStringList(QList<QString>(9, "-")));
    EXPECT_TRUE(Button(*m_pWindow, "back").isVisible());
}

TEST_F(ManualWindow, TheTypeReachesTheFirstPage)
{
    MakeStarted();
    auto* const pPage = qobject_cast<CalibrateWdg*>(m_pWindow->centralWidget());
    ASSERT_TRUE(pPage);
    EXPECT_EQ(pPage->ThreadDialog_ThreadRun(0, nullptr), 0) << "it calibrates nothing in its own flow";
    EXPECT_THAT(Doubles::The().journal, IsEmpty());
}

TEST_F(ManualWindow, TheHostReachesTheFirstPage)
{
    Stored("PROGRESS", 1);
    Stored("STEPINDEX", 2);
    MakeStarted();
    auto* const pPage = qobject_cast<CalibrateWdg*>(m_pWindow->centralWidget());
    ASSERT_TRUE(pPage);
    EXPECT_EQ(pPage->ThreadDialog_ThreadRun(0, nullptr), 0);
    EXPECT_THAT(m_device.calls, testing::ElementsAre(testing::StartsWith("RunCommand(DeviceDocumentImport, ")));
}

TEST_F(ManualWindow, ClosingStopsTheLivePictureAndStoresNothing)
{
    UseCameras();
    MakeStarted();
    // Two pages take theirs as they are made.
    ASSERT_EQ(m_cameras.HandedOut(), 3);
    const Doubles::RecordingCamera& camera = m_cameras.Camera(2);
    while (camera.Count("SnapPicture") == 0) {
        QTest::qWait(1);
    }
    m_pWindow->close();
    EXPECT_EQ(camera.Commands().back(), "CloseCamera(null)");
    const int nSnaps = camera.Count("SnapPicture");
    QTest::qWait(20);
    EXPECT_EQ(camera.Count("SnapPicture"), nSnaps);
    EXPECT_FALSE(QFileInfo::exists(ProgressFile()));
    EXPECT_FALSE(OutputExists());
}

TEST_F(ManualWindow, TheTypeReachesTheFusionPage)
{
    UseCameras();
    Make().EnterFusionOnly();
    m_pWindow->ApplyCameraType();
    QCoreApplication::processEvents();
    Press(*m_pWindow, "snap");
    EXPECT_THAT(Doubles::The().journal, IsEmpty()) << "the pictures come rectified";
    EndCountdown(*m_pWindow->centralWidget());
}

// ---- the wiring

TEST_F(ManualWindow, SignalsOfThePagesMoveTheWizard)
{
    const struct {
        int nPage;
        const char* pSignal;
        int nLeadsTo;
    } rows[] = {
        {0, "nextWdgSignal", 1}, {1, "backWdgSignal", 0}, {1, "nextWdgSignal", 2}, {2, "backWdgSignal", 1},
        {2, "nextWdgSignal", 3}, {3, "backWdgSignal", 2}, {3, "nextWdgSignal", 4}, {4, "backWdgSignal", 3},
        {4, "nextWdgSignal", 5}, {5, "backWdgSignal", 4},
    };
    for (const auto& row : rows) {
        Stored("PROGRESS", row.nPage + 1);
        MakeStarted();
        Send(row.pSignal);
        EXPECT_EQ(OnShow(), ORDER[row.nLeadsTo]) << row.nPage << " " << row.pSignal;
    }
}

TEST_F(ManualWindow, CancelOfEveryPageAsks)
{
    for (int i = 0; i < 6; ++i) {
        Stored("PROGRESS", i + 1);
        MakeStarted();
        m_answers.Press("Cancel");
        Press(*m_pWindow, "cancel");
        EXPECT_EQ(m_answers.Notices().size(), static_cast<std::size_t>(i + 1)) << i;
        EXPECT_TRUE(m_pWindow->isVisible());
    }
}

TEST_F(ManualWindow, FusionAndLastPageEndTheRunWithoutAsking)
{
    for (const int nPage : {2, 5}) {
        Stored("PROGRESS", nPage + 1);
        MakeStarted();
        QSignalSpy ended(m_pWindow.get(), &CalibrateTwoCameraWnd::ExitCalibDlgSignal);
        Send("ExitWindowSignal");
        EXPECT_EQ(ended.size(), 1);
        EXPECT_FALSE(m_pWindow->isVisible());
        // The file is gone with the flow's type.
        Stored("CAMERA_TYPE", 0);
    }
    EXPECT_TRUE(m_answers.Notices().empty());
}

/// Marks eighteen crosses on the last page, confirms, and gives the points that they were paired with.
class ManualMarks : public ManualWindow
{
protected:
    void SetUp() override
    {
        ManualWindow::SetUp();
        UseCameras();
        WriteMaps("Output");
    }
    std::vector<cv::Point2f> ConfirmMarks()
    {
        QCoreApplication::processEvents();
        QWidget& page = *m_pWindow->centralWidget();
        Press(page, "takePic");
        EndCountdown(page);
        auto& view = Child<DualGraphicsView>(page, "graphicsView");
        for (int i = 0; i < 18; ++i) {
            const QPoint place(20 + 30 * (i % 6), 50 + 90 * (i / 6));
            view.centerOn(place);
            QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, view.mapFromScene(place));
            Press(page, "AddCoord");
        }
        if (!Button(page, "confirm").isEnabled()) {
            ADD_FAILURE() << "there are not eighteen marks";
            return {};
        }
        Press(page, "confirm");
        return Doubles::The().fits.empty() ? std::vector<cv::Point2f>() : Doubles::The().fits.front().target;
    }
};

TEST_F(ManualMarks, TheGridOfThePatternPageReachesTheLastPage)
{
    Make().EnterCoordinateOnly();
    m_pWindow->ApplyCameraType();
    QList<QPointF> grid;
    std::vector<cv::Point2f> expected;
    for (int i = 0; i < 18; ++i) {
        grid << QPointF(3 * i, 5 + i * i);
        expected.emplace_back(3.0f * static_cast<float>(i), 5.0f + static_cast<float>(i * i));
    }
    QCoreApplication::processEvents();
    emit qobject_cast<HandEyePicSetWdg*>(m_pWindow->centralWidget())->SendListPtSignal(grid);
    m_pWindow->nextWdgSlot();
    m_pWindow->nextWdgSlot();
    QSignalSpy ended(m_pWindow.get(), &CalibrateTwoCameraWnd::ExitCalibDlgSignal);
    EXPECT_EQ(ConfirmMarks(), expected);
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting success!");
    EXPECT_EQ(ended.size(), 1);
    EXPECT_FALSE(m_pWindow->isVisible());
    EXPECT_EQ(ReadIniInt("CAMERA_PARAM", "CAMERA_TYPE", -5, m_data.CameraTwo("Result/CameraParam.ini")), 0)
        << "it was told the flow's type";
    EXPECT_TRUE(QFileInfo::exists(m_data.CameraTwo("Result/DualCamera_pix2mm.xml")));
    EXPECT_FALSE(QFileInfo::exists(ProgressFile()));
}

TEST_F(ManualMarks, ARunThatDiedOnTheLastPageFindsItsGridAgain)
{
    Stored("PROGRESS", 5);
    std::vector<cv::Point2f> expected;
    for (int i = 0; i < 18; ++i) {
        WriteIniDouble("PROGRESS", QString("X%1").arg(i), 7 * i, ProgressFile());
        WriteIniDouble("PROGRESS", QString("Y%1").arg(i), 100 - i, ProgressFile());
        expected.emplace_back(7.0f * static_cast<float>(i), 100.0f - static_cast<float>(i));
    }
    MakeStarted();
    // The step is stored as 5, which leads to the page before this one.
    EXPECT_EQ(OnShow(), "HandEye");
    Send("nextWdgSignal");
    EXPECT_EQ(OnShow(), ADJUST);
    EXPECT_EQ(ConfirmMarks(), expected);
}

} // namespace
