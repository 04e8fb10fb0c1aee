#include "AutoDualCalibrateWdg.h"

#include "DualCoordinateToolBar.h"
#include "PageFixture.h"
#include "RecordingStyle.h"

#include <opencv2/imgcodecs.hpp>

#include <QDir>
#include <QFile>
#include <QGraphicsPixmapItem>
#include <QGraphicsTextItem>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QToolButton>

#include <algorithm>
#include <functional>
#include <memory>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

constexpr int WIDTH = 501;
constexpr int HEIGHT = 401;
constexpr const char* LEFT_FILE = "DualCamBeforeCalibrate_LeftTemp.bmp";
constexpr const char* RIGHT_FILE = "DualCamBeforeCalibrate_RightTemp.bmp";

/// A page of a grid of 2 rows and 5 columns, of which each camera sees 3.
class AutoDual : public PageFixture
{
protected:
    static constexpr int CROSSES = 6;

    void SetUp() override
    {
        PageFixture::SetUp();
        m_picture = cv::Mat(HEIGHT, WIDTH, CV_8UC3, cv::Scalar(90, 90, 90));
        m_picture.at<cv::Vec3b>(60, 100) = {250, 240, 230};
        WriteGrid(2, 5, 2, 3);
        WriteIniInt("PROGRESS", "PROGRESS", 3, ProgressFile());
    }

    void TearDown() override
    {
        if (m_pPage) {
            EndCountdown(*m_pPage);
        }
        m_pPage.reset();
        PageFixture::TearDown();
    }

    void WriteGrid(int nRow, int nCol, int nRowSingle, int nColSingle)
    {
        WriteIniInt("PROGRESS", "Row", nRow, ProgressFile());
        WriteIniInt("PROGRESS", "Col", nCol, ProgressFile());
        WriteIniInt("PROGRESS", "RowForSingleCamera", nRowSingle, ProgressFile());
        WriteIniInt("PROGRESS", "ColForSingleCamera", nColSingle, ProgressFile());
    }

    /// The points of the grid, with fractions.
    static QList<QPointF> World(int nCount = 10)
    {
        QList<QPointF> world;
        for (int i = 0; i < nCount; ++i) {
            world << QPointF(100.9 + 50 * (i % 5), 200.9 + 40 * (i / 5));
        }
        return world;
    }

    AutoDualCalibrateWdg& Make()
    {
        m_pPage = std::make_unique<AutoDualCalibrateWdg>();
        m_pCamera = &m_module.Camera(static_cast<std::size_t>(m_module.HandedOut()) - 1);
        return *m_pPage;
    }
    /// As the wizard does it.
    void Open(int nType = 1, const QList<QPointF>& world = World())
    {
        Make();
        m_pPage->SetWorldPoints(world);
        m_pPage->SetCameraType(nType);
        Show();
    }
    void Show()
    {
        m_pPage->resize(911, 611);
        m_pPage->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_pPage.get()));
    }

    template <typename Widget> Widget& Get(const char* pName) { return Child<Widget>(*m_pPage, pName); }
    DualGraphicsView& View() { return Get<DualGraphicsView>("graphicsView"); }
    QListWidget& List() { return Get<QListWidget>("listWidget_Coord"); }
    QPushButton& Button(const char* pName) { return Get<QPushButton>(pName); }
    QToolButton& Tool(const char* pName) { return Get<QToolButton>(pName); }
    QPushButton& Confirm() { return Button("pushButton_confirm"); }
    QString Label(const char* pName) { return Get<QLabel>(pName).text(); }
    QString Instructions() { return Get<QPlainTextEdit>("plainTextEdit").toPlainText(); }
    DualCoordinateToolBar* ToolBar() { return m_pPage->findChild<DualCoordinateToolBar*>(); }

    void Click(QAbstractButton& button)
    {
        ASSERT_TRUE(button.isEnabled()) << button.objectName().toStdString() << " cannot be pressed";
        QTest::mouseClick(&button, Qt::LeftButton);
    }
    void Click(const char* pButton) { Click(Get<QAbstractButton>(pButton)); }

    void TakePicture()
    {
        Click("pushButton_takePic");
        EndCountdown(*m_pPage);
    }

    /// @return the point that the view gets, since a mouse stands on whole pixels of the screen
    QPointF DoubleClick(QPointF ptScene)
    {
        const QPoint place = View().mapFromScene(ptScene);
        QTest::mouseDClick(View().viewport(), Qt::LeftButton, {}, place);
        return View().mapToScene(place);
    }
    QPointF Add(QPointF ptScene)
    {
        if (!Tool("toolButton_Add").isChecked()) {
            Click("toolButton_Add");
        }
        return DoubleClick(ptScene);
    }
    static QPointF Place(int i) { return {60.0 + 70.0 * (i % 3), 80.0 + 90.0 * (i / 3)}; }
    QList<QPointF> AddCrosses(int nCount)
    {
        QList<QPointF> places;
        for (int i = 0; i < nCount; ++i) {
            places << Add(Place(i));
        }
        return places;
    }

    /// A finger on the row of a list.
    void ClickRow(int nRow, bool bDouble = false)
    {
        const QPoint place = List().visualItemRect(List().item(nRow)).center();
        QTest::mouseClick(List().viewport(), Qt::LeftButton, {}, place);
        if (bDouble) {
            QTest::mouseDClick(List().viewport(), Qt::LeftButton, {}, place);
        }
    }

    QList<int> Ids()
    {
        QList<int> ids;
        for (int i = 0; i < List().count(); ++i) {
            ids << List().item(i)->data(Qt::UserRole).toInt();
        }
        return ids;
    }
    QStringList Rows()
    {
        QStringList rows;
        for (int i = 0; i < List().count(); ++i) {
            rows << List().item(i)->text();
        }
        return rows;
    }

    QList<CrossItem*> Crosses()
    {
        QList<CrossItem*> crosses;
        for (QGraphicsItem* const pItem : View().scene()->items(Qt::AscendingOrder)) {
            if (auto* const pCross = dynamic_cast<CrossItem*>(pItem)) {
                crosses << pCross;
            }
        }
        return crosses;
    }
    static QPointF CentreOf(const CrossItem* pCross) { return pCross->pos() + QPointF(50, 50); }
    CrossItem* CrossOf(int nId)
    {
        for (CrossItem* const pCross : Crosses()) {
            if (pCross->data(256).toInt() == nId) {
                return pCross;
            }
        }
        return nullptr;
    }
    /// Drags with the left button from the centre of a cross.
    void Drag(CrossItem* pCross, QPoint by)
    {
        const QPoint from = View().mapFromScene(CentreOf(pCross));
        QTest::mousePress(View().viewport(), Qt::LeftButton, {}, from);
        QMouseEvent move(QEvent::MouseMove, QPointF(from + by), View().viewport()->mapToGlobal(QPointF(from + by)),
                         Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(View().viewport(), &move);
        QTest::mouseRelease(View().viewport(), Qt::LeftButton, {}, from + by);
    }
    void MoveMouse()
    {
        const QPointF place(30, 30);
        QMouseEvent move(QEvent::MouseMove, place, View().viewport()->mapToGlobal(place), Qt::NoButton, Qt::NoButton,
                         Qt::NoModifier);
        QApplication::sendEvent(View().viewport(), &move);
    }

    QImage Shown()
    {
        for (QGraphicsItem* const pItem : View().scene()->items()) {
            if (auto* const pPixmap = dynamic_cast<QGraphicsPixmapItem*>(pItem)) {
                return pPixmap->pixmap().toImage();
            }
        }
        return {};
    }

    /// Goes through step 3.
    void FinishLeft()
    {
        TakePicture();
        AddCrosses(CROSSES);
        Click("pushButton_confirm");
        ASSERT_EQ(Progress("STEPINDEX"), "4");
    }

    std::unique_ptr<AutoDualCalibrateWdg> m_pPage;
    Doubles::RecordingCamera* m_pCamera = nullptr;
};

std::vector<int> IdsOf(const std::vector<CalibrationPoint>& points)
{
    std::vector<int> ids;
    for (const CalibrationPoint& point : points) {
        ids.push_back(point.nId);
    }
    return ids;
}

const char* const g_steps[] = {"toolButton_Step1", "label_Step1",      "toolButton_Step2",
                               "label_Step2",      "toolButton_Step3", "label_Step3",
                               "toolButton_Step4", "label_Step4",      "toolButton_Step5"};

} // namespace

// ---- Start and wordings ----

TEST_F(AutoDual, StartsWithNothingToConfirmAndBothTitlesWritten)
{
    Make();
    EXPECT_FALSE(Confirm().isEnabled());
    EXPECT_EQ(m_pPage->windowTitle(), "AdjustCalibratePicture");
    EXPECT_EQ(Label("label_coorAlignment"), "Get Right Coords") << "the second of two";
    EXPECT_EQ(Label("label_Coord"), "Coordinates:(0,0)");
    EXPECT_EQ(Label("label_tips"), "Instructions");
    EXPECT_EQ(Button("pushButton_takePic").text(), "Photo");
    EXPECT_EQ(Button("pushButton_back").text(), "Previous step");
    EXPECT_EQ(Confirm().text(), "Next step");
    EXPECT_EQ(Button("pushButton_cancel").text(), "Cancel");
    EXPECT_EQ(Tool("toolButton_Step1").text(), "Select work area");
    EXPECT_EQ(Tool("toolButton_Step5").text(), "Stitch");
    EXPECT_TRUE(Instructions().startsWith("Please zoom and pan the photo"));
    EXPECT_TRUE(Get<QPlainTextEdit>("plainTextEdit").isReadOnly());
    EXPECT_EQ(m_pPage->size(), QSize(911, 611));
    EXPECT_EQ(m_pPage->findChild<QTimer*>()->interval(), 1000);
    EXPECT_TRUE(View().hasMouseTracking());
    EXPECT_TRUE(View().viewport()->hasMouseTracking());
}

TEST_F(AutoDual, HasItsFormsTree)
{
    Make();
    EXPECT_EQ(m_pPage->objectName(), "AutoDualCalibrateWdg");
    ExpectTree(*m_pPage,
               {{"AutoDualCalibrateWdg", {"widget", "widget_buttom"}},
                {"widget", {"widget_view", "widget_right"}},
                {"widget_view", {"graphicsView"}},
                {"widget_right", {"widget_3", "widget_2"}},
                {"widget_3", {"label_coorAlignment", "pushButton_takePic", "listWidget_Coord", "label_Coord"}},
                {"widget_2", {"label_tips", "label", "plainTextEdit"}},
                {"widget_buttom", BOTTOM_ROW}},
               {"verticalLayout_4", "horizontalLayout_5", "verticalLayout_5", "verticalLayout_3", "verticalLayout_2",
                "horizontalLayout_4", "horizontalLayout_2", "verticalLayout", "horizontalLayout_3", "horizontalLayout",
                "horizontalLayout_8"});
}

TEST_F(AutoDual, BelongsToTheAutomaticFlowUntilItIsTold)
{
    WriteIniInt("PROGRESS", "STEPINDEX", 4, ProgressFile());
    Make();
    Show();
    EXPECT_EQ(Progress("STEPINDEX"), "4") << "only that flow takes up a stored step";
}

TEST_F(AutoDual, TheToolBarIsAFramelessPartOfTheViewThatDeletesItself)
{
    Make();
    ASSERT_TRUE(ToolBar());
    EXPECT_EQ(ToolBar()->parentWidget(), View().viewport());
    EXPECT_TRUE(ToolBar()->testAttribute(Qt::WA_DeleteOnClose));
    EXPECT_FALSE(ToolBar()->testAttribute(Qt::WA_NoMousePropagation));
    EXPECT_EQ(ToolBar()->windowType(), Qt::SubWindow);
    EXPECT_TRUE(ToolBar()->windowFlags().testFlag(Qt::FramelessWindowHint));
}

TEST_F(AutoDual, TheLeftStepTellsWhereItIs)
{
    Open();
    for (const char* const pName : g_steps) {
        const bool bDone = std::find(std::begin(g_steps), std::end(g_steps), pName) - std::begin(g_steps) < 5;
        EXPECT_EQ(Enable(*m_pPage, pName), bDone ? "true" : "false") << pName;
    }
    EXPECT_EQ(Label("label_coorAlignment"), "Get Left Coords");
    EXPECT_EQ(Confirm().text(), "Next step");
    EXPECT_EQ(Instructions(),
              "Please zoom and pan the photo to locate the centre of each cross; be sure to add exactly "
              "6 coordinates in left - to - right order!");
    EXPECT_TRUE(Get<QPlainTextEdit>("plainTextEdit").isReadOnly());
    EXPECT_EQ(Tool("toolButton_Step2").text(), "Engraving pattern");
    EXPECT_EQ(Tool("toolButton_Step3").text(), "Add Left Coords");
    EXPECT_EQ(Tool("toolButton_Step4").text(), "Add Right Coords");
}

TEST_F(AutoDual, TheRightStepTellsWhereItIs)
{
    Open();
    FinishLeft();
    for (const char* const pName : g_steps) {
        const bool bDone = std::find(std::begin(g_steps), std::end(g_steps), pName) - std::begin(g_steps) < 7;
        EXPECT_EQ(Enable(*m_pPage, pName), bDone ? "true" : "false") << pName;
    }
    EXPECT_EQ(Label("label_coorAlignment"), "Get Right Coords");
    EXPECT_TRUE(Instructions().contains("exactly 6 coordinates"));
    EXPECT_TRUE(View().HasPendingCross()) << "adding is off until Add is pressed";
}

TEST_F(AutoDual, TheStepBarIsPolishedAnewWhereItChanges)
{
    const RecordingStyle::Installed style;
    Open();
    const std::size_t nLabel = style->NamedSteps("label_Step3").size();
    const std::size_t nButton = style->NamedSteps("toolButton_Step4").size();
    FinishLeft();
    const auto since = [&](const char* pName, std::size_t nBefore) {
        std::vector<std::string> steps = style->NamedSteps(pName);
        steps.erase(steps.begin(), steps.begin() + static_cast<long>(nBefore));
        return steps;
    };
    EXPECT_THAT(since("label_Step3", nLabel), ElementsAre("unpolish label_Step3", "polish label_Step3"));
    EXPECT_THAT(since("toolButton_Step4", nButton),
                ElementsAre("unpolish toolButton_Step4", "polish toolButton_Step4"));
}

TEST_F(AutoDual, TheRightStepBeginsWithAddingOff)
{
    Open();
    TakePicture();
    AddCrosses(CROSSES);
    View().SetAddEnabled(true);
    Click("pushButton_confirm");
    ASSERT_EQ(Progress("STEPINDEX"), "4");
    EXPECT_TRUE(View().HasPendingCross());
}

TEST_F(AutoDual, TheManualFlowHasItsOwnStepsAndMarksTheEmptyLabel)
{
    Make();
    Get<QLabel>("label_Step3").hide();
    Tool("toolButton_Step4").hide();
    m_pPage->SetCameraType(0);
    for (const char* const pName :
         {"toolButton_Step1", "label", "toolButton_Step2", "label_Step2", "toolButton_Step3"}) {
        EXPECT_EQ(Enable(*m_pPage, pName), "true") << pName;
    }
    EXPECT_EQ(Enable(*m_pPage, "label_Step3"), "false");
    EXPECT_EQ(Enable(*m_pPage, "toolButton_Step4"), "false");
    EXPECT_EQ(Enable(*m_pPage, "label_Step1"), "(none)") << "left alone, as label stands in its place";
    EXPECT_FALSE(Get<QLabel>("label_Step3").isHidden());
    EXPECT_FALSE(Tool("toolButton_Step4").isHidden());
    EXPECT_EQ(Tool("toolButton_Step1").text(), "Distortion Correction");
    EXPECT_EQ(Tool("toolButton_Step2").text(), "Select Working Area");
    EXPECT_EQ(Tool("toolButton_Step3").text(), "Wait for Engraving");
    EXPECT_EQ(Tool("toolButton_Step4").text(), "Add Coordinates");
}

TEST_F(AutoDual, ANewLanguageReachesTheWholePage)
{
    Open();
    TakePicture();
    AddCrosses(2);
    Doubles::The().wordings = {
        {"Photo", "Foto"},       {"Coordinate", "Koordinate"},        {"Get Left Coords", "Links"},
        {"Next step", "Weiter"}, {"Add Right Coords", "Rechts dazu"}, {"AdjustCalibratePicture", "Titel"}};
    QEvent event(QEvent::LanguageChange);
    QApplication::sendEvent(m_pPage.get(), &event);

    EXPECT_EQ(m_pPage->windowTitle(), "Titel");
    EXPECT_EQ(Button("pushButton_takePic").text(), "Foto");
    EXPECT_EQ(Label("label_coorAlignment"), "Links");
    EXPECT_EQ(Confirm().text(), "Weiter");
    EXPECT_EQ(Tool("toolButton_Step4").text(), "Rechts dazu");
    const QPoint last = View().GetLastCrossPos();
    EXPECT_EQ(Label("label_Coord"), QString("Koordinate: %1,%2").arg(last.x()).arg(last.y()));
    EXPECT_TRUE(Rows()[0].startsWith("Koordinate1: "));
    EXPECT_EQ(Rows().size(), 2);
}

TEST_F(AutoDual, ALanguageThatComesBeforeTheGridIsKnownOpensNothing)
{
    Make();
    m_pPage->SetCameraType(1);
    QEvent event(QEvent::LanguageChange);
    QApplication::sendEvent(m_pPage.get(), &event);
    EXPECT_FALSE(Confirm().isEnabled());
    EXPECT_TRUE(Tool("toolButton_Add").isEnabled());
}

TEST_F(AutoDual, ItsSignalsAndSlotsComeInTheOrderThatTheirUsersKnow)
{
    const QMetaObject& meta = AutoDualCalibrateWdg::staticMetaObject;
    EXPECT_EQ(Methods(meta, QMetaMethod::Signal),
              (QStringList{"AutoDualCalibrateWdgBtnBackSignal()", "AutoDualCalibrateWdgBtnNextSignal()",
                           "CloseWindowSignal()", "ExitWindowSignal()", "SendListPtSignal(QList<QPointF>)",
                           "SendFlagSizeSignal(QSizeF)", "ListCoordRowClickedSignal(int)",
                           "AddCrossFinishSignal(int,QPointF)"}));
    EXPECT_EQ(
        Methods(meta, QMetaMethod::Slot),
        (QStringList{
            "on_pushButton_confirm_clicked()", "on_pushButton_back_clicked()", "on_pushButton_cancel_clicked()",
            "on_pushButton_takePic_clicked()", "ListCoordItemClickedSlots(QListWidgetItem*)", "ClearSelectItemSlots()",
            "CoordinateToolBarAddSlots()", "CoordinateToolBarModifySlots()", "CoordinateToolBarDeleteSlots()",
            "AddCrossSlots(QPointF)", "on_pushButton_AddCoord_clicked()", "on_pushButton_RemoveCoord_clicked()",
            "on_listWidget_Coord_itemDoubleClicked(QListWidgetItem*)", "TimeOutSlot()", "CrossItemPressedSlots(int)"}));
}

// ---- Progress ----

TEST_F(AutoDual, ShowingReadsTheGridAndWritesTheStep)
{
    Open();
    EXPECT_EQ(Progress("STEPINDEX"), "3");
    EXPECT_EQ(Progress("CALIBSUCCESS"), "0");
    EXPECT_EQ(Progress("PROGRESS"), "3");
    EXPECT_EQ(Progress("Row"), "2") << "nothing else is touched";
}

TEST_F(AutoDual, ARunThatBrokeOffInTheRightStepGoesOnThere)
{
    WriteIniInt("PROGRESS", "STEPINDEX", 4, ProgressFile());
    WriteIniInt("PROGRESS", "CALIBSUCCESS", 1, ProgressFile());
    WriteIniInt("PROGRESS", "PROGRESS", 4, ProgressFile());
    Open();
    EXPECT_EQ(Label("label_coorAlignment"), "Get Right Coords");
    EXPECT_EQ(Progress("STEPINDEX"), "4");
    EXPECT_EQ(Progress("CALIBSUCCESS"), "1");
    EXPECT_EQ(Progress("PROGRESS"), "4");
    TakePicture();
    EXPECT_THAT(m_pCamera->Calls(), Contains("OpenCamera([1] Camera-Right)"));
}

TEST_F(AutoDual, AnUnheardOfStepIsTheLeftOne)
{
    for (const int nStep : {1, 0, 5, -7}) {
        WriteIniInt("PROGRESS", "STEPINDEX", nStep, ProgressFile());
        Open();
        EXPECT_EQ(Progress("STEPINDEX"), "3") << nStep;
        EXPECT_EQ(Label("label_coorAlignment"), "Get Left Coords") << nStep;
    }
}

TEST_F(AutoDual, ProgressOfZeroOrFiveIsNotReadFurther)
{
    for (const int nProgress : {0, 5}) {
        WriteIniInt("PROGRESS", "PROGRESS", nProgress, ProgressFile());
        WriteIniInt("PROGRESS", "STEPINDEX", 4, ProgressFile());
        Open();
        EXPECT_EQ(Progress("STEPINDEX"), "3") << nProgress;
        EXPECT_TRUE(Instructions().contains("exactly 0 coordinates")) << nProgress;
        EXPECT_FALSE(Confirm().isEnabled());
    }
}

TEST_F(AutoDual, OnlyTypeOneReadsProgress)
{
    WriteIniInt("PROGRESS", "STEPINDEX", 4, ProgressFile());
    Open(2);
    EXPECT_EQ(Progress("STEPINDEX"), "3");
}

TEST_F(AutoDual, AbsurdGridsDoNoHarm)
{
    const int nHuge = 2147483647;
    for (const int nSize : {nHuge, -nHuge, 0}) {
        WriteGrid(nSize, nSize, nSize, nSize);
        Open(1, {});
        TakePicture();
        emit View().AddCrossSignals({100, 100});
        EXPECT_FALSE(Confirm().isEnabled()) << nSize;
        Click("pushButton_takePic");
        EndCountdown(*m_pPage);
    }
}

TEST_F(AutoDual, MarksOfAnotherRunAreForgotten)
{
    Open();
    FinishLeft();
    TakePicture();
    AddCrosses(CROSSES);
    ASSERT_TRUE(Confirm().isEnabled());
    m_pPage->hide();

    QFile::remove(ProgressFile());
    WriteGrid(2, 5, 2, 3);
    WriteIniInt("PROGRESS", "PROGRESS", 3, ProgressFile());
    Show();

    EXPECT_EQ(Label("label_coorAlignment"), "Get Left Coords");
    EXPECT_EQ(List().count(), 0);
    EXPECT_FALSE(View().HasPicture());
    EXPECT_FALSE(Confirm().isEnabled());
    EXPECT_TRUE(Tool("toolButton_Add").isEnabled());
}

TEST_F(AutoDual, ComingBackToAStepKeepsItsMarks)
{
    Open();
    TakePicture();
    AddCrosses(CROSSES);
    m_pPage->hide();
    Show();
    EXPECT_EQ(List().count(), CROSSES);
    EXPECT_EQ(Crosses().size(), CROSSES);
    EXPECT_TRUE(Confirm().isEnabled());
}

// ---- Taking a picture ----

TEST_F(AutoDual, TheLeftPictureIsKeptAsItCameAndShownTurned)
{
    Open();
    Click("pushButton_takePic");

    EXPECT_TRUE(Doubles::The().Logged(0, "pushButton_takePic was clicked."));
    EXPECT_THAT(m_pCamera->Commands(),
                ElementsAre("OpenCamera([0] Camera-Left)", "ApplyCameraParameters([0] Camera-Left, 500)",
                            "SnapPicture([0] Camera-Left)", "CloseCamera([0] Camera-Left)"));
    const cv::Mat kept = cv::imread(Temp(LEFT_FILE).toStdString(), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(kept.size(), m_picture.size());
    EXPECT_EQ(cv::norm(kept, m_picture, cv::NORM_INF), 0.0);
    EXPECT_FALSE(QFile::exists(Temp(RIGHT_FILE)));
    ASSERT_TRUE(View().HasPicture());
    EXPECT_EQ(Shown().size(), QSize(WIDTH, HEIGHT));
    EXPECT_EQ(Shown().pixel(500 - 100, 400 - 60), qRgb(230, 240, 250));
    EXPECT_FALSE(Button("pushButton_takePic").isEnabled());
    EXPECT_TRUE(IsCounting(*m_pPage));
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(AutoDual, TheRightPictureIsShownAsItCame)
{
    Open();
    FinishLeft();
    TakePicture();
    EXPECT_THAT(m_pCamera->Calls(), Contains("SnapPicture([1] Camera-Right)"));
    EXPECT_EQ(cv::imread(Temp(RIGHT_FILE).toStdString()).size(), m_picture.size());
    EXPECT_EQ(Shown().pixel(100, 60), qRgb(230, 240, 250));
}

TEST_F(AutoDual, TheButtonCountsFromFiveAndReadsPhotoAtTheSixthTick)
{
    Open();
    Click("pushButton_takePic");
    QPushButton& button = Button("pushButton_takePic");
    for (const char* const pText : {"5", "4", "3", "2", "1"}) {
        Tick(*m_pPage);
        EXPECT_EQ(button.text(), pText);
        EXPECT_FALSE(button.isEnabled());
    }
    Tick(*m_pPage);
    EXPECT_EQ(button.text(), "Photo");
    EXPECT_TRUE(button.isEnabled());
    EXPECT_FALSE(IsCounting(*m_pPage));
}

TEST_F(AutoDual, TheTimerDrivesTheCountdown)
{
    Open();
    m_pPage->findChild<QTimer*>()->setInterval(1);
    Click("pushButton_takePic");
    EXPECT_TRUE(QTest::qWaitFor([this] { return !IsCounting(*m_pPage); }, 60000));
    EXPECT_TRUE(Button("pushButton_takePic").isEnabled());
}

TEST_F(AutoDual, TheCountdownIsSharedByAllPages)
{
    Open();
    Click("pushButton_takePic");
    Tick(*m_pPage, 2);
    AutoDualCalibrateWdg other;
    Tick(other);
    EXPECT_EQ(Child<QPushButton>(other, "pushButton_takePic").text(), "3");
}

TEST_F(AutoDual, WithoutAPictureTheButtonIsOpenAgain)
{
    Open();
    m_pCamera->Answer("SnapPicture", -1);
    Click("pushButton_takePic");
    EXPECT_EQ(m_answers.OnlyText(), "Failed to get photo,Please try again.");
    EXPECT_TRUE(Button("pushButton_takePic").isEnabled());
    EXPECT_FALSE(View().HasPicture());
    EXPECT_FALSE(IsCounting(*m_pPage));
    EXPECT_FALSE(QFile::exists(Temp(LEFT_FILE)));
}

TEST_F(AutoDual, WithoutACameraModuleOrNameThereIsSimplyNoPicture)
{
    m_module.GiveNull();
    m_pPage = std::make_unique<AutoDualCalibrateWdg>();
    m_pPage->SetCameraType(1);
    Show();
    Click("pushButton_takePic");
    EXPECT_TRUE(Button("pushButton_takePic").isEnabled());
    EXPECT_FALSE(View().HasPicture());
    // A module that gave nothing has nothing to give back; its record stays with the loader.
    m_pPage.reset();
    ReleaseAllModules();
}

TEST_F(AutoDual, ATempFolderThatCannotBeMadeLeavesTheButtonShut)
{
    Open();
    const QString strTemp = m_root.CameraTwo("Temp");
    m_root.WriteFile(strTemp, "a file in the way");
    Click("pushButton_takePic");
    EXPECT_TRUE(
        Doubles::The().Logged(3, "AutoDualCalibrateWdg::on_pushButton_takePic_clicked, Failed to create Temp folder"));
    EXPECT_FALSE(Button("pushButton_takePic").isEnabled());
    EXPECT_FALSE(View().HasPicture());
    EXPECT_FALSE(IsCounting(*m_pPage));
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(AutoDual, APictureThatCannotBeKeptIsNoPicture)
{
    Open();
    QDir().mkpath(Temp(LEFT_FILE) + "/a folder in the way");
    Click("pushButton_takePic");
    EXPECT_EQ(m_answers.OnlyText(), "Failed to get photo,Please try again.");
    EXPECT_THAT(Doubles::The().logLines,
                Contains(Pair(3, testing::HasSubstr("DualCamBeforeCalibrate_LeftTemp.bmp cannot be written"))));
    EXPECT_TRUE(Button("pushButton_takePic").isEnabled());
    EXPECT_FALSE(View().HasPicture());
}

TEST_F(AutoDual, APictureTakenAgainKeepsTheMarks)
{
    Open();
    TakePicture();
    AddCrosses(3);
    TakePicture();
    EXPECT_EQ(Ids(), (QList<int>{1, 2, 3}));
    EXPECT_EQ(Crosses().size(), 3);
}

TEST_F(AutoDual, GreyPicturesAreTakenToo)
{
    Open();
    m_pCamera->SetPicture(cv::Mat(40, 60, CV_8UC1, cv::Scalar(77)));
    TakePicture();
    EXPECT_EQ(Shown().size(), QSize(60, 40));
    EXPECT_EQ(qRed(Shown().pixel(30, 20)), 77);
}

TEST_F(AutoDual, TheManualFlowShowsTheRectifiedPicture)
{
    Open(0);
    for (const char* const pFile : {"Output/cameraL_calibrateMap.xml", "Output/cameraR_calibrateMap.xml"}) {
        m_root.WriteFile(m_root.CameraTwo(pFile), "a map");
    }
    TakePicture();
    EXPECT_EQ(Doubles::The().Count("UnDistortedImage"), 2);
    EXPECT_TRUE(View().HasPicture());
    EXPECT_THAT(Doubles::The().journal, Contains("LoadCameraParameters(Output/cameraL_calibrateMap.xml)"));
}

TEST_F(AutoDual, TheManualFlowWithoutMapsHasNoPicture)
{
    Open(0);
    Click("pushButton_takePic");
    EXPECT_TRUE(Doubles::The().Logged(
        1, "AutoDualCalibrateWdg::on_pushButton_takePic_clicked, AutoDualCalibrateWdg RectifyPic Fail!"));
    EXPECT_TRUE(Button("pushButton_takePic").isEnabled());
    EXPECT_FALSE(View().HasPicture());
}

TEST_F(AutoDual, TheManualFlowOnAnAutomaticMachineGetsAnEmptyPicture)
{
    WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION", 1, Result("LeftCameraParam.ini"));
    Open(0);
    Click("pushButton_takePic");
    EXPECT_TRUE(Doubles::The().Logged(
        1, "AutoDualCalibrateWdg::on_pushButton_takePic_clicked, AutoDualCalibrateWdg matImgRectify Empty!"));
    EXPECT_TRUE(Button("pushButton_takePic").isEnabled());
}

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

// ---- Showing ----

TEST_F(AutoDual, ADoubleClickOnARowGoesThereAndShowsItsHint)
{
    g_calibGlobalParam.strCalibResourcePath = m_root.Folder() + "/resources";
    const QString strHint = g_calibGlobalParam.strCalibResourcePath + "/Camera_Two/AdjustHandEye_HintImages/2.svg";
    QDir().mkpath(QFileInfo(strHint).path());
    // Told by what it holds, not by its name.
    ASSERT_TRUE(QImage(20, 10, QImage::Format_RGB32).save(strHint, "PNG"));
    Open();
    TakePicture();
    emit View().AddCrossSignals({50, 60});
    emit View().AddCrossSignals({330, 260});
    View().scale(4, 4);
    ClickRow(1, true);

    EXPECT_TRUE(Doubles::The().Logged(0, "listWidget_Coord item was double clicked."));
    const QPointF centre = View().mapToScene(View().viewport()->rect().center());
    EXPECT_NEAR(centre.x(), 330, 1.5);
    EXPECT_NEAR(centre.y(), 260, 1.5);
    QGraphicsPixmapItem* pHint = nullptr;
    for (QGraphicsItem* const pItem : View().scene()->items()) {
        auto* const pPixmap = dynamic_cast<QGraphicsPixmapItem*>(pItem);
        if (pPixmap && pPixmap->pixmap().size() == QSize(20, 10)) {
            pHint = pPixmap;
        }
    }
    ASSERT_TRUE(pHint);
    EXPECT_EQ(pHint->pos(), QPointF(335, 245));
}

TEST_F(AutoDual, ARowWithAFractionGoesToZeroInThatAxis)
{
    Open();
    TakePicture();
    emit View().AddCrossSignals({330.5, 260});
    EXPECT_EQ(Rows()[0], "Coordinate1: 330.5,260");
    View().scale(8, 8);
    ClickRow(0, true);
    const QRectF seen = View().mapToScene(View().viewport()->rect()).boundingRect();
    EXPECT_LT(seen.left(), 1.0);
    EXPECT_LT(seen.right(), 330.0);
    EXPECT_NEAR(seen.center().y(), 260, 1.5);
}

TEST_F(AutoDual, RowsWithoutNumbersAreLeftAlone)
{
    Open();
    TakePicture();
    AddCrosses(1);
    const QPointF before = View().mapToScene(View().viewport()->rect().center());
    for (const char* const pText : {"", "nothing to read"}) {
        List().item(0)->setText(pText);
        emit List().itemDoubleClicked(List().item(0));
        EXPECT_EQ(View().mapToScene(View().viewport()->rect().center()), before);
    }
    List().item(0)->setText("half:7");
    emit List().itemDoubleClicked(List().item(0));
}

TEST_F(AutoDual, TheNumbersOfARowHaveSixDigits)
{
    Open();
    TakePicture();
    emit View().AddCrossSignals({123.456789, 0.125});
    EXPECT_EQ(Rows()[0], "Coordinate1: 123.457,0.125");
}

TEST_F(AutoDual, TheLabelFollowsTheNewestCrossNotTheMouse)
{
    Open();
    TakePicture();
    MoveMouse();
    EXPECT_EQ(Label("label_Coord"), "Coordinate: 0,0");
    emit View().AddCrossSignals({50, 60});
    emit View().AddCrossSignals({70, 80});
    MoveMouse();
    EXPECT_EQ(Label("label_Coord"), "Coordinate: 70,80");
}

TEST_F(AutoDual, TheToolBarLiesAtTheBottomMiddleOfTheViewAndFollowsItsSize)
{
    Open();
    const auto expected = [this] {
        QWidget* const pViewport = View().viewport();
        QPointF scene = View().mapToScene(pViewport->rect().center());
        scene.ry() += pViewport->height() / 2;
        return pViewport->mapToParent(View().mapFromScene(scene) +
                                      QPoint(-ToolBar()->width() / 2, -5 - ToolBar()->height()));
    };
    EXPECT_TRUE(ToolBar()->isVisible());
    EXPECT_EQ(ToolBar()->pos(), expected());
    const QPoint before = ToolBar()->pos();
    m_pPage->resize(1200, 900);
    QCoreApplication::processEvents();
    EXPECT_EQ(ToolBar()->pos(), expected());
    EXPECT_NE(ToolBar()->pos(), before);
    EXPECT_TRUE(View().viewport()->rect().contains(ToolBar()->geometry()));
}

TEST_F(AutoDual, TheToolBarStaysWhenThePictureIsZoomedAndPanned)
{
    Open();
    TakePicture();
    const QPoint before = ToolBar()->pos();
    View().scale(4, 4);
    for (const QPointF place : {QPointF(0, 0), QPointF(WIDTH, HEIGHT), QPointF(200, 100)}) {
        View().centerOn(place);
        QCoreApplication::processEvents();
        EXPECT_EQ(ToolBar()->pos(), before);
    }
}

TEST_F(AutoDual, TheHintHowToTakeAPictureIsThereUntilOneIs)
{
    const auto hint = [this] {
        for (QGraphicsItem* const pItem : View().scene()->items()) {
            if (const auto* const pText = dynamic_cast<QGraphicsTextItem*>(pItem)) {
                return pText->toPlainText();
            }
        }
        return QString();
    };
    Open();
    EXPECT_EQ(hint(), "Click <Photo> to capture photo");
    FinishLeft();
    EXPECT_EQ(hint(), "Click <Photo> to capture photo");
    TakePicture();
    AddCrosses(1);
    EXPECT_EQ(hint(), "");
}

TEST_F(AutoDual, ThePageSurvivesAToolBarThatIsClosed)
{
    Open();
    TakePicture();
    AddCrosses(2);
    ToolBar()->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ASSERT_FALSE(ToolBar());

    View().SetAddEnabled(true);
    DoubleClick({300, 300});
    EXPECT_EQ(List().count(), 3);
    m_pPage->resize(1000, 700);
    m_pPage->move(5, 5);
    QEvent event(QEvent::LanguageChange);
    QApplication::sendEvent(m_pPage.get(), &event);
    ClickRow(0);
    for (const char* const pSlot :
         {"CoordinateToolBarAddSlots", "CoordinateToolBarModifySlots", "CoordinateToolBarDeleteSlots"}) {
        QMetaObject::invokeMethod(m_pPage.get(), pSlot, Qt::DirectConnection);
    }
    m_pPage->hide();
    Show();
    ASSERT_TRUE(ToolBar()) << "it is back with the next showing";
    Add({320, 330});
    EXPECT_THAT(Ids(), Not(IsEmpty()));
}

TEST_F(AutoDual, ButtonsAreAsWideAsTheirTexts)
{
    Doubles::The().wordings = {{"Next step", "A very long text of a very talkative language indeed"}};
    Open();
    EXPECT_GE(Confirm().minimumWidth(), Confirm().fontMetrics().horizontalAdvance(Confirm().text()));
}

// ---- Confirming ----

TEST_F(AutoDual, TheLeftCameraIsCalibratedFromItsRawPixels)
{
    Open();
    TakePicture();
    const QList<QPointF> places = AddCrosses(CROSSES);
    Doubles::The().journal.clear();
    Click("pushButton_confirm");

    EXPECT_THAT(Doubles::The().journal,
                ElementsAre("LeftPtsRearrange(1,2,3,4,5,6, 2x5)", std::string("Read_Image(") + LEFT_FILE + ")",
                            "ConvertRGBToGray(24)", "SingleCamCalibration(501x401 8 to 1002x802)",
                            "SaveCalibrationParam(Result/L_AutoDualCalibrate.xml record 29)"));
    const std::vector<CalibrationPoint>& points = Doubles::The().calibrated;
    ASSERT_EQ(points.size(), static_cast<std::size_t>(CROSSES));
    for (int i = 0; i < CROSSES; ++i) {
        const CalibrationPoint& point = points[static_cast<std::size_t>(i)];
        const QPointF& last = places[CROSSES - 1 - i];
        EXPECT_EQ(point.nId, i + 1) << "ids stay where they are";
        EXPECT_EQ(point.fImageX, static_cast<float>(500 - last.x())) << "the first has the last one's place";
        EXPECT_EQ(point.fImageY, static_cast<float>(400 - last.y()));
        EXPECT_EQ(point.fWorldX, static_cast<float>(100 + 50 * (i % 5))) << "cut to whole millimetres";
        EXPECT_EQ(point.fWorldY, static_cast<float>(200 + 40 * (i / 5)));
        EXPECT_EQ(point.fWorldZ, 0.0f);
    }
    EXPECT_EQ(Doubles::The().calibratedGrey, std::vector<unsigned char>(WIDTH * HEIGHT, 99));
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting success!");
    EXPECT_EQ(m_answers.Notices()[0].strTitle, "Tips");
}

TEST_F(AutoDual, WhatACameraYieldsIsStored)
{
    Open();
    FinishLeft();
    const QString strSettings = Result("LeftCameraParam.ini");
    EXPECT_EQ(Param(strSettings, "AUTO_CALIBRATION_OUTPUT_WIDTH"), "1002");
    EXPECT_EQ(Param(strSettings, "AUTO_CALIBRATION_OUTPUT_HEIGHT"), "802");
    EXPECT_EQ(Param(strSettings, "CAMERA_TYPE"), "1");
    EXPECT_EQ(Param(strSettings, "AUTO_CALIBRATION"), "1");
    EXPECT_FALSE(QFile::exists(Result("RightCameraParam.ini")));
    const QString strDevices = m_root.Root() + "/Vision/calib/cameraDevices.ini";
    EXPECT_EQ(ReadIniString("VISION", "CAMERA_LEFT_NAME", "", strDevices), "Camera-Left");
    EXPECT_EQ(ReadIniString("VISION", "CAMERA_RIGHT_NAME", "", strDevices), "Camera-Right");
    QFile points(Result("LeftCalPts.txt"));
    ASSERT_TRUE(points.open(QIODevice::ReadOnly | QIODevice::Text));
    const QList<QByteArray> lines = points.readAll().trimmed().split('\n');
    ASSERT_EQ(lines.size(), CROSSES);
    EXPECT_EQ(lines[0].split(' ').size(), 12);
    EXPECT_TRUE(lines[0].startsWith("1 0 0 100 200 0 "));
}

TEST_F(AutoDual, PointsAreWrittenAsTheyWereBeforeTheCalibration)
{
    Doubles::The().rearrange = [](std::vector<CalibrationPoint>& points) {
        std::reverse(points.begin(), points.end());
    };
    Doubles::The().answers["SingleCamCalibration"] = false;
    Open();
    TakePicture();
    AddCrosses(CROSSES);
    Click("pushButton_confirm");
    QFile points(Result("LeftCalPts.txt"));
    ASSERT_TRUE(points.open(QIODevice::ReadOnly | QIODevice::Text));
    EXPECT_TRUE(points.readAll().startsWith("6 1 1 ")) << "in the rearranged order";
    EXPECT_THAT(IdsOf(Doubles::The().calibrated), ElementsAre(6, 5, 4, 3, 2, 1));
}

TEST_F(AutoDual, TheColumnNoLongerIsWhatItWasAtCreation)
{
    WriteGrid(3, 5, 2, 3);
    Open();
    FinishLeft();
    std::vector<int> cols;
    for (const CalibrationPoint& point : Doubles::The().calibrated) {
        cols.push_back(point.nCol);
    }
    EXPECT_THAT(cols, ElementsAre(0, 1, 2, 0, 1, 2)) << "the place in the list modulo the grid's rows";
    EXPECT_EQ(Doubles::The().calibrated[2].nRow, 0);
}

TEST_F(AutoDual, AfterTheLeftCameraTheRightOneBeginsEmpty)
{
    Open();
    FinishLeft();
    EXPECT_EQ(List().count(), 0);
    EXPECT_TRUE(Crosses().isEmpty());
    EXPECT_FALSE(View().HasPicture());
    EXPECT_FALSE(Confirm().isEnabled());
    EXPECT_TRUE(Tool("toolButton_Add").isEnabled());
    EXPECT_EQ(Progress("STEPINDEX"), "4");
    EXPECT_EQ(Progress("PROGRESS"), "4");
    EXPECT_EQ(Progress("CALIBSUCCESS"), "0");
}

TEST_F(AutoDual, TheRightCameraEndsThePage)
{
    Open();
    QSignalSpy next(m_pPage.get(), &AutoDualCalibrateWdg::AutoDualCalibrateWdgBtnNextSignal);
    FinishLeft();
    EXPECT_EQ(next.size(), 0);
    TakePicture();
    const QList<QPointF> places = AddCrosses(CROSSES);
    Doubles::The().journal.clear();
    Click("pushButton_confirm");

    EXPECT_THAT(Doubles::The().journal,
                ElementsAre("RightPtsRearrange(1,2,3,4,5,6, 2x5)", std::string("Read_Image(") + RIGHT_FILE + ")",
                            "ConvertRGBToGray(24)", "SingleCamCalibration(501x401 8 to 1002x802)",
                            "SaveCalibrationParam(Result/R_AutoDualCalibrate.xml record 29)"));
    const std::vector<CalibrationPoint>& points = Doubles::The().calibrated;
    ASSERT_EQ(points.size(), static_cast<std::size_t>(CROSSES));
    for (int i = 0; i < CROSSES; ++i) {
        const CalibrationPoint& point = points[static_cast<std::size_t>(i)];
        EXPECT_EQ(point.fImageX, static_cast<float>(places[i].x())) << "no turn";
        EXPECT_EQ(point.fImageY, static_cast<float>(places[i].y()));
        EXPECT_EQ(point.fWorldX, static_cast<float>(100 + 50 * (i % 5)));
        EXPECT_EQ(point.fWorldY, static_cast<float>(200 + 40 * (i / 5)));
    }
    EXPECT_TRUE(QFile::exists(Result("RightCalPts.txt")));
    EXPECT_EQ(Param(Result("RightCameraParam.ini"), "AUTO_CALIBRATION"), "1");
    EXPECT_EQ(next.size(), 1);
    EXPECT_EQ(Progress("CALIBSUCCESS"), "1");
    EXPECT_EQ(Progress("STEPINDEX"), "4");
    EXPECT_EQ(List().count(), CROSSES) << "for whoever comes back";
}

TEST_F(AutoDual, GreyPicturesAreCopiedAsTheyAre)
{
    Open();
    cv::Mat grey(HEIGHT, WIDTH, CV_8UC1);
    cv::randu(grey, 0, 255);
    m_pCamera->SetPicture(grey);
    Doubles::The().nReadBits = 8;
    TakePicture();
    AddCrosses(CROSSES);
    Click("pushButton_confirm");
    EXPECT_EQ(Doubles::The().Count("ConvertRGBToGray"), 0);
    EXPECT_TRUE(std::equal(grey.begin<uchar>(), grey.end<uchar>(), Doubles::The().calibratedGrey.begin()));
}

TEST_F(AutoDual, AConfirmWithoutMarksInTheLeftStepSaysNothingButTwoLines)
{
    Open();
    FinishLeft();
    TakePicture();
    AddCrosses(CROSSES);
    Click("pushButton_back");
    ASSERT_TRUE(Confirm().isEnabled()) << "going back leaves it as it was";
    const std::size_t nNotices = m_answers.Notices().size();
    Doubles::The().logLines.clear();
    Doubles::The().journal.clear();
    Click("pushButton_confirm");
    EXPECT_EQ(Doubles::The().logLines,
              (LogLines{{0, "pushButton_confirm was clicked."},
                        {3, "AutoDualCalibrateWdg::RotatePoints: Wrong number of coordinates!"},
                        {3, "AutoDualCalibrateWdg::CalibrateCamera: Wrong number of coordinates!"}}));
    EXPECT_EQ(m_answers.Notices().size(), nNotices);
    EXPECT_THAT(Doubles::The().journal, IsEmpty());
    EXPECT_EQ(Progress("STEPINDEX"), "3");
}

TEST_F(AutoDual, APictureThatCannotBeReadIsSilent)
{
    Open();
    TakePicture();
    AddCrosses(CROSSES);
    Doubles::The().answers["Read_Image"] = false;
    Click("pushButton_confirm");
    EXPECT_TRUE(Doubles::The().Logged(3, "AutoDualCalibrateWdg::CalibrateCamera Read image failed !"));
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_EQ(Doubles::The().Count("SingleCamCalibration"), 0);
    EXPECT_EQ(Progress("STEPINDEX"), "3");
    EXPECT_EQ(List().count(), CROSSES);
}

TEST_F(AutoDual, AFailedCalibrationSaysSoAndKeepsEverythingForAnotherTry)
{
    Open();
    TakePicture();
    AddCrosses(CROSSES);
    Doubles::The().answers["SingleCamCalibration"] = false;
    Click("pushButton_confirm");
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting fail!");
    EXPECT_EQ(m_answers.Notices()[0].strTitle, "Tips");
    EXPECT_EQ(Progress("STEPINDEX"), "3");
    EXPECT_EQ(List().count(), CROSSES);
    EXPECT_TRUE(View().HasPicture());
    EXPECT_FALSE(QFile::exists(Result("LeftCameraParam.ini")));
    EXPECT_EQ(Doubles::The().Count("SaveCalibrationParam"), 0);

    Doubles::The().answers.clear();
    Click("pushButton_confirm");
    EXPECT_EQ(m_answers.Notices().back().strText, "Adjusting success!");
    EXPECT_EQ(Progress("STEPINDEX"), "4");
}

TEST_F(AutoDual, AResidualAboveTenWarnsAndLetsTheFlowGoOn)
{
    Doubles::The().dResidual = 10.000001;
    Open();
    FinishLeft();
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting fail!");
    EXPECT_EQ(Param(Result("LeftCameraParam.ini"), "AUTO_CALIBRATION"), "1");
    EXPECT_EQ(Doubles::The().Count("SaveCalibrationParam"), 1);
}

TEST_F(AutoDual, AResidualOfExactlyTenIsASuccess)
{
    Doubles::The().dResidual = 10.0;
    Open();
    FinishLeft();
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting success!");
}

TEST_F(AutoDual, AModuleThatThrowsIsAFailedCalibration)
{
    Open();
    TakePicture();
    AddCrosses(CROSSES);
    Doubles::The().throwFrom["SingleCamCalibration"] = "out of order";
    Click("pushButton_confirm");
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting fail!");
    EXPECT_EQ(Progress("STEPINDEX"), "3");
}

TEST_F(AutoDual, WithoutWorldPointsTheNoticeComesAndTheCalibrationRunsAllTheSame)
{
    Open(1, {});
    TakePicture();
    AddCrosses(CROSSES);
    Click("pushButton_confirm");
    ASSERT_EQ(m_answers.Notices().size(), 2u);
    EXPECT_EQ(m_answers.Notices()[0].strText, "Coordinate count does not match actual count! Please verify again.");
    EXPECT_EQ(m_answers.Notices()[0].strTitle, "Warning");
    EXPECT_EQ(m_answers.Notices()[1].strText, "Adjusting success!");
    ASSERT_EQ(Doubles::The().calibrated.size(), static_cast<std::size_t>(CROSSES));
    for (const CalibrationPoint& point : Doubles::The().calibrated) {
        EXPECT_EQ(point.fWorldX, 0.0f) << "as it was";
        EXPECT_EQ(point.fWorldY, 0.0f);
    }
}

TEST_F(AutoDual, WithoutWorldPointsThoseOfTheProgressFileAreTaken)
{
    for (int i = 0; i < 10; ++i) {
        WriteIniDouble("PROGRESS", QString("X%1").arg(i), 7.75 + i, ProgressFile());
        WriteIniDouble("PROGRESS", QString("Y%1").arg(i), -3.75, ProgressFile());
    }
    Open(1, {});
    FinishLeft();
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting success!");
    EXPECT_EQ(Doubles::The().calibrated[0].fWorldX, 7.0f);
    EXPECT_EQ(Doubles::The().calibrated[0].fWorldY, -3.0f) << "cut toward zero";
    EXPECT_EQ(Doubles::The().calibrated[5].fWorldX, 12.0f);
}

TEST_F(AutoDual, AnIdBeyondTheListIsTakenFromTheProgressFile)
{
    // What a resumed run gives: only as many points as one camera sees.
    for (int i = 0; i < 10; ++i) {
        WriteIniDouble("PROGRESS", QString("X%1").arg(i), 1000.0 + i, ProgressFile());
        WriteIniDouble("PROGRESS", QString("Y%1").arg(i), 5.0, ProgressFile());
    }
    Doubles::The().rearrange = [](std::vector<CalibrationPoint>& points) {
        for (std::size_t i = 0; i < points.size(); ++i) {
            points[i].nId = static_cast<int>(i) + 5;
        }
    };
    Open(1, World(6));
    FinishLeft();
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting success!");
    EXPECT_EQ(Doubles::The().calibrated[1].fWorldX, 100.0f) << "id 6, the last of the list";
    EXPECT_EQ(Doubles::The().calibrated[2].fWorldX, 1006.0f) << "id 7";
    EXPECT_EQ(Doubles::The().calibrated[5].fWorldX, 1009.0f);
}

TEST_F(AutoDual, AnIdThatNothingKnowsLeavesItsPointAndTellsTheOperatorOnce)
{
    Doubles::The().rearrange = [](std::vector<CalibrationPoint>& points) {
        points[2].nId = 99;
        points[3].nId = 0;
        points[4].nId = -2147483647 - 1;
    };
    Open();
    TakePicture();
    AddCrosses(CROSSES);
    Click("pushButton_confirm");
    ASSERT_EQ(m_answers.Notices().size(), 2u);
    EXPECT_EQ(m_answers.Notices()[0].strText, "Coordinate count does not match actual count! Please verify again.");
    EXPECT_EQ(Doubles::The().calibrated[2].fWorldX, 0.0f);
    EXPECT_EQ(Doubles::The().calibrated[5].fWorldX, 100.0f);
}

TEST_F(AutoDual, APointFileThatCannotBeOpenedIsOnlyLogged)
{
    QDir().mkpath(Result("LeftCalPts.txt"));
    Open();
    FinishLeft();
    EXPECT_TRUE(Doubles::The().Logged(3, "AutoDualCalibrateWdg::SaveCalPtsSeqFile:Failed to open the file!"));
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting success!");
}

TEST_F(AutoDual, ARecordThatCannotBeSavedDoesNotLeaveTheOldOne)
{
    m_root.WriteFile(Result("L_AutoDualCalibrate.xml"), "of an earlier run");
    Doubles::The().answers["SaveCalibrationParam"] = false;
    Open();
    FinishLeft();
    EXPECT_FALSE(QFile::exists(Result("L_AutoDualCalibrate.xml")));
    EXPECT_THAT(Doubles::The().logLines,
                Contains(Pair(3, testing::HasSubstr("L_AutoDualCalibrate.xml cannot be written"))));
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting success!") << "the answer is not looked at";
}

TEST_F(AutoDual, TheManualFlowReplacesTheResultsByThoseOfItsRun)
{
    Open(0);
    for (const char* const pFile : {"Output/cameraL_calibrateMap.xml", "Output/cameraR_calibrateMap.xml",
                                    "Output/images/1.png", "Output/deep/er/file.txt"}) {
        m_root.WriteFile(m_root.CameraTwo(pFile), "new");
    }
    m_root.WriteFile(Result("old.xml"), "old");
    TakePicture();
    for (int i = 0; i < 9; ++i) {
        emit View().AddCrossSignals({10.0 + 30 * i, 10.0});
    }
    Click("pushButton_confirm");

    EXPECT_FALSE(QFile::exists(Result("old.xml")));
    EXPECT_TRUE(QFile::exists(Result("cameraL_calibrateMap.xml")));
    EXPECT_TRUE(QFile::exists(Result("deep/er/file.txt")));
    EXPECT_FALSE(QDir(Result("images")).exists());
    EXPECT_FALSE(QDir(m_root.CameraTwo("Output/images")).exists());
    EXPECT_EQ(Param(Result("LeftCameraParam.ini"), "AUTO_CALIBRATION"), "0");
}

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
