// The upload of the pattern: the grid, the checks before it, and what the machine says of it.

#include "PatternStepFixture.h"

namespace
{

using testing::ElementsAre;

constexpr const char* TOO_LARGE =
    "The current working area of the device(900, 600) is smaller than the material size. Please re-enter the "
    "appropriate material size or modify the working area of the device within the manufacturer's parameters.";

TEST_F(PatternStep, AnUploadPublishesTheGridAndThenSendsIt)
{
    MakeShown();
    ChooseSmall();
    Doubles::The().logLines.clear();
    std::size_t nCallsAtSignal = 99;
    qsizetype nGridsAtSignal = 99;
    QObject::connect(m_pPage.get(), &HandEyePicSetWdg::SendFlagSizeSignal, [&] {
        nCallsAtSignal = m_host.calls.size();
        nGridsAtSignal = m_grids.size();
    });
    bool bUploadEnabled = true;
    m_host.onCommand = [&] { bUploadEnabled = Button(*m_pPage, "upload").isEnabled() || CanGoOn(); };
    Press(*m_pPage, "upload");

    EXPECT_EQ(m_grids,
              QList<QList<QPointF>>{QList<QPointF>({{12, 20}, {52, 20}, {92, 20}, {12, 50}, {52, 50}, {92, 50}})});
    EXPECT_EQ(m_sizes, QList<QSizeF>{QSizeF(30, 30)});
    EXPECT_THAT(m_host.calls,
                ElementsAre("GetDeviceKind()", "GetChannel()", "GetBusy()", "PutMicroLine(0, document, TwoCalib.kv)",
                            "RunCommand(SendCalibrateFile, empty)"));
    EXPECT_EQ(nCallsAtSignal, 1u);
    EXPECT_EQ(nGridsAtSignal, 1) << "the grid goes out before the size";
    EXPECT_THAT(Doubles::The().journal, ElementsAre("ThreadDialogRun(0, null, 0, Processing...)"));
    EXPECT_NE(m_host.thread, std::this_thread::get_id());
    EXPECT_FALSE(bUploadEnabled);
    EXPECT_THAT(Doubles::The().logLines,
                ElementsAre(std::pair(0, "pushButton_upload was clicked."),
                            std::pair(1, "[Upload calibratePic]Upload calibratePic file start!"),
                            std::pair(1, "[Upload calibratePic]SendListPtSignal start!"),
                            std::pair(1, "[Upload calibratePic]SendFlagSizeSignal start!"),
                            std::pair(1, "[Upload calibratePic]CreateMicroLine start!"),
                            std::pair(1, "[Upload calibratePic]SendFileToDevices start!")));
    EXPECT_THAT(m_errCode.statuses, ElementsAre(std::pair(1011, 0)));
    EXPECT_TRUE(Button(*m_pPage, "upload").isEnabled());
    EXPECT_TRUE(CanGoOn());
    EXPECT_THAT(m_answers.Notices(), testing::IsEmpty());
    // Two lines a cross and an arrow head at either end; the first cross's horizontal line is 30 mm long.
    ASSERT_EQ(m_host.lines.size(), 6u * 2 + 4);
    EXPECT_EQ(m_host.lines[2], (Doubles::RecordingHost::Line{-3, 20, 27, 20}));
}

TEST_F(PatternStep, TheProgressDialogsTextIsNotWordedHere)
{
    MakeShown();
    ChooseSmall();
    Doubles::The().wordings["Processing..."] = "Bitte warten";
    Press(*m_pPage, "upload");
    EXPECT_THAT(Doubles::The().journal, ElementsAre("ThreadDialogRun(0, null, 0, Processing...)"));
}

TEST_F(PatternStep, AMaterialsGridLiesInTheMiddleOfTheCanvas)
{
    SetCanvas("1300.9", "900.9");
    MakeShown();
    ChooseMaterial(180, 90);
    Press(*m_pPage, "upload");
    ASSERT_EQ(LastGrid().size(), 18);
    EXPECT_EQ(LastGrid().first(), QPointF(560 + 15, 405 + 15));
    EXPECT_EQ(LastGrid().last(), QPointF(560 + 165, 405 + 75));
    // Positions that are typed are not read.
    The<QSpinBox>("spinBox_StartPosX").setValue(50);
    Press(*m_pPage, "upload");
    EXPECT_EQ(m_grids[0], m_grids[1]);
}

TEST_F(PatternStep, AMaterialOfExactlyTheCanvasPassesTheCheck)
{
    m_host.nKind = 2;
    MakeShown();
    ChooseMaterial(900, 600);
    Press(*m_pPage, "upload");
    ASSERT_EQ(LastGrid().size(), 18);
    EXPECT_EQ(LastGrid().first(), QPointF(15, 15));
    EXPECT_TRUE(CanGoOn());
}

TEST_F(PatternStep, AMaterialLargerThanTheCanvasIsRefusedWithTheNotice)
{
    m_host.nKind = 2;
    MakeShown();
    for (const QSize size : {QSize(901, 600), QSize(900, 601)}) {
        ChooseMaterial(size.width(), size.height());
        Press(*m_pPage, "upload");
        EXPECT_EQ(m_answers.Notices().back().strText, TOO_LARGE);
        EXPECT_EQ(m_answers.Notices().back().strTitle, "Tips");
        EXPECT_EQ(m_answers.Notices().back().icon, QMessageBox::Information);
        EXPECT_EQ(m_answers.Notices().back().buttons, QStringList{"OK"});
        EXPECT_EQ(m_answers.Notices().back().pParent, nullptr);
        EXPECT_TRUE(Button(*m_pPage, "upload").isEnabled());
        EXPECT_FALSE(CanGoOn());
    }
    EXPECT_EQ(m_answers.Notices().size(), 2u);
    EXPECT_TRUE(m_grids.isEmpty());
    EXPECT_THAT(m_host.calls, ElementsAre("GetDeviceKind()", "GetDeviceKind()"));
    EXPECT_THAT(m_errCode.statuses, testing::IsEmpty());
    EXPECT_THAT(Doubles::The().journal, testing::IsEmpty());
}

TEST_F(PatternStep, AMachinesAreaIsHeldAgainstTheCanvasToo)
{
    m_host.nKind = 2;
    SetCanvas("399", "300");
    MakeShown();
    ChooseSmall();
    Press(*m_pPage, "upload");
    EXPECT_THAT(m_answers.OnlyText().toStdString(), testing::HasSubstr("(399, 300)"));
    EXPECT_TRUE(m_grids.isEmpty());
}

TEST_F(PatternStep, AnyOtherKindOfMachineTakesALargerMaterial)
{
    m_host.nKind = 1;
    MakeShown();
    ChooseMaterial(1000, 700);
    Press(*m_pPage, "upload");
    ASSERT_EQ(LastGrid().size(), 18);
    EXPECT_EQ(LastGrid().first(), QPointF(-35, -35));
    EXPECT_THAT(m_answers.Notices(), testing::IsEmpty());
}

TEST_F(PatternStep, WithoutAHostTheStatusIs1001)
{
    Make(false).show();
    ChooseMaterial(9999, 9999);
    Press(*m_pPage, "upload");
    EXPECT_THAT(m_errCode.statuses, ElementsAre(std::pair(1001, 0)));
    EXPECT_EQ(m_grids.size(), 1);
    EXPECT_FALSE(CanGoOn());
    EXPECT_TRUE(Button(*m_pPage, "upload").isEnabled());
    EXPECT_EQ(Progress("UPLOADSUCCESS"), 0);
}

TEST_F(PatternStep, ABusyOrMissingChannelGives1001AndNothingIsPut)
{
    MakeShown();
    ChooseSmall();
    m_host.nBusy = 1;
    Press(*m_pPage, "upload");
    EXPECT_THAT(m_host.calls, ElementsAre("GetDeviceKind()", "GetChannel()", "GetBusy()"));
    m_host.bHasChannel = false;
    Press(*m_pPage, "upload");
    EXPECT_THAT(m_errCode.statuses, ElementsAre(std::pair(1001, 0), std::pair(1001, 0)));
    EXPECT_FALSE(CanGoOn());
    EXPECT_TRUE(Button(*m_pPage, "upload").isEnabled());
    EXPECT_EQ(Progress("UPLOADSUCCESS"), 0);
}

TEST_F(PatternStep, AFailingCommandsStatusIsHandedOnAndNothingIsSaved)
{
    MakeShown();
    ChooseSmall();
    for (const int nStatus : {0, 1016, -1}) {
        m_host.nAnswer = nStatus;
        Press(*m_pPage, "upload");
        EXPECT_EQ(m_errCode.statuses.back(), std::pair(nStatus, 0));
        EXPECT_FALSE(CanGoOn());
        EXPECT_TRUE(Button(*m_pPage, "upload").isEnabled());
    }
    EXPECT_EQ(Progress("UPLOADSUCCESS"), 0);
    EXPECT_EQ(Progress("Row"), -77);
}

TEST_F(PatternStep, AFailingUploadAfterAGoodOneShutsTheWayOn)
{
    MakeShown();
    ChooseSmall();
    Press(*m_pPage, "upload");
    ASSERT_TRUE(CanGoOn());
    m_host.nAnswer = 7;
    Press(*m_pPage, "upload");
    EXPECT_FALSE(CanGoOn());
    // That something was uploaded once stays so until the next show.
    EXPECT_EQ(Progress("UPLOADSUCCESS"), 1);
    m_pPage->hide();
    m_pPage->show();
    EXPECT_TRUE(CanGoOn());
}

TEST_F(PatternStep, AnErrorCodeModuleThatGivesNothingIsNotAsked)
{
    m_errCode.bGiveNull = true;
    MakeShown();
    ChooseSmall();
    Press(*m_pPage, "upload");
    EXPECT_TRUE(CanGoOn());
    EXPECT_THAT(m_errCode.statuses, testing::IsEmpty());
}

TEST_F(PatternStep, APageThatGoesWhileTheStatusIsShownIsNotTouched)
{
    MakeShown();
    ChooseSmall();
    m_errCode.onStatus = [this] { m_pPage.reset(); };
    QMetaObject::invokeMethod(m_pPage.get(), "on_pushButton_upload_clicked");
    EXPECT_EQ(m_pPage, nullptr);
    EXPECT_EQ(m_errCode.statuses.size(), 1u);
}

TEST_F(PatternStep, WithoutMachinesTheListsModeIsRefusedAndTheMaterialsModeWorks)
{
    m_types.Write("");
    MakeShown();
    EXPECT_EQ(The<QComboBox>("comboBox_models").count(), 0);
    Press(*m_pPage, "upload");
    EXPECT_EQ(m_answers.OnlyText(), "Please select a device type first!");
    EXPECT_TRUE(m_grids.isEmpty());
    EXPECT_TRUE(m_host.calls.empty());
    EXPECT_TRUE(Button(*m_pPage, "upload").isEnabled());
    EXPECT_FALSE(CanGoOn());

    ChooseMaterial(200, 100);
    Press(*m_pPage, "upload");
    EXPECT_EQ(LastGrid().size(), 18);
    EXPECT_TRUE(CanGoOn());
    EXPECT_EQ(m_answers.Notices().size(), 1u);
}

TEST_F(PatternStep, AnEmptyGridIsNeverSent)
{
    MakeShown();
    ASSERT_EQ(The<QComboBox>("comboBox_subModels").currentText(), "B1");
    Press(*m_pPage, "upload");
    EXPECT_EQ(m_answers.OnlyText(), "The selected device type has no valid pattern!");
    EXPECT_TRUE(m_grids.isEmpty());
    EXPECT_THAT(Doubles::The().journal, testing::IsEmpty());
    EXPECT_TRUE(Button(*m_pPage, "upload").isEnabled());
    EXPECT_FALSE(CanGoOn());
    // Nor where the task is run past the button.
    EXPECT_EQ(m_pPage->ThreadDialog_ThreadRun(0, nullptr), 1016);
    EXPECT_THAT(m_host.calls, ElementsAre("GetDeviceKind()"));
}

TEST_F(PatternStep, ARefusedUploadForgetsThePatternOfBefore)
{
    MakeShown();
    ChooseSmall();
    Press(*m_pPage, "upload");
    ASSERT_TRUE(CanGoOn());
    The<QComboBox>("comboBox_models").setCurrentText("Big");
    Press(*m_pPage, "upload");
    ASSERT_EQ(m_answers.Notices().size(), 1u);
    EXPECT_EQ(m_pPage->ThreadDialog_ThreadRun(0, nullptr), 1016);
}

TEST_F(PatternStep, TheOtherTasksDoNothing)
{
    HandEyePicSetWdg& page = Make();
    EXPECT_EQ(page.ThreadDialog_ThreadRun(1, nullptr), 1);
    EXPECT_EQ(page.ThreadDialog_ThreadRun(-1, nullptr), 1);
    EXPECT_EQ(page.Reserved2(0), -1);
    EXPECT_EQ(page.Reserved3(0, nullptr, nullptr), -1);
    EXPECT_EQ(page.Reserved4(0), 0.0);
    EXPECT_TRUE(m_host.calls.empty());
}

} // namespace
