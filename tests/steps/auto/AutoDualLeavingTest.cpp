// Going back, cancelling, what no button reaches, and a second run.

#include "AutoDualFixture.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>

#include <functional>

namespace
{

using testing::Contains;

} // namespace

// ---- Leaving ----

TEST_F(AutoDual, BackFromTheRightStepStartsTheLeftOneAgain)
{
    Open();
    FinishLeft();
    TakePicture();
    AddCrosses(2);
    QSignalSpy back(m_pPage.get(), &AutoDualCalibrateWdg::AutoDualCalibrateWdgBtnBackSignal);
    Click("pushButton_back");
    EXPECT_TRUE(Doubles::The().Logged(0, "pushButton_back was clicked."));
    EXPECT_EQ(back.size(), 0);
    EXPECT_EQ(Progress("STEPINDEX"), "3");
    EXPECT_EQ(Progress("PROGRESS"), "3");
    EXPECT_EQ(List().count(), 0);
    EXPECT_TRUE(View().HasPicture()) << "the view keeps it";
    EXPECT_EQ(Label("label_coorAlignment"), "Get Left Coords");

    Add({100, 100});
    EXPECT_EQ(m_answers.Notices().back().strText, "Selected coordinates exceed the range.")
        << "the picture on show is none of this step";
    Click("pushButton_back");
    EXPECT_EQ(back.size(), 1);
}

TEST_F(AutoDual, GoingBackLeavesNoPictureOfTheOtherCamera)
{
    Open();
    FinishLeft();
    TakePicture();
    Click("pushButton_back");
    for (int i = 0; i < CROSSES; ++i) {
        emit View().AddCrossSignals({0, 0});
    }
    ASSERT_EQ(List().count(), CROSSES) << "the corner is in range of an empty picture, too";
    Doubles::The().journal.clear();
    Click("pushButton_confirm");
    EXPECT_THAT(Doubles::The().journal, Contains("SingleCamCalibration(501x401 8 to 0x0)"));
}

TEST_F(AutoDual, APageThatGoesWhileANoticeStandsIsNotTouched)
{
    const auto goesAtNotice = [this](const std::function<void()>& press) {
        m_answers.OnBox([this](QMessageBox&) { m_pPage.reset(); });
        press();
        m_answers.OnBox({});
        EXPECT_EQ(m_pPage, nullptr);
        Doubles::The().journal.clear();
    };
    const auto invoke = [this](const char* pSlot) {
        QMetaObject::invokeMethod(m_pPage.get(), pSlot, Qt::DirectConnection);
    };
    Open();
    goesAtNotice([&] { invoke("CoordinateToolBarModifySlots"); });

    g_calibGlobalParam.strLeftCameraName = "[0] Nobody";
    Open();
    goesAtNotice([&] { invoke("on_pushButton_takePic_clicked"); });
    g_calibGlobalParam.strLeftCameraName = "[0] Camera-Left";

    QDir().mkpath(Temp(LEFT_FILE) + "/a folder in the way");
    Open();
    goesAtNotice([&] { invoke("on_pushButton_takePic_clicked"); });
    QDir(Temp(LEFT_FILE)).removeRecursively();

    for (const QList<QPointF>& world : {World(), QList<QPointF>{}}) {
        Open(1, world);
        TakePicture();
        AddCrosses(CROSSES);
        const std::size_t nBefore = m_answers.Notices().size();
        goesAtNotice([&] { invoke("on_pushButton_confirm_clicked"); });
        EXPECT_EQ(m_answers.Notices().size(), nBefore + 1);
        EXPECT_EQ(Progress("STEPINDEX"), "3");
    }
}

TEST_F(AutoDual, CancelAsksForTheWindowToBeClosed)
{
    Open();
    QSignalSpy close(m_pPage.get(), &AutoDualCalibrateWdg::CloseWindowSignal);
    Click("pushButton_cancel");
    EXPECT_TRUE(Doubles::The().Logged(0, "pushButton_cancel was clicked."));
    EXPECT_EQ(close.size(), 1);
}

TEST_F(AutoDual, GivesTheCameraBack)
{
    Make();
    EXPECT_EQ(m_module.HandedOut(), 1);
    EXPECT_EQ(m_module.GivenBack(), 0);
    m_pPage.reset();
    EXPECT_EQ(m_module.GivenBack(), 1);
}

// ---- Slots without a button ----

class AutoDualUnreachable : public AutoDual
{
protected:
    void Invoke(const char* pSlot)
    {
        ASSERT_TRUE(QMetaObject::invokeMethod(m_pPage.get(), pSlot, Qt::DirectConnection));
    }
};

TEST_F(AutoDualUnreachable, AddingTakesThePendingCross)
{
    Open();
    Invoke("on_pushButton_AddCoord_clicked");
    EXPECT_EQ(m_answers.Notices().back().strText, "Please obtain picture first!");
    TakePicture();
    View().SetAddEnabled(true);
    Invoke("on_pushButton_AddCoord_clicked");
    EXPECT_EQ(m_answers.Notices().back().strText, "Please double-click on the image to add coordinates.");
    View().AddCross({40, 50});
    View().SetAddEnabled(false);
    Invoke("on_pushButton_AddCoord_clicked");
    EXPECT_EQ(m_answers.Notices().size(), 2u);
    EXPECT_EQ(Rows(), QStringList{"Coordinate1: 40,50"});
    View().AddCross({WIDTH + 20, 50});
    View().SetAddEnabled(false);
    Invoke("on_pushButton_AddCoord_clicked");
    EXPECT_EQ(m_answers.Notices().back().strText, "Selected coordinates exceed the range.");
    for (int i = 1; i < CROSSES; ++i) {
        emit View().AddCrossSignals({50.0 + i, 20.0});
    }
    Invoke("on_pushButton_AddCoord_clicked");
    EXPECT_EQ(m_answers.Notices().back().strText, "Coordinate selection reaches the upper limit.");
    EXPECT_TRUE(Doubles::The().Logged(0, "pushButton_AddCoord was clicked."));
}

TEST_F(AutoDualUnreachable, RemovingTakesTheNewestCrossOutOfTheView)
{
    Open();
    Invoke("on_pushButton_RemoveCoord_clicked");
    TakePicture();
    AddCrosses(2);
    Invoke("on_pushButton_RemoveCoord_clicked");
    EXPECT_TRUE(Doubles::The().Logged(0, "pushButton_RemoveCoord was clicked."));
    EXPECT_EQ(List().count(), 2) << "the list is made from the marks, which stay";
    EXPECT_EQ(Crosses().size(), 2);
}

// ---- What stays in memory ----

TEST_F(AutoDual, ASecondRunOfThePageWorksAsTheFirst)
{
    for (int nRun = 0; nRun < 2; ++nRun) {
        Open();
        WriteIniInt("PROGRESS", "STEPINDEX", 3, ProgressFile());
        FinishLeft();
        TakePicture();
        AddCrosses(CROSSES);
        Click("pushButton_confirm");
        EXPECT_EQ(Progress("CALIBSUCCESS"), "1");
        EndCountdown(*m_pPage);
        m_pPage.reset();
        QFile::remove(ProgressFile());
        WriteGrid(2, 5, 2, 3);
        WriteIniInt("PROGRESS", "PROGRESS", 3, ProgressFile());
    }
}
