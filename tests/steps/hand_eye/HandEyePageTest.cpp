// The page for the eighteen marks: its form, its words, and what showing it does.

#include "HandEyeFixture.h"

namespace
{

constexpr const char* INSTRUCTION =
    "Please click the <Take a picture> button to get the photo.Complete eighteen coordinate records in the order shown "
    "in the picture above.Double-click to add cross positioning, hold down and drag to fine-tune the position.Click "
    "the <+> button to record and click the <-> button to delete the latest record.After completing all records, click "
    "the <Confirm> button to coordinate calibration.";

} // namespace

TEST_F(HandEye, HasItsFormsTree)
{
    Open();
    EXPECT_EQ(m_pPage->objectName(), "HandEyeAdjustWdg");
    EXPECT_EQ(m_pPage->size(), QSize(1168, 913));
    ExpectTree(
        *m_pPage,
        {{"HandEyeAdjustWdg", {"widget", "widget_buttom"}},
         {"widget", {"widget_view", "widget_right"}},
         {"widget_view", {"graphicsView"}},
         {"widget_right",
          {"label_coorAlignment", "listWidget_Coord", "pushButton_AddCoord", "pushButton_RemoveCoord", "label_Coord",
           "label_tips", "label", "plainTextEdit"}},
         {"widget_buttom",
          {"label_hintBar", "pushButton_takePic", "pushButton_back", "pushButton_confirm", "pushButton_cancel"}}},
        {"verticalLayout_2", "horizontalLayout_3", "gridLayout", "verticalLayout", "horizontalLayout_2",
         "horizontalLayout"});
    for (const auto& [pWidget, pLayout] : {std::pair{"widget", "horizontalLayout_3"},
                                           {"widget_view", "gridLayout"},
                                           {"widget_right", "verticalLayout"},
                                           {"widget_buttom", "horizontalLayout"}}) {
        EXPECT_EQ(Get<QWidget>(pWidget).layout()->objectName(), pLayout) << pWidget;
    }
    EXPECT_EQ(m_pPage->layout()->objectName(), "verticalLayout_2");
    EXPECT_EQ(InLayout(*m_pPage, "horizontalLayout_2"),
              (QStringList{"pushButton_AddCoord", "pushButton_RemoveCoord", "label_Coord"}));
}

TEST_F(HandEye, StartsWithNothingToConfirm)
{
    Open();
    EXPECT_FALSE(Button("pushButton_confirm").isEnabled());
    EXPECT_TRUE(Button("pushButton_takePic").isEnabled());
    EXPECT_EQ(List().count(), 0);
    EXPECT_TRUE(View().hasMouseTracking());
    EXPECT_TRUE(Get<QPlainTextEdit>("plainTextEdit").isReadOnly());
    EXPECT_EQ(m_pPage->findChild<QTimer*>()->interval(), 1000);
    EXPECT_FALSE(IsCounting(*m_pPage));
    EXPECT_EQ(m_module.HandedOut(), 1);
}

TEST_F(HandEye, HasItsWords)
{
    Open();
    EXPECT_EQ(Get<QLabel>("label_coorAlignment").text(), "Coordinate calibration");
    EXPECT_EQ(Get<QLabel>("label_Coord").text(), "Coordinates:(0,0)");
    EXPECT_EQ(Get<QLabel>("label_tips").text(), "Tips");
    EXPECT_EQ(Get<QPlainTextEdit>("plainTextEdit").toPlainText(), INSTRUCTION);
    EXPECT_EQ(Button("pushButton_takePic").text(), "Photo");
    EXPECT_EQ(Button("pushButton_back").text(), "Previous step");
    EXPECT_EQ(Button("pushButton_confirm").text(), "Ok");
    EXPECT_EQ(Button("pushButton_cancel").text(), "Cancel");
    EXPECT_EQ(Button("pushButton_AddCoord").text(), "+");
    EXPECT_EQ(Button("pushButton_RemoveCoord").text(), "-");
}

TEST_F(HandEye, ANewLanguageReachesEveryTextAndTheRows)
{
    OpenWithPicture();
    MarkAll(2);
    Doubles::The().wordings = {{"Coordinate calibration", "~a"},
                               {"Coordinates:(0,0)", "~b"},
                               {"Tips", "~c"},
                               {INSTRUCTION, "~d"},
                               {"Photo", "~e"},
                               {"Previous step", "~f"},
                               {"Ok", "~g"},
                               {"Cancel", "~h"},
                               {"Coordinate", "~i"}};
    QEvent event(QEvent::LanguageChange);
    QApplication::sendEvent(m_pPage.get(), &event);
    EXPECT_EQ(Get<QLabel>("label_coorAlignment").text(), "~a");
    EXPECT_EQ(Get<QLabel>("label_Coord").text(), "~b");
    EXPECT_EQ(Get<QLabel>("label_tips").text(), "~c");
    EXPECT_EQ(Get<QPlainTextEdit>("plainTextEdit").toPlainText(), "~d");
    EXPECT_EQ(Button("pushButton_takePic").text(), "~e");
    EXPECT_EQ(Button("pushButton_back").text(), "~f");
    EXPECT_EQ(Button("pushButton_confirm").text(), "~g");
    EXPECT_EQ(Button("pushButton_cancel").text(), "~h");
    EXPECT_EQ(Rows(), (QStringList{"~i1: 20,40", "~i2: 80,40"}));
}

TEST_F(HandEye, ANewLanguageReachesTheHintOfAnEmptyView)
{
    Open();
    Doubles::The().wordings = {{"Click <Photo> to capture photo", "~hint"}};
    QEvent event(QEvent::LanguageChange);
    QApplication::sendEvent(m_pPage.get(), &event);
    QStringList texts;
    for (QGraphicsItem* const pItem : View().scene()->items()) {
        if (const auto* const pText = dynamic_cast<QGraphicsTextItem*>(pItem)) {
            texts << pText->toPlainText();
        }
    }
    EXPECT_EQ(texts, QStringList{"~hint"});
}

TEST_F(HandEye, ItsSignalsAndSlotsComeInTheOrderThatTheirUsersKnow)
{
    const QMetaObject& meta = HandEyeAdjustWdg::staticMetaObject;
    EXPECT_EQ(Methods(meta, QMetaMethod::Signal),
              (QStringList{"backWdgSignal()", "CloseWindowSignal()", "ExitWindowSignal()",
                           "SendListPtSignal(QList<QPointF>)", "SendFlagSizeSignal(QSizeF)"}));
    EXPECT_EQ(Methods(meta, QMetaMethod::Slot),
              (QStringList{"on_pushButton_AddCoord_clicked()", "on_pushButton_RemoveCoord_clicked()",
                           "on_pushButton_confirm_clicked()", "on_pushButton_takePic_clicked()",
                           "on_pushButton_back_clicked()", "on_pushButton_cancel_clicked()",
                           "on_listWidget_Coord_itemDoubleClicked(QListWidgetItem*)", "TimeOutSlot()"}));
}

TEST_F(HandEye, BackAndCancelSaySoAndLogIt)
{
    Open();
    QSignalSpy back(m_pPage.get(), &HandEyeAdjustWdg::backWdgSignal);
    Doubles::The().logLines.clear();
    QSignalSpy close(m_pPage.get(), &HandEyeAdjustWdg::CloseWindowSignal);
    Click("pushButton_back");
    EXPECT_EQ(back.size(), 1);
    EXPECT_EQ(close.size(), 0);
    Click("pushButton_cancel");
    EXPECT_EQ(back.size(), 1);
    EXPECT_EQ(close.size(), 1);
    EXPECT_EQ(Doubles::The().logLines,
              (LogLines{{0, "pushButton_back was clicked."}, {0, "pushButton_cancel was clicked."}}));
}

// ---- Showing ----

TEST_F(HandEye, ShowingItStoresItsStep)
{
    WriteIniInt("PROGRESS", "PROGRESS", 3, ProgressFile());
    Open();
    EXPECT_EQ(Progress("PROGRESS"), "5");
}

TEST_F(HandEye, ButtonsAreAtLeastAsWideAsTheirTexts)
{
    Doubles::The().wordings = {{"Photo", QString(60, 'W')}};
    Open();
    const QPushButton& button = Button("pushButton_takePic");
    EXPECT_GE(button.minimumWidth(), button.fontMetrics().horizontalAdvance(button.text()));
    EXPECT_GE(button.width(), button.minimumWidth());
}

TEST_F(HandEye, TheStepPictureIsTheOneOfTheRun)
{
    const QString strFormat = "image: url(\"%1/Res/Icon/CameraTwo/%2.png\");";
    Open();
    EXPECT_EQ(Get<QLabel>("label_hintBar").styleSheet(), strFormat.arg(GetInstallResourcePath(), "Step7"));
    for (const auto& [pWizard, pPicture] : {std::pair("Coordinate", "CoordinateStep4"), {"Completely", "Step7"}}) {
        m_pPage->hide();
        WriteIniString("PROGRESS", "WIZARD", pWizard, ProgressFile());
        Show();
        EXPECT_EQ(Get<QLabel>("label_hintBar").styleSheet(), strFormat.arg(GetInstallResourcePath(), pPicture));
    }
}

TEST_F(HandEye, OnlyARunThatBrokeOffHereReadsItsPoints)
{
    for (const int nProgress : {0, 3, 4, 6}) {
        WriteIniInt("PROGRESS", "PROGRESS", nProgress, ProgressFile());
        m_pPage = std::make_unique<HandEyeAdjustWdg>();
        QSignalSpy points(m_pPage.get(), &HandEyeAdjustWdg::SendListPtSignal);
        QSignalSpy size(m_pPage.get(), &HandEyeAdjustWdg::SendFlagSizeSignal);
        Show();
        EXPECT_EQ(points.size(), 0) << nProgress;
        EXPECT_EQ(size.size(), 0) << nProgress;
        // It has now.
        m_pPage->hide();
        Show();
        EXPECT_EQ(points.size(), 1) << nProgress;
        EXPECT_EQ(size.size(), 1) << nProgress;
    }
}

TEST_F(HandEye, AResumeReadsTheFirstEighteenPointsAndTheSize)
{
    WriteIniInt("PROGRESS", "PROGRESS", 5, ProgressFile());
    const QList<QPointF> grid = Grid(20);
    for (int i = 0; i < grid.size(); ++i) {
        WriteIniDouble("PROGRESS", QString("X%1").arg(i), grid[i].x(), ProgressFile());
        WriteIniDouble("PROGRESS", QString("Y%1").arg(i), grid[i].y(), ProgressFile());
    }
    WriteIniDouble("PROGRESS", "sizeW", 12.5, ProgressFile());
    WriteIniDouble("PROGRESS", "sizeH", 14.5, ProgressFile());
    m_pPage = std::make_unique<HandEyeAdjustWdg>();
    QSignalSpy points(m_pPage.get(), &HandEyeAdjustWdg::SendListPtSignal);
    QSignalSpy size(m_pPage.get(), &HandEyeAdjustWdg::SendFlagSizeSignal);
    Show();
    ASSERT_EQ(points.size(), 1);
    EXPECT_EQ(points[0][0].value<QList<QPointF>>(), Grid(18));
    ASSERT_EQ(size.size(), 1);
    EXPECT_EQ(size[0][0].toSizeF(), QSizeF(12.5, 14.5));
}

TEST_F(HandEye, APlaceThatAResumeDoesNotFindIsNamedInTheLog)
{
    WriteIniInt("PROGRESS", "PROGRESS", 5, ProgressFile());
    for (int i = 0; i < 18; ++i) {
        WriteIniDouble("PROGRESS", QString("X%1").arg(i), 10.0 * i, ProgressFile());
        if (i != 7) {
            WriteIniDouble("PROGRESS", QString("Y%1").arg(i), 0.0, ProgressFile());
        }
    }
    m_pPage = std::make_unique<HandEyeAdjustWdg>();
    // The cursor's picture is there or not.
    Doubles::The().logLines.clear();
    Show();
    EXPECT_THAT(Doubles::The().logLines,
                testing::ElementsAre(testing::Pair(2, testing::HasSubstr("LoadProgress, Y7 of "))));
}

TEST_F(HandEye, WhatAResumeDoesNotFindIsZeroAndThirtyMillimetres)
{
    WriteIniInt("PROGRESS", "PROGRESS", 5, ProgressFile());
    WriteIniDouble("PROGRESS", "X1", 7.0, ProgressFile());
    m_pPage = std::make_unique<HandEyeAdjustWdg>();
    QSignalSpy points(m_pPage.get(), &HandEyeAdjustWdg::SendListPtSignal);
    QSignalSpy size(m_pPage.get(), &HandEyeAdjustWdg::SendFlagSizeSignal);
    Show();
    QList<QPointF> expected(18, QPointF(0, 0));
    expected[1] = QPointF(7, 0);
    ASSERT_EQ(points.size(), 1);
    EXPECT_EQ(points[0][0].value<QList<QPointF>>(), expected);
    EXPECT_EQ(size.value(0).value(0).toSizeF(), QSizeF(30, 30));
}

TEST_F(HandEye, ShowingItAgainKeepsMarksAndPicture)
{
    OpenWithPicture();
    MarkAll(3);
    m_pPage->hide();
    Show();
    EXPECT_EQ(List().count(), 3);
    EXPECT_EQ(Crosses().size(), 3u);
    EXPECT_TRUE(View().HasPicture());
    Mark(Place(3));
    EXPECT_EQ(List().count(), 4);
}
