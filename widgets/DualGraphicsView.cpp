#include "DualGraphicsView.h"

#include "FileStore.h"
#include "Log.h"
#include "Translator.h"

#include <QCursor>
#include <QFont>
#include <QGraphicsPixmapItem>
#include <QGraphicsScene>
#include <QGraphicsTextItem>
#include <QMouseEvent>
#include <QWheelEvent>

namespace
{

constexpr QPointF CENTRE_OFFSET(CrossItem::CENTRE, CrossItem::CENTRE);
constexpr int MODE_PLACE = 0;
constexpr int MODE_REPORT = 1;

constexpr double ZOOM_IN = 1.1;
constexpr double ZOOM_OUT = 0.9090909090909091;
constexpr double LARGEST_SCALE = 50.0;
constexpr double SMALLEST_SCALE = 0.1;
/// Below this the transform cannot be inverted any more.
constexpr double SMALLEST_USABLE_SCALE = 1e-5;

// The blanks around the name are no-break spaces (U+00A0), unlike those of the other two; this is meant.
constexpr char16_t FIRST_HINT[] = u"Click\u00A0<Photo>\u00A0to capture photo";
constexpr char16_t PHOTO_HINT[] = u"Click <Photo> to capture photo";
constexpr char16_t STITCH_HINT[] = u"Click <Stitch> to capture photo";

QString Wording(const char16_t* pKey)
{
    return CTranslator::GetInstance()->GetWording(QString::fromUtf16(pKey));
}

} // namespace

DualGraphicsView::DualGraphicsView(QWidget* parent) : QGraphicsView(parent)
{
    InitView();
}

DualGraphicsView::~DualGraphicsView()
{
    ClearCrosses();
    m_pScene->clear();
    delete m_pScene;
}

void DualGraphicsView::InitView()
{
    InitCursor();

    m_dScale = 1.0;
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTransformationAnchor(AnchorViewCenter);
    setResizeAnchor(AnchorViewCenter);

    m_pScene = new QGraphicsScene;
    m_pHintItem = new QGraphicsPixmapItem;
    m_bAddEnabled = true;
    setScene(m_pScene);
    setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);

    AddHintText(Wording(FIRST_HINT));
    CentreHintText();
}

void DualGraphicsView::InitCursor()
{
    unsetCursor();
    const QString strIcon = GetInstallResourcePath() + "/Res/Icon/RedArrow.svg";
    const QPixmap icon(strIcon);
    if (icon.isNull()) {
        ILog_WriteLogF(1, "%s, the cursor's picture %s cannot be read.", "DualGraphicsView::InitCursor",
                       qUtf8Printable(strIcon));
        return;
    }
    // -1 is the picture's centre.
    setCursor(QCursor(icon, -1, -1));
}

void DualGraphicsView::SetPicture(const QPixmap& pixmap)
{
    if (!m_pPixmapItem) {
        m_pPixmapItem = new QGraphicsPixmapItem;
        m_pPixmapItem->setTransformationMode(Qt::SmoothTransformation);
        m_pScene->addItem(m_pPixmapItem);
    }
    m_pPixmapItem->setPixmap(pixmap.copy(QRect()));
}

bool DualGraphicsView::HasPicture() const
{
    return m_pPixmapItem && !m_pPixmapItem->pixmap().isNull();
}

void DualGraphicsView::SetCrosses(const QList<int>& ids, const QList<QPointF>& points)
{
    if (ids.size() != points.size()) {
        return;
    }
    ClearCrosses();
    for (qsizetype i = 0; i < ids.size(); ++i) {
        CrossItem* const pCross = AppendCross(points[i]);
        pCross->setData(CrossItem::ID_KEY, ids[i]);
        pCross->SetMovable(false);
        connect(pCross, &CrossItem::PressedSignals, this, &DualGraphicsView::CrossItemPressedSlot);
    }
}

void DualGraphicsView::AddCross(QPointF ptCentre)
{
    AppendCross(ptCentre);
}

void DualGraphicsView::AddCrossWithId(int nId, QPointF ptCentre)
{
    AppendCross(ptCentre)->setData(CrossItem::ID_KEY, nId);
}

CrossItem* DualGraphicsView::AppendCross(QPointF ptCentre)
{
    auto* const pCross = new CrossItem(true);
    pCross->setPos(ptCentre - CENTRE_OFFSET);
    m_pScene->addItem(pCross);
    m_listCross.append(pCross);
    return pCross;
}

void DualGraphicsView::MoveLastCross(QPointF ptCentre)
{
    if (CrossItem* const pCross = LastCross()) {
        pCross->setPos(ptCentre - CENTRE_OFFSET);
    }
}

void DualGraphicsView::RemoveLastCross()
{
    if (m_listCross.isEmpty()) {
        return;
    }
    DeleteCross(m_listCross.takeLast());
    m_bAddEnabled = true;
}

void DualGraphicsView::RemoveCrossById(int nId)
{
    // The highest number of a list numbered from 1 is refused as well; this is meant.
    if (m_listCross.isEmpty() || nId < 1 || nId >= m_listCross.size()) {
        return;
    }
    for (qsizetype i = 0; i < m_listCross.size(); ++i) {
        CrossItem* const pCross = m_listCross[i];
        if (!pCross || pCross->data(CrossItem::ID_KEY) != QVariant(nId)) {
            continue;
        }
        m_listCross[i] = nullptr;
        DeleteCross(pCross);
        // The entry at place `nId` goes, not the one at which the cross stood; this is meant.
        if (nId < m_listCross.size()) {
            m_listCross.removeAt(nId);
        }
    }
}

void DualGraphicsView::ClearCrosses()
{
    // Without the index and oldest first, each removal costs the same however many crosses there are.
    const QGraphicsScene::ItemIndexMethod method = m_pScene->itemIndexMethod();
    m_pScene->setItemIndexMethod(QGraphicsScene::NoIndex);
    const QList<QGraphicsItem*> items = m_pScene->items(Qt::AscendingOrder);
    for (QGraphicsItem* const pItem : items) {
        if (pItem != m_pPixmapItem) {
            m_pScene->removeItem(pItem);
            // The hint picture is deleted below, in the scene or not.
            if (pItem != m_pHintItem) {
                delete pItem;
            }
        }
    }
    m_pScene->setItemIndexMethod(method);
    m_listCross.clear();
    m_pTextItem = nullptr;
    delete m_pHintItem;
    m_pHintItem = nullptr;
}

void DualGraphicsView::DeleteCross(CrossItem* pCross)
{
    if (pCross) {
        m_pScene->removeItem(pCross);
        delete pCross;
    }
}

CrossItem* DualGraphicsView::LastCross() const
{
    return m_listCross.isEmpty() ? nullptr : m_listCross.last();
}

CrossItem* DualGraphicsView::FindCross(int nId) const
{
    for (CrossItem* const pCross : m_listCross) {
        if (pCross && pCross->data(CrossItem::ID_KEY) == QVariant(nId)) {
            return pCross;
        }
    }
    return nullptr;
}

QPoint DualGraphicsView::GetLastCrossPos() const
{
    const CrossItem* const pCross = LastCross();
    return pCross ? pCross->pos().toPoint() + CENTRE_OFFSET.toPoint() : QPoint();
}

QPointF DualGraphicsView::GetCrossPos(int nId) const
{
    const CrossItem* const pCross = FindCross(nId);
    return pCross ? pCross->pos() + CENTRE_OFFSET : QPointF();
}

void DualGraphicsView::SetLastCrossMovable(bool bMovable)
{
    if (m_listCross.isEmpty()) {
        return;
    }
    if (CrossItem* const pCross = LastCross()) {
        pCross->SetMovable(bMovable);
    }
    m_bAddEnabled = true;
}

void DualGraphicsView::SetCrossMovableById(int nId, bool bMovable)
{
    CrossItem* const pCross = nId < 1 ? nullptr : FindCross(nId);
    if (pCross) {
        pCross->SetMovable(bMovable);
    }
}

void DualGraphicsView::SetAddEnabled(bool bEnabled)
{
    m_bAddEnabled = bEnabled;
}

bool DualGraphicsView::HasPendingCross() const
{
    return !m_bAddEnabled;
}

void DualGraphicsView::SetAddMode(int nMode)
{
    m_iAddMode = nMode;
}

void DualGraphicsView::SetMaxCrossCount(int nCount)
{
    m_iMaxCross = nCount;
}

void DualGraphicsView::ShowHintPicture(QPixmap pixmap, QPoint ptTopLeft)
{
    if (!m_pHintItem) {
        m_pHintItem = new QGraphicsPixmapItem;
    }
    m_pHintItem->setPixmap(pixmap);
    if (m_pHintItem->scene() != m_pScene) {
        m_pScene->addItem(m_pHintItem);
    }
    m_pHintItem->setPos(ptTopLeft);
}

void DualGraphicsView::RemoveHintPicture()
{
    if (m_pHintItem && m_pHintItem->scene() == m_pScene) {
        m_pScene->removeItem(m_pHintItem);
    }
}

void DualGraphicsView::UpdateHintText(const QString& strMode)
{
    const QString strText = Wording(strMode == "Photo" ? PHOTO_HINT : STITCH_HINT);
    if (!m_pTextItem) {
        AddHintText(strText);
    }
    m_pTextItem->setPlainText(strText);
    CentreHintText();
    m_pTextItem->setVisible(true);
}

void DualGraphicsView::AddHintText(const QString& strText)
{
    m_pTextItem = m_pScene->addText(strText, QFont());
    if (m_pPixmapItem) {
        // The picture covers the text, also one that is made after it.
        m_pTextItem->stackBefore(m_pPixmapItem);
    }
}

void DualGraphicsView::CentreHintText()
{
    const QRectF scene = m_pScene->sceneRect();
    const QRectF text = m_pTextItem->boundingRect();
    m_pTextItem->setPos(scene.width() / 2 - text.width() / 2, scene.height() / 2 - text.height() / 2);
}

void DualGraphicsView::SetSelectedCrossItemSlot(int iCrossIndex)
{
    SelectCross([=](qsizetype i, const CrossItem*) { return i == iCrossIndex; });
}

void DualGraphicsView::AddCrossFinishSlot(int iPointID, QPointF ptAddPoint)
{
    AddCrossWithId(iPointID, ptAddPoint);
}

void DualGraphicsView::CrossItemPressedSlot(CrossItem* pItem)
{
    SelectCross([=](qsizetype, const CrossItem* pCross) { return pCross == pItem; });
}

template <typename Predicate> void DualGraphicsView::SelectCross(Predicate matches)
{
    // By place, since a receiver of the signal may change the list.
    for (qsizetype i = 0; i < m_listCross.size(); ++i) {
        CrossItem* const pCross = m_listCross[i];
        if (!pCross) {
            continue;
        }
        const bool bMatches = matches(i, pCross);
        pCross->SetSelected(bMatches);
        if (bMatches) {
            emit CrossItemPressedSignals(static_cast<int>(i));
        }
    }
}

void DualGraphicsView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::RightButton) {
        m_lastPos = event->position().toPoint();
    } else if (event->button() == Qt::LeftButton) {
        for (CrossItem* const pCross : m_listCross) {
            if (pCross) {
                pCross->SetSelected(false);
            }
        }
        emit ClearSelectItemSignals();
    }
    // Last, so that a pressed cross is selected after all were deselected.
    QGraphicsView::mousePressEvent(event);
}

void DualGraphicsView::mouseReleaseEvent(QMouseEvent* event)
{
    QGraphicsView::mouseReleaseEvent(event);
}

void DualGraphicsView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !m_pPixmapItem) {
        return;
    }
    const QPointF ptScene = mapToScene(event->position().toPoint());
    const bool bRoom = m_listCross.size() < m_iMaxCross;
    if (m_iAddMode == MODE_PLACE) {
        if (m_bAddEnabled && bRoom) {
            AddCross(ptScene);
            m_bAddEnabled = false;
        } else if (!m_listCross.isEmpty() && bRoom) {
            MoveLastCross(ptScene);
        }
    } else if (m_iAddMode == MODE_REPORT && m_bAddEnabled && bRoom) {
        emit AddCrossSignals(ptScene);
    }
}

void DualGraphicsView::mouseMoveEvent(QMouseEvent* event)
{
    if (event->buttons().testFlag(Qt::LeftButton)) {
        viewport()->update();
    }
    if (event->buttons().testFlag(Qt::RightButton)) {
        const QPoint ptNow = event->position().toPoint();
        // The anchor has the last word: under the mouse, from the first zoom on, the picture follows the drag; in the
        // middle, before it, the translation is centred away again. This is meant.
        const QPointF ptDelta = mapToScene(m_lastPos) - mapToScene(ptNow);
        translate(ptDelta.x(), ptDelta.y());
        m_lastPos = ptNow;
    }
    QGraphicsView::mouseMoveEvent(event);
}

void DualGraphicsView::wheelEvent(QWheelEvent* event)
{
    const double dScale = transform().m11();
    const int nDelta = event->angleDelta().y();
    if ((nDelta > 0 && dScale >= LARGEST_SCALE) || (nDelta < 0 && dScale <= SMALLEST_SCALE)) {
        return;
    }
    // A turn of 0, as sideways scrolling sends it, zooms out, past the limit too; this is meant.
    const double dFactor = nDelta > 0 ? ZOOM_IN : ZOOM_OUT;
    if (dScale * dFactor < SMALLEST_USABLE_SCALE) {
        return;
    }
    // From the first turn on the point under the mouse stays where it is, when panning too.
    setTransformationAnchor(AnchorUnderMouse);
    // One repaint, not one per axis and scroll bar.
    setViewportUpdateMode(NoViewportUpdate);
    scale(dFactor, dFactor);
    setViewportUpdateMode(MinimalViewportUpdate);
    update();
}
