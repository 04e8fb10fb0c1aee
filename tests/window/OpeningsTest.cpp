// The instance's openings of the wizard.

#include "WindowFixture.h"

#include "CalibrateTwoCameraIns.h"

#include <QScreen>

#include <thread>

namespace
{

class Openings : public WindowFixture
{
protected:
    void SetUp() override
    {
        WindowFixture::SetUp();
        m_pInstance = std::make_unique<CalibrateTwoCameraIns>();
        m_pInstance->SetDeviceHost(&m_device);
        m_pHost = std::make_unique<HostWindow>();
    }
    void TearDown() override
    {
        m_pInstance.reset();
        m_pHost.reset();
        WindowFixture::TearDown();
    }
    static QList<CalibrateTwoCameraWnd*> Windows()
    {
        QList<CalibrateTwoCameraWnd*> windows;
        for (QWidget* const pWidget : QApplication::topLevelWidgets()) {
            if (auto* const pWindow = qobject_cast<CalibrateTwoCameraWnd*>(pWidget)) {
                windows << pWindow;
            }
        }
        return windows;
    }
    static CalibrateTwoCameraWnd& Window()
    {
        if (Windows().size() != 1) {
            qFatal("There are %d windows", static_cast<int>(Windows().size()));
        }
        return *Windows().first();
    }

    std::unique_ptr<CalibrateTwoCameraIns> m_pInstance;
    std::unique_ptr<HostWindow> m_pHost;
};

TEST_F(Openings, ShowTheWizardInTheMiddleAndReturn)
{
    EXPECT_TRUE(Windows().isEmpty());
    EXPECT_EQ(m_pInstance->ShowCalibrationWizard(m_pHost.get()), 0);
    const CalibrateTwoCameraWnd& window = Window();
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(window.parentWidget(), m_pHost.get());
    EXPECT_EQ(Page(window), "HandEyePicSetWdg");
    const QScreen& screen = *QGuiApplication::primaryScreen();
    EXPECT_EQ(window.pos(), QPoint((screen.geometry().width() - 400) / 2, (screen.size().height() - 300) / 2));
}

TEST_F(Openings, DifferInWhereTheyStart)
{
    m_pInstance->ShowFusionWizard(m_pHost.get());
    EXPECT_EQ(Page(Window()), "AutoDualCalibrateWdg");
    m_pInstance->ShowCoordinateWizard(m_pHost.get());
    EXPECT_EQ(Page(Window()), "StitchingWdg");
    m_pInstance->ShowCalibrationWizard(m_pHost.get());
    EXPECT_EQ(Page(Window()), "HandEyePicSetWdg");
    Stored("PROGRESS", 2);
    m_pInstance->ShowCalibrationWizard(m_pHost.get());
    EXPECT_EQ(Page(Window()), "WaitDeviceWdg_DualCamera");
}

TEST_F(Openings, TellThePagesTheFlowBeforeTheyAreShown)
{
    m_pInstance->ShowCalibrationWizard(m_pHost.get());
    EXPECT_EQ(StepTexts(Window()), g_automaticSteps);
    EXPECT_EQ(StepEnables(Window()).first(), "true");
    QCoreApplication::processEvents();
    EXPECT_FALSE(Button(Window(), "back").isVisible());
}

TEST_F(Openings, HandTheDeviceServiceToThePages)
{
    m_pInstance->ShowCalibrationWizard(m_pHost.get());
    QCoreApplication::processEvents();
    Press(Window(), "upload");
    EXPECT_EQ(m_device.calls.back(), "RunCommand(SendCalibrateFile, empty)");
}

TEST_F(Openings, ASecondOneShowsTheSameWindowAndTheHostIsToldOnce)
{
    m_pInstance->ShowCalibrationWizard(m_pHost.get());
    const CalibrateTwoCameraWnd* const pFirst = &Window();
    m_pInstance->ShowCalibrationWizard(m_pHost.get());
    m_pInstance->ShowFusionWizard(m_pHost.get());
    EXPECT_EQ(&Window(), pFirst);
    Window().ExitWindowSlot();
    EXPECT_EQ(m_pHost->nClosed, 1);
    // And again after it was closed.
    m_pInstance->ShowCalibrationWizard(m_pHost.get());
    EXPECT_EQ(&Window(), pFirst);
    EXPECT_TRUE(Window().isVisible());
    m_answers.Press("Yes");
    QCoreApplication::processEvents();
    Press(Window(), "cancel");
    EXPECT_EQ(m_pHost->nClosed, 2);
}

TEST_F(Openings, AnotherParentIsToldAndTheWindowStaysWithTheFirst)
{
    HostWindow second;
    m_pInstance->ShowCalibrationWizard(m_pHost.get());
    m_pInstance->ShowCalibrationWizard(&second);
    EXPECT_EQ(Window().parentWidget(), m_pHost.get());
    Window().ExitWindowSlot();
    EXPECT_EQ(second.nClosed, 1);
}

TEST_F(Openings, AWindowThatWentWithItsParentIsMadeAnew)
{
    m_pInstance->ShowCalibrationWizard(m_pHost.get());
    m_pHost.reset();
    EXPECT_TRUE(Windows().isEmpty());
    HostWindow second;
    EXPECT_EQ(m_pInstance->ShowCalibrationWizard(&second), 0);
    EXPECT_EQ(Window().parentWidget(), &second);
    Window().ExitWindowSlot();
    EXPECT_EQ(second.nClosed, 1);
}

TEST_F(Openings, AReleasedInstanceLeavesTheWindowToItsParent)
{
    m_pInstance->ShowCalibrationWizard(m_pHost.get());
    m_pInstance.reset();
    Window().ExitWindowSlot();
    EXPECT_EQ(m_pHost->nClosed, 1);
    m_pHost.reset();
    EXPECT_TRUE(Windows().isEmpty());
}

TEST_F(Openings, WithoutAParentOrItsSlotTheWizardOpensAllTheSame)
{
    EXPECT_EQ(m_pInstance->ShowCalibrationWizard(nullptr), 0);
    EXPECT_TRUE(Window().isVisible());
    QWidget plain;
    EXPECT_EQ(m_pInstance->ShowCalibrationWizard(&plain), 0);
    EXPECT_TRUE(Doubles::The().Logged(2, "CalibrateTwoCameraIns::OpenWizard, QWidget has no slot CloseWizardSlot() and "
                                         "is not told when the wizard ends"));
    Window().ExitWindowSlot();
    // Nobody owns it.
    delete &Window();
}

TEST_F(Openings, FromAnotherThreadAreRefusedWithALine)
{
    int nAnswer = -5;
    std::thread([&] { nAnswer = m_pInstance->ShowCalibrationWizard(m_pHost.get()); }).join();
    EXPECT_EQ(nAnswer, 0);
    EXPECT_TRUE(Windows().isEmpty());
    ASSERT_EQ(Doubles::The().logLines.size(), 1u);
}

TEST_F(Openings, TheManualFlowOpensAtItsOwnPages)
{
    Stored("CAMERA_TYPE", 0);
    m_pInstance->ShowCalibrationWizard(m_pHost.get());
    EXPECT_EQ(Page(Window()), "CalibrateWdg");
    m_pInstance->ShowFusionWizard(m_pHost.get());
    EXPECT_EQ(Page(Window()), "FusionWdg");
    m_pInstance->ShowCoordinateWizard(m_pHost.get());
    EXPECT_EQ(Page(Window()), "HandEyePicSetWdg");
    m_answers.Press("Yes");
    QCoreApplication::processEvents();
    Press(Window(), "cancel");
    EXPECT_EQ(m_pHost->nClosed, 1);
}

} // namespace
