// Double clicks, zoom and pan.

#include "DualGraphicsViewFixture.h"

#include <QCoreApplication>
#include <QScrollBar>
#include <QSignalSpy>

// --- Double clicks

TEST_F(View, ADoubleClickBeforeAnyPictureDoesNothingInEitherMode)
{
    QSignalSpy added(&m_view, &DualGraphicsView::AddCrossSignals);
    for (const int nMode : {0, 1}) {
        m_view.SetAddMode(nMode);
        DoubleClick({20, 10});
        m_view.SetAddEnabled(false);
        DoubleClick({20, 10});
        m_view.SetAddEnabled(true);
    }
    EXPECT_TRUE(Crosses().isEmpty());
    EXPECT_TRUE(added.isEmpty());
    m_view.AddCross({100, 100});
    m_view.SetAddEnabled(false);
    m_view.SetAddMode(0);
    DoubleClick({20, 10});
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(100, 100));
}

TEST_F(View, InMode0ADoubleClickPlacesACrossThatWaits)
{
    m_view.SetPicture(Grey());
    DoubleClick({150, 120});
    ASSERT_EQ(Crosses().size(), 1);
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(150, 120));
    EXPECT_TRUE(m_view.HasPendingCross());
    EXPECT_TRUE(IsDrawnIn(Painted::RED, {150, 120}));

    // The page takes it; the next double click adds again.
    m_view.SetLastCrossMovable(false);
    EXPECT_FALSE(m_view.HasPendingCross());
    DoubleClick({50, 60});
    EXPECT_EQ(Crosses().size(), 2);
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(50, 60));
    // Or drops it.
    m_view.RemoveLastCross();
    EXPECT_FALSE(m_view.HasPendingCross());
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(150, 120));
}

TEST_F(View, InMode0ADisarmedDoubleClickMovesTheNewestCross)
{
    m_view.SetPicture(Grey());
    m_view.SetAddEnabled(false);
    DoubleClick({150, 120});
    EXPECT_TRUE(Crosses().isEmpty()) << "there is none to move";
    SetNumberedCrosses(2);
    DoubleClick({150, 120});
    EXPECT_EQ(Crosses().size(), 2);
    EXPECT_EQ(m_view.GetCrossPos(2), QPointF(150, 120));
    EXPECT_EQ(m_view.GetCrossPos(1), Centre(0));
    EXPECT_TRUE(m_view.HasPendingCross());
}

TEST_F(View, AtTheLimitADoubleClickDoesNothingAtAll)
{
    m_view.SetPicture(Grey());
    QSignalSpy added(&m_view, &DualGraphicsView::AddCrossSignals);
    SetNumberedCrosses(3);
    for (const int nLimit : {3, 2, 0, -1}) {
        m_view.SetMaxCrossCount(nLimit);
        for (const bool bEnabled : {true, false}) {
            for (const int nMode : {0, 1}) {
                m_view.SetAddMode(nMode);
                m_view.SetAddEnabled(bEnabled);
                DoubleClick({150, 120});
            }
        }
    }
    EXPECT_EQ(Crosses().size(), 3);
    EXPECT_EQ(m_view.GetCrossPos(3), Centre(2));
    EXPECT_TRUE(added.isEmpty());
}

TEST_F(View, TheLimitIsEighteenUnlessItIsSet)
{
    m_view.SetPicture(Grey());
    for (int i = 0; i < 20; ++i) {
        DoubleClick({10.0 + i, 20});
        m_view.SetAddEnabled(true);
    }
    EXPECT_EQ(Crosses().size(), 18);
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(27, 20));
    m_view.SetMaxCrossCount(19);
    DoubleClick({100, 20});
    EXPECT_EQ(Crosses().size(), 19);
}

TEST_F(View, InMode1ADoubleClickOnlyReportsThePoint)
{
    m_view.SetPicture(Grey());
    m_view.SetAddMode(1);
    QSignalSpy added(&m_view, &DualGraphicsView::AddCrossSignals);
    DoubleClick({150, 120});
    ASSERT_EQ(added.size(), 1);
    EXPECT_EQ(added[0][0].toPointF(), QPointF(150, 120));
    EXPECT_TRUE(Crosses().isEmpty());
    EXPECT_FALSE(m_view.HasPendingCross()) << "the page drives the flag";
    m_view.SetAddEnabled(false);
    SetNumberedCrosses(2);
    DoubleClick({150, 120});
    EXPECT_EQ(added.size(), 1);
    EXPECT_EQ(m_view.GetCrossPos(2), Centre(1));
}

TEST_F(View, OtherModesAndOtherButtonsDoNothing)
{
    m_view.SetPicture(Grey());
    QSignalSpy added(&m_view, &DualGraphicsView::AddCrossSignals);
    for (const int nMode : {2, -1, 1000}) {
        m_view.SetAddMode(nMode);
        DoubleClick({150, 120});
    }
    for (const int nMode : {0, 1}) {
        m_view.SetAddMode(nMode);
        Painted::DoubleClick(Viewport(), {150, 120}, Qt::RightButton);
        Painted::DoubleClick(Viewport(), {150, 120}, Qt::MiddleButton);
    }
    EXPECT_TRUE(Crosses().isEmpty());
    EXPECT_TRUE(added.isEmpty());
}

TEST_F(View, ADoubleClickUnderZoomMarksThePicturesPoint)
{
    m_view.SetPicture(Grey(2592, 1944));
    SetScale(8.0);
    m_view.centerOn(1000, 700);
    DoubleClick({1000.5, 700.25});
    const QPointF ptMarked = Crosses().value(0) ? Crosses()[0]->pos() + QPointF(50, 50) : QPointF();
    EXPECT_NEAR(ptMarked.x(), 1000.5, 0.07);
    EXPECT_NEAR(ptMarked.y(), 700.25, 0.07);
}

// --- Zoom

TEST_F(View, TheWheelZoomsByATenth)
{
    m_view.SetPicture(Grey());
    Wheel(120);
    EXPECT_DOUBLE_EQ(Scale(), 1.1);
    EXPECT_DOUBLE_EQ(m_view.transform().m22(), 1.1);
    Wheel(15);
    EXPECT_DOUBLE_EQ(Scale(), 1.1 * 1.1);
    Wheel(-120);
    Wheel(-120);
    EXPECT_NEAR(Scale(), 1.0, 1e-12);
    EXPECT_EQ(m_view.transformationAnchor(), QGraphicsView::AnchorUnderMouse);
    EXPECT_EQ(m_view.viewportUpdateMode(), QGraphicsView::MinimalViewportUpdate);
}

TEST_F(View, AWheelTurnOfZeroZoomsOutPastTheLimitToo)
{
    m_view.SetPicture(Grey());
    Wheel(0);
    EXPECT_DOUBLE_EQ(Scale(), 0.9090909090909091);
    SetScale(0.1);
    Wheel(0);
    EXPECT_DOUBLE_EQ(Scale(), 0.1 * 0.9090909090909091);
    Wheel(0);
    EXPECT_DOUBLE_EQ(Scale(), 0.1 * 0.9090909090909091 * 0.9090909090909091);
}

TEST_F(View, EndlessTurnsOfZeroLeaveATransformThatCanBeUndone)
{
    m_view.SetPicture(Grey());
    for (int i = 0; i < 2000; ++i) {
        Wheel(0);
    }
    EXPECT_LT(Scale(), 0.001);
    EXPECT_TRUE(m_view.transform().isInvertible());
    for (int i = 0; i < 400 && Scale() < 1.0; ++i) {
        Wheel(120);
    }
    EXPECT_GE(Scale(), 1.0);
}

TEST_F(View, AtTheUpperLimitTheWheelOnlyZoomsOut)
{
    m_view.SetPicture(Grey());
    for (const double dScale : {50.0, 61.0}) {
        SetScale(dScale);
        Wheel(120);
        EXPECT_DOUBLE_EQ(Scale(), dScale);
        Wheel(-120);
        EXPECT_DOUBLE_EQ(Scale(), dScale * 0.9090909090909091);
    }
    SetScale(49.9);
    Wheel(120);
    EXPECT_DOUBLE_EQ(Scale(), 49.9 * 1.1);
}

TEST_F(View, AtTheLowerLimitTheWheelOnlyZoomsIn)
{
    m_view.SetPicture(Grey());
    for (const double dScale : {0.1, 0.05}) {
        SetScale(dScale);
        Wheel(-120);
        EXPECT_DOUBLE_EQ(Scale(), dScale);
        Wheel(120);
        EXPECT_DOUBLE_EQ(Scale(), dScale * 1.1);
    }
    SetScale(0.101);
    Wheel(-120);
    EXPECT_DOUBLE_EQ(Scale(), 0.101 * 0.9090909090909091);
}

TEST_F(View, AtALimitNothingElseChangesEither)
{
    SetScale(50.0);
    Wheel(120);
    EXPECT_EQ(m_view.transformationAnchor(), QGraphicsView::AnchorViewCenter);
}

TEST_F(View, AZoomIsPainted)
{
    m_view.SetPicture(Grey());
    m_view.SetCrosses({1}, {{100, 100}});
    Painted::PaintCounter counter(Viewport());
    Wheel(120);
    EXPECT_GE(counter.Take(), 1);
    // A left drag paints as well, beside every cross.
    Painted::Press(Viewport(), {395, 295});
    counter.Take();
    Painted::Drag(Viewport(), {390, 290});
    EXPECT_GE(counter.Take(), 1);
}

TEST_F(View, NothingIsPaintedInTheMiddleOfAZoom)
{
    m_view.SetPicture(Grey(2000, 1500));
    QCoreApplication::processEvents(); // the view learns how large its scene is
    QList<QGraphicsView::ViewportUpdateMode> modes;
    const QObject listener;
    QObject::connect(m_view.horizontalScrollBar(), &QScrollBar::rangeChanged, &listener,
                     [&] { modes << m_view.viewportUpdateMode(); });
    Wheel(120);
    EXPECT_FALSE(modes.isEmpty());
    EXPECT_EQ(modes.count(QGraphicsView::NoViewportUpdate), modes.size());
}

// --- Pan

TEST_F(View, ARightDragTranslatesByThePicturesDistance)
{
    m_view.SetPicture(Grey(2000, 1500));
    SetScale(2.0);
    const QTransform before = m_view.transform();
    Painted::Press(Viewport(), {100, 100}, Qt::RightButton);
    const QPointF ptDelta = m_view.mapToScene(QPoint(100, 100)) - m_view.mapToScene(QPoint(130, 90));
    Painted::Drag(Viewport(), {130, 90}, Qt::RightButton);
    EXPECT_EQ(ptDelta, QPointF(-15, 5));
    EXPECT_EQ(m_view.transform().m31() - before.m31(), -30.0);
    EXPECT_EQ(m_view.transform().m32() - before.m32(), 10.0);
    // Each step counts from the one before.
    Painted::Drag(Viewport(), {130, 90}, Qt::RightButton);
    EXPECT_EQ(m_view.transform().m31() - before.m31(), -30.0);
    Painted::Drag(Viewport(), {140, 90}, Qt::RightButton);
    EXPECT_EQ(m_view.transform().m31() - before.m31(), -40.0);
    EXPECT_EQ(Scale(), 2.0);
}

TEST_F(View, ALeftDragDoesNotPan)
{
    m_view.SetPicture(Grey(2000, 1500));
    const QTransform before = m_view.transform();
    Painted::Press(Viewport(), {100, 100});
    Painted::Drag(Viewport(), {130, 90});
    EXPECT_EQ(m_view.transform(), before);
}

namespace
{

void MoveMouse(QWidget& viewport, QPoint pt, Qt::MouseButtons held)
{
    // Anchoring under the mouse asks for the cursor's own position.
    QCursor::setPos(viewport.mapToGlobal(pt));
    Painted::SendMouse(viewport, QEvent::MouseMove, pt, Qt::NoButton, held);
}

} // namespace

TEST_F(View, AZoomKeepsThePointUnderTheMouse)
{
    m_view.SetPicture(Grey(2592, 1944));
    QCoreApplication::processEvents(); // the view learns how large its scene is
    m_view.centerOn(1000, 700);
    QTest::mouseMove(&Viewport(), {120, 80});
    MoveMouse(Viewport(), {120, 80}, Qt::NoButton);
    for (const int nDelta : {120, -120}) {
        for (int i = 0; i < 10; ++i) {
            const QPointF ptBefore = m_view.mapToScene(QPoint(120, 80));
            Wheel(nDelta);
            // Scroll positions are whole pixels.
            const QPointF ptMoved = (m_view.mapToScene(QPoint(120, 80)) - ptBefore) * Scale();
            EXPECT_LE(std::abs(ptMoved.x()), 2.0);
            EXPECT_LE(std::abs(ptMoved.y()), 2.0);
            MoveMouse(Viewport(), {120, 80}, Qt::NoButton);
        }
    }
}

TEST_F(View, AfterAZoomThePictureFollowsARightDrag)
{
    m_view.SetPicture(Grey(2592, 1944));
    QCoreApplication::processEvents(); // the view learns how large its scene is
    QTest::mouseMove(&Viewport(), {200, 150});
    Wheel(120);
    m_view.centerOn(1000, 700);
    MoveMouse(Viewport(), {200, 150}, Qt::NoButton);
    Painted::Press(Viewport(), {200, 150}, Qt::RightButton);
    for (int i = 1; i <= 10; ++i) {
        const QPointF ptBefore = m_view.mapToScene(QPoint(200, 150) + (i - 1) * QPoint(8, -5));
        const QPoint ptMouse = QPoint(200, 150) + i * QPoint(8, -5);
        MoveMouse(Viewport(), ptMouse, Qt::RightButton);
        const QPointF ptSlipped = (m_view.mapToScene(ptMouse) - ptBefore) * Scale();
        EXPECT_LE(std::abs(ptSlipped.x()), 2.0);
        EXPECT_LE(std::abs(ptSlipped.y()), 2.0);
    }
}

TEST_F(View, BeforeTheFirstZoomARightDragIsUndoneByTheAnchorInTheMiddle)
{
    m_view.SetPicture(Grey(2592, 1944));
    QCoreApplication::processEvents(); // the view learns how large its scene is
    m_view.centerOn(1000, 700);
    const QPointF ptMiddle = m_view.mapToScene(QPoint(200, 150));
    MoveMouse(Viewport(), {200, 150}, Qt::NoButton);
    Painted::Press(Viewport(), {200, 150}, Qt::RightButton);
    MoveMouse(Viewport(), {240, 120}, Qt::RightButton);
    EXPECT_EQ(m_view.transform().m31(), -40.0);
    EXPECT_EQ(m_view.mapToScene(QPoint(200, 150)), ptMiddle);
}
