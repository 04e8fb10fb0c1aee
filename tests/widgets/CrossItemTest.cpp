#include "CrossItem.h"

#include "Painted.h"

#include <gmock/gmock.h>

#include <QGraphicsScene>
#include <QGraphicsView>
#include <QPainter>
#include <QPointer>
#include <QSignalSpy>
#include <QStyleOptionGraphicsItem>
#include <QTest>

namespace
{

/// One cross in a plain view whose scene starts at the viewport's corner.
class Cross : public testing::Test
{
protected:
    Cross() : m_pCross(new CrossItem(true))
    {
        m_scene.setSceneRect(0, 0, 300, 300);
        m_scene.addItem(m_pCross);
        m_view.setScene(&m_scene);
        m_view.setFrameShape(QFrame::NoFrame);
        m_view.setAlignment(Qt::AlignLeft | Qt::AlignTop);
        m_view.resize(300, 300);
    }

    QWidget& Viewport() { return *m_view.viewport(); }

    QGraphicsScene m_scene;
    QGraphicsView m_view;
    CrossItem* const m_pCross;
};

QImage PaintedOn(CrossItem& cross, QWidget* pWidget)
{
    QImage image(120, 120, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QStyleOptionGraphicsItem option;
    cross.paint(&painter, &option, pWidget);
    return image;
}

} // namespace

TEST_F(Cross, TakesTwiceTheRoomOfWhatItDraws)
{
    EXPECT_EQ(m_pCross->boundingRect(), QRectF(0, 0, 200, 200));
    const QRect drawn = Painted::Extent(Painted::Of(m_view), Painted::RED);
    EXPECT_TRUE(QRect(0, 0, 101, 101).contains(drawn)) << drawn.right() << ", " << drawn.bottom();
    EXPECT_TRUE(drawn.contains(QRect(1, 1, 98, 98)));
}

TEST_F(Cross, AcceptsTheLeftButtonAndHovering)
{
    EXPECT_EQ(m_pCross->acceptedMouseButtons(), Qt::LeftButton);
    EXPECT_TRUE(m_pCross->acceptHoverEvents());
    EXPECT_TRUE(m_pCross->flags().testFlag(QGraphicsItem::ItemIsMovable));
    EXPECT_TRUE(m_pCross->flags().testFlag(QGraphicsItem::ItemIsSelectable));
    EXPECT_FALSE(m_pCross->data(CrossItem::ID_KEY).isValid());
}

TEST_F(Cross, IsRedAndGreenWhenSelected)
{
    const QRect horizontalArm(5, 48, 30, 4);
    const QRect verticalArm(48, 65, 4, 30);
    QImage image = Painted::Of(m_view);
    EXPECT_TRUE(Painted::Has(image, horizontalArm, Painted::RED));
    EXPECT_TRUE(Painted::Has(image, verticalArm, Painted::RED));
    EXPECT_FALSE(Painted::Has(image, image.rect(), Painted::GREEN));

    m_pCross->SetSelected(true);
    image = Painted::Of(m_view);
    EXPECT_TRUE(Painted::Has(image, horizontalArm, Painted::GREEN));
    EXPECT_TRUE(Painted::Has(image, verticalArm, Painted::GREEN));
    EXPECT_FALSE(Painted::Has(image, image.rect(), Painted::RED));

    m_pCross->SetSelected(false);
    EXPECT_TRUE(Painted::Has(Painted::Of(m_view), horizontalArm, Painted::RED));
}

TEST_F(Cross, SelectingAsksForARepaintOfTheWholeItem)
{
    m_view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&m_view));
    Painted::PaintCounter counter(Viewport());
    counter.Take();
    m_pCross->SetSelected(true);
    EXPECT_EQ(counter.Take(), 1);
    EXPECT_TRUE(counter.LastRegion().contains(m_pCross->boundingRect().toRect()));
    EXPECT_FALSE(counter.LastRegion().contains(QRect(250, 250, 10, 10))) << "and of nothing else";
}

TEST_F(Cross, StaysOnePixelThinAtEveryZoom)
{
    for (const double dScale : {0.3, 1.0, 2.0, 7.5, 40.0}) {
        m_view.resetTransform();
        m_view.scale(dScale, dScale);
        m_view.centerOn(30.0, 50.0);
        const QPoint ptArm = m_view.mapFromScene(QPointF(30.0, 50.0));
        const int nThick = Painted::Count(Painted::Of(Viewport()), QRect(ptArm.x(), 0, 1, 300), Painted::RED);
        EXPECT_GE(nThick, 1) << dScale;
        EXPECT_LE(nThick, 2) << dScale; // a line between two pixels covers half of each
    }
}

TEST_F(Cross, IsPaintedOnAnyWidgetAndOnNone)
{
    EXPECT_TRUE(Painted::Has(PaintedOn(*m_pCross, nullptr), QRect(5, 48, 30, 4), Painted::RED));
    QWidget alone;
    EXPECT_TRUE(Painted::Has(PaintedOn(*m_pCross, &alone), QRect(5, 48, 30, 4), Painted::RED));
    QWidget child(&alone);
    EXPECT_TRUE(Painted::Has(PaintedOn(*m_pCross, &child), QRect(5, 48, 30, 4), Painted::RED));
    EXPECT_TRUE(Painted::Has(PaintedOn(*m_pCross, &Viewport()), QRect(5, 48, 30, 4), Painted::RED));

    QImage image(300, 300, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    m_scene.render(&painter);
    EXPECT_TRUE(Painted::Has(image, QRect(5, 48, 30, 4), Painted::RED));
}

TEST_F(Cross, IsPaintedWithAntialiasing)
{
    QImage image(120, 120, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing, false);
    QStyleOptionGraphicsItem option;
    m_pCross->paint(&painter, &option, nullptr);
    EXPECT_TRUE(painter.testRenderHint(QPainter::Antialiasing));
    EXPECT_TRUE(painter.pen().isCosmetic());
    EXPECT_EQ(painter.pen().widthF(), 1.0);
    EXPECT_EQ(painter.pen().color(), QColor(Qt::red));
}

TEST_F(Cross, TellsOfItsPressAndCarriesItselfThroughTheMetaObjectSystem)
{
    EXPECT_TRUE(QMetaType::fromType<CrossItem*>().isValid());
    QSignalSpy pressed(m_pCross, &CrossItem::PressedSignals);
    Painted::Press(Viewport(), {50, 50});
    ASSERT_EQ(pressed.size(), 1);
    EXPECT_EQ(pressed[0][0].value<CrossItem*>(), m_pCross);
}

TEST_F(Cross, IsGrabbedBeyondItsArms)
{
    QSignalSpy pressed(m_pCross, &CrossItem::PressedSignals);
    Painted::Press(Viewport(), {190, 190});
    Painted::Release(Viewport(), {190, 190});
    EXPECT_EQ(pressed.size(), 1);
    Painted::Press(Viewport(), {210, 50});
    EXPECT_EQ(pressed.size(), 1);
}

TEST_F(Cross, IgnoresTheRightButton)
{
    QSignalSpy pressed(m_pCross, &CrossItem::PressedSignals);
    Painted::Press(Viewport(), {50, 50}, Qt::RightButton);
    EXPECT_TRUE(pressed.isEmpty());
}

TEST_F(Cross, FollowsTheLeftButtonByTheDragsDistance)
{
    Painted::Press(Viewport(), {60, 70});
    Painted::Drag(Viewport(), {75, 90});
    EXPECT_EQ(m_pCross->pos(), QPointF(15, 20));
    Painted::Drag(Viewport(), {65, 70});
    EXPECT_EQ(m_pCross->pos(), QPointF(5, 0));
    Painted::Release(Viewport(), {65, 70});
    EXPECT_EQ(m_pCross->pos(), QPointF(5, 0));
    // The next press measures its distance anew.
    Painted::Press(Viewport(), {100, 100});
    Painted::Drag(Viewport(), {101, 102});
    EXPECT_EQ(m_pCross->pos(), QPointF(6, 2));
}

TEST_F(Cross, DoesNotFollowWithoutTheLeftButtonHeld)
{
    Painted::Press(Viewport(), {60, 70});
    Painted::Drag(Viewport(), {75, 90}, Qt::NoButton);
    EXPECT_EQ(m_pCross->pos(), QPointF(0, 0));
}

TEST_F(Cross, StaysWhereItIsWhenFixed)
{
    m_pCross->SetMovable(false);
    QSignalSpy pressed(m_pCross, &CrossItem::PressedSignals);
    Painted::Press(Viewport(), {60, 70});
    Painted::Drag(Viewport(), {75, 90});
    EXPECT_EQ(m_pCross->pos(), QPointF(0, 0));
    EXPECT_EQ(pressed.size(), 1);
    Painted::Release(Viewport(), {75, 90});

    m_pCross->SetMovable(true);
    Painted::Press(Viewport(), {60, 70});
    Painted::Drag(Viewport(), {75, 90});
    EXPECT_EQ(m_pCross->pos(), QPointF(15, 20));
}

TEST_F(Cross, MadeFixedStaysWhereItIs)
{
    delete m_scene.items().value(0);
    auto* const pFixed = new CrossItem(false);
    m_scene.addItem(pFixed);
    Painted::Press(Viewport(), {60, 70});
    Painted::Drag(Viewport(), {75, 90});
    EXPECT_EQ(pFixed->pos(), QPointF(0, 0));
}

TEST_F(Cross, LeavesTheToolkitsOwnSelectionAlone)
{
    Painted::Press(Viewport(), {60, 70});
    Painted::Release(Viewport(), {60, 70});
    EXPECT_FALSE(m_pCross->isSelected());
}

TEST_F(Cross, MayBeDeletedByTheReceiverOfItsPress)
{
    const QPointer<CrossItem> pGuard(m_pCross);
    QObject::connect(m_pCross, &CrossItem::PressedSignals, &m_scene, [this](CrossItem* pItem) {
        m_scene.removeItem(pItem);
        delete pItem;
    });
    Painted::Press(Viewport(), {60, 70});
    Painted::Drag(Viewport(), {75, 90});
    Painted::Release(Viewport(), {75, 90});
    EXPECT_TRUE(pGuard.isNull());
}
