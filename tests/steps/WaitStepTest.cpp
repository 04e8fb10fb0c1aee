#include "WaitDeviceWdg_DualCamera.h"

#include "DataRoot.h"
#include "FileStore.h"
#include "ModuleDoubles.h"
#include "RecordingStyle.h"
#include "StepWidgets.h"

#include <QFileInfo>
#include <QLabel>
#include <QLayout>
#include <QPlainTextEdit>
#include <QSignalSpy>

namespace
{

const QStringList MANUAL_STEPS{"Distortion Correction", "Select Working Area", "Wait for Engraving", "Add Coordinates",
                               "Stitching"};
constexpr const char* INSTRUCTION = "Click the <Start> button on the machine and then click the <Next> button after "
                                    "the pattern engraving is completed.";

class WaitStep : public testing::Test
{
protected:
    void SetUp() override { Doubles::Reset(); }

    DataRoot m_data;
};

TEST_F(WaitStep, HasItsFormsTree)
{
    const WaitDeviceWdg_DualCamera page(0);
    EXPECT_EQ(page.objectName(), "WaitDeviceWdg_DualCamera");
    EXPECT_EQ(page.windowTitle(), "WaitDevice");
    EXPECT_EQ(page.size(), QSize(1115, 967));
    EXPECT_FALSE(page.parentWidget());
    const std::pair<const char*, const char*> parents[] = {{"widget", "WaitDeviceWdg_DualCamera"},
                                                           {"widget_bottom", "WaitDeviceWdg_DualCamera"},
                                                           {"widget_pic", "widget"},
                                                           {"widget_hint", "widget"},
                                                           {"label_calibratePicTwo", "widget_pic"},
                                                           {"label", "widget_hint"},
                                                           {"plainTextEdit", "widget_hint"},
                                                           {"toolButton_Step1", "widget_bottom"},
                                                           {"toolButton_Step5", "widget_bottom"},
                                                           {"label_Step4", "widget_bottom"},
                                                           {"pushButton_back", "widget_bottom"},
                                                           {"pushButton_next", "widget_bottom"},
                                                           {"pushButton_cancel", "widget_bottom"}};
    for (const auto& [pChild, pParent] : parents) {
        EXPECT_EQ(Child<QWidget>(page, pChild).parentWidget()->objectName(), pParent) << pChild;
    }
    for (const char* pLayout : {"verticalLayout_2", "horizontalLayout_3", "gridLayout", "verticalLayout",
                                "horizontalLayout_2", "horizontalLayout", "horizontalLayout_4"}) {
        EXPECT_TRUE(page.findChild<QLayout*>(pLayout)) << pLayout;
    }
}

TEST_F(WaitStep, SignalsAndSlotsStandInTheirOrder)
{
    const QMetaObject& meta = WaitDeviceWdg_DualCamera::staticMetaObject;
    EXPECT_EQ(Methods(meta, QMetaMethod::Signal),
              QStringList({"backWdgSignal()", "nextWdgSignal()", "cancelWdgSignal()"}));
    EXPECT_EQ(Methods(meta, QMetaMethod::Slot),
              QStringList({"on_pushButton_back_clicked()", "on_pushButton_next_clicked()",
                           "on_pushButton_cancel_clicked()", "SetCameraType(int)"}));
}

TEST_F(WaitStep, StartsWithTheTextsOfTheManualFlow)
{
    const WaitDeviceWdg_DualCamera page(1);
    EXPECT_EQ(Child<QLabel>(page, "label").text(), "Pattern Engraving");
    EXPECT_EQ(Child<QPlainTextEdit>(page, "plainTextEdit").toPlainText(), INSTRUCTION);
    EXPECT_TRUE(Child<QPlainTextEdit>(page, "plainTextEdit").isReadOnly());
    EXPECT_EQ(Button(page, "back").text(), "Previous step");
    EXPECT_EQ(Button(page, "next").text(), "Next step");
    EXPECT_EQ(Button(page, "cancel").text(), "Cancel");
    EXPECT_EQ(StepTexts(page), MANUAL_STEPS);
    EXPECT_EQ(StepEnables(page), QStringList(QList<QString>(9, "-")));
}

TEST_F(WaitStep, GoingOnNeedsNoMachine)
{
    WaitDeviceWdg_DualCamera page(1);
    page.show();
    const std::pair<const char*, void (WaitDeviceWdg_DualCamera::*)()> rows[] = {
        {"next", &WaitDeviceWdg_DualCamera::nextWdgSignal},
        {"back", &WaitDeviceWdg_DualCamera::backWdgSignal},
        {"cancel", &WaitDeviceWdg_DualCamera::cancelWdgSignal}};
    for (const auto& [pName, pSignal] : rows) {
        EXPECT_TRUE(Button(page, pName).isEnabled());
        QSignalSpy spy(&page, pSignal);
        Press(page, pName);
        EXPECT_EQ(spy.size(), 1) << pName;
        EXPECT_TRUE(Doubles::The().Logged(0, std::string("pushButton_") + pName + " was clicked."));
    }
    EXPECT_EQ(Doubles::The().logLines.size(), 3u);
    EXPECT_FALSE(QFileInfo::exists(ProgressFile()));
}

TEST_F(WaitStep, TheAutomaticFlowSetsTheStepBar)
{
    WaitDeviceWdg_DualCamera page(1);
    page.SetCameraType(1);
    EXPECT_EQ(StepTexts(page), g_automaticSteps);
    EXPECT_EQ(StepEnables(page),
              QStringList({"true", "true", "true", "false", "false", "false", "false", "false", "false"}));
}

TEST_F(WaitStep, TheManualFlowSetsTheStepBar)
{
    WaitDeviceWdg_DualCamera page(0);
    Child<QLabel>(page, "label_Step3").hide();
    Child<QToolButton>(page, "toolButton_Step4").hide();
    page.show();
    page.SetCameraType(0);
    EXPECT_EQ(StepTexts(page), MANUAL_STEPS);
    EXPECT_EQ(StepEnables(page), QStringList({"true", "-", "true", "true", "true", "false", "false", "-", "-"}));
    EXPECT_TRUE(Child<QLabel>(page, "label_Step3").isVisible());
    EXPECT_TRUE(Child<QToolButton>(page, "toolButton_Step4").isVisible());
}

TEST_F(WaitStep, TheStepBarIsPolishedAnew)
{
    const RecordingStyle::Installed style;
    WaitDeviceWdg_DualCamera page(1);
    page.show();
    const std::size_t nButtons = style->NamedSteps("toolButton_Step").size();
    const std::size_t nLabels = style->NamedSteps("label_Step").size();
    page.SetCameraType(1);
    EXPECT_EQ(style->NamedSteps("toolButton_Step").size() - nButtons, 10u);
    EXPECT_EQ(style->NamedSteps("label_Step").size() - nLabels, 8u);
}

TEST_F(WaitStep, ALanguageChangeWordsThePageAnew)
{
    WaitDeviceWdg_DualCamera page(1);
    for (const QString& strKey :
         QStringList{"WaitDevice", "Pattern Engraving", INSTRUCTION, "Previous step", "Next step", "Cancel"} +
             MANUAL_STEPS + g_automaticSteps) {
        Doubles::The().wordings[strKey] = "~" + strKey;
    }
    ChangeLanguage();
    EXPECT_EQ(page.windowTitle(), "~WaitDevice");
    EXPECT_EQ(Child<QLabel>(page, "label").text(), "~Pattern Engraving");
    EXPECT_EQ(Child<QPlainTextEdit>(page, "plainTextEdit").toPlainText(), QString("~") + INSTRUCTION);
    EXPECT_EQ(Button(page, "back").text(), "~Previous step");
    EXPECT_EQ(Button(page, "next").text(), "~Next step");
    EXPECT_EQ(Button(page, "cancel").text(), "~Cancel");
    // The fifth button keeps the form's text in the manual flow.
    EXPECT_EQ(StepTexts(page), QStringList({"~Distortion Correction", "~Select Working Area", "~Wait for Engraving",
                                            "~Add Coordinates", "Stitching"}));
    page.SetCameraType(2);
    ChangeLanguage();
    EXPECT_EQ(StepTexts(page), QStringList({"~Select work area", "~Engraving pattern", "~Add Left Coords",
                                            "~Add Right Coords", "~Stitch"}));
}

TEST_F(WaitStep, ThePictureFollowsTheKindAlsoInACoordinateOnlyRun)
{
    for (const char* pWizard : {"Completely", "Coordinate"}) {
        WriteIniString("PROGRESS", "WIZARD", pWizard, ProgressFile());
        for (const auto& [nKind, pState] : {std::pair{0, "Fusion"}, {1, "HandEye"}, {2, "HandEye"}}) {
            const RecordingStyle::Installed style;
            WaitDeviceWdg_DualCamera page(nKind);
            page.show();
            EXPECT_EQ(Child<QLabel>(page, "label_calibratePicTwo").property("state"), pState);
            const std::vector<std::string> steps = style->NamedSteps("label_calibratePicTwo");
            ASSERT_GE(steps.size(), 2u);
            EXPECT_EQ(steps[steps.size() - 2], "unpolish label_calibratePicTwo");
            EXPECT_EQ(steps.back(), "polish label_calibratePicTwo");
            EXPECT_TRUE(Child<QLabel>(page, "label_calibratePicTwo").styleSheet().isEmpty());
        }
    }
}

TEST_F(WaitStep, BothKindsHaveOnePictureKeyInACoordinateOnlyRun)
{
    const QString strFolder = GetInstallResourcePath() + "/Res/Icon/CameraTwo/";
    EXPECT_EQ(StepPictureStyle("CoordinateStep3", "Step6"), "image: url(\"" + strFolder + "Step6.png\");");
    EXPECT_EQ(StepPictureStyle("CoordinateStep3", "Step3"), "image: url(\"" + strFolder + "Step3.png\");");
    WriteIniString("PROGRESS", "WIZARD", "Coordinate", ProgressFile());
    EXPECT_EQ(StepPictureStyle("CoordinateStep3", "Step6"), "image: url(\"" + strFolder + "CoordinateStep3.png\");");
    EXPECT_EQ(StepPictureStyle("CoordinateStep3", "Step3"), "image: url(\"" + strFolder + "CoordinateStep3.png\");");
}

TEST_F(WaitStep, ShowingRaisesTheButtonsToTheirTexts)
{
    WaitDeviceWdg_DualCamera page(1);
    Button(page, "next").setText(QString(60, 'W'));
    page.show();
    const QPushButton& next = Button(page, "next");
    EXPECT_EQ(next.minimumWidth(), next.fontMetrics().horizontalAdvance(next.text()));
}

TEST_F(WaitStep, ShowingLeavesAButtonThatIsWideEnough)
{
    WaitDeviceWdg_DualCamera page(1);
    Button(page, "next").setMinimumWidth(500);
    page.show();
    EXPECT_EQ(Button(page, "next").minimumWidth(), 500);
}

} // namespace
