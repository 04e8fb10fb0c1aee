#pragma once

// A picture view on the screen, with fingers for it and a look at what its scene holds.

#include "DualGraphicsView.h"

#include "ModuleDoubles.h"
#include "Painted.h"

#include <gmock/gmock.h>

#include <QGraphicsTextItem>
#include <QTest>
#include <QTextDocument>

/// A view without frame, as large as the picture that most tests show in it, so that viewport pixels are scene pixels.
class View : public testing::Test
{
protected:
    static constexpr int WIDTH = 400;
    static constexpr int HEIGHT = 300;

    static QPixmap Grey(int nWidth = WIDTH, int nHeight = HEIGHT)
    {
        QPixmap picture(nWidth, nHeight);
        picture.fill(QColor(128, 128, 128));
        return picture;
    }
    void SetUp() override
    {
        Doubles::Reset();
        m_view.setFrameShape(QFrame::NoFrame);
        m_view.resize(WIDTH, HEIGHT);
        m_view.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&m_view));
    }

    QWidget& Viewport() { return *m_view.viewport(); }
    QPoint At(QPointF ptScene) const { return m_view.mapFromScene(ptScene); }
    void DoubleClick(QPointF ptScene) { Painted::DoubleClick(Viewport(), At(ptScene)); }
    void Wheel(int nDelta) { Painted::Wheel(Viewport(), Viewport().rect().center(), nDelta); }
    double Scale() const { return m_view.transform().m11(); }

    void SetScale(double dScale)
    {
        m_view.resetTransform();
        m_view.scale(dScale, dScale);
    }

    template <typename Item> QList<Item*> Items() const
    {
        QList<Item*> found;
        for (QGraphicsItem* const pItem : m_view.scene()->items(Qt::AscendingOrder)) {
            if (auto* const pWanted = dynamic_cast<Item*>(pItem)) {
                found << pWanted;
            }
        }
        return found;
    }

    QList<CrossItem*> Crosses() const { return Items<CrossItem>(); }
    QString HintText() const
    {
        const auto texts = Items<QGraphicsTextItem>();
        // The raw text keeps no-break spaces.
        return texts.size() == 1 ? texts[0]->document()->toRawText() : QString("(%1 texts)").arg(texts.size());
    }

    /// Crosses with the ids 1 to n along the diagonal, their centres 40 pixels apart, the first at (30, 20).
    void SetNumberedCrosses(int nCount)
    {
        QList<int> ids;
        QList<QPointF> points;
        for (int i = 0; i < nCount; ++i) {
            ids << i + 1;
            points << Centre(i);
        }
        m_view.SetCrosses(ids, points);
    }
    static QPointF Centre(int i) { return {30.0 + 40.0 * i, 20.0 + 30.0 * i}; }

    /// The colour of the left arm of a cross, where no other cross of the diagonal is drawn.
    bool IsDrawnIn(const QColor& colour, QPointF ptCentre)
    {
        return Painted::Has(Painted::Of(Viewport()), QRect(At(ptCentre - QPointF(25, 1)), QSize(15, 3)), colour);
    }

    DualGraphicsView m_view;
};
