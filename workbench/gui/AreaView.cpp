#include "AreaView.h"

#include <QApplication>
#include <QGraphicsItem>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyleOptionGraphicsItem>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace Workbench
{

namespace
{

constexpr double g_dMostZoom = 40.0;
constexpr double g_dStepsPerDouble = 4.0; ///< clicks of the wheel
constexpr double g_dCrispFrom = 2.0;      ///< from this zoom on, pixels are shown as what they are
constexpr int g_nArm = 9;                 ///< of a mark, screen pixels

} // namespace

class AreaView::PictureItem : public QGraphicsItem
{
public:
    PictureItem() { setFlag(ItemUsesExtendedStyleOption); }

    void SetPicture(AreaPicturePointer pPicture)
    {
        prepareGeometryChange();
        m_pPicture = std::move(pPicture);
        update();
    }
    QRectF boundingRect() const override { return m_pPicture ? QRectF(QPointF(), m_pPicture->Size()) : QRectF(); }
    void paint(QPainter* pPainter, const QStyleOptionGraphicsItem* pOption, QWidget*) override
    {
        if (!m_pPicture) {
            return;
        }
        const double dScale = std::abs(pPainter->deviceTransform().m11());
        const QImage& level = m_pPicture->LevelFor(dScale);
        const QRectF shown = pOption->exposedRect.intersected(boundingRect());
        // What rounding up left over belongs to the last row and column.
        const double dX = double(level.width()) / m_pPicture->Size().width();
        const double dY = double(level.height()) / m_pPicture->Size().height();
        pPainter->setRenderHint(QPainter::SmoothPixmapTransform, dScale < g_dCrispFrom);
        pPainter->drawImage(shown, level,
                            QRectF(shown.x() * dX, shown.y() * dY, shown.width() * dX, shown.height() * dY));
    }

private:
    AreaPicturePointer m_pPicture;
};

class AreaView::MarkItem : public QGraphicsItem
{
public:
    MarkItem(const QPointF& pixel, const QString& strText, const QFont& font) : m_strText(strText), m_font(font)
    {
        setFlag(ItemIgnoresTransformations);
        setPos(pixel);
        setZValue(1.0);
        const QRectF text = QFontMetricsF(m_font).boundingRect(m_strText);
        m_text = QRectF(g_nArm + 4, -text.height() - 4, text.width() + 12, text.height() + 4);
    }
    QString Text() const { return m_strText; }
    QRectF boundingRect() const override
    {
        return QRectF(-g_nArm - 2, -g_nArm - 2, 2 * g_nArm + 4, 2 * g_nArm + 4).united(m_text.adjusted(-1, -1, 1, 1));
    }
    void paint(QPainter* pPainter, const QStyleOptionGraphicsItem*, QWidget*) override
    {
        pPainter->setRenderHint(QPainter::Antialiasing);
        for (const auto& [colour, nWidth] : {std::pair{QColor(0, 0, 0, 160), 4}, std::pair{QColor(255, 214, 0), 2}}) {
            pPainter->setPen(QPen(colour, nWidth));
            pPainter->drawLine(-g_nArm, 0, g_nArm, 0);
            pPainter->drawLine(0, -g_nArm, 0, g_nArm);
        }
        pPainter->setPen(Qt::NoPen);
        pPainter->setBrush(QColor(0, 0, 0, 190));
        pPainter->drawRoundedRect(m_text, 3, 3);
        pPainter->setFont(m_font);
        pPainter->setPen(Qt::white);
        pPainter->drawText(m_text, Qt::AlignCenter, m_strText);
    }

private:
    QString m_strText;
    QFont m_font;
    QRectF m_text;
};

AreaView::AreaView(QWidget* pParent) : QGraphicsView(pParent), m_pItem(new PictureItem)
{
    setScene(new QGraphicsScene(this));
    // So that the scene's coordinates are those of the picture: a pixel's place is its centre.
    m_pItem->setPos(-0.5, -0.5);
    scene()->addItem(m_pItem);
    setDragMode(ScrollHandDrag);
    // The toolkit's own anchor is where the mouse last moved, not where the wheel turns.
    setTransformationAnchor(NoAnchor);
    setResizeAnchor(AnchorViewCenter);
    setMouseTracking(true);
    setBackgroundBrush(QColor(48, 50, 54));
    setFrameShape(NoFrame);
    // The hand moves the picture; bars that come and go would change the room that it has.
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setCursor(Qt::CrossCursor);
}

AreaView::~AreaView() = default;

void AreaView::SetPicture(AreaPicturePointer pPicture)
{
    const bool bFit = pPicture && (!m_pPicture || m_pPicture->Size() != pPicture->Size());
    m_pPicture = pPicture;
    m_pItem->SetPicture(std::move(pPicture));
    // With room around it: a spot near the edge stays under the mouse while it is zoomed too.
    const QRectF whole = m_pItem->sceneBoundingRect();
    scene()->setSceneRect(
        whole.adjusted(-whole.width() / 2, -whole.height() / 2, whole.width() / 2, whole.height() / 2));
    if (bFit) {
        FitSlot();
    }
    viewport()->update();
}

void AreaView::SetPlaceholder(const QString& strText)
{
    m_strPlaceholder = strText;
    viewport()->update();
}

void AreaView::AddMark(const QPointF& pixel, const QString& strText)
{
    auto* const pMark = new MarkItem(pixel, strText, font());
    scene()->addItem(pMark);
    m_marks.push_back(pMark);
}

void AreaView::ClearMarks()
{
    for (const MarkItem* const pMark : m_marks) {
        delete pMark;
    }
    m_marks.clear();
}

QString AreaView::LastMarkText() const
{
    return m_marks.empty() ? QString() : m_marks.back()->Text();
}

double AreaView::FitScale() const
{
    const QSizeF picture = m_pItem->boundingRect().size();
    const QSizeF room = viewport()->size();
    return picture.isEmpty() ? 1.0 : std::min(room.width() / picture.width(), room.height() / picture.height()) * 0.98;
}

void AreaView::FitSlot()
{
    if (!m_pPicture) {
        return;
    }
    const double dScale = std::max(FitScale(), 1.0e-4);
    setTransform(QTransform::fromScale(dScale, dScale));
    centerOn(m_pItem->sceneBoundingRect().center());
    m_bFitted = true;
}

bool AreaView::IsInside(const QPointF& pixel) const
{
    return m_pPicture && m_pItem->sceneBoundingRect().contains(pixel);
}

void AreaView::wheelEvent(QWheelEvent* pEvent)
{
    pEvent->accept();
    if (!m_pPicture || pEvent->angleDelta().y() == 0) {
        return;
    }
    const double dWanted = Zoom() * std::exp2(pEvent->angleDelta().y() / 120.0 / g_dStepsPerDouble);
    const double dScale = std::clamp(dWanted, std::min(FitScale(), 1.0) * 0.5, g_dMostZoom) / Zoom();
    const QPointF spot = viewportTransform().inverted().map(pEvent->position());
    scale(dScale, dScale);
    const QPointF moved = viewportTransform().map(spot) - pEvent->position();
    horizontalScrollBar()->setValue(horizontalScrollBar()->value() + qRound(moved.x()));
    verticalScrollBar()->setValue(verticalScrollBar()->value() + qRound(moved.y()));
    m_bFitted = false;
    TellHover(pEvent->position());
}

void AreaView::mousePressEvent(QMouseEvent* pEvent)
{
    m_bPressed = pEvent->button() == Qt::LeftButton;
    m_press = pEvent->pos();
    QGraphicsView::mousePressEvent(pEvent);
}

void AreaView::mouseMoveEvent(QMouseEvent* pEvent)
{
    if (m_bPressed && (pEvent->pos() - m_press).manhattanLength() >= QApplication::startDragDistance()) {
        m_bPressed = false;
        m_bFitted = false;
    }
    QGraphicsView::mouseMoveEvent(pEvent);
    TellHover(pEvent->position());
}

void AreaView::TellHover(const QPointF& place)
{
    const QPointF pixel = viewportTransform().inverted().map(place);
    if (IsInside(pixel)) {
        emit HoveredSignal(pixel);
    } else {
        emit LeftSignal();
    }
}

void AreaView::mouseReleaseEvent(QMouseEvent* pEvent)
{
    const bool bClick = m_bPressed && pEvent->button() == Qt::LeftButton;
    m_bPressed = false;
    QGraphicsView::mouseReleaseEvent(pEvent);
    viewport()->setCursor(Qt::CrossCursor);
    const QPointF pixel = viewportTransform().inverted().map(QPointF(m_press));
    if (bClick && IsInside(pixel)) {
        emit ClickedSignal(pixel);
    }
}

void AreaView::resizeEvent(QResizeEvent* pEvent)
{
    QGraphicsView::resizeEvent(pEvent);
    if (m_bFitted) {
        FitSlot();
    }
}

void AreaView::leaveEvent(QEvent* pEvent)
{
    QGraphicsView::leaveEvent(pEvent);
    emit LeftSignal();
}

void AreaView::drawForeground(QPainter* pPainter, const QRectF&)
{
    if (m_pPicture || m_strPlaceholder.isEmpty()) {
        return;
    }
    pPainter->save();
    pPainter->resetTransform();
    pPainter->setPen(QColor(220, 220, 220));
    pPainter->drawText(viewport()->rect().adjusted(40, 40, -40, -40), Qt::AlignCenter | Qt::TextWordWrap,
                       m_strPlaceholder);
    pPainter->restore();
}

} // namespace Workbench
