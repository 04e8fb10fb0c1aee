#include "Painted.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPixmap>
#include <QWheelEvent>
#include <QWidget>

#include <algorithm>
#include <utility>

namespace Painted
{

namespace
{

/// A line over white, grey or black pulls the channels apart in its colour's direction.
bool IsLike(const QColor& pixel, const QColor& colour)
{
    const int nPixel[] = {pixel.red(), pixel.green(), pixel.blue()};
    const int nColour[] = {colour.red(), colour.green(), colour.blue()};
    const int nStrong = static_cast<int>(std::max_element(nColour, nColour + 3) - nColour);
    const int nWeak = static_cast<int>(std::min_element(nColour, nColour + 3) - nColour);
    const int nMiddle = 3 - nStrong - nWeak;
    const double dSpread = nPixel[nStrong] - nPixel[nWeak];
    const double dShare = dSpread / (nColour[nStrong] - nColour[nWeak]);
    const double dMiddle = nPixel[nMiddle] - nPixel[nWeak];
    return dShare > 0.2 && std::abs(dMiddle - dShare * (nColour[nMiddle] - nColour[nWeak])) < 12.0;
}

} // namespace

QImage Of(QWidget& widget)
{
    return widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

int Count(const QImage& image, const QRect& area, const QColor& colour)
{
    const QRect inside = area.intersected(image.rect());
    int nCount = 0;
    for (int y = inside.top(); y <= inside.bottom(); ++y) {
        for (int x = inside.left(); x <= inside.right(); ++x) {
            nCount += IsLike(image.pixelColor(x, y), colour) ? 1 : 0;
        }
    }
    return nCount;
}

bool Has(const QImage& image, const QRect& area, const QColor& colour)
{
    return Count(image, area, colour) > 0;
}

QRect Extent(const QImage& image, const QColor& colour)
{
    QRect extent;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (IsLike(image.pixelColor(x, y), colour)) {
                extent |= QRect(x, y, 1, 1);
            }
        }
    }
    return extent;
}

PaintCounter::PaintCounter(QWidget& widget)
{
    QCoreApplication::processEvents();
    widget.installEventFilter(this);
}

int PaintCounter::Take()
{
    QCoreApplication::processEvents();
    return std::exchange(m_nPaints, 0);
}

bool PaintCounter::eventFilter(QObject*, QEvent* pEvent)
{
    if (pEvent->type() == QEvent::Paint) {
        ++m_nPaints;
        m_lastRegion = static_cast<const QPaintEvent*>(pEvent)->region();
    }
    return false;
}

void SendMouse(QWidget& widget, QEvent::Type type, QPointF ptWidget, Qt::MouseButton button, Qt::MouseButtons held)
{
    QMouseEvent event(type, ptWidget, widget.mapToGlobal(ptWidget), button, held, Qt::NoModifier);
    QApplication::sendEvent(&widget, &event);
}

void Press(QWidget& widget, QPoint ptWidget, Qt::MouseButton button)
{
    SendMouse(widget, QEvent::MouseButtonPress, ptWidget, button, button);
}

void Drag(QWidget& widget, QPoint ptWidget, Qt::MouseButton held)
{
    SendMouse(widget, QEvent::MouseMove, ptWidget, Qt::NoButton, held);
}

void Release(QWidget& widget, QPoint ptWidget, Qt::MouseButton button)
{
    SendMouse(widget, QEvent::MouseButtonRelease, ptWidget, button, Qt::NoButton);
}

void DoubleClick(QWidget& widget, QPoint ptWidget, Qt::MouseButton button)
{
    Press(widget, ptWidget, button);
    Release(widget, ptWidget, button);
    SendMouse(widget, QEvent::MouseButtonDblClick, ptWidget, button, button);
    Release(widget, ptWidget, button);
}

void Wheel(QWidget& widget, QPoint ptWidget, int nDelta)
{
    QWheelEvent event(ptWidget, widget.mapToGlobal(ptWidget), QPoint(), QPoint(0, nDelta), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&widget, &event);
}

} // namespace Painted
