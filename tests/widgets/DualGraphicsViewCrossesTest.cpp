// Crosses: set by code, removed, selected, and very many.

#include "DualGraphicsViewFixture.h"

#include <QPointer>
#include <QSignalSpy>

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
