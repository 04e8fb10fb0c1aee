// The page as it opens: its form, its words, its step and what a stored run changes of it.

#include "AutoDualFixture.h"
#include "RecordingStyle.h"

#include <QFile>
#include <QMetaMethod>

#include <algorithm>

namespace
{

using testing::Contains;
using testing::ElementsAre;

const char* const g_steps[] = {"toolButton_Step1", "label_Step1",      "toolButton_Step2",
                               "label_Step2",      "toolButton_Step3", "label_Step3",
                               "toolButton_Step4", "label_Step4",      "toolButton_Step5"};

} // namespace

// ---- Start and wordings ----

TEST_F(AutoDual, StartsWithNothingToConfirmAndBothTitlesWritten)
{
    Make();
    EXPECT_FALSE(Confirm().isEnabled());
    EXPECT_EQ(m_pPage->windowTitle(), "AdjustCalibratePicture");
    EXPECT_EQ(Label("label_coorAlignment"), "Get Right Coords") << "the second of two";
    EXPECT_EQ(Label("label_Coord"), "Coordinates:(0,0)");
    EXPECT_EQ(Label("label_tips"), "Instructions");
    EXPECT_EQ(Button("pushButton_takePic").text(), "Photo");
    EXPECT_EQ(Button("pushButton_back").text(), "Previous step");
    EXPECT_EQ(Confirm().text(), "Next step");
    EXPECT_EQ(Button("pushButton_cancel").text(), "Cancel");
    EXPECT_EQ(Tool("toolButton_Step1").text(), "Select work area");
    EXPECT_EQ(Tool("toolButton_Step5").text(), "Stitch");
    EXPECT_TRUE(Instructions().startsWith("Please zoom and pan the photo"));
    EXPECT_TRUE(Get<QPlainTextEdit>("plainTextEdit").isReadOnly());
    EXPECT_EQ(m_pPage->size(), QSize(911, 611));
    EXPECT_EQ(m_pPage->findChild<QTimer*>()->interval(), 1000);
    EXPECT_TRUE(View().hasMouseTracking());
    EXPECT_TRUE(View().viewport()->hasMouseTracking());
}

TEST_F(AutoDual, HasItsFormsTree)
{
    Make();
    EXPECT_EQ(m_pPage->objectName(), "AutoDualCalibrateWdg");
    ExpectTree(*m_pPage,
               {{"AutoDualCalibrateWdg", {"widget", "widget_buttom"}},
                {"widget", {"widget_view", "widget_right"}},
                {"widget_view", {"graphicsView"}},
                {"widget_right", {"widget_3", "widget_2"}},
                {"widget_3", {"label_coorAlignment", "pushButton_takePic", "listWidget_Coord", "label_Coord"}},
                {"widget_2", {"label_tips", "label", "plainTextEdit"}},
                {"widget_buttom", BOTTOM_ROW}},
               {"verticalLayout_4", "horizontalLayout_5", "verticalLayout_5", "verticalLayout_3", "verticalLayout_2",
                "horizontalLayout_4", "horizontalLayout_2", "verticalLayout", "horizontalLayout_3", "horizontalLayout",
                "horizontalLayout_8"});
}

TEST_F(AutoDual, BelongsToTheAutomaticFlowUntilItIsTold)
{
    WriteIniInt("PROGRESS", "STEPINDEX", 4, ProgressFile());
    Make();
    Show();
    EXPECT_EQ(Progress("STEPINDEX"), "4") << "only that flow takes up a stored step";
}

TEST_F(AutoDual, TheToolBarIsAFramelessPartOfTheViewThatDeletesItself)
{
    Make();
    ASSERT_TRUE(ToolBar());
    EXPECT_EQ(ToolBar()->parentWidget(), View().viewport());
    EXPECT_TRUE(ToolBar()->testAttribute(Qt::WA_DeleteOnClose));
    EXPECT_FALSE(ToolBar()->testAttribute(Qt::WA_NoMousePropagation));
    EXPECT_EQ(ToolBar()->windowType(), Qt::SubWindow);
    EXPECT_TRUE(ToolBar()->windowFlags().testFlag(Qt::FramelessWindowHint));
}

TEST_F(AutoDual, TheLeftStepTellsWhereItIs)
{
    Open();
    for (const char* const pName : g_steps) {
        const bool bDone = std::find(std::begin(g_steps), std::end(g_steps), pName) - std::begin(g_steps) < 5;
        EXPECT_EQ(Enable(*m_pPage, pName), bDone ? "true" : "false") << pName;
    }
    EXPECT_EQ(Label("label_coorAlignment"), "Get Left Coords");
    EXPECT_EQ(Confirm().text(), "Next step");
    EXPECT_EQ(Instructions(),
              "Please zoom and pan the photo to locate the centre of each cross; be sure to add exactly "
              "6 coordinates in left - to - right order!");
    EXPECT_TRUE(Get<QPlainTextEdit>("plainTextEdit").isReadOnly());
    EXPECT_EQ(Tool("toolButton_Step2").text(), "Engraving pattern");
    EXPECT_EQ(Tool("toolButton_Step3").text(), "Add Left Coords");
    EXPECT_EQ(Tool("toolButton_Step4").text(), "Add Right Coords");
}

TEST_F(AutoDual, TheRightStepTellsWhereItIs)
{
    Open();
    FinishLeft();
    for (const char* const pName : g_steps) {
        const bool bDone = std::find(std::begin(g_steps), std::end(g_steps), pName) - std::begin(g_steps) < 7;
        EXPECT_EQ(Enable(*m_pPage, pName), bDone ? "true" : "false") << pName;
    }
    EXPECT_EQ(Label("label_coorAlignment"), "Get Right Coords");
    EXPECT_TRUE(Instructions().contains("exactly 6 coordinates"));
    EXPECT_TRUE(View().HasPendingCross()) << "adding is off until Add is pressed";
}

TEST_F(AutoDual, TheStepBarIsPolishedAnewWhereItChanges)
{
    const RecordingStyle::Installed style;
    Open();
    const std::size_t nLabel = style->NamedSteps("label_Step3").size();
    const std::size_t nButton = style->NamedSteps("toolButton_Step4").size();
    FinishLeft();
    const auto since = [&](const char* pName, std::size_t nBefore) {
        std::vector<std::string> steps = style->NamedSteps(pName);
        steps.erase(steps.begin(), steps.begin() + static_cast<long>(nBefore));
        return steps;
    };
    EXPECT_THAT(since("label_Step3", nLabel), ElementsAre("unpolish label_Step3", "polish label_Step3"));
    EXPECT_THAT(since("toolButton_Step4", nButton),
                ElementsAre("unpolish toolButton_Step4", "polish toolButton_Step4"));
}

TEST_F(AutoDual, TheRightStepBeginsWithAddingOff)
{
    Open();
    TakePicture();
    AddCrosses(CROSSES);
    View().SetAddEnabled(true);
    Click("pushButton_confirm");
    ASSERT_EQ(Progress("STEPINDEX"), "4");
    EXPECT_TRUE(View().HasPendingCross());
}

TEST_F(AutoDual, TheManualFlowHasItsOwnStepsAndMarksTheEmptyLabel)
{
    Make();
    Get<QLabel>("label_Step3").hide();
    Tool("toolButton_Step4").hide();
    m_pPage->SetCameraType(0);
    for (const char* const pName :
         {"toolButton_Step1", "label", "toolButton_Step2", "label_Step2", "toolButton_Step3"}) {
        EXPECT_EQ(Enable(*m_pPage, pName), "true") << pName;
    }
    EXPECT_EQ(Enable(*m_pPage, "label_Step3"), "false");
    EXPECT_EQ(Enable(*m_pPage, "toolButton_Step4"), "false");
    EXPECT_EQ(Enable(*m_pPage, "label_Step1"), "(none)") << "left alone, as label stands in its place";
    EXPECT_FALSE(Get<QLabel>("label_Step3").isHidden());
    EXPECT_FALSE(Tool("toolButton_Step4").isHidden());
    EXPECT_EQ(Tool("toolButton_Step1").text(), "Distortion Correction");
    EXPECT_EQ(Tool("toolButton_Step2").text(), "Select Working Area");
    EXPECT_EQ(Tool("toolButton_Step3").text(), "Wait for Engraving");
    EXPECT_EQ(Tool("toolButton_Step4").text(), "Add Coordinates");
}

TEST_F(AutoDual, ANewLanguageReachesTheWholePage)
{
    Open();
    TakePicture();
    AddCrosses(2);
    Doubles::The().wordings = {
        {"Photo", "Foto"},       {"Coordinate", "Koordinate"},        {"Get Left Coords", "Links"},
        {"Next step", "Weiter"}, {"Add Right Coords", "Rechts dazu"}, {"AdjustCalibratePicture", "Titel"}};
    QEvent event(QEvent::LanguageChange);
    QApplication::sendEvent(m_pPage.get(), &event);

    EXPECT_EQ(m_pPage->windowTitle(), "Titel");
    EXPECT_EQ(Button("pushButton_takePic").text(), "Foto");
    EXPECT_EQ(Label("label_coorAlignment"), "Links");
    EXPECT_EQ(Confirm().text(), "Weiter");
    EXPECT_EQ(Tool("toolButton_Step4").text(), "Rechts dazu");
    const QPoint last = View().GetLastCrossPos();
    EXPECT_EQ(Label("label_Coord"), QString("Koordinate: %1,%2").arg(last.x()).arg(last.y()));
    EXPECT_TRUE(Rows()[0].startsWith("Koordinate1: "));
    EXPECT_EQ(Rows().size(), 2);
}

TEST_F(AutoDual, ALanguageThatComesBeforeTheGridIsKnownOpensNothing)
{
    Make();
    m_pPage->SetCameraType(1);
    QEvent event(QEvent::LanguageChange);
    QApplication::sendEvent(m_pPage.get(), &event);
    EXPECT_FALSE(Confirm().isEnabled());
    EXPECT_TRUE(Tool("toolButton_Add").isEnabled());
}

TEST_F(AutoDual, ItsSignalsAndSlotsComeInTheOrderThatTheirUsersKnow)
{
    const QMetaObject& meta = AutoDualCalibrateWdg::staticMetaObject;
    EXPECT_EQ(Methods(meta, QMetaMethod::Signal),
              (QStringList{"AutoDualCalibrateWdgBtnBackSignal()", "AutoDualCalibrateWdgBtnNextSignal()",
                           "CloseWindowSignal()", "ExitWindowSignal()", "SendListPtSignal(QList<QPointF>)",
                           "SendFlagSizeSignal(QSizeF)", "ListCoordRowClickedSignal(int)",
                           "AddCrossFinishSignal(int,QPointF)"}));
    EXPECT_EQ(
        Methods(meta, QMetaMethod::Slot),
        (QStringList{
            "on_pushButton_confirm_clicked()", "on_pushButton_back_clicked()", "on_pushButton_cancel_clicked()",
            "on_pushButton_takePic_clicked()", "ListCoordItemClickedSlots(QListWidgetItem*)", "ClearSelectItemSlots()",
            "CoordinateToolBarAddSlots()", "CoordinateToolBarModifySlots()", "CoordinateToolBarDeleteSlots()",
            "AddCrossSlots(QPointF)", "on_pushButton_AddCoord_clicked()", "on_pushButton_RemoveCoord_clicked()",
            "on_listWidget_Coord_itemDoubleClicked(QListWidgetItem*)", "TimeOutSlot()", "CrossItemPressedSlots(int)"}));
}

// ---- Progress ----

TEST_F(AutoDual, ShowingReadsTheGridAndWritesTheStep)
{
    Open();
    EXPECT_EQ(Progress("STEPINDEX"), "3");
    EXPECT_EQ(Progress("CALIBSUCCESS"), "0");
    EXPECT_EQ(Progress("PROGRESS"), "3");
    EXPECT_EQ(Progress("Row"), "2") << "nothing else is touched";
}

TEST_F(AutoDual, ARunThatBrokeOffInTheRightStepGoesOnThere)
{
    WriteIniInt("PROGRESS", "STEPINDEX", 4, ProgressFile());
    WriteIniInt("PROGRESS", "CALIBSUCCESS", 1, ProgressFile());
    WriteIniInt("PROGRESS", "PROGRESS", 4, ProgressFile());
    Open();
    EXPECT_EQ(Label("label_coorAlignment"), "Get Right Coords");
    EXPECT_EQ(Progress("STEPINDEX"), "4");
    EXPECT_EQ(Progress("CALIBSUCCESS"), "1");
    EXPECT_EQ(Progress("PROGRESS"), "4");
    TakePicture();
    EXPECT_THAT(m_pCamera->Calls(), Contains("OpenCamera([1] Camera-Right)"));
}

TEST_F(AutoDual, AnUnheardOfStepIsTheLeftOne)
{
    for (const int nStep : {1, 0, 5, -7}) {
        WriteIniInt("PROGRESS", "STEPINDEX", nStep, ProgressFile());
        Open();
        EXPECT_EQ(Progress("STEPINDEX"), "3") << nStep;
        EXPECT_EQ(Label("label_coorAlignment"), "Get Left Coords") << nStep;
    }
}

TEST_F(AutoDual, ProgressOfZeroOrFiveIsNotReadFurther)
{
    for (const int nProgress : {0, 5}) {
        WriteIniInt("PROGRESS", "PROGRESS", nProgress, ProgressFile());
        WriteIniInt("PROGRESS", "STEPINDEX", 4, ProgressFile());
        Open();
        EXPECT_EQ(Progress("STEPINDEX"), "3") << nProgress;
        EXPECT_TRUE(Instructions().contains("exactly 0 coordinates")) << nProgress;
        EXPECT_FALSE(Confirm().isEnabled());
    }
}

TEST_F(AutoDual, OnlyTypeOneReadsProgress)
{
    WriteIniInt("PROGRESS", "STEPINDEX", 4, ProgressFile());
    Open(2);
    EXPECT_EQ(Progress("STEPINDEX"), "3");
}

TEST_F(AutoDual, AbsurdGridsDoNoHarm)
{
    const int nHuge = 2147483647;
    for (const int nSize : {nHuge, -nHuge, 0}) {
        WriteGrid(nSize, nSize, nSize, nSize);
        Open(1, {});
        TakePicture();
        emit View().AddCrossSignals({100, 100});
        EXPECT_FALSE(Confirm().isEnabled()) << nSize;
        Click("pushButton_takePic");
        EndCountdown(*m_pPage);
    }
}

TEST_F(AutoDual, MarksOfAnotherRunAreForgotten)
{
    Open();
    FinishLeft();
    TakePicture();
    AddCrosses(CROSSES);
    ASSERT_TRUE(Confirm().isEnabled());
    m_pPage->hide();

    QFile::remove(ProgressFile());
    WriteGrid(2, 5, 2, 3);
    WriteIniInt("PROGRESS", "PROGRESS", 3, ProgressFile());
    Show();

    EXPECT_EQ(Label("label_coorAlignment"), "Get Left Coords");
    EXPECT_EQ(List().count(), 0);
    EXPECT_FALSE(View().HasPicture());
    EXPECT_FALSE(Confirm().isEnabled());
    EXPECT_TRUE(Tool("toolButton_Add").isEnabled());
}

TEST_F(AutoDual, ComingBackToAStepKeepsItsMarks)
{
    Open();
    TakePicture();
    AddCrosses(CROSSES);
    m_pPage->hide();
    Show();
    EXPECT_EQ(List().count(), CROSSES);
    EXPECT_EQ(Crosses().size(), CROSSES);
    EXPECT_TRUE(Confirm().isEnabled());
}
