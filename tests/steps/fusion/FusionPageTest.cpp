#include "FusionFixture.h"
#include "RecordingStyle.h"

#include <QPlainTextEdit>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

using FusionPage = FusionFixture;

} // namespace

TEST_F(FusionPage, HasItsFormsTree)
{
    Open();
    EXPECT_EQ(m_pPage->objectName(), "FusionWdg");
    ExpectTree(*m_pPage,
               {{"FusionWdg", {"widget_cameraPic", "widget_fusionRightWdg", "widget_fusionParams", "widget_bottom"}},
                {"widget_cameraPic", {"label_cameraPic", "label_fusionHint"}},
                {"widget_fusionRightWdg",
                 {"label_fusionWdg", "plainTextEdit_2", "pushButton_snap", "plainTextEdit_3", "pushButton_setRoiRect",
                  "label_hintPic"}},
                {"widget_fusionParams", {}},
                {"widget_bottom", {"label_hintBar", "pushButton_back", "pushButton_confirm", "pushButton_cancel"}}},
               {"verticalLayout_7", "horizontalLayout_6", "verticalLayout_5", "horizontalLayout_9", "verticalLayout_2",
                "horizontalLayout_3", "horizontalLayout_4", "verticalLayout_6", "horizontalLayout_8"});
}

TEST_F(FusionPage, ItsSignalsAndSlotsComeInTheOrderThatTheirUsersKnow)
{
    const QMetaObject& meta = FusionWdg::staticMetaObject;
    EXPECT_EQ(Methods(meta, QMetaMethod::Signal),
              (QStringList{"backWdgSignal()", "nextWdgSignal()", "CloseWindowSignal()", "ExitWindowSignal()"}));
    EXPECT_EQ(Methods(meta, QMetaMethod::Slot),
              (QStringList{"on_pushButton_snap_clicked()", "on_pushButton_setRoiRect_clicked()",
                           "on_pushButton_back_clicked()", "on_pushButton_confirm_clicked()",
                           "on_pushButton_cancel_clicked()", "TimeOutSlot()", "DrawRoiEndingSlot()"}));
}

TEST_F(FusionPage, StartsWithItsTextsAndOnlyThePhotoToTake)
{
    Open();
    const auto text = [this](const char* pName) { return Child<QLabel>(*m_pPage, pName).text(); };
    const auto plain = [this](const char* pName) { return Child<QPlainTextEdit>(*m_pPage, pName).toPlainText(); };
    EXPECT_EQ(text("label_fusionHint"), "Fusion completed");
    EXPECT_EQ(text("label_fusionWdg"), "Image Fusion");
    EXPECT_EQ(plain("plainTextEdit_2"),
              "1.Place the image in the center of the machine's working area and press the <Photo> button.");
    EXPECT_EQ(plain("plainTextEdit_3"),
              "2. Click the <Start> buttonUse the left mouse button to select the pattern area of the stitching "
              "template,Aftercompleting the selection, press the <RightClick> key to complete the splicing.");
    EXPECT_EQ(Text("snap"), "Photo");
    EXPECT_EQ(Text("setRoiRect"), "Start");
    EXPECT_EQ(Text("back"), "Previous");
    EXPECT_EQ(Text("confirm"), "Confirm");
    EXPECT_EQ(Text("cancel"), "Cancel");
    EXPECT_EQ(Child<QLabel>(*m_pPage, "label_hintBar").property("state"), "DualCamera_Flow_Step4");
    EXPECT_TRUE(IsEnabled("snap"));
    EXPECT_FALSE(IsEnabled("setRoiRect"));
    EXPECT_FALSE(IsEnabled("confirm"));
    EXPECT_TRUE(Child<QLabel>(*m_pPage, "label_fusionHint").isHidden());
    EXPECT_EQ(m_pPage->findChild<QTimer*>()->interval(), 1000);
    EXPECT_FALSE(IsCounting(*m_pPage));
    EXPECT_EQ(m_module.HandedOut(), 1);
}

TEST_F(FusionPage, ANewLanguageReachesThePage)
{
    Open();
    Doubles::The().wordings = {{"Photo", "Foto"}, {"Image Fusion", "Bilder"}, {"DualCamera_Flow_Step4", "Schritt"}};
    const RecordingStyle::Installed style;
    ChangeLanguage();
    EXPECT_EQ(Text("snap"), "Foto");
    EXPECT_EQ(Child<QLabel>(*m_pPage, "label_fusionWdg").text(), "Bilder");
    EXPECT_EQ(Child<QLabel>(*m_pPage, "label_hintBar").property("state"), "Schritt");
    const std::vector<std::string> steps = style->NamedSteps("label_hintBar");
    ASSERT_GE(steps.size(), 2u);
    EXPECT_EQ(steps[steps.size() - 2], "unpolish label_hintBar");
    EXPECT_EQ(steps.back(), "polish label_hintBar");
}

TEST_F(FusionPage, AllItsTextsAreWorded)
{
    const std::vector<std::pair<const char*, QString>> rows = {
        {"label_fusionHint", "Fusion completed"},
        {"label_fusionWdg", "Image Fusion"},
        {"plainTextEdit_2",
         "1.Place the image in the center of the machine's working area and press the <Photo> button."},
        {"pushButton_snap", "Photo"},
        {"plainTextEdit_3",
         "2. Click the <Start> buttonUse the left mouse button to select the pattern area of the stitching "
         "template,Aftercompleting the selection, press the <RightClick> key to complete the splicing."},
        {"pushButton_setRoiRect", "Start"},
        {"pushButton_back", "Previous"},
        {"pushButton_confirm", "Confirm"},
        {"pushButton_cancel", "Cancel"}};
    const auto expectWorded = [&] {
        for (const auto& [pName, strKey] : rows) {
            const QWidget& widget = Child<QWidget>(*m_pPage, pName);
            const auto* const pEdit = qobject_cast<const QPlainTextEdit*>(&widget);
            const QString strText = pEdit ? pEdit->toPlainText() : widget.property("text").toString();
            EXPECT_EQ(strText, Doubles::The().wordings[strKey]) << pName;
        }
        EXPECT_EQ(Child<QLabel>(*m_pPage, "label_hintBar").property("state"), "Schritt vier");
    };
    for (const char* const pLanguage : {"de ", "fr "}) {
        for (const auto& [pName, strKey] : rows) {
            Doubles::The().wordings[strKey] = pLanguage + strKey;
        }
        Doubles::The().wordings["DualCamera_Flow_Step4"] = "Schritt vier";
        if (m_pPage) {
            ChangeLanguage();
        } else {
            Open();
        }
        expectWorded();
    }
}

TEST_F(FusionPage, ItsButtonsAreAsWideAsTheirTexts)
{
    Doubles::The().wordings = {{"Start", QString(80, 'W')}};
    Open();
    const QPushButton& button = Button(*m_pPage, "setRoiRect");
    EXPECT_GE(button.minimumWidth(), button.fontMetrics().horizontalAdvance(QString(80, 'W')));
}

TEST_F(FusionPage, BackAndCancelSayThatTheyWerePressed)
{
    Open();
    QSignalSpy back(m_pPage.get(), &FusionWdg::backWdgSignal);
    QSignalSpy close(m_pPage.get(), &FusionWdg::CloseWindowSignal);
    Click("back");
    EXPECT_EQ(back.count(), 1);
    EXPECT_EQ(close.count(), 0);
    EXPECT_TRUE(Logged(0, "pushButton_back was clicked."));
    Click("cancel");
    EXPECT_EQ(back.count(), 1);
    EXPECT_EQ(close.count(), 1);
    EXPECT_TRUE(Logged(0, "pushButton_cancel was clicked."));
}

// ---- Progress ----

TEST_F(FusionPage, AFreshRunStandsAtTheFusionAsSoonAsItIsShown)
{
    Open();
    EXPECT_EQ(Progress("PROGRESS"), "2");
    EXPECT_EQ(Progress("FUSIONSUCCESS"), "0");
}

TEST_F(FusionPage, AResumedPageCanBeConfirmedButHasNoHomographyYet)
{
    WriteIniInt("PROGRESS", "PROGRESS", 2, ProgressFile());
    WriteIniInt("PROGRESS", "FUSIONSUCCESS", 1, ProgressFile());
    Open();
    EXPECT_EQ(Progress("FUSIONSUCCESS"), "1");
    QSignalSpy next(m_pPage.get(), &FusionWdg::nextWdgSignal);
    Click("confirm");
    EXPECT_EQ(m_answers.OnlyText(), SPLICING_FAILED);
    EXPECT_EQ(next.count(), 0);
    EXPECT_TRUE(IsEnabled("confirm"));
}

TEST_F(FusionPage, WithoutAProgressTheSuccessIsNotRead)
{
    WriteIniInt("PROGRESS", "FUSIONSUCCESS", 1, ProgressFile());
    Open();
    EXPECT_FALSE(IsEnabled("confirm"));
    EXPECT_EQ(Progress("FUSIONSUCCESS"), "0");
}

TEST_F(FusionPage, AnEarlierPageHasNotFusedYet)
{
    WriteIniInt("PROGRESS", "PROGRESS", 1, ProgressFile());
    Open();
    EXPECT_FALSE(IsEnabled("confirm"));
    EXPECT_EQ(Progress("PROGRESS"), "2");
}

TEST_F(FusionPage, AnyProgressThatIsNotNoneLetsTheSuccessBeRead)
{
    WriteIniInt("PROGRESS", "PROGRESS", -1, ProgressFile());
    WriteIniInt("PROGRESS", "FUSIONSUCCESS", 7, ProgressFile());
    Open();
    EXPECT_TRUE(IsEnabled("confirm"));
    EXPECT_EQ(Progress("PROGRESS"), "2");
    EXPECT_EQ(Progress("FUSIONSUCCESS"), "1");
}

TEST_F(FusionPage, AProgressWithoutSuccessShutsNothing)
{
    OpenAndFit();
    m_pPage->hide();
    WriteIniInt("PROGRESS", "FUSIONSUCCESS", 0, ProgressFile());
    m_pPage->show();
    EXPECT_TRUE(IsEnabled("confirm"));
    EXPECT_EQ(Progress("FUSIONSUCCESS"), "0");
}
