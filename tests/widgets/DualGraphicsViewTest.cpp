#include "DualGraphicsView.h"

#include "FileStore.h"
#include "ModuleDoubles.h"
#include "Painted.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGraphicsPixmapItem>
#include <QGraphicsTextItem>
#include <QMetaMethod>
#include <QPainter>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QTextDocument>

namespace
{

constexpr int WIDTH = 400;
constexpr int HEIGHT = 300;

QPixmap Grey(int nWidth = WIDTH, int nHeight = HEIGHT)
{
    QPixmap picture(nWidth, nHeight);
    picture.fill(QColor(128, 128, 128));
    return picture;
}

/// A view without frame, as large as the picture that most tests show in it, so that viewport pixels are scene pixels.
class View : public testing::Test
{
protected:
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

} // namespace

// --- Start

TEST_F(View, StartsAsTheMembersSay)
{
    EXPECT_EQ(m_view.horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    EXPECT_EQ(m_view.verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    EXPECT_EQ(m_view.transformationAnchor(), QGraphicsView::AnchorViewCenter);
    EXPECT_EQ(m_view.resizeAnchor(), QGraphicsView::AnchorViewCenter);
    EXPECT_TRUE(m_view.renderHints().testFlag(QPainter::Antialiasing));
    EXPECT_TRUE(m_view.renderHints().testFlag(QPainter::SmoothPixmapTransform));
    EXPECT_FALSE(m_view.HasPicture());
    EXPECT_FALSE(m_view.HasPendingCross());
    EXPECT_EQ(Scale(), 1.0);
    EXPECT_FALSE(m_view.scene()->parent());
}

TEST_F(View, TheFirstItemIsTheHintTextWithItsNoBreakSpaces)
{
    ASSERT_EQ(m_view.scene()->items().size(), 1);
    EXPECT_EQ(HintText(), QString::fromUtf8("Click\xC2\xA0<Photo>\xC2\xA0to capture photo"));
    EXPECT_EQ(Items<QGraphicsTextItem>()[0]->font(), QFont());
}

TEST_F(View, TheHintTextIsCentredBySceneAndTextSize)
{
    const auto* const pText = Items<QGraphicsTextItem>()[0];
    // Alone in the scene it lies where the scene begins.
    EXPECT_EQ(pText->pos(), QPointF(0, 0));
    m_view.SetPicture(Grey(900, 700));
    m_view.UpdateHintText("Photo");
    const QRectF scene = m_view.sceneRect();
    EXPECT_EQ(pText->pos(), QPointF(scene.width() / 2 - pText->boundingRect().width() / 2,
                                    scene.height() / 2 - pText->boundingRect().height() / 2));
    EXPECT_GT(pText->pos().x(), 100.0);
}

TEST_F(View, SignalsAndSlotsHaveTheirNames)
{
    const QMetaObject& meta = DualGraphicsView::staticMetaObject;
    QStringList signalNames, slotNames;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        (meta.method(i).methodType() == QMetaMethod::Signal ? signalNames : slotNames)
            << meta.method(i).methodSignature();
    }
    EXPECT_EQ(signalNames,
              QStringList({"CrossItemPressedSignals(int)", "ClearSelectItemSignals()", "AddCrossSignals(QPointF)"}));
    EXPECT_EQ(slotNames, QStringList({"SetSelectedCrossItemSlot(int)", "AddCrossFinishSlot(int,QPointF)",
                                      "CrossItemPressedSlot(CrossItem*)"}));
}

// --- Cursor

namespace
{

/// The product's cursor picture among the install resources of this test program.
class InstalledCursor
{
public:
    InstalledCursor() : m_strFile(GetInstallResourcePath() + "/Res/Icon/RedArrow.svg")
    {
        QDir().mkpath(QFileInfo(m_strFile).path());
        m_bOk = QFile::copy(CTC_RESOURCES "/Res/Icon/RedArrow.svg", m_strFile);
    }
    ~InstalledCursor() { QDir(GetInstallResourcePath()).removeRecursively(); }

    QString m_strFile;
    bool m_bOk = false;
};

} // namespace

TEST_F(View, TheCursorIsTheRedArrowWithItsHotSpotInTheMiddle)
{
    const InstalledCursor installed;
    ASSERT_TRUE(installed.m_bOk);
    const QPixmap icon(installed.m_strFile);
    ASSERT_FALSE(icon.isNull()) << "is the picture format plug-in for SVG there?";
    Doubles::Reset();
    const DualGraphicsView view;
    EXPECT_EQ(view.cursor().shape(), Qt::BitmapCursor);
    EXPECT_EQ(view.cursor().pixmap().toImage(), icon.toImage());
    EXPECT_EQ(view.cursor().hotSpot(), QPoint(icon.width() / 2, icon.height() / 2));
    EXPECT_TRUE(Doubles::The().logLines.empty());
}

TEST_F(View, AMissingCursorPictureIsOneLogLineAndTheUsualCursor)
{
    Doubles::Reset();
    const DualGraphicsView view;
    EXPECT_EQ(view.cursor().shape(), Qt::ArrowCursor);
    ASSERT_EQ(Doubles::The().logLines.size(), 1u);
    EXPECT_THAT(Doubles::The().logLines[0].second, testing::HasSubstr("/Res/Icon/RedArrow.svg"));
}

// --- Picture

TEST_F(View, TakesADeepCopyOfThePictureAndKeepsItsItem)
{
    QPixmap picture = Grey();
    m_view.SetPicture(picture);
    EXPECT_TRUE(m_view.HasPicture());
    auto items = Items<QGraphicsPixmapItem>();
    ASSERT_EQ(items.size(), 1);
    EXPECT_NE(items[0]->pixmap().cacheKey(), picture.cacheKey());
    EXPECT_EQ(items[0]->pixmap().toImage(), picture.toImage());
    EXPECT_EQ(items[0]->transformationMode(), Qt::SmoothTransformation);
    EXPECT_EQ(items[0]->pos(), QPointF(0, 0));
    EXPECT_EQ(items[0]->scale(), 1.0);

    m_view.SetPicture(Grey(10, 20));
    const auto itemsAfter = Items<QGraphicsPixmapItem>();
    EXPECT_EQ(itemsAfter, items);
    EXPECT_EQ(itemsAfter[0]->pixmap().size(), QSize(10, 20));
}

TEST_F(View, ANullPictureIsNoPicture)
{
    m_view.SetPicture(QPixmap());
    EXPECT_FALSE(m_view.HasPicture());
    m_view.SetPicture(Grey());
    EXPECT_TRUE(m_view.HasPicture());
    m_view.SetPicture(QPixmap());
    EXPECT_FALSE(m_view.HasPicture());
}

TEST_F(View, ThePictureCoversTheHintText)
{
    const auto dark = [this] {
        const QImage image = Painted::Of(Viewport());
        int nDark = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                nDark += image.pixelColor(x, y).lightness() < 100 ? 1 : 0;
            }
        }
        return nDark;
    };
    EXPECT_GT(dark(), 50);
    m_view.SetPicture(Grey());
    EXPECT_EQ(dark(), 0);
    m_view.UpdateHintText("Photo");
    EXPECT_EQ(dark(), 0);
    // Also when it has to be made again.
    m_view.ClearCrosses();
    m_view.UpdateHintText("Stitch");
    EXPECT_EQ(HintText(), "Click <Stitch> to capture photo");
    EXPECT_EQ(dark(), 0);
    m_view.SetPicture(QPixmap());
    EXPECT_GT(dark(), 50);
}

// --- Crosses by code

TEST_F(View, SetCrossesCentresThemNumbersThemAndFixesThem)
{
    m_view.SetPicture(Grey());
    m_view.SetCrosses({7, 3}, {{100.25, 80.75}, {200, 150}});
    const auto crosses = Crosses();
    ASSERT_EQ(crosses.size(), 2);
    EXPECT_EQ(crosses[0]->pos(), QPointF(50.25, 30.75));
    EXPECT_EQ(crosses[0]->data(256).toInt(), 7);
    EXPECT_EQ(crosses[1]->pos(), QPointF(150, 100));
    EXPECT_EQ(crosses[1]->data(256).toInt(), 3);

    Painted::Press(Viewport(), At({100, 80}));
    Painted::Drag(Viewport(), At({120, 90}));
    Painted::Release(Viewport(), At({120, 90}));
    EXPECT_EQ(crosses[0]->pos(), QPointF(50.25, 30.75));
}

TEST_F(View, SetCrossesReplacesThoseThatWereThere)
{
    SetNumberedCrosses(5);
    m_view.AddCross({10, 10});
    m_view.SetCrosses({1}, {{60, 60}});
    EXPECT_EQ(Crosses().size(), 1);
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(60, 60));
    m_view.SetCrosses({}, {});
    EXPECT_TRUE(Crosses().isEmpty());
}

TEST_F(View, SetCrossesWithListsOfDifferentLengthsLeavesTheSceneAsItWas)
{
    m_view.SetPicture(Grey());
    SetNumberedCrosses(3);
    m_view.ShowHintPicture(Grey(5, 5), {1, 1});
    const auto before = m_view.scene()->items();
    m_view.SetCrosses({1, 2}, {{10, 10}});
    m_view.SetCrosses({}, {{10, 10}});
    m_view.SetCrosses({1}, {});
    EXPECT_EQ(m_view.scene()->items(), before);
    EXPECT_EQ(m_view.GetCrossPos(2), Centre(1));
}

TEST_F(View, AnAddedCrossCanBeDraggedHasNoIdAndSelectsNothing)
{
    QSignalSpy selected(&m_view, &DualGraphicsView::CrossItemPressedSignals);
    m_view.SetPicture(Grey());
    m_view.AddCross({100.5, 90});
    ASSERT_EQ(Crosses().size(), 1);
    EXPECT_EQ(Crosses()[0]->pos(), QPointF(50.5, 40));
    EXPECT_FALSE(Crosses()[0]->data(256).isValid());
    // A cross without id is not the cross with the id 0.
    EXPECT_EQ(m_view.GetCrossPos(0), QPointF(0, 0));

    Painted::Press(Viewport(), At({100, 90}));
    Painted::Drag(Viewport(), At({110, 95}));
    Painted::Release(Viewport(), At({110, 95}));
    EXPECT_EQ(Crosses()[0]->pos(), QPointF(60.5, 45));
    EXPECT_TRUE(selected.isEmpty());
    EXPECT_FALSE(m_view.HasPendingCross());
}

TEST_F(View, AnAddedCrossMayHaveAnId)
{
    m_view.AddCrossWithId(12, {100, 90});
    EXPECT_EQ(m_view.GetCrossPos(12), QPointF(100, 90));
    EXPECT_EQ(Crosses()[0]->data(256).toInt(), 12);
    m_view.AddCrossFinishSlot(13, {50.5, 60.5});
    EXPECT_EQ(m_view.GetCrossPos(13), QPointF(50.5, 60.5));
    EXPECT_EQ(Crosses().size(), 2);
}

TEST_F(View, CodeMayAddMoreCrossesThanTheLimit)
{
    m_view.SetMaxCrossCount(1);
    m_view.AddCross({10, 10});
    m_view.AddCross({20, 20});
    EXPECT_EQ(Crosses().size(), 2);
}

TEST_F(View, MoveLastCrossCentresTheNewest)
{
    m_view.MoveLastCross({5, 5});
    EXPECT_TRUE(Crosses().isEmpty());
    SetNumberedCrosses(2);
    m_view.MoveLastCross({111.5, 99});
    EXPECT_EQ(m_view.GetCrossPos(2), QPointF(111.5, 99));
    EXPECT_EQ(m_view.GetCrossPos(1), Centre(0));
}

TEST_F(View, RemoveLastCrossTakesTheNewestAndArmsAdding)
{
    m_view.SetAddEnabled(false);
    m_view.RemoveLastCross();
    EXPECT_TRUE(m_view.HasPendingCross()) << "no effect on an empty list";

    SetNumberedCrosses(3);
    const QPointer<CrossItem> pLast(Crosses()[2]);
    m_view.RemoveLastCross();
    EXPECT_TRUE(pLast.isNull());
    EXPECT_EQ(Crosses().size(), 2);
    EXPECT_EQ(m_view.GetLastCrossPos(), Centre(1).toPoint());
    EXPECT_FALSE(m_view.HasPendingCross());
}

TEST_F(View, TheLastPositionIsRoundedBeforeItIsMovedToTheCentre)
{
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(0, 0));
    m_view.SetCrosses({1}, {{60.5, 60.4}});
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(61, 60));
    EXPECT_EQ(m_view.GetCrossPos(1), QPointF(60.5, 60.4));
    // The item lies at -0.7 and -10.6.
    m_view.SetCrosses({1}, {{49.3, 39.4}});
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(50 - 1, 50 - 11));
    const QPointF ptHalf(49.5, 50.5);
    m_view.SetCrosses({1}, {ptHalf});
    EXPECT_EQ(m_view.GetLastCrossPos(), (ptHalf - QPointF(50, 50)).toPoint() + QPoint(50, 50));
    EXPECT_EQ(m_view.GetCrossPos(1), ptHalf);
}

TEST_F(View, GetCrossPosAnswersTheFirstWithTheIdOrTheOrigin)
{
    EXPECT_EQ(m_view.GetCrossPos(1), QPointF(0, 0));
    m_view.SetCrosses({5, 5, 0}, {{100, 100}, {120, 120}, {140, 141}});
    EXPECT_EQ(m_view.GetCrossPos(5), QPointF(100, 100));
    EXPECT_EQ(m_view.GetCrossPos(0), QPointF(140, 141));
    EXPECT_EQ(m_view.GetCrossPos(6), QPointF(0, 0));
}

TEST_F(View, SetLastCrossMovableFreesTheNewestAndArmsAdding)
{
    m_view.SetAddEnabled(false);
    m_view.SetLastCrossMovable(true);
    EXPECT_TRUE(m_view.HasPendingCross()) << "no effect on an empty list";

    m_view.SetPicture(Grey());
    m_view.SetCrosses({1}, {{100, 100}});
    m_view.SetAddEnabled(false);
    m_view.SetLastCrossMovable(true);
    EXPECT_FALSE(m_view.HasPendingCross());
    Painted::Press(Viewport(), At({100, 100}));
    Painted::Drag(Viewport(), At({105, 107}));
    Painted::Release(Viewport(), At({105, 107}));
    EXPECT_EQ(m_view.GetCrossPos(1), QPointF(105, 107));
    m_view.SetLastCrossMovable(false);
    Painted::Press(Viewport(), At({100, 100}));
    Painted::Drag(Viewport(), At({150, 100}));
    EXPECT_EQ(m_view.GetCrossPos(1), QPointF(105, 107));
}

TEST_F(View, SetCrossMovableByIdFreesTheFirstWithThatId)
{
    m_view.SetCrossMovableById(1, true); // nothing to free
    m_view.SetPicture(Grey());
    m_view.SetCrosses({2, 2, 0}, {{60, 60}, {300, 60}, {60, 280}});
    m_view.SetCrossMovableById(2, true);
    m_view.SetCrossMovableById(0, true); // below 1: refused
    m_view.SetCrossMovableById(9, true);
    const QPointF starts[] = {{60, 60}, {300, 60}, {60, 280}};
    for (const QPointF ptStart : starts) {
        Painted::Press(Viewport(), At(ptStart));
        Painted::Drag(Viewport(), At(ptStart + QPointF(10, 5)));
        Painted::Release(Viewport(), At(ptStart + QPointF(10, 5)));
    }
    const auto crosses = Crosses();
    EXPECT_EQ(crosses[0]->pos(), QPointF(20, 15));
    EXPECT_EQ(crosses[1]->pos(), QPointF(250, 10));
    EXPECT_EQ(crosses[2]->pos(), QPointF(10, 230));
    m_view.SetCrossMovableById(2, false);
    Painted::Press(Viewport(), At({70, 65}));
    Painted::Drag(Viewport(), At({90, 65}));
    EXPECT_EQ(crosses[0]->pos(), QPointF(20, 15));
}

TEST_F(View, AddEnabledIsTheInverseOfAPendingCross)
{
    m_view.SetAddEnabled(false);
    EXPECT_TRUE(m_view.HasPendingCross());
    m_view.SetAddEnabled(true);
    EXPECT_FALSE(m_view.HasPendingCross());
}

// --- Removal by id

TEST_F(View, RemovingTheHighestIdOfANumberedListHasNoEffect)
{
    SetNumberedCrosses(4);
    const auto before = Crosses();
    m_view.RemoveCrossById(4);
    EXPECT_EQ(Crosses(), before);
    EXPECT_EQ(m_view.GetCrossPos(4), Centre(3));
    m_view.RemoveCrossById(0);
    m_view.RemoveCrossById(-3);
    m_view.RemoveCrossById(5);
    EXPECT_EQ(Crosses(), before);
    m_view.SetCrosses({}, {});
    m_view.RemoveCrossById(1);
    EXPECT_TRUE(Crosses().isEmpty());
}

TEST_F(View, RemovingByIdDeletesTheCrossAndUnlistsTheOneAtThatPlace)
{
    SetNumberedCrosses(4);
    const auto crosses = Crosses();
    const QPointer<CrossItem> pRemoved(crosses[1]);
    const QPointer<CrossItem> pUnlisted(crosses[2]);
    m_view.RemoveCrossById(2);
    EXPECT_TRUE(pRemoved.isNull());
    // The cross with the id 3 stood at place 2: it is still in the picture, but not listed.
    EXPECT_FALSE(pUnlisted.isNull());
    EXPECT_EQ(Crosses().size(), 3);
    EXPECT_EQ(m_view.GetCrossPos(1), Centre(0));
    EXPECT_EQ(m_view.GetCrossPos(2), QPointF(0, 0));
    EXPECT_EQ(m_view.GetCrossPos(3), QPointF(0, 0));
    EXPECT_EQ(m_view.GetCrossPos(4), Centre(3));
    EXPECT_EQ(m_view.GetLastCrossPos(), Centre(3).toPoint());
    // The list is one shorter, and the last cross stands at place 2 now.
    QSignalSpy selected(&m_view, &DualGraphicsView::CrossItemPressedSignals);
    m_view.CrossItemPressedSlot(crosses[3]);
    ASSERT_EQ(selected.size(), 1);
    EXPECT_EQ(selected[0][0].toInt(), 2);
    // Rebuilding leaves nothing of it.
    SetNumberedCrosses(2);
    EXPECT_TRUE(pUnlisted.isNull());
    EXPECT_EQ(Crosses().size(), 2);
}

TEST_F(View, RemovingACrossThatStandsAtItsIdsPlaceLeavesAWholeList)
{
    m_view.SetCrosses({10, 1, 11}, {{50, 60}, {70, 80}, {90, 100}});
    m_view.RemoveCrossById(1);
    EXPECT_EQ(Crosses().size(), 2);
    EXPECT_EQ(m_view.GetCrossPos(10), QPointF(50, 60));
    EXPECT_EQ(m_view.GetCrossPos(11), QPointF(90, 100));
    QSignalSpy selected(&m_view, &DualGraphicsView::CrossItemPressedSignals);
    m_view.SetSelectedCrossItemSlot(1);
    EXPECT_EQ(selected.size(), 1);
}

TEST_F(View, EveryOperationSurvivesWhatARemovalByIdLeaves)
{
    m_view.SetPicture(Grey());
    // The removed cross stands last, at place 3, and the entry at place 1 goes: the list ends in a hole.
    m_view.SetCrosses({5, 6, 7, 1}, {{50, 60}, {70, 80}, {90, 100}, {110, 120}});
    m_view.RemoveCrossById(1);
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(0, 0));
    EXPECT_EQ(m_view.GetCrossPos(1), QPointF(0, 0));
    m_view.SetCrossMovableById(1, true);
    m_view.SetLastCrossMovable(true);
    m_view.MoveLastCross({10, 10});
    m_view.SetSelectedCrossItemSlot(2);
    m_view.SetSelectedCrossItemSlot(0);
    m_view.CrossItemPressedSlot(nullptr);
    Painted::Press(Viewport(), {200, 200});
    Painted::Release(Viewport(), {200, 200});
    m_view.SetAddEnabled(false);
    DoubleClick({300, 200});
    m_view.RemoveCrossById(1);
    m_view.RemoveLastCross();
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(90, 100));
    m_view.RemoveLastCross();
    m_view.RemoveLastCross();
    m_view.RemoveLastCross();
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(0, 0));
    m_view.ClearCrosses();
    EXPECT_TRUE(Crosses().isEmpty());
}

TEST_F(View, RemovingAnIdThatSeveralCrossesHaveStaysInsideTheList)
{
    m_view.SetCrosses({2, 2, 2, 2, 2}, {{50, 50}, {60, 60}, {70, 70}, {80, 80}, {90, 90}});
    m_view.RemoveCrossById(2);
    m_view.RemoveCrossById(2);
    m_view.RemoveCrossById(1);
    Painted::Press(Viewport(), {200, 200});
    m_view.SetCrosses({1}, {{50, 50}});
    EXPECT_EQ(Crosses().size(), 1);
}

// --- Clearing and hints

TEST_F(View, ClearingRemovesEverythingButThePicture)
{
    m_view.SetPicture(Grey());
    SetNumberedCrosses(3);
    m_view.UpdateHintText("Photo");
    m_view.ShowHintPicture(Grey(5, 5), {1, 1});
    const QPointer<CrossItem> pCross(Crosses()[0]);
    m_view.ClearCrosses();
    EXPECT_TRUE(pCross.isNull());
    ASSERT_EQ(m_view.scene()->items().size(), 1);
    EXPECT_TRUE(m_view.HasPicture());
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(0, 0));
    m_view.ClearCrosses();
    EXPECT_TRUE(m_view.HasPicture());
}

TEST_F(View, ClearingDeletesItemsOfAnyKind)
{
    m_view.SetPicture(Grey());
    m_view.scene()->addRect(0, 0, 10, 10);
    m_view.scene()->addPixmap(Grey(5, 5));
    m_view.ClearCrosses();
    EXPECT_EQ(m_view.scene()->items().size(), 1);
    EXPECT_TRUE(m_view.HasPicture());
}

TEST_F(View, ClearingKeepsTheScenesIndex)
{
    SetNumberedCrosses(3);
    m_view.ClearCrosses();
    EXPECT_EQ(m_view.scene()->itemIndexMethod(), QGraphicsScene::BspTreeIndex);
}

TEST_F(View, AfterClearingTheHintTextIsMadeAgainWhenItIsNeeded)
{
    m_view.ClearCrosses();
    EXPECT_EQ(HintText(), "(0 texts)");
    m_view.UpdateHintText("Photo");
    EXPECT_EQ(HintText(), "Click <Photo> to capture photo");
    EXPECT_TRUE(Items<QGraphicsTextItem>()[0]->isVisible());
    m_view.UpdateHintText("Stitch");
    EXPECT_EQ(HintText(), "Click <Stitch> to capture photo");
}

TEST_F(View, AfterClearingTheHintPictureIsMadeAgainWhenItIsNeeded)
{
    for (const bool bShownWhenCleared : {true, false}) {
        m_view.ShowHintPicture(Grey(5, 5), {1, 1});
        if (!bShownWhenCleared) {
            m_view.RemoveHintPicture();
        }
        m_view.ClearCrosses();
        m_view.RemoveHintPicture();
        EXPECT_TRUE(Items<QGraphicsPixmapItem>().isEmpty());
        m_view.ShowHintPicture(Grey(6, 7), {2, 3});
        ASSERT_EQ(Items<QGraphicsPixmapItem>().size(), 1);
        EXPECT_EQ(Items<QGraphicsPixmapItem>()[0]->pos(), QPointF(2, 3));
    }
}

TEST_F(View, TheHintTextIsForStitchingUnlessTheModeIsPhoto)
{
    for (const char* const pMode : {"Stitch", "", "photo", "Photo "}) {
        m_view.UpdateHintText("Photo");
        EXPECT_EQ(HintText(), "Click <Photo> to capture photo");
        m_view.UpdateHintText(pMode);
        EXPECT_EQ(HintText(), "Click <Stitch> to capture photo") << pMode;
    }
    Items<QGraphicsTextItem>()[0]->setVisible(false);
    m_view.UpdateHintText("Stitch");
    EXPECT_TRUE(Items<QGraphicsTextItem>()[0]->isVisible());
}

TEST_F(View, EachHintIsWordedByTheTranslator)
{
    const QString strFirst = QString::fromUtf8("Click\xC2\xA0<Photo>\xC2\xA0to capture photo");
    Doubles::The().wordings = {{strFirst, "~first"},
                               {"Click <Photo> to capture photo", "~photo"},
                               {"Click <Stitch> to capture photo", "~stitch"}};
    const DualGraphicsView view;
    const auto* const pText = dynamic_cast<QGraphicsTextItem*>(view.scene()->items().value(0));
    ASSERT_TRUE(pText);
    EXPECT_EQ(pText->document()->toRawText(), "~first");
    m_view.UpdateHintText("Photo");
    EXPECT_EQ(HintText(), "~photo");
    m_view.UpdateHintText("Stitch");
    EXPECT_EQ(HintText(), "~stitch");
}

TEST_F(View, TheHintPictureIsShownAtItsPointAndTakenOut)
{
    m_view.RemoveHintPicture(); // not shown yet
    EXPECT_TRUE(Items<QGraphicsPixmapItem>().isEmpty());
    m_view.ShowHintPicture(Grey(20, 10), {-7, 9});
    ASSERT_EQ(Items<QGraphicsPixmapItem>().size(), 1);
    QGraphicsPixmapItem* const pHint = Items<QGraphicsPixmapItem>()[0];
    EXPECT_EQ(pHint->pos(), QPointF(-7, 9));
    EXPECT_EQ(pHint->pixmap().size(), QSize(20, 10));
    // It is no picture of the view.
    EXPECT_FALSE(m_view.HasPicture());

    m_view.ShowHintPicture(Grey(30, 40), {1, 2});
    EXPECT_EQ(Items<QGraphicsPixmapItem>(), QList<QGraphicsPixmapItem*>({pHint}));
    EXPECT_EQ(pHint->pixmap().size(), QSize(30, 40));
    m_view.RemoveHintPicture();
    EXPECT_TRUE(Items<QGraphicsPixmapItem>().isEmpty());
    m_view.RemoveHintPicture();
    m_view.ShowHintPicture(Grey(30, 40), {1, 2});
    EXPECT_EQ(Items<QGraphicsPixmapItem>(), QList<QGraphicsPixmapItem*>({pHint})) << "it stays alive";
}

// --- Selecting

TEST_F(View, SelectsByIndexAndDeselectsAllOthers)
{
    m_view.SetPicture(Grey());
    SetNumberedCrosses(3);
    QSignalSpy selected(&m_view, &DualGraphicsView::CrossItemPressedSignals);
    m_view.SetSelectedCrossItemSlot(1);
    ASSERT_EQ(selected.size(), 1);
    EXPECT_EQ(selected[0][0].toInt(), 1);
    EXPECT_TRUE(IsDrawnIn(Painted::GREEN, Centre(1)));
    EXPECT_TRUE(IsDrawnIn(Painted::RED, Centre(0)));
    m_view.SetSelectedCrossItemSlot(2);
    EXPECT_TRUE(IsDrawnIn(Painted::GREEN, Centre(2)));
    EXPECT_TRUE(IsDrawnIn(Painted::RED, Centre(1)));
    for (const int nIndex : {-1, 3, 1000}) {
        m_view.SetSelectedCrossItemSlot(nIndex);
        EXPECT_EQ(selected.size(), 2);
    }
    EXPECT_TRUE(IsDrawnIn(Painted::RED, Centre(2)));
}

TEST_F(View, SelectsByPointer)
{
    SetNumberedCrosses(3);
    QSignalSpy selected(&m_view, &DualGraphicsView::CrossItemPressedSignals);
    m_view.CrossItemPressedSlot(Crosses()[2]);
    ASSERT_EQ(selected.size(), 1);
    EXPECT_EQ(selected[0][0].toInt(), 2);
    CrossItem stranger(true);
    m_view.CrossItemPressedSlot(&stranger);
    m_view.CrossItemPressedSlot(nullptr);
    EXPECT_EQ(selected.size(), 1);
}

TEST_F(View, APressOnACrossFirstClearsTheSelectionAndThenSelectsIt)
{
    m_view.SetPicture(Grey());
    SetNumberedCrosses(4);
    m_view.SetSelectedCrossItemSlot(0);
    QStringList order;
    QObject::connect(&m_view, &DualGraphicsView::ClearSelectItemSignals, [&] { order << "clear"; });
    QObject::connect(&m_view, &DualGraphicsView::CrossItemPressedSignals,
                     [&](int nIndex) { order << "pressed " + QString::number(nIndex); });
    Painted::Press(Viewport(), At(Centre(3)));
    Painted::Release(Viewport(), At(Centre(3)));
    EXPECT_EQ(order, QStringList({"clear", "pressed 3"}));
    EXPECT_TRUE(IsDrawnIn(Painted::GREEN, Centre(3)));
    EXPECT_TRUE(IsDrawnIn(Painted::RED, Centre(0)));
}

TEST_F(View, ALeftPressBesideTheCrossesClearsTheSelection)
{
    m_view.SetPicture(Grey());
    m_view.SetCrosses({1}, {{60, 60}});
    m_view.SetSelectedCrossItemSlot(0);
    QSignalSpy cleared(&m_view, &DualGraphicsView::ClearSelectItemSignals);
    QSignalSpy selected(&m_view, &DualGraphicsView::CrossItemPressedSignals);
    QTest::mouseClick(&Viewport(), Qt::LeftButton, {}, At({390, 290}));
    EXPECT_EQ(cleared.size(), 1);
    EXPECT_TRUE(selected.isEmpty());
    EXPECT_TRUE(IsDrawnIn(Painted::RED, {60, 60}));
}

TEST_F(View, OtherButtonsKeepTheSelection)
{
    m_view.SetPicture(Grey());
    m_view.SetCrosses({1}, {{60, 60}});
    m_view.SetSelectedCrossItemSlot(0);
    QSignalSpy cleared(&m_view, &DualGraphicsView::ClearSelectItemSignals);
    QTest::mouseClick(&Viewport(), Qt::RightButton, {}, At({60, 60}));
    QTest::mouseClick(&Viewport(), Qt::MiddleButton, {}, At({60, 60}));
    EXPECT_TRUE(cleared.isEmpty());
    EXPECT_TRUE(IsDrawnIn(Painted::GREEN, {60, 60}));
}

TEST_F(View, TheReceiverOfASelectionMayReplaceAllCrosses)
{
    m_view.SetPicture(Grey());
    SetNumberedCrosses(4);
    int nSignals = 0;
    const auto replace = [&] {
        if (++nSignals == 1) {
            SetNumberedCrosses(2);
        }
    };
    QObject::connect(&m_view, &DualGraphicsView::CrossItemPressedSignals, replace);
    Painted::Press(Viewport(), At(Centre(3)));
    Painted::Drag(Viewport(), At(Centre(2)));
    Painted::Release(Viewport(), At(Centre(2)));
    EXPECT_EQ(Crosses().size(), 2);
    EXPECT_GE(nSignals, 1);

    SetNumberedCrosses(4);
    QObject::disconnect(&m_view, &DualGraphicsView::CrossItemPressedSignals, nullptr, nullptr);
    QObject::connect(&m_view, &DualGraphicsView::ClearSelectItemSignals, [&] { m_view.ClearCrosses(); });
    Painted::Press(Viewport(), At(Centre(3)));
    EXPECT_TRUE(Crosses().isEmpty());
}

// --- Double clicks

TEST_F(View, ADoubleClickBeforeAnyPictureDoesNothingInEitherMode)
{
    QSignalSpy added(&m_view, &DualGraphicsView::AddCrossSignals);
    for (const int nMode : {0, 1}) {
        m_view.SetAddMode(nMode);
        DoubleClick({20, 10});
        m_view.SetAddEnabled(false);
        DoubleClick({20, 10});
        m_view.SetAddEnabled(true);
    }
    EXPECT_TRUE(Crosses().isEmpty());
    EXPECT_TRUE(added.isEmpty());
    m_view.AddCross({100, 100});
    m_view.SetAddEnabled(false);
    m_view.SetAddMode(0);
    DoubleClick({20, 10});
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(100, 100));
}

TEST_F(View, InMode0ADoubleClickPlacesACrossThatWaits)
{
    m_view.SetPicture(Grey());
    DoubleClick({150, 120});
    ASSERT_EQ(Crosses().size(), 1);
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(150, 120));
    EXPECT_TRUE(m_view.HasPendingCross());
    EXPECT_TRUE(IsDrawnIn(Painted::RED, {150, 120}));

    // The page takes it; the next double click adds again.
    m_view.SetLastCrossMovable(false);
    EXPECT_FALSE(m_view.HasPendingCross());
    DoubleClick({50, 60});
    EXPECT_EQ(Crosses().size(), 2);
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(50, 60));
    // Or drops it.
    m_view.RemoveLastCross();
    EXPECT_FALSE(m_view.HasPendingCross());
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(150, 120));
}

TEST_F(View, InMode0ADisarmedDoubleClickMovesTheNewestCross)
{
    m_view.SetPicture(Grey());
    m_view.SetAddEnabled(false);
    DoubleClick({150, 120});
    EXPECT_TRUE(Crosses().isEmpty()) << "there is none to move";
    SetNumberedCrosses(2);
    DoubleClick({150, 120});
    EXPECT_EQ(Crosses().size(), 2);
    EXPECT_EQ(m_view.GetCrossPos(2), QPointF(150, 120));
    EXPECT_EQ(m_view.GetCrossPos(1), Centre(0));
    EXPECT_TRUE(m_view.HasPendingCross());
}

TEST_F(View, AtTheLimitADoubleClickDoesNothingAtAll)
{
    m_view.SetPicture(Grey());
    QSignalSpy added(&m_view, &DualGraphicsView::AddCrossSignals);
    SetNumberedCrosses(3);
    for (const int nLimit : {3, 2, 0, -1}) {
        m_view.SetMaxCrossCount(nLimit);
        for (const bool bEnabled : {true, false}) {
            for (const int nMode : {0, 1}) {
                m_view.SetAddMode(nMode);
                m_view.SetAddEnabled(bEnabled);
                DoubleClick({150, 120});
            }
        }
    }
    EXPECT_EQ(Crosses().size(), 3);
    EXPECT_EQ(m_view.GetCrossPos(3), Centre(2));
    EXPECT_TRUE(added.isEmpty());
}

TEST_F(View, TheLimitIsEighteenUnlessItIsSet)
{
    m_view.SetPicture(Grey());
    for (int i = 0; i < 20; ++i) {
        DoubleClick({10.0 + i, 20});
        m_view.SetAddEnabled(true);
    }
    EXPECT_EQ(Crosses().size(), 18);
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(27, 20));
    m_view.SetMaxCrossCount(19);
    DoubleClick({100, 20});
    EXPECT_EQ(Crosses().size(), 19);
}

TEST_F(View, InMode1ADoubleClickOnlyReportsThePoint)
{
    m_view.SetPicture(Grey());
    m_view.SetAddMode(1);
    QSignalSpy added(&m_view, &DualGraphicsView::AddCrossSignals);
    DoubleClick({150, 120});
    ASSERT_EQ(added.size(), 1);
    EXPECT_EQ(added[0][0].toPointF(), QPointF(150, 120));
    EXPECT_TRUE(Crosses().isEmpty());
    EXPECT_FALSE(m_view.HasPendingCross()) << "the page drives the flag";
    m_view.SetAddEnabled(false);
    SetNumberedCrosses(2);
    DoubleClick({150, 120});
    EXPECT_EQ(added.size(), 1);
    EXPECT_EQ(m_view.GetCrossPos(2), Centre(1));
}

TEST_F(View, OtherModesAndOtherButtonsDoNothing)
{
    m_view.SetPicture(Grey());
    QSignalSpy added(&m_view, &DualGraphicsView::AddCrossSignals);
    for (const int nMode : {2, -1, 1000}) {
        m_view.SetAddMode(nMode);
        DoubleClick({150, 120});
    }
    for (const int nMode : {0, 1}) {
        m_view.SetAddMode(nMode);
        Painted::DoubleClick(Viewport(), {150, 120}, Qt::RightButton);
        Painted::DoubleClick(Viewport(), {150, 120}, Qt::MiddleButton);
    }
    EXPECT_TRUE(Crosses().isEmpty());
    EXPECT_TRUE(added.isEmpty());
}

TEST_F(View, ADoubleClickUnderZoomMarksThePicturesPoint)
{
    m_view.SetPicture(Grey(2592, 1944));
    SetScale(8.0);
    m_view.centerOn(1000, 700);
    DoubleClick({1000.5, 700.25});
    const QPointF ptMarked = Crosses().value(0) ? Crosses()[0]->pos() + QPointF(50, 50) : QPointF();
    EXPECT_NEAR(ptMarked.x(), 1000.5, 0.07);
    EXPECT_NEAR(ptMarked.y(), 700.25, 0.07);
}

// --- Zoom

TEST_F(View, TheWheelZoomsByATenth)
{
    m_view.SetPicture(Grey());
    Wheel(120);
    EXPECT_DOUBLE_EQ(Scale(), 1.1);
    EXPECT_DOUBLE_EQ(m_view.transform().m22(), 1.1);
    Wheel(15);
    EXPECT_DOUBLE_EQ(Scale(), 1.1 * 1.1);
    Wheel(-120);
    Wheel(-120);
    EXPECT_NEAR(Scale(), 1.0, 1e-12);
    EXPECT_EQ(m_view.transformationAnchor(), QGraphicsView::AnchorUnderMouse);
    EXPECT_EQ(m_view.viewportUpdateMode(), QGraphicsView::MinimalViewportUpdate);
}

TEST_F(View, AWheelTurnOfZeroZoomsOutPastTheLimitToo)
{
    m_view.SetPicture(Grey());
    Wheel(0);
    EXPECT_DOUBLE_EQ(Scale(), 0.9090909090909091);
    SetScale(0.1);
    Wheel(0);
    EXPECT_DOUBLE_EQ(Scale(), 0.1 * 0.9090909090909091);
    Wheel(0);
    EXPECT_DOUBLE_EQ(Scale(), 0.1 * 0.9090909090909091 * 0.9090909090909091);
}

TEST_F(View, EndlessTurnsOfZeroLeaveATransformThatCanBeUndone)
{
    m_view.SetPicture(Grey());
    for (int i = 0; i < 2000; ++i) {
        Wheel(0);
    }
    EXPECT_LT(Scale(), 0.001);
    EXPECT_TRUE(m_view.transform().isInvertible());
    for (int i = 0; i < 400 && Scale() < 1.0; ++i) {
        Wheel(120);
    }
    EXPECT_GE(Scale(), 1.0);
}

TEST_F(View, AtTheUpperLimitTheWheelOnlyZoomsOut)
{
    m_view.SetPicture(Grey());
    for (const double dScale : {50.0, 61.0}) {
        SetScale(dScale);
        Wheel(120);
        EXPECT_DOUBLE_EQ(Scale(), dScale);
        Wheel(-120);
        EXPECT_DOUBLE_EQ(Scale(), dScale * 0.9090909090909091);
    }
    SetScale(49.9);
    Wheel(120);
    EXPECT_DOUBLE_EQ(Scale(), 49.9 * 1.1);
}

TEST_F(View, AtTheLowerLimitTheWheelOnlyZoomsIn)
{
    m_view.SetPicture(Grey());
    for (const double dScale : {0.1, 0.05}) {
        SetScale(dScale);
        Wheel(-120);
        EXPECT_DOUBLE_EQ(Scale(), dScale);
        Wheel(120);
        EXPECT_DOUBLE_EQ(Scale(), dScale * 1.1);
    }
    SetScale(0.101);
    Wheel(-120);
    EXPECT_DOUBLE_EQ(Scale(), 0.101 * 0.9090909090909091);
}

TEST_F(View, AtALimitNothingElseChangesEither)
{
    SetScale(50.0);
    Wheel(120);
    EXPECT_EQ(m_view.transformationAnchor(), QGraphicsView::AnchorViewCenter);
}

TEST_F(View, AZoomIsPainted)
{
    m_view.SetPicture(Grey());
    m_view.SetCrosses({1}, {{100, 100}});
    Painted::PaintCounter counter(Viewport());
    Wheel(120);
    EXPECT_GE(counter.Take(), 1);
    // A left drag paints as well, beside every cross.
    Painted::Press(Viewport(), {395, 295});
    counter.Take();
    Painted::Drag(Viewport(), {390, 290});
    EXPECT_GE(counter.Take(), 1);
}

// --- Pan

TEST_F(View, ARightDragTranslatesByThePicturesDistance)
{
    m_view.SetPicture(Grey(2000, 1500));
    SetScale(2.0);
    const QTransform before = m_view.transform();
    Painted::Press(Viewport(), {100, 100}, Qt::RightButton);
    const QPointF ptDelta = m_view.mapToScene(QPoint(100, 100)) - m_view.mapToScene(QPoint(130, 90));
    Painted::Drag(Viewport(), {130, 90}, Qt::RightButton);
    EXPECT_EQ(ptDelta, QPointF(-15, 5));
    EXPECT_EQ(m_view.transform().m31() - before.m31(), -30.0);
    EXPECT_EQ(m_view.transform().m32() - before.m32(), 10.0);
    // Each step counts from the one before.
    Painted::Drag(Viewport(), {130, 90}, Qt::RightButton);
    EXPECT_EQ(m_view.transform().m31() - before.m31(), -30.0);
    Painted::Drag(Viewport(), {140, 90}, Qt::RightButton);
    EXPECT_EQ(m_view.transform().m31() - before.m31(), -40.0);
    EXPECT_EQ(Scale(), 2.0);
}

TEST_F(View, ALeftDragDoesNotPan)
{
    m_view.SetPicture(Grey(2000, 1500));
    const QTransform before = m_view.transform();
    Painted::Press(Viewport(), {100, 100});
    Painted::Drag(Viewport(), {130, 90});
    EXPECT_EQ(m_view.transform(), before);
}

namespace
{

void MoveMouse(QWidget& viewport, QPoint pt, Qt::MouseButtons held)
{
    // Anchoring under the mouse asks for the cursor's own position.
    QCursor::setPos(viewport.mapToGlobal(pt));
    Painted::SendMouse(viewport, QEvent::MouseMove, pt, Qt::NoButton, held);
}

} // namespace

TEST_F(View, AZoomKeepsThePointUnderTheMouse)
{
    m_view.SetPicture(Grey(2592, 1944));
    QCoreApplication::processEvents(); // the view learns how large its scene is
    m_view.centerOn(1000, 700);
    QTest::mouseMove(&Viewport(), {120, 80});
    MoveMouse(Viewport(), {120, 80}, Qt::NoButton);
    for (const int nDelta : {120, -120}) {
        for (int i = 0; i < 10; ++i) {
            const QPointF ptBefore = m_view.mapToScene(QPoint(120, 80));
            Wheel(nDelta);
            // Scroll positions are whole pixels.
            const QPointF ptMoved = (m_view.mapToScene(QPoint(120, 80)) - ptBefore) * Scale();
            EXPECT_LE(std::abs(ptMoved.x()), 2.0);
            EXPECT_LE(std::abs(ptMoved.y()), 2.0);
            MoveMouse(Viewport(), {120, 80}, Qt::NoButton);
        }
    }
}

TEST_F(View, AfterAZoomThePictureFollowsARightDrag)
{
    m_view.SetPicture(Grey(2592, 1944));
    QCoreApplication::processEvents(); // the view learns how large its scene is
    QTest::mouseMove(&Viewport(), {200, 150});
    Wheel(120);
    m_view.centerOn(1000, 700);
    MoveMouse(Viewport(), {200, 150}, Qt::NoButton);
    Painted::Press(Viewport(), {200, 150}, Qt::RightButton);
    for (int i = 1; i <= 10; ++i) {
        const QPointF ptBefore = m_view.mapToScene(QPoint(200, 150) + (i - 1) * QPoint(8, -5));
        const QPoint ptMouse = QPoint(200, 150) + i * QPoint(8, -5);
        MoveMouse(Viewport(), ptMouse, Qt::RightButton);
        const QPointF ptSlipped = (m_view.mapToScene(ptMouse) - ptBefore) * Scale();
        EXPECT_LE(std::abs(ptSlipped.x()), 2.0);
        EXPECT_LE(std::abs(ptSlipped.y()), 2.0);
    }
}

TEST_F(View, BeforeTheFirstZoomARightDragIsUndoneByTheAnchorInTheMiddle)
{
    m_view.SetPicture(Grey(2592, 1944));
    QCoreApplication::processEvents(); // the view learns how large its scene is
    m_view.centerOn(1000, 700);
    const QPointF ptMiddle = m_view.mapToScene(QPoint(200, 150));
    MoveMouse(Viewport(), {200, 150}, Qt::NoButton);
    Painted::Press(Viewport(), {200, 150}, Qt::RightButton);
    MoveMouse(Viewport(), {240, 120}, Qt::RightButton);
    EXPECT_EQ(m_view.transform().m31(), -40.0);
    EXPECT_EQ(m_view.mapToScene(QPoint(200, 150)), ptMiddle);
}

// --- Many

TEST_F(View, TenThousandCrossesAreAllThere)
{
    m_view.SetPicture(Grey(2592, 1944));
    QList<int> ids;
    QList<QPointF> points;
    for (int i = 0; i < 10000; ++i) {
        ids << i + 1;
        points << QPointF(13.0 + 25.6 * (i % 100), 10.0 + 19.2 * (i / 100));
    }
    m_view.SetCrosses(ids, points);
    m_view.SetCrosses(ids, points);
    EXPECT_EQ(Crosses().size(), 10000);
    EXPECT_EQ(m_view.GetCrossPos(10000), points.last());
    for (int i = 0; i < 20; ++i) {
        Wheel(-120);
    }
    EXPECT_TRUE(Painted::Has(Painted::Of(Viewport()), QRect(150, 100, 100, 100), Painted::RED));
    QSignalSpy selected(&m_view, &DualGraphicsView::CrossItemPressedSignals);
    Painted::Press(Viewport(), {200, 150});
    EXPECT_EQ(selected.size(), 1);
}
