// The form, its texts and hints, and what merely belongs to the class.

#include "LensPageFixture.h"

#include "RecordingStyle.h"

#include <QPlainTextEdit>

namespace
{

using testing::ElementsAre;

class LensForm : public LensPageFixture
{
protected:
    QString Explained(const char* pName)
    {
        return Child<QPlainTextEdit>(*m_pPage, QString("plainTextEdit_") + pName).toPlainText();
    }
};

constexpr const char* g_pSupplementary =
    "Supplementary photo: You can freely adjust the distance, position and Angle of the calibration plate";
constexpr const char* g_pPlace =
    "Place the calibration chart in the position shown in the schematic diagram on the machine working surface, close "
    "the door cover and click the <Take a picture> button.It can be adjusted during taking a picture. Click the <Take "
    "a picture> button again, and the latest picture taking result will be displayed in the picture area.After taking "
    "a picture, click the <Next> button to switch.";
constexpr const char* g_pHold =
    "Open the door cover, hold the calibration plate and click the <Take a picture> button.It can be adjusted during "
    "taking a picture. Click the <Take a picture> button again, and the latest picture taking result will be displayed "
    "in the lower left area.After taking a picture, click the <Next> button to switch.After the number of pictures "
    "reaches the required number for calibration, click the <Calibrate> button.";
constexpr const char* g_pEnough =
    "The minimum number of photos required for distortion calibration has been reached.Click the <Calibrate> button to "
    "the next step.You can freely choose whether to take supplementary pictures - more complete coverage and rich "
    "postures help improve calibration accuracy.";
constexpr const char* g_pNotesHold =
    "When holding the calibration plate, keep the pattern facing the camera and the paper surface should be flat with "
    "no obvious bend.If necessary, it can be attached to a thin wooden board.When placing the calibration plate can be "
    "rotated. Try to cover the entire range of the camera, and limit the number of pictures at 9 to 16.The calibration "
    "pattern in the picture should be clear, complete and unobstructed.";
constexpr const char* g_pNotesEnough =
    "When taking pictures, you can freely adjust the distance, position and angle of the calibration plate to "
    "supplement previously uncovered areas.Keep the paper flat without obvious bends, and the number of valid pictures "
    "should be controlled at 9 to 16.The calibration pattern in the picture should be clear, complete and "
    "unobstructed.";

} // namespace

TEST_F(LensForm, HasItsTree)
{
    const CalibrateWdg& page = Make();
    EXPECT_EQ(page.objectName(), "CalibrateWdg");
    ExpectTree(page,
               {{"CalibrateWdg", {"widget_top", "widget_centre", "widget_bottom"}},
                {"widget_top", {"widget_rectifyExplain", "widget_snapExplain"}},
                {"widget_rectifyExplain", {"label_cameraCalibration", "plainTextEdit_rectifyExplain"}},
                {"widget_snapExplain", {"label_5", "plainTextEdit_snapExplain"}},
                {"widget_centre", {"widget_hintPic", "widget_pic", "widget_camera"}},
                {"widget_hintPic", {"label_2", "widget_photoRange"}},
                {"widget_photoRange", {"label_photoRange", "label_hintPic", "label_supplementary"}},
                {"widget_pic", {"label_picError", "label_cameraPic"}},
                {"widget_camera", {"label", "label_snapPic", "label_picNum", "pushButton_snap"}},
                {"widget_bottom",
                 {"label_hintBar", "pushButton_back", "pushButton_next", "pushButton_backPic", "pushButton_nextPic",
                  "pushButton_rectify", "pushButton_cancel"}}},
               {"horizontalLayout_7", "horizontalLayout_8", "horizontalLayout_4", "horizontalLayout_10",
                "horizontalLayout_11", "horizontalLayout_5", "horizontalLayout_2", "horizontalLayout_3"});
    for (const auto& [pWidget, pLayout] : {std::pair{"CalibrateWdg", "verticalLayout_6"},
                                           {"widget_top", "horizontalLayout_9"},
                                           {"widget_rectifyExplain", "verticalLayout_4"},
                                           {"widget_snapExplain", "verticalLayout_5"},
                                           {"widget_centre", "horizontalLayout_6"},
                                           {"widget_hintPic", "verticalLayout_7"},
                                           {"widget_photoRange", "verticalLayout_2"},
                                           {"widget_pic", "verticalLayout_3"},
                                           {"widget_camera", "verticalLayout"},
                                           {"widget_bottom", "horizontalLayout"}}) {
        const QWidget& widget =
            page.objectName() == pWidget ? static_cast<const QWidget&>(page) : Child<QWidget>(page, pWidget);
        EXPECT_EQ(widget.layout()->objectName(), pLayout) << pWidget;
    }
    for (const auto& [pLayout, listed] : std::vector<std::pair<const char*, QStringList>>{
             {"horizontalLayout_7", {"label_cameraCalibration"}},
             {"horizontalLayout_8", {"label_5"}},
             {"horizontalLayout_4", {"label_2"}},
             {"horizontalLayout_10", {"label_photoRange"}},
             {"horizontalLayout_11", {"label_supplementary"}},
             {"horizontalLayout_5", {"label_picError"}},
             {"horizontalLayout_2", {"label"}},
             {"horizontalLayout_3", {"label_picNum", "pushButton_snap"}}}) {
        EXPECT_EQ(InLayout(page, pLayout), listed) << pLayout;
    }
}

TEST_F(LensForm, SignalsAndSlotsStandInTheirOrder)
{
    const QMetaObject& meta = CalibrateWdg::staticMetaObject;
    EXPECT_EQ(Methods(meta, QMetaMethod::Signal),
              QStringList({"CloseWindowSignal()", "nextWdgSignal()", "startSnapSignal()"}));
    EXPECT_EQ(
        Methods(meta, QMetaMethod::Slot),
        QStringList({"on_pushButton_snap_clicked()", "on_pushButton_back_clicked()", "on_pushButton_next_clicked()",
                     "on_pushButton_backPic_clicked()", "on_pushButton_nextPic_clicked()",
                     "on_pushButton_rectify_clicked()", "on_pushButton_cancel_clicked()", "RecvSnapSlot(QImage)",
                     "SavePicSuccessSlot(QString)", "CameraThreadFinishedSlot()", "SnapFailedSlot()"}));
}

TEST_F(LensForm, StartsNothingBeforeItIsShown)
{
    Make();
    EXPECT_EQ(m_module.HandedOut(), 0);
    EXPECT_FALSE(QFile::exists(Output("L_images")));
    EXPECT_FALSE(QFile::exists(ProgressFile()));
    EXPECT_TRUE(Doubles::The().logLines.empty());
}

TEST_F(LensForm, EveryTextIsWorded)
{
    Make();
    const std::pair<const char*, const char*> rows[] = {{"label_cameraCalibration", "Distortion calibration"},
                                                        {"label_5", "Notes on taking pictures"},
                                                        {"label_2", "Schematic diagram"},
                                                        {"label_photoRange", "Left camera photo range"},
                                                        {"label_picError", "Picture"},
                                                        {"label", "Camera view"}};
    for (const auto& [pName, pText] : rows) {
        EXPECT_EQ(Child<QLabel>(*m_pPage, pName).text(), pText) << pName;
    }
    const std::pair<const char*, const char*> buttons[] = {
        {"snap", "Take a picture"},  {"back", "Previous step"}, {"next", "Next step"}, {"backPic", "Previous picture"},
        {"nextPic", "Next picture"}, {"rectify", "Calibrate"},  {"cancel", "Cancel"}};
    for (const auto& [pName, pText] : buttons) {
        EXPECT_EQ(Button(*m_pPage, pName).text(), pText);
    }
    EXPECT_EQ(Explained("rectifyExplain"), g_pPlace);
    EXPECT_EQ(Explained("snapExplain"), "");
    EXPECT_EQ(PicNum(), Valid(0));

    auto& wordings = Doubles::The().wordings;
    for (const auto& [pName, pText] : rows) {
        wordings[pText] = QString("~") + pText;
    }
    for (const auto& [pName, pText] : buttons) {
        wordings[pText] = QString("~") + pText;
    }
    wordings[g_pPlace] = "~place";
    wordings["Number of valid pictures: %1"] = "%1 Bilder";
    QEvent event(QEvent::LanguageChange);
    QCoreApplication::sendEvent(m_pPage.get(), &event);
    for (const auto& [pName, pText] : rows) {
        EXPECT_EQ(Child<QLabel>(*m_pPage, pName).text(), QString("~") + pText);
    }
    for (const auto& [pName, pText] : buttons) {
        EXPECT_EQ(Button(*m_pPage, pName).text(), QString("~") + pText);
    }
    EXPECT_EQ(Explained("rectifyExplain"), "~place");
    EXPECT_EQ(PicNum(), "0 Bilder");
}

TEST_F(LensForm, AnotherLanguageReachesTheHintsThatAreShown)
{
    WriteProgress("PROGRESS=1\nSTEPINDEX=2\nLASTPICINDEXRIGHT=10\n");
    MakeStreaming();
    const QString strHint = Explained("rectifyExplain");
    ASSERT_TRUE(strHint.startsWith("The minimum number of photos"));
    Doubles::The().wordings[strHint] = "Genug.";
    Doubles::The().wordings[g_pSupplementary] = "Mehr.";
    Doubles::The().wordings["Right camera photo range"] = "Rechts";
    QEvent event(QEvent::LanguageChange);
    QCoreApplication::sendEvent(m_pPage.get(), &event);
    EXPECT_EQ(Explained("rectifyExplain"), "Genug.");
    EXPECT_EQ(Label("supplementary").text(), "Mehr.");
    EXPECT_EQ(Label("photoRange").text(), "Rechts");
    EXPECT_EQ(PicNum(), Valid(9));
}

TEST_F(LensForm, WhatComesAndGoesIsWordedToo)
{
    auto& wordings = Doubles::The().wordings;
    wordings = {{"picture", "Bild"},      {"pictures(error: %1)", "Fehler %1"}, {g_pHold, "~hold"},
                {g_pNotesHold, "~notes"}, {g_pSupplementary, "~more"},          {"Left camera photo range", "Links"}};
    WriteProgress("PROGRESS=1\nLASTPICINDEXLEFT=9\n");
    MakeStreaming();
    EXPECT_EQ(Label("picError").text(), "Bild");
    EXPECT_EQ(Label("photoRange").text(), "Links");
    EXPECT_EQ(Explained("rectifyExplain"), "~hold");
    EXPECT_EQ(Explained("snapExplain"), "~notes");
    EXPECT_EQ(Label("supplementary").text(), "~more");
    EXPECT_EQ(Label("supplementary").toolTip(), "~more");
    Doubles::The().dBoardError = 0.25;
    Shoot();
    EXPECT_EQ(Label("picError").text(), "Fehler 0.25");
}

TEST_F(LensForm, ButtonsAreAsWideAsTheirTextsAndKeepALargerWidth)
{
    Make();
    Button(*m_pPage, "snap").setText(QString(80, 'W'));
    Button(*m_pPage, "cancel").setMinimumWidth(333);
    m_pPage->show();
    EXPECT_EQ(Button(*m_pPage, "snap").minimumWidth(),
              Button(*m_pPage, "snap").fontMetrics().horizontalAdvance(QString(80, 'W')));
    EXPECT_EQ(Button(*m_pPage, "cancel").minimumWidth(), 333);
}

TEST_F(LensForm, ShowingMakesTheFoldersAndShowsTheFirstPicture)
{
    MakeStreaming();
    EXPECT_TRUE(QFile::exists(Output("L_images")));
    EXPECT_TRUE(QFile::exists(Output("R_images")));
    EXPECT_EQ(Label("picError").text(), "picture");
    EXPECT_EQ(PicNum(), Valid(0));
    EXPECT_EQ(State(), "1");
    EXPECT_EQ(Label("hintBar").property("state"), "1");
    EXPECT_EQ(Label("photoRange").text(), "Left camera photo range");
    EXPECT_FALSE(Label("supplementary").isVisible());
    EXPECT_EQ(Explained("rectifyExplain"), g_pHold);
    EXPECT_EQ(Explained("snapExplain"), g_pNotesHold);
    EXPECT_FALSE(Button(*m_pPage, "back").isVisible());
    EXPECT_FALSE(Button(*m_pPage, "next").isVisible());
    EXPECT_TRUE(Button(*m_pPage, "backPic").isVisible());
    EXPECT_TRUE(Button(*m_pPage, "nextPic").isVisible());
    EXPECT_TRUE(Button(*m_pPage, "rectify").isVisible());
    EXPECT_FALSE(IsOpen("backPic"));
    EXPECT_FALSE(IsOpen("nextPic"));
    EXPECT_FALSE(IsOpen("rectify"));
    EXPECT_TRUE(IsOpen("snap"));
    EXPECT_FALSE(HasPicture("cameraPic"));
}

TEST_F(LensForm, AShowAfterAClosedRunStartsAtNothingAgain)
{
    MakeStreaming();
    ShootUpTo(2);
    m_pPage->hide();
    EXPECT_FALSE(HasPicture("cameraPic"));
    QFile::remove(ProgressFile());
    m_pPage->show();
    EXPECT_EQ(PicNum(), Valid(0));
    EXPECT_EQ(State(), "1");
    EXPECT_EQ(Label("picError").text(), "picture");
}

TEST_F(LensForm, AShowWithoutACameraShowsNoPictureOfTheRunBefore)
{
    MakeStreaming();
    m_pPage->hide();
    ASSERT_TRUE(HasPicture("snapPic"));
    g_calibGlobalParam.strLeftCameraName = "None";
    m_pPage->show();
    EXPECT_FALSE(HasPicture("snapPic"));
    EXPECT_FALSE(HasPicture("cameraPic"));
}

TEST_F(LensForm, HintsAndSchematicPictureFollowTheWayBack)
{
    WriteProgress("PROGRESS=1\nLASTPICINDEXLEFT=11\n");
    MakeStreaming();
    for (int i = 11; i >= 8; --i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(State(), std::to_string(std::min(i, 10)));
        EXPECT_EQ(Explained("rectifyExplain"), i > 9 ? g_pEnough : g_pHold);
        EXPECT_EQ(Explained("snapExplain"), i > 9 ? g_pNotesEnough : g_pNotesHold);
        EXPECT_EQ(Label("supplementary").isVisible(), i >= 9);
        EXPECT_EQ(IsOpen("rectify"), i > 9);
        EXPECT_EQ(PicNum(), Valid(i - 1));
        Press(*m_pPage, "backPic");
    }
}

TEST_F(LensForm, HintsAndSchematicPictureFollowThePictures)
{
    const RecordingStyle::Installed style;
    MakeStreaming();
    for (int i = 1; i <= 12; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(State(), std::to_string(std::min(i, 10)));
        EXPECT_EQ(Explained("rectifyExplain"), i > 9 ? g_pEnough : g_pHold);
        EXPECT_EQ(Explained("snapExplain"), i > 9 ? g_pNotesEnough : g_pNotesHold);
        EXPECT_EQ(Label("supplementary").isVisible(), i >= 9);
        const std::size_t nBefore = style->NamedSteps("label_hint").size();
        Shoot();
        Press(*m_pPage, "nextPic");
        std::vector<std::string> steps = style->NamedSteps("label_hint");
        steps.erase(steps.begin(), steps.begin() + static_cast<long>(nBefore));
        EXPECT_THAT(steps, ElementsAre("unpolish label_hintPic", "polish label_hintPic", "unpolish label_hintBar",
                                       "polish label_hintBar"));
    }
}

TEST_F(LensForm, TheSupplementaryHintIsCutToItsCardAndWholeInItsToolTip)
{
    WriteProgress("PROGRESS=1\nLASTPICINDEXLEFT=9\n");
    MakeStreaming();
    const QLabel& hint = Label("supplementary");
    const QWidget& card = Child<QWidget>(*m_pPage, "widget_photoRange");
    ASSERT_TRUE(hint.isVisible());
    EXPECT_EQ(hint.toolTip(), g_pSupplementary);
    const auto elided = [&] { return hint.fontMetrics().elidedText(g_pSupplementary, Qt::ElideRight, card.width()); };
    EXPECT_EQ(hint.text(), elided());
    const QString strNarrow = hint.text();
    ASSERT_NE(strNarrow, g_pSupplementary);
    m_pPage->resize(m_pPage->width() + 300, m_pPage->height());
    EXPECT_EQ(hint.text(), elided());
    EXPECT_GT(hint.text().size(), strNarrow.size());
}

TEST_F(LensForm, EachButtonLogsItsLine)
{
    MakeStreaming();
    QSignalSpy closed(m_pPage.get(), &CalibrateWdg::CloseWindowSignal);
    for (const char* pName : {"back", "next", "backPic", "nextPic", "rectify", "cancel", "snap"}) {
        QPushButton& button = Button(*m_pPage, pName);
        button.setEnabled(true);
        button.click();
    }
    EXPECT_EQ(closed.size(), 1);
    for (const char* pName : {"back", "next", "backPic", "nextPic", "rectify", "cancel", "snap"}) {
        EXPECT_TRUE(Logged(0, std::string("pushButton_") + pName + " was clicked.")) << pName;
    }
}

TEST_F(LensForm, OtherTasksAndTheReservedOperationsDoNothing)
{
    CalibrateWdg& page = Make(1);
    EXPECT_EQ(page.ThreadDialog_ThreadRun(1, nullptr), 1);
    EXPECT_EQ(page.ThreadDialog_ThreadRun(-1, nullptr), 1);
    EXPECT_EQ(page.Reserved2(0), -1);
    EXPECT_EQ(page.Reserved3(0, nullptr, nullptr), -1);
    EXPECT_EQ(page.Reserved4(0), 0.0);
    EXPECT_TRUE(Doubles::The().journal.empty());
    EXPECT_TRUE(m_host.calls.empty());
}
