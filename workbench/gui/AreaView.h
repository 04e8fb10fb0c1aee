#pragma once

// The work area picture on the screen: the wheel zooms about the mouse, dragging moves it, a click marks a point. It
// deals in pixels of the picture, the centre of the top-left one being (0, 0); whoever owns it turns them into
// millimetres and gives each mark its text. The plug-in has a picture view of its own for its pages; a host is built
// without the plug-in's parts, and this one is asked for other things: pictures of 40 megapixels that change all the
// time, and marks that nobody edits.

#include "AreaPicture.h"

#include <QGraphicsView>

#include <vector>

namespace Workbench
{

class AreaView : public QGraphicsView
{
    Q_OBJECT

public:
    explicit AreaView(QWidget* pParent = nullptr);
    ~AreaView() override;

    /// The first picture and one of another size are shown whole; later ones keep zoom and place. Null shows none.
    void SetPicture(AreaPicturePointer pPicture);
    bool HasPicture() const { return m_pPicture != nullptr; }
    /// What stands in the middle while there is no picture.
    void SetPlaceholder(const QString& strText);
    const QString& Placeholder() const { return m_strPlaceholder; }

    /// A small cross with its text beside it, both of one size at any zoom.
    void AddMark(const QPointF& pixel, const QString& strText);
    void ClearMarks();
    int MarkCount() const { return static_cast<int>(m_marks.size()); }
    /// Of the mark added last; empty without one.
    QString LastMarkText() const;

    /// Screen pixels per picture pixel.
    double Zoom() const { return transform().m11(); }

public slots:
    void FitSlot();

signals:
    /// The mouse is over this pixel of the picture.
    void HoveredSignal(QPointF pixel);
    /// The mouse has left the picture.
    void LeftSignal();
    /// Pressed and released in one place inside the picture.
    void ClickedSignal(QPointF pixel);

protected:
    void wheelEvent(QWheelEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void mouseMoveEvent(QMouseEvent* pEvent) override;
    void mouseReleaseEvent(QMouseEvent* pEvent) override;
    void resizeEvent(QResizeEvent* pEvent) override;
    void leaveEvent(QEvent* pEvent) override;
    void drawForeground(QPainter* pPainter, const QRectF& rect) override;

private:
    class PictureItem;
    class MarkItem;

    void TellHover(const QPointF& place);
    bool IsInside(const QPointF& pixel) const;
    double FitScale() const;

    AreaPicturePointer m_pPicture;
    PictureItem* m_pItem;
    std::vector<MarkItem*> m_marks;
    QString m_strPlaceholder;
    QPoint m_press;
    bool m_bPressed = false; ///< and not dragged since
    bool m_bFitted = true;   ///< nobody has zoomed: a resize fits anew
};

} // namespace Workbench
