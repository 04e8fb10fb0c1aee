#pragma once

// What a widget shows, asked pixel by pixel, and mouse and wheel events for its viewport.

#include <QColor>
#include <QEvent>
#include <QImage>
#include <QObject>
#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QRegion>

class QWidget;

namespace Painted
{

const QColor RED(255, 0, 0);
const QColor GREEN(90, 199, 0);
const QColor BLUE(0, 0, 255);

/// The widget's pixels as it would show them now.
QImage Of(QWidget& widget);
/// How many pixels of `area` are nearer to `colour` than to white, grey or black; half covered ones count.
int Count(const QImage& image, const QRect& area, const QColor& colour);
bool Has(const QImage& image, const QRect& area, const QColor& colour);
/// The smallest rectangle around all pixels that `Count` would count.
QRect Extent(const QImage& image, const QColor& colour);

/// Counts the repaints that a shown widget gets from here on.
class PaintCounter : public QObject
{
public:
    explicit PaintCounter(QWidget& widget);
    /// Lets pending ones happen; counts from 0 again.
    int Take();
    /// What the last of them painted anew, pixels of the widget.
    QRegion LastRegion() const { return m_lastRegion; }

private:
    bool eventFilter(QObject* pWatched, QEvent* pEvent) override;

    int m_nPaints = 0;
    QRegion m_lastRegion;
};

/// One mouse event with its position in pixels of `widget`, sent at once.
void SendMouse(QWidget& widget, QEvent::Type type, QPointF ptWidget, Qt::MouseButton button, Qt::MouseButtons held);
void Press(QWidget& widget, QPoint ptWidget, Qt::MouseButton button = Qt::LeftButton);
void Drag(QWidget& widget, QPoint ptWidget, Qt::MouseButton held = Qt::LeftButton);
void Release(QWidget& widget, QPoint ptWidget, Qt::MouseButton button = Qt::LeftButton);
/// Press, release, double click, release, as a real one comes.
void DoubleClick(QWidget& widget, QPoint ptWidget, Qt::MouseButton button = Qt::LeftButton);
/// @param nDelta  eighths of a degree; 120 is one notch away from the operator
void Wheel(QWidget& widget, QPoint ptWidget, int nDelta);

} // namespace Painted
