#include "CrossItem.h"

#include <QGraphicsSceneMouseEvent>
#include <QGraphicsView>
#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <QPointer>

namespace
{

QPainterPath CrossPath()
{
    QPainterPath path;
    path.moveTo(0, CrossItem::CENTRE);
    path.lineTo(2 * CrossItem::CENTRE, CrossItem::CENTRE);
    path.moveTo(CrossItem::CENTRE, 0);
    path.lineTo(CrossItem::CENTRE, 2 * CrossItem::CENTRE);
    return path;
}

/// One device pixel thin at every zoom.
QPen CrossPen(const QColor& color)
{
    QPen pen(color, 1);
    pen.setCosmetic(true);
    return pen;
}

} // namespace

CrossItem::CrossItem(bool movable) : m_bMovable(movable)
{
    setFlags(ItemIsMovable | ItemIsSelectable);
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
}

QRectF CrossItem::boundingRect() const
{
    return {0, 0, 4 * CENTRE, 4 * CENTRE};
}

void CrossItem::paint(QPainter* painter, const QStyleOptionGraphicsItem*, QWidget* widget)
{
    // Made once: a picture may bear thousands of crosses.
    static const QPainterPath s_path = CrossPath();
    static const QPen s_plainPen = CrossPen(Qt::red);
    static const QPen s_selectedPen = CrossPen(QColor(90, 199, 0, 255));

    painter->setRenderHint(QPainter::Antialiasing);
    if (const auto* const pView = qobject_cast<QGraphicsView*>(widget ? widget->parentWidget() : nullptr)) {
        m_dScale = pView->transform().m11();
    }
    painter->setPen(m_bSelected ? s_selectedPen : s_plainPen);
    painter->drawPath(s_path);
}

void CrossItem::SetMovable(bool bMovable)
{
    m_bMovable = bMovable;
}

void CrossItem::SetSelected(bool bSelected)
{
    m_bSelected = bSelected;
    update(QRectF());
}

void CrossItem::mousePressEvent(QGraphicsSceneMouseEvent* event)
{
    const QPointer<CrossItem> pGuard(this);
    emit PressedSignals(this);
    if (pGuard && m_bMovable) {
        m_ptDragOffset = scenePos() - event->scenePos();
        event->accept();
    }
}

void CrossItem::mouseMoveEvent(QGraphicsSceneMouseEvent* event)
{
    if (m_bMovable && event->buttons().testFlag(Qt::LeftButton)) {
        setPos(event->scenePos() + m_ptDragOffset);
    }
}

void CrossItem::mouseReleaseEvent(QGraphicsSceneMouseEvent*)
{
}
