// The form, the texts and the choice of the work area.

#include "PatternStepFixture.h"

#include "RecordingStyle.h"

#include <QLabel>
#include <QLayout>
#include <QListView>

namespace
{

using testing::ElementsAre;

constexpr const char* FIRST =
    "1.Place the engraving material in the center of the machine's working area.\n2.Refer to the diagram on the left, "
    "measure the corresponding dimensional data and input the data below.";
const QString SECOND =
    QString("1.Place the material at the center of the device's working area.\n2.If your device type is not listed, "
            "select <Material size>.Refer to the schematic diagram below to measure the dimensions and input them on "
            "the right(where~<L>~in the diagram indicates material length, and~<W>~indicates material width).\n3.After "
            "uploading the file, perform frame tracing on the device to check if the pattern is undersized / oversized "
            "/ offset.If adjustments are needed, modify the data and click the~<Upload>~button again.")
        .replace('~', QChar(0xa0));

TEST_F(PatternStep, HasItsFormsTree)
{
    const HandEyePicSetWdg& page = Make();
    EXPECT_EQ(page.objectName(), "HandEyePicSetWdg");
    EXPECT_EQ(page.windowTitle(), "Form");
    EXPECT_EQ(page.size(), QSize(1098, 738));
    const struct {
        const char* pParent;
        const char* pLayout;
        QStringList children;
    } rows[] = {
        {"HandEyePicSetWdg", "verticalLayout_3", {"widget_pic", "widget_bottom"}},
        {"widget_pic", "verticalLayout_4", {"label", "plainTextEdit_2", "widget_hint"}},
        {"widget_hint", "horizontalLayout_5", {"label_calibratePic", "widget"}},
        {"widget", "verticalLayout", {"widget_2", "pushButton_upload"}},
        {"widget_2",
         "verticalLayout_6",
         {"radioButton_workingFormat", "radioButton_meterialSize", "widget_workingFormat", "widget_meterialSize"}},
        {"widget_workingFormat", "horizontalLayout_8", {"label_4", "comboBox_models", "comboBox_subModels"}},
        {"widget_meterialSize",
         "verticalLayout_5",
         {"label_8", "spinBox_StartPosX", "label_10", "label_12", "spinBox_StartPosY", "label_11", "label_2",
          "spinBox_width", "label_6", "label_3", "spinBox_height", "label_7"}},
        {"widget_bottom",
         "horizontalLayout",
         {"toolButton_Step1", "label_Step1", "toolButton_Step2", "label_Step2", "toolButton_Step3", "label_Step3",
          "toolButton_Step4", "label_Step4", "toolButton_Step5", "pushButton_back", "pushButton_confirm",
          "pushButton_cancel"}},
    };
    for (const auto& row : rows) {
        const QWidget* const pParent = page.objectName() == row.pParent ? &page : page.findChild<QWidget*>(row.pParent);
        ASSERT_TRUE(pParent) << row.pParent;
        ASSERT_TRUE(pParent->layout()) << row.pParent;
        EXPECT_EQ(pParent->layout()->objectName(), row.pLayout);
        QStringList children;
        for (const QWidget* const pChild : pParent->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
            children << pChild->objectName();
        }
        EXPECT_EQ(children, row.children) << row.pParent;
    }
    for (const char* pLayout :
         {"horizontalLayout_4", "verticalLayout_2", "verticalLayout_7", "horizontalLayout_6", "horizontalLayout_9"}) {
        EXPECT_TRUE(page.findChild<QLayout*>(pLayout)) << pLayout;
    }
    EXPECT_TRUE(The<QRadioButton>("radioButton_workingFormat").isChecked());
    EXPECT_TRUE(The<QPlainTextEdit>("plainTextEdit_2").isReadOnly());
    EXPECT_EQ(The<QSpinBox>("spinBox_width").minimum(), 0);
    EXPECT_EQ(The<QSpinBox>("spinBox_width").maximum(), 9999);
    EXPECT_EQ(The<QSpinBox>("spinBox_height").maximum(), 9999);
    EXPECT_EQ(The<QSpinBox>("spinBox_StartPosX").maximum(), 99);
    EXPECT_EQ(The<QSpinBox>("spinBox_StartPosY").maximum(), 99);
    EXPECT_TRUE(qobject_cast<QListView*>(The<QComboBox>("comboBox_models").view()));
    EXPECT_TRUE(qobject_cast<QListView*>(The<QComboBox>("comboBox_subModels").view()));
    for (const auto& [pLabel, pText] : {std::pair{"label_8", "Start pos X:   "},
                                        {"label_12", "Start pos Y: "},
                                        {"label_2", "Material length:"},
                                        {"label_3", "Material width:"},
                                        {"label_10", "mm"},
                                        {"label_11", "mm"},
                                        {"label_6", "mm"},
                                        {"label_7", "mm"}}) {
        EXPECT_EQ(The<QLabel>(pLabel).text(), pText);
    }
}

TEST_F(PatternStep, SignalsAndSlotsStandInTheirOrder)
{
    const QMetaObject& meta = HandEyePicSetWdg::staticMetaObject;
    EXPECT_EQ(Methods(meta, QMetaMethod::Signal),
              QStringList({"SendListPtSignal(QList<QPointF>)", "SendFlagSizeSignal(QSizeF)", "cancelWdgSignal()",
                           "backWdgSignal()", "nextWdgSignal()"}));
    EXPECT_EQ(Methods(meta, QMetaMethod::Slot),
              QStringList({"InitCombobox()", "on_pushButton_upload_clicked()", "on_pushButton_back_clicked()",
                           "on_pushButton_confirm_clicked()", "on_pushButton_cancel_clicked()",
                           "on_spinBox_width_editingFinished()", "on_spinBox_height_editingFinished()",
                           "on_radioButton_workingFormat_clicked(bool)", "on_radioButton_meterialSize_clicked(bool)",
                           "on_comboBox_models_currentIndexChanged(int)"}));
}

TEST_F(PatternStep, StartsWithTheMachinesAndNothingUploaded)
{
    MakeShown();
    EXPECT_EQ(m_errCode.nHandedOut, 1);
    EXPECT_FALSE(CanGoOn());
    EXPECT_TRUE(Button(*m_pPage, "upload").isEnabled());
    EXPECT_TRUE(The<QWidget>("widget_workingFormat").isVisible());
    EXPECT_FALSE(The<QWidget>("widget_meterialSize").isVisible());
    EXPECT_EQ(The<QLabel>("label_calibratePic").property("Mode"), "Default");
    EXPECT_TRUE(m_grids.isEmpty());
    EXPECT_THAT(m_answers.Notices(), testing::IsEmpty());
}

TEST_F(PatternStep, ModelsStandInOrderAndTheirSubModelsFollow)
{
    Make();
    auto& models = The<QComboBox>("comboBox_models");
    auto& subModels = The<QComboBox>("comboBox_subModels");
    const auto texts = [](const QComboBox& box) {
        QStringList items;
        for (int i = 0; i < box.count(); ++i) {
            items << box.itemText(i);
        }
        return items;
    };
    EXPECT_EQ(texts(models), QStringList({"Big", "Small"}));
    EXPECT_EQ(models.currentText(), "Big");
    EXPECT_EQ(texts(subModels), QStringList({"B1", "B2"}));
    EXPECT_EQ(subModels.currentText(), "B1");
    EXPECT_EQ(std::count(Doubles::The().logLines.begin(), Doubles::The().logLines.end(),
                         std::pair<int, std::string>(0, "comboBox_models was changed.")),
              1);
    subModels.setCurrentIndex(1);
    models.setCurrentIndex(1);
    EXPECT_EQ(texts(subModels), QStringList{"S1"});
    EXPECT_EQ(subModels.currentText(), "S1");
}

TEST_F(PatternStep, ReadingTheListAgainFillsTheBoxesAgain)
{
    Make();
    m_types.Write(R"({"New": {"N1": {}}})");
    ASSERT_TRUE(QMetaObject::invokeMethod(m_pPage.get(), "InitCombobox"));
    EXPECT_EQ(The<QComboBox>("comboBox_subModels").count(), 2);
    EXPECT_EQ(The<QComboBox>("comboBox_models").itemText(1), "New");
}

TEST_F(PatternStep, EachButtonLogsItsLineAndSendsItsSignal)
{
    MakeShown().SetCameraType(0);
    const std::pair<const char*, void (HandEyePicSetWdg::*)()> rows[] = {
        {"back", &HandEyePicSetWdg::backWdgSignal},
        {"confirm", &HandEyePicSetWdg::nextWdgSignal},
        {"cancel", &HandEyePicSetWdg::cancelWdgSignal}};
    for (const auto& [pName, pSignal] : rows) {
        Button(*m_pPage, pName).setEnabled(true);
        QSignalSpy spy(m_pPage.get(), pSignal);
        Press(*m_pPage, pName);
        EXPECT_EQ(spy.size(), 1) << pName;
        EXPECT_TRUE(Doubles::The().Logged(0, std::string("pushButton_") + pName + " was clicked."));
    }
    EXPECT_TRUE(m_host.calls.empty());
}

TEST_F(PatternStep, TheModeButtonsShowTheirHalfAndTheThemesPicture)
{
    const RecordingStyle::Installed style;
    MakeShown();
    const std::size_t nBefore = style->NamedSteps("label_calibratePic").size();
    ChooseMaterial(1, 1);
    EXPECT_FALSE(The<QWidget>("widget_workingFormat").isVisible());
    EXPECT_TRUE(The<QWidget>("widget_meterialSize").isVisible());
    EXPECT_EQ(The<QLabel>("label_calibratePic").property("Mode"), "Custom");
    EXPECT_TRUE(Doubles::The().Logged(0, "radioButton_meterialSize was clicked."));
    The<QRadioButton>("radioButton_workingFormat").click();
    EXPECT_TRUE(The<QWidget>("widget_workingFormat").isVisible());
    EXPECT_FALSE(The<QWidget>("widget_meterialSize").isVisible());
    EXPECT_EQ(The<QLabel>("label_calibratePic").property("Mode"), "Default");
    EXPECT_TRUE(Doubles::The().Logged(0, "radioButton_workingFormat was clicked."));
    std::vector<std::string> steps = style->NamedSteps("label_calibratePic");
    steps.erase(steps.begin(), steps.begin() + static_cast<long>(nBefore));
    EXPECT_THAT(steps, ElementsAre("unpolish label_calibratePic", "polish label_calibratePic",
                                   "unpolish label_calibratePic", "polish label_calibratePic"));
}

TEST_F(PatternStep, TheAutomaticFlowSetsTheStepBarAndTheTexts)
{
    // The no-break spaces belong to the key; the text field itself gives them back as plain ones.
    Doubles::The().wordings[SECOND] = "second";
    MakeShown().SetCameraType(1);
    EXPECT_EQ(StepTexts(*m_pPage), g_automaticSteps);
    EXPECT_EQ(StepEnables(*m_pPage),
              QStringList({"true", "false", "false", "false", "false", "false", "false", "false", "false"}));
    EXPECT_FALSE(Button(*m_pPage, "back").isVisible());
    EXPECT_EQ(Button(*m_pPage, "confirm").text(), "Next step");
    EXPECT_EQ(The<QLabel>("label").text(), "Instructions");
    EXPECT_EQ(The<QPlainTextEdit>("plainTextEdit_2").toPlainText(), "second");
    EXPECT_FALSE(The<QRadioButton>("radioButton_meterialSize").isVisible());
    ChooseSmall();
    Press(*m_pPage, "upload");
    EXPECT_EQ(m_sizes, QList<QSizeF>{QSizeF(40, 40)});
    ASSERT_EQ(m_host.lines.size(), 6u * 2 + 4);
    EXPECT_EQ(m_host.lines[2], (Doubles::RecordingHost::Line{-8, 20, 32, 20}));
}

TEST_F(PatternStep, TheManualFlowSetsTheStepBarAndTheTexts)
{
    MakeShown().SetCameraType(0);
    EXPECT_EQ(StepTexts(*m_pPage), QStringList({"Distortion Correction", "Select Working Area", "Wait for Engraving",
                                                "Add Coordinates", "Stitch"}));
    EXPECT_EQ(StepEnables(*m_pPage),
              QStringList({"true", "true", "true", "false", "false", "false", "false", "-", "-"}));
    EXPECT_TRUE(Button(*m_pPage, "back").isVisible());
    EXPECT_TRUE(The<QToolButton>("toolButton_Step4").isVisible());
    EXPECT_EQ(The<QLabel>("label").text(), "Coordinate calibration");
    EXPECT_EQ(The<QPlainTextEdit>("plainTextEdit_2").toPlainText(), FIRST);
    ChooseSmall();
    Press(*m_pPage, "upload");
    EXPECT_EQ(m_sizes, QList<QSizeF>{QSizeF(30, 30)});
}

TEST_F(PatternStep, TheStepBarIsPolishedAnew)
{
    const RecordingStyle::Installed style;
    MakeShown();
    const std::size_t nBefore = style->NamedSteps("toolButton_Step").size();
    m_pPage->SetCameraType(1);
    EXPECT_EQ(style->NamedSteps("toolButton_Step").size() - nBefore, 10u);
}

TEST_F(PatternStep, ALanguageChangeWordsThePageAnew)
{
    Make();
    EXPECT_EQ(StepTexts(*m_pPage), g_automaticSteps);
    EXPECT_EQ(Button(*m_pPage, "confirm").text(), "Next step");
    for (const QString& strKey :
         QStringList{"Coordinate calibration", FIRST, "Working Format", "Meterial Size", "Device Type", "Upload",
                     "Previous step", "Next step", "Cancel", "Material length:"} +
             g_automaticSteps) {
        Doubles::The().wordings[strKey] = "~" + strKey;
    }
    ChangeLanguage();
    EXPECT_EQ(The<QLabel>("label").text(), "~Coordinate calibration");
    EXPECT_EQ(The<QPlainTextEdit>("plainTextEdit_2").toPlainText(), QString("~") + FIRST);
    EXPECT_EQ(The<QRadioButton>("radioButton_workingFormat").text(), "~Working Format");
    EXPECT_EQ(The<QRadioButton>("radioButton_meterialSize").text(), "~Meterial Size");
    EXPECT_EQ(The<QLabel>("label_4").text(), "~Device Type");
    EXPECT_EQ(The<QLabel>("label_2").text(), "~Material length:");
    EXPECT_EQ(Button(*m_pPage, "upload").text(), "~Upload");
    EXPECT_EQ(Button(*m_pPage, "back").text(), "~Previous step");
    EXPECT_EQ(Button(*m_pPage, "confirm").text(), "~Next step");
    EXPECT_EQ(Button(*m_pPage, "cancel").text(), "~Cancel");
    EXPECT_EQ(StepTexts(*m_pPage).first(), "~Select work area");
    EXPECT_EQ(StepTexts(*m_pPage).last(), "~Stitch");
}

TEST_F(PatternStep, ALanguageChangeInTheAutomaticFlowKeepsTheStepBar)
{
    Make().SetCameraType(1);
    for (const QString& strKey : QStringList{"Ok", "Coordinate calibration", "Select work area", "Meterial Size"}) {
        Doubles::The().wordings[strKey] = "~" + strKey;
    }
    ChangeLanguage();
    EXPECT_EQ(Button(*m_pPage, "confirm").text(), "~Ok");
    EXPECT_EQ(The<QLabel>("label").text(), "~Coordinate calibration");
    EXPECT_EQ(The<QPlainTextEdit>("plainTextEdit_2").toPlainText(), FIRST);
    EXPECT_EQ(StepTexts(*m_pPage), g_automaticSteps);
    EXPECT_EQ(The<QRadioButton>("radioButton_meterialSize").text(), "Meterial Size");
}

TEST_F(PatternStep, ALanguageChangeInAnyOtherTypeWordsTheStepBarToo)
{
    Make().SetCameraType(2);
    for (const QString& strKey : QStringList{"Next step", "Meterial Size", "Select work area", "Stitch"}) {
        Doubles::The().wordings[strKey] = "~" + strKey;
    }
    ChangeLanguage();
    EXPECT_EQ(Button(*m_pPage, "confirm").text(), "~Next step");
    EXPECT_EQ(The<QRadioButton>("radioButton_meterialSize").text(), "~Meterial Size");
    EXPECT_EQ(StepTexts(*m_pPage).first(), "~Select work area");
    EXPECT_EQ(StepTexts(*m_pPage).last(), "~Stitch");
}

TEST_F(PatternStep, ShowingRaisesTheButtonsToTheirTexts)
{
    Make();
    Doubles::The().wordings["Cancel"] = QString(60, 'W');
    ChangeLanguage();
    m_pPage->show();
    const QPushButton& cancel = Button(*m_pPage, "cancel");
    EXPECT_EQ(cancel.minimumWidth(), cancel.fontMetrics().horizontalAdvance(cancel.text()));
}

} // namespace
