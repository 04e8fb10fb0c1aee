#include "WorkbenchWindow.h"

#include "AreaView.h"
#include "CalibratedMachine.h"
#include "DataRoot.h"
#include "ModalAnswers.h"
#include "Texts.h"

#include <gmock/gmock.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDockWidget>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>

#include <algorithm>

namespace
{

using namespace Workbench;

constexpr int g_nPatienceMs = 60'000;

/// The window over the small plug-in, with the real camera module and machine.
class Window : public testing::Test
{
protected:
    void SetUp() override
    {
        m_pSession = std::make_unique<HostSession>(Simulator::Machine::Kind::Automatic, 1, CTC_MODULE_FOLDER);
        m_pWindow = std::make_unique<WorkbenchWindow>(*m_pSession, CTC_SMALL_PLUGIN);
        m_pWindow->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_pWindow.get()));
    }
    void TearDown() override
    {
        m_pWindow.reset();
        SwitchLanguage("en");
    }
    template <typename Widget> Widget* Find(const char* pName) const { return m_pWindow->findChild<Widget*>(pName); }
    QPushButton* Button(const char* pName) const { return Find<QPushButton>(pName); }
    AreaView* View() const { return Find<AreaView>("areaView"); }
    QString Result(const QString& strName) const { return m_data.CameraTwo("Result/" + strName); }
    static QByteArray Read(const QString& strFile)
    {
        QFile file(strFile);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
    }
    void OpenWizard() const
    {
        QSignalSpy opened(m_pWindow.get(), &WorkbenchWindow::WizardOpenedSignal);
        QTest::mouseClick(Button("pushButton_calibration"), Qt::LeftButton);
        ASSERT_TRUE(opened.count() == 1 || opened.wait(g_nPatienceMs));
    }
    void EndWizard(const char* pButton) const
    {
        QSignalSpy concluded(m_pWindow.get(), &WorkbenchWindow::RunConcludedSignal);
        QTest::mouseClick(m_pWindow->Run()->Window()->findChild<QPushButton*>(pButton), Qt::LeftButton);
        ASSERT_TRUE(concluded.count() == 1 || concluded.wait(g_nPatienceMs));
    }

    ::DataRoot m_data;
    ModalAnswers m_answers;
    std::unique_ptr<HostSession> m_pSession;
    std::unique_ptr<WorkbenchWindow> m_pWindow;
};

/// The same with a calibration of an earlier run.
class CalibratedWindow : public Window
{
protected:
    static void SetUpTestSuite()
    {
        Simulator::Machine machine(Simulator::Machine::Kind::Automatic, 1);
        Simulator::CalibrationReport report;
        s_pOnce = new QTemporaryDir;
        ASSERT_TRUE(Simulator::WriteCalibrationFiles(machine, s_pOnce->path().toStdString(), {}, report));
    }
    static void TearDownTestSuite() { delete s_pOnce; }
    void SetUp() override
    {
        for (const QString& strFolder :
             {QString("/Vision/calib/Camera_Two/Result"), QString("/Vision/calib/Camera_Two/Temp")}) {
            ASSERT_TRUE(QDir().mkpath(m_data.Root() + strFolder));
            for (const QString& strName : QDir(s_pOnce->path() + strFolder).entryList(QDir::Files)) {
                const QString strFile = strFolder + "/" + strName;
                ASSERT_TRUE(QFile::copy(s_pOnce->path() + strFile, m_data.Root() + strFile));
            }
        }
        Window::SetUp();
    }
    void WaitForPicture() const
    {
        ASSERT_TRUE(QTest::qWaitFor([this] { return View()->HasPicture(); }, g_nPatienceMs));
    }

    static inline QTemporaryDir* s_pOnce = nullptr;
};

TEST_F(Window, OpeningsThatMakeNoSenseAreGreyWithTheReason)
{
    m_pWindow->Start();
    EXPECT_TRUE(Button("pushButton_calibration")->isEnabled());
    EXPECT_FALSE(Button("pushButton_fusion")->isEnabled());
    EXPECT_THAT(Button("pushButton_fusion")->toolTip().toStdString(), testing::HasSubstr("automatically"));
    EXPECT_FALSE(Button("pushButton_coordinate")->isEnabled());
    EXPECT_THAT(Button("pushButton_coordinate")->toolTip().toStdString(), testing::HasSubstr("not calibrated"));
}

TEST_F(Window, ALowScreenHoldsTheWindowOfAManualMachineAndItsPanelRolls)
{
    m_pWindow.reset();
    m_pSession = std::make_unique<HostSession>(Simulator::Machine::Kind::Manual, 1, CTC_MODULE_FOLDER);
    m_pWindow = std::make_unique<WorkbenchWindow>(*m_pSession, CTC_SMALL_PLUGIN);
    m_pWindow->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(m_pWindow.get()));
    constexpr int nHeight = 660; // of 720, less the bars of a desktop
    m_pWindow->resize(1200, nHeight);
    QCoreApplication::processEvents();
    EXPECT_LE(m_pWindow->height(), nHeight);
    auto* const pRoll = Find<QScrollArea>("scrollArea_machine");
    auto* const pLast = Button("pushButton_chartAway");
    pRoll->ensureWidgetVisible(pLast);
    const QWidget* const pPort = pRoll->viewport();
    EXPECT_TRUE(pPort->rect().contains(QRect(pLast->mapTo(pPort, QPoint()), pLast->size())));

    OpenWizard();
    auto* const pDock = Find<QDockWidget>("dock_machine");
    ASSERT_TRUE(QTest::qWaitForWindowExposed(pDock));
    EXPECT_GE(pPort->height(), pRoll->widget()->sizeHint().height()) << "the window of its own shows all of the panel";
    m_answers.Press("Yes");
    EndWizard("pushButton_cancel");
}

TEST_F(Window, TheMachinesPanelIsAsWideAsItsButtonsInEveryLanguage)
{
    m_pWindow.reset();
    m_pSession = std::make_unique<HostSession>(Simulator::Machine::Kind::Manual, 1, CTC_MODULE_FOLDER);
    m_pWindow = std::make_unique<WorkbenchWindow>(*m_pSession, CTC_SMALL_PLUGIN);
    // As the theme has it.
    m_pWindow->setStyleSheet("QPushButton { min-width: 40px; }");
    m_pWindow->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(m_pWindow.get()));
    for (const QString& strLanguage : Languages()) {
        ASSERT_TRUE(SwitchLanguage(strLanguage));
        const auto buttons = Find<QDockWidget>("dock_machine")->findChildren<QPushButton*>();
        ASSERT_FALSE(buttons.isEmpty());
        const auto narrow = [](const QPushButton* pButton) { return pButton->width() < pButton->sizeHint().width(); };
        // The layouts come round one after the other.
        EXPECT_TRUE(
            QTest::qWaitFor([&] { return std::none_of(buttons.begin(), buttons.end(), narrow); }, g_nPatienceMs))
            << qPrintable(strLanguage);
    }
}

TEST_F(CalibratedWindow, OnACalibratedMachineItCanBeStitchedAgain)
{
    m_pWindow->Start();
    EXPECT_TRUE(Button("pushButton_coordinate")->isEnabled());
    EXPECT_TRUE(Button("pushButton_coordinate")->toolTip().isEmpty());
}

TEST_F(Window, AMachineThatIsNotCalibratedShowsNoPicture)
{
    m_pWindow->Start();
    QTest::qWait(20);
    EXPECT_FALSE(View()->HasPicture());
    EXPECT_THAT(View()->Placeholder().toStdString(), testing::HasSubstr("not calibrated"));
    EXPECT_FALSE(Find<QLabel>("label_notice")->isVisible()) << "that is no failure";
}

TEST_F(CalibratedWindow, ShowsThePictureAndTheMillimetresUnderTheMouseAndOfAMark)
{
    m_pWindow->Start();
    WaitForPicture();
    QWidget* const pPort = View()->viewport();
    const QPoint place = View()->mapFromScene(QPointF(600.0, 300.0));
    QTest::mouseMove(pPort, place);
    const QPointF pixel = View()->viewportTransform().inverted().map(QPointF(place));
    const QString strText = QString("X %1   Y %2 mm").arg(pixel.x() / 6.0, 0, 'f', 2).arg(pixel.y() / 6.0, 0, 'f', 2);
    EXPECT_EQ(Find<QLabel>("label_coordinates")->text(), strText);
    QTest::mouseClick(pPort, Qt::LeftButton, {}, place);
    EXPECT_EQ(View()->LastMarkText(), strText);
    QTest::mouseMove(pPort, {2, 2});
    EXPECT_TRUE(Find<QLabel>("label_coordinates")->text().isEmpty());
    QTest::mouseClick(Button("pushButton_clearMarks"), Qt::LeftButton);
    EXPECT_EQ(View()->MarkCount(), 0);
}

TEST_F(CalibratedWindow, ACameraThatGivesNoPictureIsToldUntilItDoes)
{
    m_pWindow->Start();
    EXPECT_TRUE(View()->Placeholder().isEmpty()) << "it is calibrated while it waits for its first picture";
    WaitForPicture();
    const auto* const pNotice = Find<QLabel>("label_notice");
    Find<QCheckBox>("checkBox_leftCamera")->setChecked(false);
    ASSERT_TRUE(QTest::qWaitFor([&] { return pNotice->isVisible(); }, g_nPatienceMs));
    EXPECT_EQ(pNotice->text(), "The left camera gives no picture.");
    EXPECT_TRUE(View()->HasPicture()) << "the last one stays";
    Find<QCheckBox>("checkBox_leftCamera")->setChecked(true);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !pNotice->isVisible(); }, g_nPatienceMs));
}

TEST_F(CalibratedWindow, ACancelledRunBringsTheCalibrationAndThePictureBack)
{
    m_pWindow->Start();
    WaitForPicture();
    const QByteArray before = Read(Result("L_AutoDualCalibrate.xml"));
    OpenWizard();
    EXPECT_TRUE(m_pWindow->Run()->Window()->property("told").toBool()) << "cameras, sizes, device and resources";
    EXPECT_FALSE(View()->HasPicture());
    EXPECT_FALSE(Button("pushButton_calibration")->isEnabled());
    m_data.WriteFile(Result("L_AutoDualCalibrate.xml"), "half a run");
    m_answers.Press("Yes");
    EndWizard("pushButton_cancel");
    EXPECT_EQ(Read(Result("L_AutoDualCalibrate.xml")), before);
    EXPECT_EQ(m_pWindow->Run(), nullptr);
    EXPECT_TRUE(Button("pushButton_calibration")->isEnabled());
    EXPECT_TRUE(Find<QLabel>("label_notice")->isVisible());
    WaitForPicture();
}

TEST_F(CalibratedWindow, AFinishedRunIsKept)
{
    m_pWindow->Start();
    OpenWizard();
    m_data.WriteFile(Result("RightCameraParam.ini"), "[CAMERA_PARAM]\nAUTO_CALIBRATION=1\n");
    EndWizard("pushButton_confirm");
    EXPECT_EQ(Read(Result("RightCameraParam.ini")), "[CAMERA_PARAM]\nAUTO_CALIBRATION=1\n");
    OpenWizard();
    EXPECT_NE(m_pWindow->Run(), nullptr) << "and the wizard can be opened again, by an instance of its own";
}

TEST_F(CalibratedWindow, AFinishedRunThatLeftNoWholeCalibrationIsToldWithTheReason)
{
    m_pWindow->Start();
    const QByteArray before = Read(Result("L_AutoDualCalibrate.xml"));
    OpenWizard();
    ASSERT_TRUE(QFile::remove(Result("L_AutoDualCalibrate.xml")));
    EndWizard("pushButton_confirm");
    EXPECT_EQ(Read(Result("L_AutoDualCalibrate.xml")), before);
    const std::string strNotice = Find<QLabel>("label_notice")->text().toStdString();
    EXPECT_THAT(strNotice, testing::HasSubstr("The run has left no whole calibration"));
    EXPECT_THAT(strNotice, testing::HasSubstr("L_AutoDualCalibrate.xml is missing"));
}

TEST_F(CalibratedWindow, TheOpenWizardBlocksTheWindowAndNotTheMachinesPanel)
{
    m_pWindow->Start();
    OpenWizard();
    auto* const pDock = Find<QDockWidget>("dock_machine");
    EXPECT_TRUE(pDock->isFloating());
    ASSERT_TRUE(QTest::qWaitForWindowExposed(pDock));
    // As the window system delivers it: modality is looked at there.
    const auto click = [](const QWidget* pWidget) {
        QWindow* const pWindow = pWidget->window()->windowHandle();
        QTest::mouseClick(pWindow, Qt::LeftButton, {}, pWidget->mapTo(pWidget->window(), pWidget->rect().center()));
    };
    QSignalSpy live(Find<QCheckBox>("checkBox_live"), &QCheckBox::toggled);
    const QPoint box(8, Find<QCheckBox>("checkBox_live")->height() / 2);
    QTest::mouseClick(m_pWindow->windowHandle(), Qt::LeftButton, {},
                      Find<QCheckBox>("checkBox_live")->mapTo(m_pWindow.get(), box));
    EXPECT_EQ(live.count(), 0) << "the main window is blocked";
    QSignalSpy placed(Button("pushButton_placeMaterial"), &QPushButton::clicked);
    click(Button("pushButton_placeMaterial"));
    EXPECT_EQ(placed.count(), 1);
    m_answers.Press("Yes");
    EndWizard("pushButton_cancel");
    EXPECT_FALSE(pDock->isFloating());
}

TEST_F(Window, TheWizardOpensInTheMiddleWithTheMachinesPanelBesideIt)
{
    m_pWindow->Start();
    OpenWizard();
    QWidget* const pWizard = m_pWindow->Run()->Window();
    const QRect screen = pWizard->screen()->availableGeometry();
    const QPoint off = pWizard->frameGeometry().center() - screen.center();
    EXPECT_LE(std::max(std::abs(off.x()), std::abs(off.y())), 2);
    const auto* const pDock = Find<QDockWidget>("dock_machine");
    EXPECT_FALSE(pDock->frameGeometry().intersects(pWizard->frameGeometry()));
    EXPECT_TRUE(screen.contains(pDock->frameGeometry()));

    // A page that wants more room.
    pWizard->resize(screen.width() - pDock->frameGeometry().width() - 20, screen.height() - 20);
    EXPECT_TRUE(screen.contains(pWizard->frameGeometry()));
    EXPECT_TRUE(screen.contains(pDock->frameGeometry()));
    EXPECT_FALSE(pDock->frameGeometry().intersects(pWizard->frameGeometry()));

    m_answers.Press("Yes");
    EndWizard("pushButton_cancel");
}

TEST_F(Window, APlugInThatOpensNothingIsToldAndAllGoesOn)
{
    m_pWindow->Start();
    m_pWindow->OpenWizard(Opening::Fusion);
    const auto* const pNotice = Find<QLabel>("label_notice");
    ASSERT_TRUE(QTest::qWaitFor([&] { return pNotice->isVisible(); }, g_nPatienceMs));
    EXPECT_EQ(pNotice->text(), "The plug-in has opened no wizard window.");
    ASSERT_TRUE(SwitchLanguage("de"));
    QCoreApplication::processEvents();
    EXPECT_NE(pNotice->text(), "The plug-in has opened no wizard window.") << "in the operator's language, at once";
    EXPECT_EQ(m_pWindow->Run(), nullptr);
    EXPECT_TRUE(Button("pushButton_calibration")->isEnabled());
}

TEST_F(CalibratedWindow, TheRealWizardOpensAndLeavingItIsACancel)
{
    m_pWindow = std::make_unique<WorkbenchWindow>(*m_pSession);
    m_pWindow->show();
    m_pWindow->Start();
    const QByteArray before = Read(Result("AutoDualCalibrate_stitch.xml"));
    OpenWizard();
    ASSERT_NE(m_pWindow->Run(), nullptr);
    m_data.WriteFile(Result("AutoDualCalibrate_stitch.xml"), "half a run");
    m_answers.Press("Yes");
    EndWizard("pushButton_cancel");
    EXPECT_EQ(Read(Result("AutoDualCalibrate_stitch.xml")), before);
    EXPECT_FALSE(QFile::exists(m_data.CameraTwo("Progress.ini")));
    WaitForPicture();
    EXPECT_GT(View()->Zoom(), 0.0);
}

TEST_F(CalibratedWindow, TheLanguageCanBeSwitchedBesideTheOpenWizard)
{
    m_pWindow = std::make_unique<WorkbenchWindow>(*m_pSession);
    m_pWindow->show();
    m_pWindow->Start();
    auto* const pLanguage = Find<QComboBox>("comboBox_language");
    EXPECT_EQ(pLanguage->window(), m_pWindow.get());
    OpenWizard();
    ASSERT_NE(m_pWindow->Run(), nullptr);
    auto* const pDock = Find<QDockWidget>("dock_machine");
    EXPECT_TRUE(pDock->isAncestorOf(pLanguage));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(pDock));
    EXPECT_TRUE(pDock->rect().contains(QRect(pLanguage->mapTo(pDock, QPoint()), pLanguage->size())));
    const auto* const pCancel = m_pWindow->Run()->Window()->findChild<QPushButton*>("pushButton_cancel");
    ASSERT_NE(pCancel, nullptr);
    const QString strText = pCancel->text();
    pLanguage->setCurrentIndex(pLanguage->findData("de"));
    QCoreApplication::processEvents();
    EXPECT_NE(pCancel->text(), strText);
    EXPECT_GE(pCancel->width(), pCancel->fontMetrics().horizontalAdvance(pCancel->text()));
    pLanguage->setCurrentIndex(pLanguage->findData("en"));
    QCoreApplication::processEvents();
    m_answers.Press("Yes");
    EndWizard("pushButton_cancel");
    EXPECT_FALSE(pDock->isAncestorOf(pLanguage));
}

TEST_F(Window, StaysOpenWhileTheWizardIsOpen)
{
    m_pWindow->Start();
    OpenWizard();
    EXPECT_FALSE(m_pWindow->close());
    m_answers.Press("Yes");
    EndWizard("pushButton_cancel");
    EXPECT_TRUE(m_pWindow->close());
}

TEST_F(Window, SwitchesItsLanguageLive)
{
    m_pWindow->Start();
    auto* const pLanguage = Find<QComboBox>("comboBox_language");
    const QString strText = Button("pushButton_calibration")->text();
    const QString strReason = Button("pushButton_fusion")->toolTip();
    pLanguage->setCurrentIndex(pLanguage->findData("es"));
    QCoreApplication::processEvents(); // windows are told by a posted event
    EXPECT_EQ(CurrentLanguage(), "es");
    EXPECT_NE(Button("pushButton_calibration")->text(), strText);
    EXPECT_NE(Button("pushButton_fusion")->toolTip(), strReason);
    EXPECT_EQ(pLanguage->currentText(), LanguageName("es"));
    pLanguage->setCurrentIndex(pLanguage->findData("en"));
    QCoreApplication::processEvents();
    EXPECT_EQ(Button("pushButton_calibration")->text(), strText);
}

} // namespace
