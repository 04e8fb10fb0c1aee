// A picture of 2592 x 1944 with 10,000 crosses over it in a view of 900 x 700: what one wheel turn, one step of a right
// drag and one rebuilding of all crosses cost, repaint included, against two obvious ways to draw the same. Without a
// display; the raster engine paints, as it does on a desktop.

#include "DualGraphicsView.h"
#include "Ratios.h"

#include <QApplication>
#include <QGraphicsItemGroup>
#include <QGraphicsLineItem>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>

#include <memory>
#include <random>

namespace
{

constexpr int CROSSES = 10000;

struct Marks {
    QList<int> ids;
    QList<QPointF> points;
};

const Marks& AllMarks()
{
    static const Marks s_marks = [] {
        std::mt19937 random(1);
        Marks marks;
        for (int i = 0; i < CROSSES; ++i) {
            marks.ids << i + 1;
            marks.points << QPointF(random() % 2592, random() % 1944);
        }
        return marks;
    }();
    return s_marks;
}

QPixmap Picture()
{
    QPixmap picture(2592, 1944);
    picture.fill(QColor(120, 120, 120));
    return picture;
}

/// What both obvious ways share: the toolkit's defaults, zoom by the wheel, pan by the scroll bars.
class ObviousView : public QGraphicsView
{
public:
    ObviousView() : QGraphicsView(new QGraphicsScene)
    {
        scene()->setParent(this);
        scene()->addPixmap(Picture());
        setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    }

protected:
    void wheelEvent(QWheelEvent* event) override
    {
        const double dFactor = event->angleDelta().y() > 0 ? 1.1 : 1 / 1.1;
        scale(dFactor, dFactor);
    }

    void mousePressEvent(QMouseEvent* event) override { m_ptLast = event->pos(); }

    void mouseMoveEvent(QMouseEvent* event) override
    {
        horizontalScrollBar()->setValue(horizontalScrollBar()->value() + m_ptLast.x() - event->pos().x());
        verticalScrollBar()->setValue(verticalScrollBar()->value() + m_ptLast.y() - event->pos().y());
        m_ptLast = event->pos();
        viewport()->update();
    }

private:
    QPoint m_ptLast;
};

/// A cross is a group of two line items.
class LineItemView : public ObviousView
{
public:
    void SetCrosses(const Marks& marks)
    {
        QPen pen(Qt::red, 1);
        pen.setCosmetic(true);
        for (const QPointF& ptCentre : marks.points) {
            auto* const pGroup = new QGraphicsItemGroup;
            for (const QLineF& line : {QLineF(0, 50, 100, 50), QLineF(50, 0, 50, 100)}) {
                auto* const pLine = new QGraphicsLineItem(line);
                pLine->setPen(pen);
                pGroup->addToGroup(pLine);
            }
            pGroup->setPos(ptCentre - QPointF(50, 50));
            scene()->addItem(pGroup);
        }
    }
};

/// A cross draws its lines with a pen whose width undoes the zoom.
class ScaledPenCross : public QGraphicsItem
{
public:
    QRectF boundingRect() const override { return {0, 0, 200, 200}; }
    void paint(QPainter* pPainter, const QStyleOptionGraphicsItem*, QWidget* pWidget) override
    {
        const double dScale = static_cast<QGraphicsView*>(pWidget->parentWidget())->transform().m11();
        pPainter->setRenderHint(QPainter::Antialiasing);
        pPainter->setPen(QPen(Qt::red, 1.0 / dScale));
        pPainter->drawLine(0, 50, 100, 50);
        pPainter->drawLine(50, 0, 50, 100);
    }
};

class ScaledPenView : public ObviousView
{
public:
    void SetCrosses(const Marks& marks)
    {
        for (const QPointF& ptCentre : marks.points) {
            auto* const pCross = new ScaledPenCross;
            pCross->setPos(ptCentre - QPointF(50, 50));
            scene()->addItem(pCross);
        }
    }
};

class OurView : public DualGraphicsView
{
public:
    OurView() { SetPicture(Picture()); }
    void SetCrosses(const Marks& marks) { DualGraphicsView::SetCrosses(marks.ids, marks.points); }
};

template <typename View> std::unique_ptr<View> Shown(double dScale)
{
    auto pView = std::make_unique<View>();
    pView->SetCrosses(AllMarks());
    pView->resize(900, 700);
    pView->show();
    QApplication::processEvents();
    pView->scale(dScale, dScale);
    pView->centerOn(1296, 972);
    QApplication::processEvents();
    return pView;
}

void Wheel(QWidget& viewport, int nDelta)
{
    const QPointF ptMiddle(450, 350);
    QWheelEvent event(ptMiddle, viewport.mapToGlobal(ptMiddle), QPoint(), QPoint(0, nDelta), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&viewport, &event);
}

void Mouse(QWidget& viewport, QEvent::Type type, QPointF pt)
{
    QCursor::setPos(viewport.mapToGlobal(pt.toPoint()));
    QMouseEvent event(type, pt, viewport.mapToGlobal(pt), type == QEvent::MouseMove ? Qt::NoButton : Qt::RightButton,
                      Qt::RightButton, Qt::NoModifier);
    QApplication::sendEvent(&viewport, &event);
}

template <typename View> void Zoom(benchmark::State& state, double dScale)
{
    const auto pView = Shown<View>(dScale);
    int i = 0;
    for (auto _ : state) {
        Wheel(*pView->viewport(), i++ % 2 == 0 ? 120 : -120);
        QApplication::processEvents();
    }
}

template <typename View> void Pan(benchmark::State& state, double dScale)
{
    const auto pView = Shown<View>(dScale);
    Wheel(*pView->viewport(), 120);
    Mouse(*pView->viewport(), QEvent::MouseButtonPress, {450, 350});
    int i = 0;
    for (auto _ : state) {
        Mouse(*pView->viewport(), QEvent::MouseMove, {i++ % 2 == 0 ? 457.0 : 450.0, 350});
        QApplication::processEvents();
    }
}

void Rebuild(benchmark::State& state)
{
    const auto pView = Shown<OurView>(0.3);
    for (auto _ : state) {
        pView->SetCrosses(AllMarks());
        QApplication::processEvents();
    }
}

template <typename View> void Register(const std::string& strView)
{
    const struct {
        const char* pName;
        double dScale;
    } views[] = {{"Whole", 0.3}, {"Near", 1.0}, {"Close", 10.0}};
    for (const auto& view : views) {
        const double dScale = view.dScale;
        benchmark::RegisterBenchmark((std::string("Zoom") + view.pName + strView).c_str(),
                                     [dScale](benchmark::State& state) { Zoom<View>(state, dScale); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime()
            ->MeasureProcessCPUTime();
        benchmark::RegisterBenchmark((std::string("Pan") + view.pName + strView).c_str(),
                                     [dScale](benchmark::State& state) { Pan<View>(state, dScale); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime()
            ->MeasureProcessCPUTime();
    }
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    Register<OurView>("Ours");
    Register<LineItemView>("LineItems");
    Register<ScaledPenView>("ScaledPen");
    benchmark::RegisterBenchmark("RebuildOurs", Rebuild)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->MeasureProcessCPUTime();
    std::vector<Bench::Ratio> ratios;
    for (const std::string strWhat : {"ZoomWhole", "ZoomNear", "ZoomClose", "PanWhole", "PanNear", "PanClose"}) {
        ratios.push_back({strWhat + "Ours", strWhat + "LineItems"});
        ratios.push_back({strWhat + "Ours", strWhat + "ScaledPen"});
    }
    return Bench::RunAndCompare(argc, argv, ratios);
}
