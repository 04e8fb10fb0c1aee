// The wizard as any host meets it: through the library's two exports, with the modules that it loads by name.

#include "ICalibrate.h"

#include "DataRoot.h"
#include "HostWindow.h"
#include "ModalAnswers.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QMainWindow>
#include <QPushButton>
#include <QTest>

#include <dlfcn.h>

#include <cstring>

namespace
{

class PluginWindow : public testing::Test
{
protected:
    void SetUp() override
    {
        // Never closed: what a library of this kind has made lives to the end of the process.
        m_pLibrary = dlopen(PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_pLibrary, nullptr) << dlerror();
        // As a host does for the modules of its own folder; the bare names meet them.
        for (const char* pModule : {CAMERA_FILE, ERRCODE_FILE}) {
            ASSERT_NE(dlopen(pModule, RTLD_NOW | RTLD_LOCAL), nullptr) << dlerror();
        }
        m_pInstance = reinterpret_cast<Vision::ICalibrate* (*)()>(dlsym(m_pLibrary, "NewInterface"))();
        ASSERT_NE(m_pInstance, nullptr);
    }
    void TearDown() override
    {
        reinterpret_cast<void (*)(Vision::ICalibrate*)>(dlsym(m_pLibrary, "ReleaseInterface"))(m_pInstance);
    }

    static QMainWindow* Wizard()
    {
        for (QWidget* const pWidget : QApplication::topLevelWidgets()) {
            if (std::strcmp(pWidget->metaObject()->className(), "CalibrateTwoCameraWnd") == 0) {
                return qobject_cast<QMainWindow*>(pWidget);
            }
        }
        return nullptr;
    }
    static QString Page()
    {
        QCoreApplication::processEvents();
        return Wizard() && Wizard()->centralWidget() ? Wizard()->centralWidget()->objectName() : "";
    }
    static void Press(const char* pButton)
    {
        auto* const pFound = Wizard()->findChild<QPushButton*>(pButton);
        ASSERT_TRUE(pFound) << pButton;
        QTest::mouseClick(pFound, Qt::LeftButton);
    }

    DataRoot m_data;
    ModalAnswers m_answers;
    void* m_pLibrary = nullptr;
    Vision::ICalibrate* m_pInstance = nullptr;
};

TEST_F(PluginWindow, EachOpeningShowsItsPage)
{
    HostWindow host;
    EXPECT_EQ(m_pInstance->ShowCalibrationWizard(&host), 0);
    ASSERT_TRUE(Wizard());
    EXPECT_TRUE(Wizard()->isVisible());
    EXPECT_EQ(Wizard()->parentWidget(), &host);
    EXPECT_EQ(Page(), "HandEyePicSetWdg");
    EXPECT_EQ(m_pInstance->ShowFusionWizard(&host), 0);
    EXPECT_EQ(Page(), "AutoDualCalibrateWdg");
    EXPECT_EQ(m_pInstance->ShowCoordinateWizard(&host), 0);
    EXPECT_EQ(Page(), "StitchingWdg");
    EXPECT_THAT(m_answers.Notices(), testing::IsEmpty());
}

TEST_F(PluginWindow, TheHostIsToldWhenTheOperatorLeaves)
{
    HostWindow host;
    m_pInstance->ShowCalibrationWizard(&host);
    m_pInstance->ShowCalibrationWizard(&host);
    ASSERT_EQ(Page(), "HandEyePicSetWdg");
    m_answers.Press("Cancel");
    Press("pushButton_cancel");
    EXPECT_EQ(host.nClosed, 0);
    EXPECT_TRUE(Wizard()->isVisible());
    m_answers.OnBox([](QMessageBox& box) { EXPECT_EQ(box.objectName(), "CMsgBoxQss"); });
    m_answers.Press("Yes");
    Press("pushButton_cancel");
    EXPECT_EQ(host.nClosed, 1);
    EXPECT_FALSE(Wizard()->isVisible());
}

TEST_F(PluginWindow, AWindowThatWentWithItsParentIsMadeAnew)
{
    {
        HostWindow first;
        m_pInstance->ShowCalibrationWizard(&first);
        ASSERT_TRUE(Wizard());
    }
    EXPECT_FALSE(Wizard());
    HostWindow second;
    m_pInstance->ShowCalibrationWizard(&second);
    ASSERT_TRUE(Wizard());
    EXPECT_EQ(Wizard()->parentWidget(), &second);
}

} // namespace
