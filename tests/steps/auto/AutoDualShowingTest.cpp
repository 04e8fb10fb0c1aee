// What the page shows of its marks: rows, hints, coordinates and the tool bar.

#include "AutoDualFixture.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QGraphicsTextItem>

namespace
{

using testing::IsEmpty;
using testing::Not;

} // namespace

// ---- Showing ----

TEST_F(AutoDual, ADoubleClickOnARowGoesThereAndShowsItsHint)
{
    g_calibGlobalParam.strCalibResourcePath = m_root.Folder() + "/resources";
    const QString strHint = g_calibGlobalParam.strCalibResourcePath + "/Camera_Two/AdjustHandEye_HintImages/2.svg";
    QDir().mkpath(QFileInfo(strHint).path());
    // Told by what it holds, not by its name.
    ASSERT_TRUE(QImage(20, 10, QImage::Format_RGB32).save(strHint, "PNG"));
    Open();
    TakePicture();
    emit View().AddCrossSignals({50, 60});
    emit View().AddCrossSignals({330, 260});
    View().scale(4, 4);
    ClickRow(1, true);

    EXPECT_TRUE(Doubles::The().Logged(0, "listWidget_Coord item was double clicked."));
    const QPointF centre = View().mapToScene(View().viewport()->rect().center());
    EXPECT_NEAR(centre.x(), 330, 1.5);
    EXPECT_NEAR(centre.y(), 260, 1.5);
    QGraphicsPixmapItem* pHint = nullptr;
    for (QGraphicsItem* const pItem : View().scene()->items()) {
        auto* const pPixmap = dynamic_cast<QGraphicsPixmapItem*>(pItem);
        if (pPixmap && pPixmap->pixmap().size() == QSize(20, 10)) {
            pHint = pPixmap;
        }
    }
    ASSERT_TRUE(pHint);
    EXPECT_EQ(pHint->pos(), QPointF(335, 245));
}

TEST_F(AutoDual, ARowWithAFractionGoesToZeroInThatAxis)
{
    Open();
    TakePicture();
    emit View().AddCrossSignals({330.5, 260});
    EXPECT_EQ(Rows()[0], "Coordinate1: 330.5,260");
    View().scale(8, 8);
    ClickRow(0, true);
    const QRectF seen = View().mapToScene(View().viewport()->rect()).boundingRect();
    EXPECT_LT(seen.left(), 1.0);
    EXPECT_LT(seen.right(), 330.0);
    EXPECT_NEAR(seen.center().y(), 260, 1.5);
}

TEST_F(AutoDual, RowsWithoutNumbersAreLeftAlone)
{
    Open();
    TakePicture();
    AddCrosses(1);
    const QPointF before = View().mapToScene(View().viewport()->rect().center());
    for (const char* const pText : {"", "nothing to read"}) {
        List().item(0)->setText(pText);
        emit List().itemDoubleClicked(List().item(0));
        EXPECT_EQ(View().mapToScene(View().viewport()->rect().center()), before);
    }
    List().item(0)->setText("half:7");
    emit List().itemDoubleClicked(List().item(0));
}

TEST_F(AutoDual, TheNumbersOfARowHaveSixDigits)
{
    Open();
    TakePicture();
    emit View().AddCrossSignals({123.456789, 0.125});
    EXPECT_EQ(Rows()[0], "Coordinate1: 123.457,0.125");
}

TEST_F(AutoDual, TheLabelFollowsTheNewestCrossNotTheMouse)
{
    Open();
    TakePicture();
    MoveMouse();
    EXPECT_EQ(Label("label_Coord"), "Coordinate: 0,0");
    emit View().AddCrossSignals({50, 60});
    emit View().AddCrossSignals({70, 80});
    MoveMouse();
    EXPECT_EQ(Label("label_Coord"), "Coordinate: 70,80");
}

TEST_F(AutoDual, TheToolBarLiesAtTheBottomMiddleOfTheViewAndFollowsItsSize)
{
    Open();
    const auto expected = [this] {
        QWidget* const pViewport = View().viewport();
        QPointF scene = View().mapToScene(pViewport->rect().center());
        scene.ry() += pViewport->height() / 2;
        return pViewport->mapToParent(View().mapFromScene(scene) +
                                      QPoint(-ToolBar()->width() / 2, -5 - ToolBar()->height()));
    };
    EXPECT_TRUE(ToolBar()->isVisible());
    EXPECT_EQ(ToolBar()->pos(), expected());
    const QPoint before = ToolBar()->pos();
    m_pPage->resize(1200, 900);
    QCoreApplication::processEvents();
    EXPECT_EQ(ToolBar()->pos(), expected());
    EXPECT_NE(ToolBar()->pos(), before);
    EXPECT_TRUE(View().viewport()->rect().contains(ToolBar()->geometry()));
}

TEST_F(AutoDual, TheToolBarStaysWhenThePictureIsZoomedAndPanned)
{
    Open();
    TakePicture();
    const QPoint before = ToolBar()->pos();
    View().scale(4, 4);
    for (const QPointF place : {QPointF(0, 0), QPointF(WIDTH, HEIGHT), QPointF(200, 100)}) {
        View().centerOn(place);
        QCoreApplication::processEvents();
        EXPECT_EQ(ToolBar()->pos(), before);
    }
}

TEST_F(AutoDual, TheHintHowToTakeAPictureIsThereUntilOneIs)
{
    const auto hint = [this] {
        for (QGraphicsItem* const pItem : View().scene()->items()) {
            if (const auto* const pText = dynamic_cast<QGraphicsTextItem*>(pItem)) {
                return pText->toPlainText();
            }
        }
        return QString();
    };
    Open();
    EXPECT_EQ(hint(), "Click <Photo> to capture photo");
    FinishLeft();
    EXPECT_EQ(hint(), "Click <Photo> to capture photo");
    TakePicture();
    AddCrosses(1);
    EXPECT_EQ(hint(), "");
}

TEST_F(AutoDual, ThePageSurvivesAToolBarThatIsClosed)
{
    Open();
    TakePicture();
    AddCrosses(2);
    ToolBar()->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ASSERT_FALSE(ToolBar());

    View().SetAddEnabled(true);
    DoubleClick({300, 300});
    EXPECT_EQ(List().count(), 3);
    m_pPage->resize(1000, 700);
    m_pPage->move(5, 5);
    QEvent event(QEvent::LanguageChange);
    QApplication::sendEvent(m_pPage.get(), &event);
    ClickRow(0);
    for (const char* const pSlot :
         {"CoordinateToolBarAddSlots", "CoordinateToolBarModifySlots", "CoordinateToolBarDeleteSlots"}) {
        QMetaObject::invokeMethod(m_pPage.get(), pSlot, Qt::DirectConnection);
    }
    m_pPage->hide();
    Show();
    ASSERT_TRUE(ToolBar()) << "it is back with the next showing";
    Add({320, 330});
    EXPECT_THAT(Ids(), Not(IsEmpty()));
}

TEST_F(AutoDual, ButtonsAreAsWideAsTheirTexts)
{
    Doubles::The().wordings = {{"Next step", "A very long text of a very talkative language indeed"}};
    Open();
    EXPECT_GE(Confirm().minimumWidth(), Confirm().fontMetrics().horizontalAdvance(Confirm().text()));
}
