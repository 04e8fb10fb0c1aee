#pragma once

// A picture label on which the operator draws one rectangle: press and drag with the left button, finish with a release
// of the right one. Give it a pixmap as any QLabel, centred, and the size of the full picture by `SetImageSize`; arm it
// with `EnableDrawingSlots`, which lasts for one rectangle.

#include <QLabel>

class DrawRoiWidget : public QLabel
{
    Q_OBJECT

public:
    explicit DrawRoiWidget(QWidget* parent = nullptr);

    /// Size of the full picture of which the label shows a smaller one; pixels.
    void SetImageSize(int nWidth, int nHeight);
    /// (-1, -1) before it was set.
    QSize GetImageSize() const;
    /// Where the pixmap's corner lies in the label, taking it as centred; (0, 0) without a pixmap.
    QPointF GetPictureOffset() const;
    /// The drawn rectangle in pixels of the shown pixmap. Not normalised.
    QRect GetDrawnRect() const;
    /// The drawn rectangle in pixels of the full picture; empty without a pixmap or a size.
    QRect GetRoiRect() const;
    /// The full picture fitted into the label and centred; empty without a pixmap or a size.
    QRect GetFitRect() const;

signals:
    /// Normalised, in label pixels; may be empty, and may reach beyond the label.
    void DrawingFinishedSignal(QRect rect);

public slots:
    void EnableDrawingSlots();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool HasImageSize() const;

    int m_nImageHeight = -1;
    int m_nImageWidth = -1;
    bool m_bDrawing = false;
    QPoint m_ptStart; ///< label pixels
    QPoint m_ptEnd;   ///< label pixels
};
