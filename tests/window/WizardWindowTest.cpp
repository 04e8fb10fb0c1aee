#include "WindowFixture.h"

#include "CalibGlobalParam.h"

#include <QPointer>

namespace
{

TEST_F(WizardWindow, HasItsNameTitleSizeAndNoWayOutInTheTitleBar)
{
    const CalibrateTwoCameraWnd window(nullptr, nullptr);
    EXPECT_EQ(window.objectName(), "CalibrateTwoCameraWnd");
    EXPECT_EQ(window.windowTitle(), "Camera calibration");
    EXPECT_EQ(window.windowModality(), Qt::ApplicationModal);
    EXPECT_EQ(window.size(), QSize(400, 300));
    EXPECT_TRUE(window.isWindow());
    EXPECT_FALSE(window.windowFlags() & Qt::WindowCloseButtonHint);
    EXPECT_FALSE(window.windowFlags() & Qt::WindowMinMaxButtonsHint);
    EXPECT_TRUE(window.windowFlags() & Qt::WindowTitleHint);
    EXPECT_EQ(window.centralWidget(), nullptr);
}

TEST_F(WizardWindow, StartsAtTheSizeOfTheStyleSheetAndGrowsWithAPageThatNeedsMore)
{
    qApp->setStyleSheet("CalibrateTwoCameraWnd { min-width: 1120px; min-height: 640px; }");
    MakeStarted();
    EXPECT_EQ(m_pWindow->size(), QSize(1120, 640));
    m_pWindow->centralWidget()->setMinimumWidth(1300);
    QCoreApplication::processEvents();
    qApp->setStyleSheet({});
    EXPECT_GE(m_pWindow->width(), 1300);
}

TEST_F(WizardWindow, SignalsAndSlotsStandInTheirOrder)
{
    const QMetaObject& meta = CalibrateTwoCameraWnd::staticMetaObject;
    EXPECT_EQ(Methods(meta, QMetaMethod::Signal), QStringList{"ExitCalibDlgSignal()"});
    EXPECT_EQ(Methods(meta, QMetaMethod::Slot),
              QStringList({"backWdgSlot()", "nextWdgSlot()", "SetListPtSlot(QList<QPointF>)", "SetFlagSizeSlot(QSizeF)",
                           "ExitWindowSlot()", "CloseWindowSlot()"}));
}

TEST_F(WizardWindow, TheTitleFollowsTheLanguage)
{
    Make();
    Doubles::The().wordings["Camera calibration"] = "Kamerakalibrierung";
    ChangeLanguage();
    EXPECT_EQ(m_pWindow->windowTitle(), "Kamerakalibrierung");
}

TEST_F(WizardWindow, TheAutomaticFlowIsTheDefaultAndHasFourPages)
{
    MakeStarted();
    QStringList pages{Page(*m_pWindow)};
    for (int i = 0; i < 4; ++i) {
        m_pWindow->nextWdgSlot();
        pages << Page(*m_pWindow);
    }
    // The last page stays.
    EXPECT_EQ(pages, QStringList({PATTERN, WAIT, COORDINATES, STITCHING, STITCHING}));
    pages.clear();
    for (int i = 0; i < 4; ++i) {
        m_pWindow->backWdgSlot();
        pages << Page(*m_pWindow);
    }
    // The first page stays.
    EXPECT_EQ(pages, QStringList({COORDINATES, WAIT, PATTERN, PATTERN}));
}

TEST_F(WizardWindow, AnyTypeButZeroIsTheAutomaticFlow)
{
    Stored("CAMERA_TYPE", 7);
    MakeStarted();
    EXPECT_EQ(Page(*m_pWindow), PATTERN);
    m_pWindow->nextWdgSlot();
    EXPECT_EQ(WaitsFor(*m_pWindow), "HandEye");
}

TEST_F(WizardWindow, ItsPagesGoWithIt)
{
    MakeStarted();
    std::vector<QPointer<QWidget>> pages;
    for (int i = 0; i < 4; ++i) {
        pages.emplace_back(m_pWindow->centralWidget());
        m_pWindow->nextWdgSlot();
    }
    m_pWindow.reset();
    for (const QPointer<QWidget>& pPage : pages) {
        EXPECT_TRUE(pPage.isNull());
    }
    // And after it was closed, when none of them is on show.
    MakeStarted();
    const QPointer<QWidget> pPage = m_pWindow->centralWidget();
    m_pWindow->close();
    EXPECT_FALSE(pPage.isNull());
    m_pWindow.reset();
    EXPECT_TRUE(pPage.isNull());
}

// ---- where a run starts

TEST_F(WizardWindow, ResumesAtThePageBeforeTheStoredStep)
{
    const std::pair<int, const char*> rows[] = {
        {0, PATTERN},   {1, PATTERN},    {2, WAIT},     {3, COORDINATES},        {4, STITCHING},
        {5, STITCHING}, {99, STITCHING}, {-4, PATTERN}, {2147483647, STITCHING}, {-2147483647 - 1, PATTERN}};
    for (const auto& [nProgress, pPage] : rows) {
        Stored("PROGRESS", nProgress);
        MakeStarted();
        EXPECT_EQ(Page(*m_pWindow), pPage) << nProgress;
    }
}

TEST_F(WizardWindow, AFusionOnlyRunOfTheAutomaticFlowShowsTheCoordinatePage)
{
    Make().EnterFusionOnly();
    EXPECT_EQ(Page(*m_pWindow), COORDINATES);
}

TEST_F(WizardWindow, ACoordinateOnlyRunOfTheAutomaticFlowShowsTheStitchingPage)
{
    Make().EnterCoordinateOnly();
    EXPECT_EQ(Page(*m_pWindow), STITCHING);
    EXPECT_EQ(ReadIniString("PROGRESS", "WIZARD", "", ProgressFile()), "Coordinate");
}

TEST_F(WizardWindow, AFusionRunFromTheFirstPageStartsThere)
{
    Make().EnterFusionFromFirstPage();
    EXPECT_EQ(Page(*m_pWindow), PATTERN);
}

TEST_F(WizardWindow, ThePageOnShowStaysAndKeepsItsState)
{
    MakeStarted();
    QWidget* const pPage = m_pWindow->centralWidget();
    Button(*pPage, "confirm").setEnabled(true);
    Stored("PROGRESS", 1);
    m_pWindow->ResumeFromProgress();
    QCoreApplication::processEvents();
    EXPECT_EQ(m_pWindow->centralWidget(), pPage);
    EXPECT_TRUE(pPage->isVisible());
    EXPECT_TRUE(Button(*pPage, "confirm").isEnabled());
    // It was not shown anew, which would have stored its step.
    EXPECT_EQ(ReadIniInt("PROGRESS", "PROGRESS", -1, ProgressFile()), 1);
}

TEST_F(WizardWindow, APageThatWasLeftIsTheSameWhenItComesBack)
{
    MakeStarted();
    QWidget* const pPage = m_pWindow->centralWidget();
    m_pWindow->nextWdgSlot();
    QCoreApplication::processEvents();
    EXPECT_FALSE(pPage->isVisible());
    m_pWindow->backWdgSlot();
    QCoreApplication::processEvents();
    EXPECT_EQ(m_pWindow->centralWidget(), pPage);
    EXPECT_TRUE(pPage->isVisible());
}

// ---- the flow's type

TEST_F(WizardWindow, TheAutomaticTypeReachesAllPages)
{
    MakeStarted();
    const QStringList enables[] = {{"true", "false", "false", "false", "false", "false", "false", "false", "false"},
                                   {"true", "true", "true", "false", "false", "false", "false", "false", "false"}};
    for (const QStringList& expected : enables) {
        EXPECT_EQ(StepEnables(*m_pWindow), expected);
        EXPECT_EQ(StepTexts(*m_pWindow), g_automaticSteps);
        m_pWindow->nextWdgSlot();
        QCoreApplication::processEvents();
    }
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(StepTexts(*m_pWindow), g_automaticSteps);
        m_pWindow->nextWdgSlot();
    }
}

TEST_F(WizardWindow, TheTypeReachesTheLastTwoPagesAsItIsStored)
{
    Stored("CAMERA_TYPE", 7);
    Stored("PROGRESS", 3);
    Stored("STEPINDEX", 4);
    MakeStarted();
    const QString strStitching = m_data.CameraTwo("Result/AutoDualCalibrate_stitch.xml");
    EXPECT_EQ(ReadIniInt("CAMERA_PARAM", "CAMERA_TYPE", -1, strStitching), 7);
    EXPECT_EQ(ReadIniInt("CAMERA_PARAM", "AUTO_CALIBRATION", -1, strStitching), 1);
    EXPECT_EQ(Page(*m_pWindow), COORDINATES);
    EXPECT_EQ(ReadIniInt("PROGRESS", "STEPINDEX", -1, ProgressFile()), 3) << "only type 1 takes up a stored step";
}

TEST_F(WizardWindow, ATypeThatChangesLaterLeavesThePagesAsTheyAre)
{
    MakeStarted();
    Stored("CAMERA_TYPE", 0);
    m_pWindow->ApplyCameraType();
    EXPECT_EQ(Page(*m_pWindow), PATTERN);
    EXPECT_EQ(StepTexts(*m_pWindow), g_automaticSteps);
    m_pWindow->nextWdgSlot();
    m_pWindow->nextWdgSlot();
    EXPECT_EQ(Page(*m_pWindow), COORDINATES);
    // They are told the new one all the same.
    Stored("CAMERA_TYPE", 5);
    m_pWindow->ApplyCameraType();
    EXPECT_EQ(ReadIniInt("CAMERA_PARAM", "CAMERA_TYPE", -1, m_data.CameraTwo("Result/AutoDualCalibrate_stitch.xml")),
              5);
}

// ---- pressing through, and the wiring

TEST_F(WizardWindow, TheOperatorPressesHisWayToTheCoordinatePageAndBack)
{
    MakeStarted();
    Press(*m_pWindow, "upload");
    EXPECT_EQ(m_device.lines.size(), 6u * 2 + 4);
    Press(*m_pWindow, "confirm");
    EXPECT_EQ(Page(*m_pWindow), WAIT);
    QCoreApplication::processEvents();
    Press(*m_pWindow, "back");
    EXPECT_EQ(Page(*m_pWindow), PATTERN);
    QCoreApplication::processEvents();
    Press(*m_pWindow, "confirm");
    QCoreApplication::processEvents();
    Press(*m_pWindow, "next");
    EXPECT_EQ(Page(*m_pWindow), COORDINATES);
    QCoreApplication::processEvents();
    Press(*m_pWindow, "back");
    EXPECT_EQ(Page(*m_pWindow), WAIT);
}

TEST_F(WizardWindow, SignalsOfThePagesMoveTheWizard)
{
    const struct {
        int nPage;
        const char* pSignal;
        const char* pLeadsTo;
    } rows[] = {
        {0, "nextWdgSignal", WAIT},
        {1, "backWdgSignal", PATTERN},
        {1, "nextWdgSignal", COORDINATES},
        {2, "AutoDualCalibrateWdgBtnBackSignal", WAIT},
        {2, "AutoDualCalibrateWdgBtnNextSignal", STITCHING},
        {3, "AutoDualCalibrateWdgBtnBackSignal", COORDINATES},
        {3, "backWdgSignal", COORDINATES},
    };
    for (const auto& row : rows) {
        Stored("PROGRESS", row.nPage + 1);
        MakeStarted();
        Send(row.pSignal);
        EXPECT_EQ(Page(*m_pWindow), row.pLeadsTo) << row.nPage << " " << row.pSignal;
    }
}

TEST_F(WizardWindow, CancelOfEveryPageAsks)
{
    const std::pair<int, const char*> rows[] = {
        {0, "cancelWdgSignal"}, {1, "cancelWdgSignal"}, {2, "CloseWindowSignal"}, {3, "CloseWindowSignal"}};
    for (const auto& [nPage, pSignal] : rows) {
        Stored("PROGRESS", nPage + 1);
        MakeStarted();
        m_answers.Press("Cancel");
        Send(pSignal);
        EXPECT_TRUE(m_pWindow->isVisible());
    }
    EXPECT_EQ(m_answers.Notices().size(), 4u);
}

TEST_F(WizardWindow, TheLastPagesEndTheRunWithoutAsking)
{
    for (const int nPage : {2, 3}) {
        Stored("PROGRESS", nPage + 1);
        MakeStarted();
        QSignalSpy ended(m_pWindow.get(), &CalibrateTwoCameraWnd::ExitCalibDlgSignal);
        Send("ExitWindowSignal");
        EXPECT_EQ(ended.size(), 1);
        EXPECT_FALSE(m_pWindow->isVisible());
    }
    EXPECT_TRUE(m_answers.Notices().empty());
}

TEST_F(WizardWindow, TheGridOfThePatternPageReachesTheCoordinatePage)
{
    g_calibGlobalParam.strLeftCameraName = "[0] Camera-Left";
    m_cameras.Prepare([](Doubles::RecordingCamera& camera) {
        camera.SetList({"[0] Camera-Left"});
        camera.SetPicture(cv::Mat(401, 501, CV_8UC3, cv::Scalar::all(90)));
    });
    MakeStarted();
    Press(*m_pWindow, "upload");
    // Others than the stored ones, so that it matters where they come from.
    const QList<QPointF> grid{{1, 2}, {3, 4}, {5, 6}, {7, 8}, {9, 10}, {11, 12}};
    emit qobject_cast<HandEyePicSetWdg*>(m_pWindow->centralWidget())->SendListPtSignal(grid);
    m_pWindow->nextWdgSlot();
    m_pWindow->nextWdgSlot();
    QCoreApplication::processEvents();

    Press(*m_pWindow, "takePic");
    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(QMetaObject::invokeMethod(m_pWindow->centralWidget(), "AddCrossSlots",
                                              Q_ARG(QPointF, QPointF(50 + 90 * (i % 2), 60 + 90 * (i / 2)))));
    }
    ASSERT_TRUE(Button(*m_pWindow, "confirm").isEnabled());
    Press(*m_pWindow, "confirm");
    const std::vector<CalibrationPoint>& points = Doubles::The().calibrated;
    ASSERT_EQ(points.size(), 4u);
    for (const CalibrationPoint& point : points) {
        EXPECT_EQ(QPointF(point.fWorldX, point.fWorldY), grid.value(point.nId - 1)) << point.nId;
    }
    // The counter outlives the page.
    for (int i = 0; i < 6; ++i) {
        QMetaObject::invokeMethod(m_pWindow->centralWidget(), "TimeOutSlot");
    }
    g_calibGlobalParam = CalibGlobalParam();
}

// ---- the end of a run

TEST_F(WizardWindow, CancellingTheQuestionChangesNothing)
{
    MakeStarted();
    FillOutput();
    QSignalSpy ended(m_pWindow.get(), &CalibrateTwoCameraWnd::ExitCalibDlgSignal);
    QWidget* const pPage = m_pWindow->centralWidget();
    m_answers.Press("Cancel");
    Press(*m_pWindow, "cancel");

    ASSERT_EQ(m_answers.Notices().size(), 1u);
    const ModalAnswers::Notice& question = m_answers.Notices()[0];
    EXPECT_EQ(question.strTitle, "Tips");
    EXPECT_EQ(question.strText, "Camera calibration is incomplete. Are you sure you want to exit?");
    EXPECT_EQ(question.icon, QMessageBox::Question);
    EXPECT_THAT(question.buttonNames, testing::UnorderedElementsAre("messageBox_yesButton", "messageBox_cancelButton"));
    EXPECT_EQ(question.pParent, m_pWindow.get());
    EXPECT_EQ(ended.size(), 0);
    EXPECT_TRUE(m_pWindow->isVisible());
    EXPECT_EQ(m_pWindow->centralWidget(), pPage);
    EXPECT_TRUE(OutputExists());
    EXPECT_TRUE(QFileInfo::exists(ProgressFile()));
}

TEST_F(WizardWindow, TheQuestionIsWorded)
{
    MakeStarted();
    Doubles::The().wordings = {{"Tips", "Hinweis"},
                               {"Camera calibration is incomplete. Are you sure you want to exit?", "Wirklich?"},
                               {"Yes", "Ja"}};
    m_answers.Press("Ja");
    m_pWindow->CloseWindowSlot();
    EXPECT_EQ(m_answers.Notices().at(0).strTitle, "Hinweis");
    EXPECT_EQ(m_answers.Notices().at(0).strText, "Wirklich?");
}

TEST_F(WizardWindow, AConfirmedExitClosesCleansUpAndTellsTheHost)
{
    MakeStarted();
    FillOutput();
    QList<bool> visibleWhenTold;
    QObject::connect(m_pWindow.get(), &CalibrateTwoCameraWnd::ExitCalibDlgSignal,
                     [&] { visibleWhenTold << m_pWindow->isVisible(); });
    m_answers.Press("Yes");
    Press(*m_pWindow, "cancel");
    EXPECT_EQ(visibleWhenTold, QList<bool>{false});
    EXPECT_FALSE(OutputExists());
    EXPECT_FALSE(QFileInfo::exists(ProgressFile()));
    EXPECT_EQ(m_pWindow->centralWidget(), nullptr);
}

TEST_F(WizardWindow, EveryClosingCleansUpAndALaterRunStartsAnew)
{
    Stored("PROGRESS", 3);
    MakeStarted();
    EXPECT_EQ(Page(*m_pWindow), COORDINATES);
    FillOutput();
    m_data.WriteFile(m_data.CameraTwo("Result/kept.xml"), "x");
    m_pWindow->close();
    EXPECT_FALSE(OutputExists());
    EXPECT_FALSE(QFileInfo::exists(ProgressFile()));
    EXPECT_TRUE(QFileInfo::exists(m_data.CameraTwo("Result/kept.xml")));

    m_pWindow->show();
    m_pWindow->ResumeFromProgress();
    EXPECT_EQ(Page(*m_pWindow), PATTERN);
}

TEST_F(WizardWindow, AWindowThatIsDeletedWhileItAsksEndsQuietly)
{
    MakeStarted();
    FillOutput();
    m_answers.OnBox([this](QMessageBox&) { m_pWindow.reset(); });
    m_pWindow->CloseWindowSlot();
    EXPECT_EQ(m_pWindow, nullptr);
    EXPECT_TRUE(OutputExists());
}

TEST_F(WizardWindow, AHostThatDeletesTheWindowWhenToldIsServed)
{
    MakeStarted();
    QObject::connect(m_pWindow.get(), &CalibrateTwoCameraWnd::ExitCalibDlgSignal, [this] { m_pWindow.reset(); });
    m_pWindow->ExitWindowSlot();
    EXPECT_EQ(m_pWindow, nullptr);
}

} // namespace
