// Placing, changing and deleting marks.

#include "AutoDualFixture.h"

#include <QSignalSpy>

namespace
{

using testing::Contains;
using testing::IsEmpty;

} // namespace

// ---- Placing ----

TEST_F(AutoDual, ADoubleClickBeforeThePictureDoesNothing)
{
    Open();
    Add({100, 100});
    EXPECT_EQ(List().count(), 0);
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(AutoDual, ADoubleClickAddsAMarkWhereItFell)
{
    Open();
    TakePicture();
    const QPointF place = Add({120, 90});
    ASSERT_EQ(List().count(), 1);
    EXPECT_TRUE(Doubles::The().Logged(0, "pushButton_AddCoord was clicked."));
    EXPECT_EQ(Rows()[0], QString("Coordinate1: %1,%2").arg(place.x()).arg(place.y()));
    EXPECT_EQ(Ids(), QList<int>{1});
    ASSERT_EQ(Crosses().size(), 1);
    EXPECT_EQ(CentreOf(Crosses()[0]), place);
    EXPECT_FALSE(Tool("toolButton_Add").isChecked());
    EXPECT_FALSE(Tool("toolButton_Modify").isChecked());
    EXPECT_TRUE(View().HasPendingCross());
    EXPECT_FALSE(Confirm().isEnabled());
}

TEST_F(AutoDual, OnlyThePressedAddButtonAllowsTheNext)
{
    Open();
    TakePicture();
    Add({120, 90});
    DoubleClick({220, 90});
    EXPECT_EQ(List().count(), 1);
    Click("toolButton_Add");
    Click("toolButton_Add");
    DoubleClick({220, 90});
    EXPECT_EQ(List().count(), 1) << "pressed twice is off";
    Add({220, 90});
    EXPECT_EQ(List().count(), 2);
}

TEST_F(AutoDual, AFullSetOpensConfirmAndShutsAdd)
{
    Open();
    TakePicture();
    AddCrosses(CROSSES - 1);
    EXPECT_FALSE(Confirm().isEnabled());
    EXPECT_TRUE(Tool("toolButton_Add").isEnabled());
    Add(Place(CROSSES - 1));
    EXPECT_TRUE(Confirm().isEnabled());
    EXPECT_FALSE(Tool("toolButton_Add").isEnabled());
    EXPECT_EQ(Ids(), (QList<int>{1, 2, 3, 4, 5, 6}));
}

TEST_F(AutoDual, AsManyMarksAsTheGridHasCanBeClicked)
{
    WriteGrid(7, 9, 7, 5);
    Open();
    TakePicture();
    for (int i = 0; i < 34; ++i) {
        emit View().AddCrossSignals({10.0 + 12 * (i % 7), 10.0 + 12 * (i / 7)});
    }
    EXPECT_FALSE(Confirm().isEnabled());
    Add({300, 200});
    EXPECT_EQ(List().count(), 35);
    EXPECT_TRUE(Confirm().isEnabled());
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(AutoDual, TheViewAsksForNoMoreMarksThanTheGridHas)
{
    Open();
    TakePicture();
    AddCrosses(CROSSES);
    View().SetAddEnabled(true);
    DoubleClick({300, 300});
    EXPECT_THAT(m_answers.Notices(), IsEmpty()) << "the page was not asked";
    EXPECT_EQ(List().count(), CROSSES);
}

TEST_F(AutoDual, ClicksOutsideThePictureAreRefused)
{
    Open();
    TakePicture();
    for (const QPointF place : {QPointF(-3, 20), QPointF(20, -3), QPointF(WIDTH + 3, 20), QPointF(20, HEIGHT + 3)}) {
        emit View().AddCrossSignals(place);
        EXPECT_FALSE(Tool("toolButton_Add").isChecked());
        EXPECT_TRUE(Tool("toolButton_Modify").isChecked()) << "left as the first step had set it";
    }
    ASSERT_EQ(m_answers.Notices().size(), 4u);
    EXPECT_EQ(m_answers.Notices()[3].strText, "Selected coordinates exceed the range.");
    EXPECT_EQ(m_answers.Notices()[3].strTitle, "Tips");
    EXPECT_EQ(List().count(), 0);
}

TEST_F(AutoDual, TheFarEdgesCountAsInside)
{
    Open();
    TakePicture();
    emit View().AddCrossSignals({0, 0});
    emit View().AddCrossSignals({WIDTH, HEIGHT});
    EXPECT_EQ(List().count(), 2);
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(AutoDual, OneTooManyIsRefusedBeforeAnythingElse)
{
    Open();
    TakePicture();
    AddCrosses(CROSSES);
    emit View().AddCrossSignals({-5, -5});
    EXPECT_EQ(m_answers.OnlyText(), "Coordinate selection reaches the upper limit.");
    EXPECT_EQ(m_answers.Notices()[0].strTitle, "Tips");
    EXPECT_EQ(List().count(), CROSSES);
    EXPECT_TRUE(Tool("toolButton_Modify").isChecked());
}

TEST_F(AutoDual, WithoutAPictureAMarkIsRefusedWithAWarning)
{
    Open();
    FinishLeft();
    Add({100, 100});
    const auto& notice = m_answers.Notices().back();
    EXPECT_EQ(notice.strText, "Please obtain picture first!");
    EXPECT_EQ(notice.strTitle, "Warning");
    EXPECT_EQ(notice.icon, QMessageBox::Information) << "whatever the title";
    EXPECT_EQ(notice.buttons, QStringList{"OK"});
    EXPECT_TRUE(notice.flags.testFlag(Qt::MSWindowsFixedSizeDialogHint));
    EXPECT_EQ(List().count(), 0);
}

TEST_F(AutoDual, TheManualFlowTakesNine)
{
    Open(0);
    for (const char* const pFile : {"Output/cameraL_calibrateMap.xml", "Output/cameraR_calibrateMap.xml"}) {
        m_root.WriteFile(m_root.CameraTwo(pFile), "a map");
    }
    TakePicture();
    for (int i = 0; i < 9; ++i) {
        EXPECT_FALSE(Confirm().isEnabled());
        emit View().AddCrossSignals({10.0 + i, 10.0});
    }
    EXPECT_TRUE(Confirm().isEnabled());
    emit View().AddCrossSignals({30.0, 10.0});
    EXPECT_EQ(m_answers.OnlyText(), "Coordinate selection reaches the upper limit.");
}

TEST_F(AutoDual, AnyTypeButOneTakesNine)
{
    Open(2);
    TakePicture();
    for (int i = 0; i < 9; ++i) {
        EXPECT_FALSE(Confirm().isEnabled());
        emit View().AddCrossSignals({10.0 + i, 10.0});
    }
    EXPECT_TRUE(Confirm().isEnabled());
    emit View().AddCrossSignals({30.0, 10.0});
    EXPECT_EQ(m_answers.OnlyText(), "Coordinate selection reaches the upper limit.");
}

TEST_F(AutoDual, AfterADeleteOfTheFirstTheNewMarkSharesTheSecondId)
{
    Open();
    TakePicture();
    const QList<QPointF> places = AddCrosses(3);
    ClickRow(0);
    Click("toolButton_Delete");
    ASSERT_EQ(Ids(), (QList<int>{2, 3}));
    const QPointF place = Add({300, 200});
    EXPECT_EQ(Ids(), (QList<int>{2, 2, 3}));
    EXPECT_EQ(List().count(), 3);
    QList<QPointF> centres;
    for (CrossItem* const pCross : Crosses()) {
        centres << CentreOf(pCross);
    }
    EXPECT_TRUE(centres.contains(place));
    EXPECT_TRUE(centres.contains(places[1]));
    EXPECT_TRUE(centres.contains(places[2]));
}

// ---- Changing and deleting ----

TEST_F(AutoDual, AMarkIsDraggedBetweenTwoPressesOfModify)
{
    Open();
    TakePicture();
    const QList<QPointF> places = AddCrosses(2);
    ClickRow(1);
    Click("toolButton_Modify");
    Drag(CrossOf(2), {12, -7});
    EXPECT_EQ(Rows()[1], QString("Coordinate2: %1,%2").arg(places[1].x()).arg(places[1].y())) << "not yet";
    Click("toolButton_Modify");
    EXPECT_EQ(Rows()[1], QString("Coordinate2: %1,%2").arg(places[1].x() + 12).arg(places[1].y() - 7));
    EXPECT_EQ(CentreOf(CrossOf(2)), places[1] + QPointF(12, -7));
    EXPECT_EQ(CentreOf(CrossOf(1)), places[0]);
    Drag(CrossOf(2), {5, 5});
    EXPECT_EQ(CentreOf(CrossOf(2)), places[1] + QPointF(12, -7)) << "fixed again";
}

TEST_F(AutoDual, ModifyWithoutASelectionIsRefused)
{
    Open();
    Click("toolButton_Modify");
    EXPECT_EQ(m_answers.OnlyText(), "Please select the cross you want to modify before clicking this button.");
    EXPECT_EQ(m_answers.Notices()[0].strTitle, "Warning");
    EXPECT_FALSE(Tool("toolButton_Modify").isChecked());
    TakePicture();
    AddCrosses(2);
    Click("toolButton_Modify");
    EXPECT_EQ(m_answers.Notices().size(), 2u) << "marks alone are no selection";
    EXPECT_FALSE(Tool("toolButton_Modify").isChecked());
}

TEST_F(AutoDual, DeleteWithoutASelectionIsSilent)
{
    Open();
    Click("toolButton_Delete");
    TakePicture();
    AddCrosses(2);
    Click("toolButton_Delete");
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_EQ(Ids(), (QList<int>{1, 2}));
    EXPECT_EQ(Doubles::The().Count("DeleteCalibrationPt_ID"), 0);
}

TEST_F(AutoDual, DeletingTakesTheSelectedMarkAndLeavesTheOtherIds)
{
    Open();
    TakePicture();
    AddCrosses(3);
    ClickRow(1);
    Click("toolButton_Delete");
    EXPECT_EQ(Ids(), (QList<int>{1, 3}));
    EXPECT_EQ(Crosses().size(), 2);
    EXPECT_FALSE(CrossOf(2));
    EXPECT_THAT(Doubles::The().journal, Contains("DeleteCalibrationPt_ID(2)"));
    ClickRow(1);
    Click("toolButton_Delete");
    EXPECT_EQ(Ids(), QList<int>{1}) << "the highest id too";
    EXPECT_EQ(Crosses().size(), 1);
}

TEST_F(AutoDual, DeletingFromAFullSetLeavesConfirmOpenAndAddShutUntilTheRefresh)
{
    Open();
    TakePicture();
    AddCrosses(CROSSES);
    ClickRow(5);
    Click("toolButton_Delete");
    EXPECT_EQ(List().count(), CROSSES - 1);
    EXPECT_TRUE(Confirm().isEnabled());
    EXPECT_FALSE(Tool("toolButton_Add").isEnabled());
    m_pPage->hide();
    Show();
    EXPECT_TRUE(Tool("toolButton_Add").isEnabled());
    EXPECT_TRUE(Confirm().isEnabled());
}

TEST_F(AutoDual, AFullSetHasAddingOffAtEveryRefresh)
{
    Open();
    TakePicture();
    AddCrosses(CROSSES);
    View().SetAddEnabled(true);
    m_pPage->hide();
    Show();
    EXPECT_TRUE(View().HasPendingCross());
    EXPECT_FALSE(Tool("toolButton_Add").isEnabled());
}

TEST_F(AutoDual, CrossesAndRowsAreSelectedTogether)
{
    Open();
    TakePicture();
    const QList<QPointF> places = AddCrosses(3);
    QSignalSpy clicked(m_pPage.get(), &AutoDualCalibrateWdg::ListCoordRowClickedSignal);
    ClickRow(2);
    ASSERT_EQ(clicked.size(), 1);
    EXPECT_EQ(clicked[0][0].toInt(), 2);

    QTest::mouseClick(View().viewport(), Qt::LeftButton, {}, View().mapFromScene(places[0] + QPointF(-20, 0)));
    EXPECT_EQ(List().currentRow(), 0);
    EXPECT_TRUE(List().item(0)->isSelected());
    QTest::mouseClick(View().viewport(), Qt::LeftButton, {}, View().mapFromScene(QPointF(450, 380)));
    EXPECT_TRUE(List().selectedItems().isEmpty());
    EXPECT_EQ(List().currentRow(), 0) << "only the selection goes";
}
