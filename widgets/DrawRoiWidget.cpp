#include "DrawRoiWidget.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <limits>

namespace
{

/// Toward zero. A rectangle may reach far beyond the label, and a picture's size is whatever somebody set.
int Truncated(double dValue)
{
    constexpr double LOWEST = std::numeric_limits<int>::min();
    constexpr double HIGHEST = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(dValue, LOWEST, HIGHEST));
}

} // namespace

DrawRoiWidget::DrawRoiWidget(QWidget* parent) : QLabel(parent)
{
    setStyleSheet("background-color: white;");
}

void DrawRoiWidget::SetImageSize(int nWidth, int nHeight)
{
    m_nImageWidth = nWidth;
    m_nImageHeight = nHeight;
}

QSize DrawRoiWidget::GetImageSize() const
{
    return {m_nImageWidth, m_nImageHeight};
}

bool DrawRoiWidget::HasImageSize() const
{
    return m_nImageWidth >= 1 && m_nImageHeight >= 1;
}

QPointF DrawRoiWidget::GetPictureOffset() const
{
    const QPixmap picture = pixmap();
    if (picture.isNull()) {
        return {};
    }
    const QRect contents = contentsRect();
    return {contents.left() + (contents.width() - picture.width()) / 2.0,
            contents.top() + (contents.height() - picture.height()) / 2.0};
}

QRect DrawRoiWidget::GetDrawnRect() const
{
    const QPointF ptOffset = GetPictureOffset();
    return {(m_ptStart - ptOffset).toPoint(), (m_ptEnd - ptOffset).toPoint()};
}

QRect DrawRoiWidget::GetRoiRect() const
{
    const QPixmap picture = pixmap();
    if (!HasImageSize() || picture.isNull()) {
        return {};
    }
    const QRect drawn = GetDrawnRect();
    const double dScaleX = static_cast<double>(picture.width()) / m_nImageWidth;
    const double dScaleY = static_cast<double>(picture.height()) / m_nImageHeight;
    return {
        QPoint(Truncated(drawn.x() / dScaleX), Truncated(drawn.y() / dScaleY)),
        QPoint(Truncated((drawn.x() + drawn.width()) / dScaleX), Truncated((drawn.y() + drawn.height()) / dScaleY))};
}

QRect DrawRoiWidget::GetFitRect() const
{
    if (!HasImageSize() || pixmap().isNull()) {
        return {};
    }
    const QSize fitted = GetImageSize().scaled(size(), Qt::KeepAspectRatio);
    return {QPoint((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted};
}

void DrawRoiWidget::EnableDrawingSlots()
{
    m_bDrawing = true;
}

void DrawRoiWidget::mousePressEvent(QMouseEvent* event)
{
    QLabel::mousePressEvent(event);
    if (m_bDrawing && event->button() == Qt::LeftButton) {
        m_ptStart = event->position().toPoint();
        m_ptEnd = m_ptStart;
        update();
    }
}

void DrawRoiWidget::mouseReleaseEvent(QMouseEvent* event)
{
    QLabel::mouseReleaseEvent(event);
    // The rectangle stays open until the right button: a second left drag starts it again.
    if (m_bDrawing && event->button() == Qt::RightButton) {
        m_bDrawing = false;
        update();
        emit DrawingFinishedSignal(QRect(m_ptStart, m_ptEnd).normalized());
    }
}

void DrawRoiWidget::mouseMoveEvent(QMouseEvent* event)
{
    QLabel::mouseMoveEvent(event);
    if (m_bDrawing && event->buttons().testFlag(Qt::LeftButton)) {
        m_ptEnd = event->position().toPoint();
        update();
    }
}

void DrawRoiWidget::paintEvent(QPaintEvent* event)
{
    QLabel::paintEvent(event);
    if (m_bDrawing) {
        QPainter painter(this);
        painter.setPen(QPen(QBrush(Qt::blue), 2.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
        painter.drawRect(QRect(m_ptStart, m_ptEnd).normalized());
    }
}
