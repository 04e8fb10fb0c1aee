// Marking crosses on the page for the eighteen marks: the view, the two buttons, the list and its rows.

#include "HandEyeFixture.h"

#include <QScrollBar>

namespace
{

using testing::IsEmpty;

} // namespace

// ---- The mouse's label ----

TEST_F(HandEye, TheMouseLabelShowsZeroBeforeAnyCross)
{
    Open();
    Doubles::The().wordings = {{"Coordinate", "Koordinate"}};
    QTest::mouseMove(View().viewport(), QPoint(30, 40));
    EXPECT_EQ(Get<QLabel>("label_Coord").text(), "Koordinate: 0,0");
}

TEST_F(HandEye, TheMouseLabelShowsTheNewestCrossNotTheMouse)
{
    OpenWithPicture();
    DoubleClick({120, 70});
    EXPECT_EQ(Get<QLabel>("label_Coord").text(), "Coordinates:(0,0)");
    QTest::mouseMove(View().viewport(), QPoint(3, 4));
    EXPECT_EQ(Get<QLabel>("label_Coord").text(), "Coordinate: 120,70");
}

// ---- Adding ----

TEST_F(HandEye, ADoubleClickSetsACrossAndPlusRecordsIt)
{
    OpenWithPicture();
    DoubleClick({120, 70});
    ASSERT_EQ(Crosses().size(), 1u);
    EXPECT_EQ(List().count(), 0) << "it is pending";
    EXPECT_TRUE(View().HasPendingCross());
    Click("pushButton_AddCoord");
    EXPECT_TRUE(Doubles::The().Logged(0, "pushButton_AddCoord was clicked."));
    EXPECT_EQ(Rows(), QStringList{"Coordinate1: 120,70"});
    EXPECT_FALSE(View().HasPendingCross());
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(HandEye, APendingCrossFollowsTheMouseAndARecordedOneDoesNot)
{
    OpenWithPicture();
    DoubleClick({120, 70});
    const auto drag = [this](QPointF from, QPointF to) {
        const QPoint start = At(from);
        const QPoint end = View().mapFromScene(to);
        QTest::mousePress(View().viewport(), Qt::LeftButton, {}, start);
        QMouseEvent move(QEvent::MouseMove, end, View().viewport()->mapToGlobal(end), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(View().viewport(), &move);
        QTest::mouseRelease(View().viewport(), Qt::LeftButton, {}, end);
    };
    drag({120, 70}, {130, 90});
    EXPECT_EQ(View().GetLastCrossPos(), QPoint(130, 90));
    Click("pushButton_AddCoord");
    drag({130, 90}, {200, 100});
    EXPECT_EQ(View().GetLastCrossPos(), QPoint(130, 90));
    EXPECT_EQ(Rows(), QStringList{"Coordinate1: 130,90"});
}

TEST_F(HandEye, WithoutAPictureThereIsNothingToAdd)
{
    Open();
    DoubleClick({120, 70});
    Click("pushButton_AddCoord");
    EXPECT_EQ(Told(), QStringList{"Please obtain picture first!"});
    EXPECT_EQ(m_answers.Notices()[0].strTitle, "Tips");
    EXPECT_EQ(m_answers.Notices()[0].buttons, QStringList{"OK"});
    EXPECT_EQ(List().count(), 0);
}

TEST_F(HandEye, WithoutAPendingCrossThereIsNothingToAdd)
{
    OpenWithPicture();
    Click("pushButton_AddCoord");
    Mark({120, 70});
    Click("pushButton_AddCoord");
    EXPECT_EQ(Told(), (QStringList{"Please double-click on the image to add coordinates.",
                                   "Please double-click on the image to add coordinates."}));
    EXPECT_EQ(List().count(), 1);
}

TEST_F(HandEye, WithEighteenTheLimitComesFirst)
{
    OpenWithPicture();
    MarkAll();
    Click("pushButton_AddCoord");
    View().SetPicture(QPixmap());
    ASSERT_FALSE(View().HasPicture());
    Click("pushButton_AddCoord");
    EXPECT_EQ(Told(), (QStringList{"Coordinate selection reaches the upper limit.",
                                   "Coordinate selection reaches the upper limit."}));
    EXPECT_EQ(List().count(), MARKS);
}

TEST_F(HandEye, TheEdgesOfThePictureAreInside)
{
    OpenWithPicture();
    Mark({0, 0});
    Mark({400, 100});
    Mark({100, 300});
    Mark({400, 300});
    EXPECT_EQ(Rows(), (QStringList{"Coordinate1: 0,0", "Coordinate2: 400,100", "Coordinate3: 100,300",
                                   "Coordinate4: 400,300"}));
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(HandEye, OutsideOfThePictureTheCrossStaysPending)
{
    OpenWithPicture();
    DoubleClick({200, 100});
    for (const QPointF outside : {QPointF(401, 100), {200, 301}, {-1, 100}, {200, -1}}) {
        View().MoveLastCross(outside);
        const qsizetype nBefore = Told().size();
        Click("pushButton_AddCoord");
        EXPECT_EQ(Told().mid(nBefore), QStringList{"Selected coordinates exceed the range."});
        EXPECT_TRUE(View().HasPendingCross());
        EXPECT_EQ(List().count(), 0);
    }
    View().MoveLastCross({200, 100});
    Click("pushButton_AddCoord");
    EXPECT_EQ(List().count(), 1);
}

TEST_F(HandEye, TheListScrollsToTheNewestRow)
{
    OpenWithPicture();
    List().setFixedHeight(60);
    MarkAll(12);
    QCoreApplication::processEvents();
    EXPECT_EQ(List().verticalScrollBar()->value(), List().verticalScrollBar()->maximum());
    EXPECT_GT(List().verticalScrollBar()->maximum(), 0);
}

TEST_F(HandEye, TheEighteenthMarkOpensConfirm)
{
    OpenWithPicture();
    MarkAll(MARKS - 1);
    EXPECT_FALSE(Button("pushButton_confirm").isEnabled());
    MarkAll();
    EXPECT_TRUE(Button("pushButton_confirm").isEnabled());
    EXPECT_EQ(Rows().last(), "Coordinate18: 320,220");
    // And no double click brings a nineteenth cross.
    DoubleClick({150, 150});
    EXPECT_EQ(Crosses().size(), 18u);
}

// ---- Removing ----

TEST_F(HandEye, MinusTakesTheLastRecordedMarkWithItsCross)
{
    OpenWithPicture();
    MarkAll(3);
    Click("pushButton_RemoveCoord");
    EXPECT_TRUE(Doubles::The().Logged(0, "pushButton_RemoveCoord was clicked."));
    EXPECT_EQ(Rows(), (QStringList{"Coordinate1: 20,40", "Coordinate2: 80,40"}));
    EXPECT_EQ(Crosses().size(), 2u);
    EXPECT_FALSE(View().HasPendingCross());
    Mark(Place(2));
    EXPECT_EQ(List().count(), 3);
}

TEST_F(HandEye, MinusWithAPendingCrossTakesOnlyTheCross)
{
    OpenWithPicture();
    MarkAll(2);
    DoubleClick(Place(2));
    Click("pushButton_RemoveCoord");
    EXPECT_EQ(List().count(), 2);
    EXPECT_EQ(Crosses().size(), 2u);
    EXPECT_FALSE(View().HasPendingCross());
}

TEST_F(HandEye, APendingCrossStaysWhileNothingIsRecorded)
{
    OpenWithPicture();
    DoubleClick({120, 70});
    Click("pushButton_RemoveCoord");
    EXPECT_EQ(Crosses().size(), 1u);
    EXPECT_TRUE(View().HasPendingCross());
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(HandEye, RemovingOneOfEighteenLeavesConfirmOpen)
{
    OpenWithPicture();
    MarkAll();
    Click("pushButton_RemoveCoord");
    EXPECT_EQ(List().count(), MARKS - 1);
    EXPECT_TRUE(Button("pushButton_confirm").isEnabled());
}

// ---- Rows ----

class HandEyeRows : public HandEye
{
protected:
    void SetUp() override
    {
        HandEye::SetUp();
        g_calibGlobalParam.strCalibResourcePath = m_root.Root() + "/Hints";
        for (int i = 0; i <= MARKS; ++i) {
            // Recognised by its width.
            m_root.WriteFile(
                m_root.Root() + QString("/Hints/Camera_Two/AdjustHandEye_HintImages/%1.svg").arg(i),
                QString("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%1\" height=\"30\"/>").arg(50 + i).toUtf8());
        }
    }
    /// The hint picture on show; null without one.
    QGraphicsPixmapItem* Hint()
    {
        for (QGraphicsPixmapItem* const pPicture : Pictures()) {
            if (pPicture->pixmap().size() != PICTURE) {
                return pPicture;
            }
        }
        return nullptr;
    }
};

TEST_F(HandEyeRows, ADoubleClickShowsTheMarkAndWhichCrossItIs)
{
    OpenWithPicture();
    // So large that the view has to move.
    View().scale(8, 8);
    MarkAll(8);
    View().centerOn(0, 0);
    DoubleClickRow(7);
    EXPECT_TRUE(Doubles::The().Logged(0, "listWidget_Coord item was double clicked."));
    const QPoint centre = View().viewport()->rect().center();
    EXPECT_LE((View().mapFromScene(Place(7)) - centre).manhattanLength(), 8);
    ASSERT_TRUE(Hint());
    EXPECT_EQ(Hint()->pixmap().size(), QSize(58, 30));
    EXPECT_EQ(Hint()->pos(), QPointF(Place(7)) + QPointF(5, -30 - 5));
    DoubleClickRow(0);
    EXPECT_EQ(Pictures().size(), 2) << "in place of the one before";
    EXPECT_EQ(Hint()->pixmap().width(), 51);
    EXPECT_EQ(Hint()->pos(), QPointF(Place(0)) + QPointF(5, -35));
}

TEST_F(HandEyeRows, ThePictureIsThatOfTheCurrentRow)
{
    OpenWithPicture();
    MarkAll(3);
    List().setCurrentRow(2);
    QMetaObject::invokeMethod(m_pPage.get(), "on_listWidget_Coord_itemDoubleClicked", Qt::DirectConnection,
                              Q_ARG(QListWidgetItem*, List().item(0)));
    ASSERT_TRUE(Hint());
    EXPECT_EQ(Hint()->pixmap().width(), 53);
    EXPECT_EQ(Hint()->pos(), QPointF(Place(0)) + QPointF(5, -35)) << "beside the row that was clicked";
}

TEST_F(HandEyeRows, PlusAndMinusTakeTheHintAway)
{
    OpenWithPicture();
    MarkAll(2);
    DoubleClickRow(0);
    ASSERT_TRUE(Hint());
    Mark(Place(2));
    EXPECT_FALSE(Hint());
    DoubleClickRow(1);
    ASSERT_TRUE(Hint());
    Click("pushButton_RemoveCoord");
    EXPECT_FALSE(Hint());
}

TEST_F(HandEyeRows, ARowIsReadFromItsFirstColon)
{
    OpenWithPicture();
    Doubles::The().wordings = {{"Coordinate", "Punkt: "}};
    MarkAll(1);
    EXPECT_EQ(Rows(), QStringList{"Punkt: 1: 20,40"});
    DoubleClickRow(0);
    ASSERT_TRUE(Hint());
    EXPECT_EQ(Hint()->pos(), QPointF(1 + 5, 0 - 35)) << "the number of the row, not its place";
}

TEST_F(HandEyeRows, ARowWithoutAColonOrTextShowsNothing)
{
    OpenWithPicture();
    MarkAll(2);
    List().item(0)->setText("");
    List().item(1)->setText("Coordinate 5,5");
    const QPointF before = View().mapToScene(0, 0);
    for (int i = 0; i < 2; ++i) {
        QMetaObject::invokeMethod(m_pPage.get(), "on_listWidget_Coord_itemDoubleClicked", Qt::DirectConnection,
                                  Q_ARG(QListWidgetItem*, List().item(i)));
    }
    EXPECT_FALSE(Hint());
    EXPECT_EQ(View().mapToScene(0, 0), before);
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(HandEyeRows, AHintPictureThatIsMissingIsNone)
{
    g_calibGlobalParam.strCalibResourcePath = m_root.Root() + "/Nowhere";
    OpenWithPicture();
    MarkAll(1);
    DoubleClickRow(0);
    ASSERT_TRUE(Hint());
    EXPECT_TRUE(Hint()->pixmap().isNull());
}
