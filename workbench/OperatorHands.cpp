#include "OperatorHands.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCursor>
#include <QGraphicsPixmapItem>
#include <QGraphicsView>
#include <QKeyEvent>
#include <QMainWindow>
#include <QMouseEvent>
#include <QWheelEvent>

#include <algorithm>

namespace Workbench
{

namespace
{

constexpr int g_nNotch = 120;

/// Sent, so that the mouse is still there when the view looks for it.
void TurnWheel(QWidget* pViewport, QPoint place, int nNotches)
{
    const QPoint global = pViewport->mapToGlobal(place);
    QCursor::setPos(global);
    QMouseEvent move(QEvent::MouseMove, QPointF(place), QPointF(global), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(pViewport, &move);
    QWheelEvent wheel(QPointF(place), QPointF(global), QPoint(), QPoint(0, nNotches * g_nNotch), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(pViewport, &wheel);
}

/// Moves the picture by the right button.
void Drag(QWidget* pViewport, QPoint from, QPoint by)
{
    const auto send = [&](QEvent::Type type, QPoint place, Qt::MouseButton button, Qt::MouseButtons held) {
        const QPoint global = pViewport->mapToGlobal(place);
        QCursor::setPos(global);
        QMouseEvent event(type, QPointF(place), QPointF(global), button, held, Qt::NoModifier);
        QApplication::sendEvent(pViewport, &event);
    };
    send(QEvent::MouseMove, from, Qt::NoButton, Qt::NoButton);
    send(QEvent::MouseButtonPress, from, Qt::RightButton, Qt::RightButton);
    send(QEvent::MouseMove, from + by, Qt::NoButton, Qt::RightButton);
    send(QEvent::MouseButtonRelease, from + by, Qt::RightButton, Qt::NoButton);
}

} // namespace

QMainWindow* FindWizard()
{
    for (QWidget* pWidget : QApplication::topLevelWidgets()) {
        if (pWidget->objectName() == "CalibrateTwoCameraWnd" && pWidget->isVisible()) {
            return qobject_cast<QMainWindow*>(pWidget);
        }
    }
    return nullptr;
}

bool ShowsPicture(const QGraphicsView& view)
{
    const QList<QGraphicsItem*> items = view.items();
    return std::any_of(items.begin(), items.end(), [](const QGraphicsItem* pItem) {
        const auto* pPicture = qgraphicsitem_cast<const QGraphicsPixmapItem*>(pItem);
        return pPicture && !pPicture->pixmap().isNull();
    });
}

void PostClick(QAbstractButton* pButton)
{
    QMetaObject::invokeMethod(pButton, &QAbstractButton::click, Qt::QueuedConnection);
}

void PostKey(QWidget* pWidget, int nKey)
{
    QApplication::postEvent(pWidget, new QKeyEvent(QEvent::KeyPress, nKey, Qt::NoModifier));
    QApplication::postEvent(pWidget, new QKeyEvent(QEvent::KeyRelease, nKey, Qt::NoModifier));
}

void PostDoubleClick(QWidget* pViewport, QPoint place)
{
    const QPointF local(place);
    const QPointF global(pViewport->mapToGlobal(place));
    const auto post = [&](QEvent::Type type, Qt::MouseButtons held) {
        QApplication::postEvent(pViewport, new QMouseEvent(type, local, global, Qt::LeftButton, held, Qt::NoModifier));
    };
    post(QEvent::MouseButtonPress, Qt::LeftButton);
    post(QEvent::MouseButtonRelease, Qt::NoButton);
    post(QEvent::MouseButtonDblClick, Qt::LeftButton);
    post(QEvent::MouseButtonRelease, Qt::NoButton);
}

void PostRectangle(QWidget* pWidget, QPoint from, QPoint to)
{
    const auto post = [&](QEvent::Type type, QPoint place, Qt::MouseButton button, Qt::MouseButtons held) {
        QApplication::postEvent(pWidget, new QMouseEvent(type, QPointF(place), QPointF(pWidget->mapToGlobal(place)),
                                                         button, held, Qt::NoModifier));
    };
    post(QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
    post(QEvent::MouseMove, (from + to) / 2, Qt::NoButton, Qt::LeftButton);
    post(QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton);
    post(QEvent::MouseButtonRelease, to, Qt::LeftButton, Qt::NoButton);
    post(QEvent::MouseButtonPress, to, Qt::RightButton, Qt::RightButton);
    post(QEvent::MouseButtonRelease, to, Qt::RightButton, Qt::NoButton);
}

std::optional<QPoint> Reach(QGraphicsView& view, QPointF target, double dScale)
{
    QWidget* const pViewport = view.viewport();
    const QRect room = pViewport->rect().adjusted(8, 8, -8, -8);
    const QPoint place = view.mapFromScene(target);
    if (!room.contains(place)) {
        TurnWheel(pViewport, room.center(), -1);
    } else if (view.transform().m11() < dScale) {
        TurnWheel(pViewport, place, 1);
    } else if (pViewport->childAt(place)) {
        Drag(pViewport, room.center(), QPoint(0, -room.height() / 3));
    } else {
        return place;
    }
    return std::nullopt;
}

} // namespace Workbench
