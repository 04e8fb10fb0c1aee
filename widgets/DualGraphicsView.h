#pragma once

// A picture that can be zoomed (wheel) and panned (right button), with crosses over it, one hint picture and one hint
// text. All coordinates are scene pixels, and scene pixels are picture pixels; points are always the centres of
// crosses. GUI thread only. The view owns all of its items: keep no pointer to one over a call that removes crosses,
// and do not put items of your own into the scene, since `ClearCrosses` deletes them too.

#include "CrossItem.h"

#include <QGraphicsView>
#include <QList>

class DualGraphicsView : public QGraphicsView
{
    Q_OBJECT

public:
    explicit DualGraphicsView(QWidget* parent = nullptr);
    ~DualGraphicsView() override;

    /// Shows a deep copy of the picture.
    void SetPicture(const QPixmap& pixmap);
    bool HasPicture() const;

    /// Replaces all crosses by fixed ones that can be selected. Nothing happens when the lists differ in length.
    void SetCrosses(const QList<int>& ids, const QList<QPointF>& points);
    /// A movable cross without id. A press on it is reported to nobody.
    void AddCross(QPointF ptCentre);
    void AddCrossWithId(int nId, QPointF ptCentre);
    void MoveLastCross(QPointF ptCentre);
    /// Removes the newest cross and lets the next double click add one.
    void RemoveLastCross();
    /// Works on crosses numbered from 1, and refuses the highest number. Use only with `SetCrosses` straight after: the
    /// cross that stands at place `nId` of the list is no longer listed either, though it stays in the picture.
    void RemoveCrossById(int nId);
    /// Removes everything but the picture: crosses, hint picture and hint text.
    void ClearCrosses();

    /// Position rounded first, then moved to the centre; (0, 0) without crosses.
    QPoint GetLastCrossPos() const;
    /// The exact centre of the first cross with this id; (0, 0) if there is none.
    QPointF GetCrossPos(int nId) const;

    /// Fixes or frees the newest cross and lets the next double click add one.
    void SetLastCrossMovable(bool bMovable);
    /// Ids below 1 are ignored.
    void SetCrossMovableById(int nId, bool bMovable);

    /// Whether the next double click may add a cross.
    void SetAddEnabled(bool bEnabled);
    /// A cross was added and waits for the page's decision.
    bool HasPendingCross() const;
    /// @param nMode  0: a double click places a cross; 1: it is only reported by `AddCrossSignals`; others: nothing
    void SetAddMode(int nMode);
    /// Upper limit for what double clicks do.
    void SetMaxCrossCount(int nCount);

    /// @param ptTopLeft  scene pixels
    void ShowHintPicture(QPixmap pixmap, QPoint ptTopLeft);
    void RemoveHintPicture();
    /// The text that is seen until a picture covers it: for "Photo" how to take one, for all else how to stitch.
    void UpdateHintText(const QString& strMode);

signals:
    /// A cross became selected; the argument is its place in the list.
    void CrossItemPressedSignals(int iCrossIndex);
    /// A left press deselected all crosses; goes out before `CrossItemPressedSignals` of the same press.
    void ClearSelectItemSignals();
    /// Mode 1: the operator asks for a cross at this scene point.
    void AddCrossSignals(QPointF ptAddPoint);

public slots:
    void SetSelectedCrossItemSlot(int iCrossIndex);
    void AddCrossFinishSlot(int iPointID, QPointF ptAddPoint);
    void CrossItemPressedSlot(CrossItem* pItem);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void InitView();
    void InitCursor();
    void AddHintText(const QString& strText);
    void CentreHintText();
    CrossItem* AppendCross(QPointF ptCentre);
    /// Selects one cross and deselects all others.
    template <typename Predicate> void SelectCross(Predicate matches);
    CrossItem* FindCross(int nId) const;
    CrossItem* LastCross() const;
    void DeleteCross(CrossItem* pCross);

    int m_iMaxCross = 18;
    QGraphicsScene* m_pScene = nullptr;
    QGraphicsPixmapItem* m_pPixmapItem = nullptr; ///< made by the first `SetPicture`
    double m_dScale = 1.0; ///< the scale at the start; nothing reads it, the transform has the current one
    QGraphicsPixmapItem* m_pHintItem = nullptr; ///< null after `ClearCrosses`; in the scene only while it is shown
    QPoint m_lastPos;                           ///< of the last right drag, viewport pixels
    /// Newest last. Null stands for a cross that `RemoveCrossById` deleted without taking its own entry away.
    QList<CrossItem*> m_listCross;
    bool m_bAddEnabled = true;
    int m_iAddMode = 0;
    QGraphicsTextItem* m_pTextItem = nullptr; ///< null after `ClearCrosses`
};
