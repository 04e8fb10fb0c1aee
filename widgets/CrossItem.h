#pragma once

// Marks one point of a picture with a thin cross. The item's position is the cross's top left corner; the point that it
// marks lies `CENTRE` to the right and below. DualGraphicsView does that arithmetic, so use the view's operations,
// which speak of centres, rather than `setPos`.

#include <QGraphicsObject>
#include <QMetaType>

class CrossItem : public QGraphicsObject
{
    Q_OBJECT

public:
    /// From the item's position to the marked point, in both axes, scene pixels.
    static constexpr int CENTRE = 50;
    /// The data key of the id, an integer. A cross may have none.
    static constexpr int ID_KEY = 256;

    /// @param movable  the cross follows the left button
    explicit CrossItem(bool movable);

    /// Item pixels; twice what is drawn, and this is meant: a cross can be grabbed beyond its arms.
    QRectF boundingRect() const override;
    /// @param widget  the viewport that is painted on; may be null or belong to no view
    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget) override;

    void SetMovable(bool bMovable);
    void SetSelected(bool bSelected);

signals:
    /// Goes out first on each press. A receiver may delete the cross.
    void PressedSignals(CrossItem* pItem);

protected:
    // None of these calls the base class: the toolkit's own selecting and moving stay out of it.
    void mousePressEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseMoveEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseReleaseEvent(QGraphicsSceneMouseEvent* event) override;

private:
    QPointF m_ptDragOffset; ///< scene position minus the press position
    bool m_bMovable;
    bool m_bSelected = false;
    double m_dScale = 1.0; ///< horizontal scale of the view at the last painting; nothing reads it yet
};

Q_DECLARE_METATYPE(CrossItem*)
