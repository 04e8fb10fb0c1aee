#include "StitchingWdg.h"

#include "PageFixture.h"
#include "PointFiles.h"
#include "RecordingStyle.h"

#include <opencv2/imgcodecs.hpp>

#include <QDir>
#include <QFile>
#include <QGraphicsPixmapItem>
#include <QGraphicsTextItem>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QToolButton>

#include <memory>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

constexpr const char* LEFT_FILE = "DualCamBeforeCalibrate_LeftTemp.bmp";
constexpr const char* RIGHT_FILE = "DualCamBeforeCalibrate_RightTemp.bmp";

const char* const g_steps[] = {"toolButton_Step1", "label_Step1",      "toolButton_Step2",
                               "label_Step2",      "toolButton_Step3", "label_Step3",
                               "toolButton_Step4", "label_Step4",      "toolButton_Step5"};

class Stitching : public PageFixture
{
protected:
    void TearDown() override
    {
        if (m_pPage) {
            EndCountdown(*m_pPage);
        }
        m_pPage.reset();
        PageFixture::TearDown();
    }

    void Open(int nType = 1)
    {
        m_pPage = std::make_unique<StitchingWdg>();
        m_pPage->SetCameraType(nType);
        m_pPage->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_pPage.get()));
    }

    /// What the page before this one leaves.
    void WriteFiles()
    {
        WritePicture(LEFT_FILE, cv::Mat(4, 6, CV_8UC3, cv::Scalar::all(11)));
        WritePicture(RIGHT_FILE, cv::Mat(5, 7, CV_8UC3, cv::Scalar::all(22)));
        std::vector<CalibrationPoint> points(2);
        points[0].nId = 1;
        points[1].nId = 2;
        ASSERT_TRUE(WritePointFile(Result("LeftCalPts.txt"), points, "test"));
        points.resize(1);
        ASSERT_TRUE(WritePointFile(Result("RightCalPts.txt"), points, "test"));
    }
    void WritePicture(const char* pFile, const cv::Mat& picture) const
    {
        ASSERT_TRUE(cv::imwrite(Temp(pFile).toStdString(), picture));
    }

    template <typename Widget> Widget& Get(const char* pName) { return Child<Widget>(*m_pPage, pName); }
    QPushButton& Button(const char* pName) { return Get<QPushButton>(pName); }
    DualGraphicsView& View() { return Get<DualGraphicsView>("graphicsView"); }
    void Click(const char* pName)
    {
        ASSERT_TRUE(Button(pName).isEnabled()) << pName << " cannot be pressed";
        QTest::mouseClick(&Button(pName), Qt::LeftButton);
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
    QString StitchParam(const QString& strKey) const { return Param(Result("AutoDualCalibrate_stitch.xml"), strKey); }

    std::unique_ptr<StitchingWdg> m_pPage;
};

} // namespace

// ---- Start and wordings ----

TEST_F(Stitching, StartsWithAHintAndNothingToConfirm)
{
    Open();
    EXPECT_FALSE(Button("pushButton_confirm").isEnabled());
    EXPECT_EQ(Get<QLabel>("label_Stitch").text(), "Stitch");
    EXPECT_EQ(Get<QPlainTextEdit>("plainTextEdit").toPlainText(),
              "Click the [Stitch] button to automatically align the left and right camera images. After stitching, "
              "click [OK] to finalize the dual-camera calibration.");
    EXPECT_EQ(Button("pushButton_Stitch").text(), "Stitch");
    EXPECT_EQ(Button("pushButton_back").text(), "Previous step");
    EXPECT_EQ(Button("pushButton_confirm").text(), "Ok");
    EXPECT_EQ(Button("pushButton_cancel").text(), "Cancel");
    EXPECT_EQ(m_pPage->findChild<QTimer*>()->interval(), 1000);
    bool bHint = false;
    for (QGraphicsItem* const pItem : View().scene()->items()) {
        const auto* const pText = dynamic_cast<QGraphicsTextItem*>(pItem);
        bHint = bHint || (pText && pText->toPlainText() == "Click <Stitch> to capture photo");
    }
    EXPECT_TRUE(bHint);
    EXPECT_EQ(m_module.HandedOut(), 1);
}

TEST_F(Stitching, HasItsFormsTree)
{
    Open();
    EXPECT_EQ(m_pPage->objectName(), "StitchingWdg");
    ExpectTree(*m_pPage,
               {{"StitchingWdg", {"widget", "widget_buttom"}},
                {"widget", {"widget_view", "widget_right"}},
                {"widget_view", {"graphicsView"}},
                {"widget_right", {"widget_3"}},
                {"widget_3", {"label_Stitch", "plainTextEdit", "pushButton_Stitch"}},
                {"widget_buttom", BOTTOM_ROW}},
               {"verticalLayout", "horizontalLayout_5", "verticalLayout_5", "verticalLayout_3", "verticalLayout_2",
                "horizontalLayout_4", "verticalLayout_4", "horizontalLayout_2", "horizontalLayout",
                "horizontalLayout_8"});
}

TEST_F(Stitching, TheAutomaticFlowHasAllStepsDone)
{
    Open();
    for (const char* const pName : g_steps) {
        EXPECT_EQ(Enable(*m_pPage, pName), "true") << pName;
    }
    EXPECT_EQ(Get<QToolButton>("toolButton_Step1").text(), "Select work area");
    EXPECT_EQ(Get<QToolButton>("toolButton_Step2").text(), "Engraving pattern");
    EXPECT_EQ(Get<QToolButton>("toolButton_Step3").text(), "Add Left Coords");
    EXPECT_EQ(Get<QToolButton>("toolButton_Step4").text(), "Add Right Coords");
    EXPECT_EQ(Get<QToolButton>("toolButton_Step5").text(), "Stitch");
    EXPECT_EQ(StitchParam("CAMERA_TYPE"), "1");
    EXPECT_EQ(StitchParam("AUTO_CALIBRATION"), "1");
}

TEST_F(Stitching, TheStepBarIsPolishedAnew)
{
    const RecordingStyle::Installed style;
    Open();
    const std::size_t nButtons = style->NamedSteps("toolButton_Step").size();
    m_pPage->SetCameraType(1);
    EXPECT_EQ(style->NamedSteps("toolButton_Step").size() - nButtons, 10u);
}

TEST_F(Stitching, AnyTypeButZeroIsAutomatic)
{
    Open(7);
    EXPECT_EQ(StitchParam("CAMERA_TYPE"), "7");
    EXPECT_EQ(StitchParam("AUTO_CALIBRATION"), "1");
}

TEST_F(Stitching, TheManualFlowHasItsOwnStepsAndLeavesTheFirstLabelAlone)
{
    m_pPage = std::make_unique<StitchingWdg>();
    Get<QLabel>("label_Step3").hide();
    Get<QToolButton>("toolButton_Step4").hide();
    m_pPage->SetCameraType(0);
    for (const char* const pName : {"toolButton_Step1", "toolButton_Step2", "label_Step2", "toolButton_Step3"}) {
        EXPECT_EQ(Enable(*m_pPage, pName), "true") << pName;
    }
    EXPECT_EQ(Enable(*m_pPage, "label_Step1"), "(none)");
    EXPECT_EQ(Enable(*m_pPage, "label_Step3"), "false");
    EXPECT_EQ(Enable(*m_pPage, "toolButton_Step4"), "false");
    EXPECT_FALSE(Get<QLabel>("label_Step3").isHidden());
    EXPECT_FALSE(Get<QToolButton>("toolButton_Step4").isHidden());
    EXPECT_EQ(Get<QToolButton>("toolButton_Step1").text(), "Distortion Correction");
    EXPECT_EQ(Get<QToolButton>("toolButton_Step2").text(), "Select Working Area");
    EXPECT_EQ(Get<QToolButton>("toolButton_Step3").text(), "Wait for Engraving");
    EXPECT_EQ(Get<QToolButton>("toolButton_Step4").text(), "Add Coordinates");
    EXPECT_EQ(StitchParam("CAMERA_TYPE"), "0");
    EXPECT_EQ(StitchParam("AUTO_CALIBRATION"), "0");
}

TEST_F(Stitching, ANewLanguageReachesThePage)
{
    Open();
    Doubles::The().wordings = {{"Stitch", "Zusammenfügen"}, {"Ok", "Fertig"}, {"Engraving pattern", "Gravieren"}};
    QEvent event(QEvent::LanguageChange);
    QApplication::sendEvent(m_pPage.get(), &event);
    EXPECT_EQ(Button("pushButton_Stitch").text(), "Zusammenfügen");
    EXPECT_EQ(Button("pushButton_confirm").text(), "Fertig");
    EXPECT_EQ(Get<QToolButton>("toolButton_Step2").text(), "Gravieren");
}

TEST_F(Stitching, ItsSignalsAndSlotsComeInTheOrderThatTheirUsersKnow)
{
    const QMetaObject& meta = StitchingWdg::staticMetaObject;
    EXPECT_EQ(Methods(meta, QMetaMethod::Signal),
              (QStringList{"AutoDualCalibrateWdgBtnBackSignal()", "CloseWindowSignal()", "backWdgSignal()",
                           "ExitWindowSignal()"}));
    EXPECT_EQ(Methods(meta, QMetaMethod::Slot),
              (QStringList{"on_pushButton_Stitch_clicked()", "on_pushButton_back_clicked()",
                           "on_pushButton_confirm_clicked()", "on_pushButton_cancel_clicked()", "TimeOutSlot()"}));
}

// ---- Stitching ----

TEST_F(Stitching, PassesWhatTheStepsBeforeStoredToTheModule)
{
    WriteFiles();
    Open();
    Doubles::The().journal.clear();
    Click("pushButton_Stitch");

    const std::string strSides = "first byte 11 6x4 24 record 1 ids 1,2,; first byte 22 7x5 24 record 2 ids 1,";
    EXPECT_THAT(Doubles::The().journal,
                ElementsAre(std::string("Read_Image(") + LEFT_FILE + ")", "ConvertRGBToGray(24)",
                            std::string("Read_Image(") + RIGHT_FILE + ")", "ConvertRGBToGray(24)",
                            "LoadCalibrationParam(L_AutoDualCalibrate.xml)",
                            "LoadCalibrationParam(R_AutoDualCalibrate.xml)",
                            "ComputeStitchedImageSize(" + strSides + "; from 0x0 24)",
                            "FishEyeImageStitching(" + strSides + "; to 12x8 24)",
                            "SaveDualCamerasCalibrationParam(Result/DualCamerasCalibrationParam.ini record 7)",
                            "Save_Image(DImage.bmp 12x8 24)"))
        << "pictures of unequal size pass";
    EXPECT_TRUE(Doubles::The().bStitchBufferZero);
    EXPECT_EQ(StitchParam("AUTO_CALIBRATION_OUTPUT_HEIGHT"), "8");
    EXPECT_EQ(StitchParam("AUTO_CALIBRATION_OUTPUT_WIDTH"), "12");
    EXPECT_EQ(StitchParam("AUTO_CALIBRATION_OUTPUT_STITCHEDIMAGE_BIT"), "24");
}

TEST_F(Stitching, ShowsTheResultAndCountsDown)
{
    WriteFiles();
    Open();
    Click("pushButton_Stitch");
    EXPECT_TRUE(Doubles::The().Logged(0, "pushButton_takePic was clicked.")) << "in another button's words";
    EXPECT_EQ(Shown().size(), QSize(12, 8));
    EXPECT_EQ(Shown().pixel(3, 3), qRgb(77, 77, 77));
    EXPECT_TRUE(Button("pushButton_confirm").isEnabled());
    QPushButton& button = Button("pushButton_Stitch");
    EXPECT_FALSE(button.isEnabled());
    for (const char* const pText : {"5", "4", "3", "2", "1"}) {
        Tick(*m_pPage);
        EXPECT_EQ(button.text(), pText);
    }
    Tick(*m_pPage);
    EXPECT_EQ(button.text(), "Stitch");
    EXPECT_TRUE(button.isEnabled());
    EXPECT_FALSE(IsCounting(*m_pPage));
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(Stitching, TheBufferHoldsTheDeeperOfTheTwoDepths)
{
    // The sanitizers watch the double write all of it, at the depth of the pictures.
    WriteFiles();
    Open();
    Doubles::The().nStitchBits = 8;
    Click("pushButton_Stitch");
    EXPECT_THAT(Doubles::The().journal, Contains(HasSubstr("; to 12x8 24)"))) << "the left picture's depth";
    EXPECT_EQ(StitchParam("AUTO_CALIBRATION_OUTPUT_STITCHEDIMAGE_BIT"), "24");
    EXPECT_EQ(Shown().size(), QSize(12, 8));
}

TEST_F(Stitching, GreyPicturesAreStitchedGrey)
{
    WriteFiles();
    WritePicture(LEFT_FILE, cv::Mat(4, 6, CV_8UC1, cv::Scalar(11)));
    WritePicture(RIGHT_FILE, cv::Mat(4, 6, CV_8UC1, cv::Scalar(22)));
    Doubles::The().nReadBits = 8;
    Open();
    Click("pushButton_Stitch");
    EXPECT_EQ(Doubles::The().Count("ConvertRGBToGray"), 0);
    EXPECT_THAT(Doubles::The().journal, Contains("Save_Image(DImage.bmp 12x8 8)"));
    EXPECT_EQ(StitchParam("AUTO_CALIBRATION_OUTPUT_STITCHEDIMAGE_BIT"), "8");
}

TEST_F(Stitching, APictureThatCannotBeReadFailsInItsOwnWords)
{
    for (const bool bLeft : {true, false}) {
        Doubles::Reset();
        WriteFiles();
        QFile::remove(Temp(bLeft ? LEFT_FILE : RIGHT_FILE));
        m_root.WriteFile(Temp("DImage.bmp"), "of an earlier run");
        Open();
        Click("pushButton_Stitch");
        EXPECT_EQ(m_answers.Notices().back().strText, "Failed to fusion!");
        EXPECT_EQ(m_answers.Notices().back().strTitle, "Tips");
        EXPECT_EQ(m_answers.Notices().back().buttons, QStringList{"OK"});
        EXPECT_TRUE(Doubles::The().Logged(3, bLeft ? "StitchingWdg::CameraStitch, Filded to read left Image !"
                                                   : "StitchingWdg::CameraStitch, Filded to read right Image !"));
        EXPECT_EQ(Doubles::The().logLines.back(),
                  std::make_pair(1, std::string("StitchingWdg::on_pushButton_Stitch_clicked, The function "
                                                "CameraStitch() is faild.")));
        EXPECT_TRUE(Button("pushButton_Stitch").isEnabled());
        EXPECT_TRUE(Button("pushButton_confirm").isEnabled()) << "it stays open";
        EXPECT_FALSE(IsCounting(*m_pPage));
        EXPECT_EQ(Doubles::The().Count("FishEyeImageStitching"), 0);
        EXPECT_TRUE(QFile::exists(Temp("DImage.bmp"))) << "files of earlier runs stay";
    }
}

TEST_F(Stitching, DifferingDepthsFail)
{
    WriteFiles();
    WritePicture(RIGHT_FILE, cv::Mat(4, 6, CV_8UC1, cv::Scalar(22)));
    // The double reads a grey bitmap as grey.
    Open();
    Click("pushButton_Stitch");
    EXPECT_EQ(m_answers.OnlyText(), "Failed to fusion!");
    EXPECT_TRUE(Doubles::The().Logged(
        1, "StitchingWdg::CameraStitch, The depth of the left and right images is inconsistent. !"));
    EXPECT_EQ(Doubles::The().Count("LoadCalibrationParam"), 0);
}

TEST_F(Stitching, MissingRecordsAndPointsReachTheModuleAsTheyWereRead)
{
    WriteFiles();
    QFile::remove(Result("RightCalPts.txt"));
    Doubles::The().answers["LoadCalibrationParam"] = false;
    Open();
    Click("pushButton_Stitch");
    EXPECT_THAT(Doubles::The().journal, Contains(HasSubstr("FishEyeImageStitching(first byte 11 6x4 24 record 0 ids "
                                                           "1,2,; first byte 22 7x5 24 record 0 ids ; to")));
    EXPECT_TRUE(Doubles::The().Logged(3, "StitchingWdg::GetCalPtsSeqFile: Failed to open the right file!"));
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(Stitching, ALineWithTooFewValuesEndsTheReadAndTheStitchingGoesOn)
{
    WriteFiles();
    m_root.WriteFile(Result("LeftCalPts.txt"),
                     "4 0 0 1 2 0 3 4 0 0 0 0\n5 0 0 1 2 0 3 4 0 0 0\n6 0 0 1 2 0 3 4 0 0 0 0\n");
    Open();
    Click("pushButton_Stitch");
    EXPECT_TRUE(Doubles::The().Logged(
        3, "StitchingWdg::GetCalPtsSeqFile: Error parsing line in left file: 5 0 0 1 2 0 3 4 0 0 0"));
    ASSERT_EQ(Doubles::The().stitchedLeft.size(), 1u);
    EXPECT_EQ(Doubles::The().stitchedLeft[0].nId, 4);
    EXPECT_THAT(Doubles::The().stitchedRight, IsEmpty()) << "not read any more";
    EXPECT_EQ(Shown().size(), QSize(12, 8));
}

TEST_F(Stitching, AStitchingThatReportsFalseIsStoredAndShown)
{
    WriteFiles();
    Doubles::The().answers["FishEyeImageStitching"] = false;
    Open();
    Click("pushButton_Stitch");
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_EQ(Shown().size(), QSize(12, 8));
    EXPECT_EQ(Doubles::The().Count("SaveDualCamerasCalibrationParam"), 1);
    EXPECT_TRUE(Doubles::The().Logged(3, "StitchingWdg::CameraStitch: the stitching failed"));
}

TEST_F(Stitching, AResultThatCannotBeReadBackSaysSo)
{
    WriteFiles();
    m_root.WriteFile(Temp("DImage.bmp"), "of an earlier run");
    Doubles::The().answers["Save_Image"] = false;
    Open();
    Click("pushButton_Stitch");
    EXPECT_EQ(m_answers.OnlyText(), "The fusion image is empty!");
    EXPECT_EQ(m_answers.Notices()[0].strTitle, "Tips");
    EXPECT_EQ(Doubles::The().logLines.back(),
              std::make_pair(1, std::string("StitchingWdg::on_pushButton_Stitch_clicked, The fusion image is empty.")));
    EXPECT_TRUE(Button("pushButton_Stitch").isEnabled());
    EXPECT_FALSE(View().HasPicture());
    EXPECT_FALSE(IsCounting(*m_pPage));
}

TEST_F(Stitching, ThePictureOfAnEarlierRunIsNeverShownAsTheResult)
{
    WriteFiles();
    WritePicture("DImage.bmp", cv::Mat(9, 9, CV_8UC3, cv::Scalar::all(5)));
    Doubles::The().answers["Save_Image"] = false;
    Open();
    Click("pushButton_Stitch");
    EXPECT_EQ(m_answers.OnlyText(), "The fusion image is empty!");
}

TEST_F(Stitching, AbsurdSizesOfTheModuleAllocateNothing)
{
    for (const long nSide : {0L, -5L}) {
        Doubles::Reset();
        WriteFiles();
        Doubles::The().nStitchWidth = nSide;
        Doubles::The().answers["Save_Image"] = false;
        Open();
        Click("pushButton_Stitch");
        EXPECT_THAT(Doubles::The().journal, Contains(HasSubstr("; to null ")));
        EXPECT_EQ(m_answers.Notices().back().strText, "The fusion image is empty!");
    }
    Doubles::Reset();
    WriteFiles();
    Doubles::The().nStitchWidth = 1L << 20;
    Doubles::The().nStitchHeight = 1L << 20;
    Open();
    Click("pushButton_Stitch");
    EXPECT_EQ(m_answers.Notices().back().strText, "Failed to fusion!");
    EXPECT_EQ(Doubles::The().Count("FishEyeImageStitching"), 0);
}

TEST_F(Stitching, AModuleThatThrowsIsAFailure)
{
    WriteFiles();
    Doubles::The().throwFrom["FishEyeImageStitching"] = "out of order";
    Open();
    Click("pushButton_Stitch");
    EXPECT_EQ(m_answers.OnlyText(), "Failed to fusion!");
}

TEST_F(Stitching, ASecondPressAfterAFailureReadsThePicturesAnew)
{
    Open();
    Click("pushButton_Stitch");
    ASSERT_EQ(m_answers.OnlyText(), "Failed to fusion!");
    WriteFiles();
    Click("pushButton_Stitch");
    EndCountdown(*m_pPage);
    WritePicture(LEFT_FILE, cv::Mat(3, 5, CV_8UC3, cv::Scalar::all(33)));
    Click("pushButton_Stitch");
    EXPECT_THAT(Doubles::The().journal, Contains(HasSubstr("FishEyeImageStitching(first byte 33 5x3 24")));
    EXPECT_EQ(m_answers.Notices().size(), 1u);
}

// ---- Leaving ----

TEST_F(Stitching, OkEndsTheRunAfterANotice)
{
    WriteFiles();
    Open();
    Click("pushButton_Stitch");
    QSignalSpy ended(m_pPage.get(), &StitchingWdg::ExitWindowSignal);
    m_answers.OnBox([&](QMessageBox&) { EXPECT_EQ(ended.size(), 0) << "only after it closes"; });
    Click("pushButton_confirm");
    EXPECT_TRUE(Doubles::The().Logged(0, "on_pushButton_confirm_clicked was clicken."));
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting success!");
    EXPECT_EQ(ended.size(), 1);
}

TEST_F(Stitching, APageThatGoesWhileANoticeStandsIsNotTouched)
{
    m_answers.OnBox([this](QMessageBox&) { m_pPage.reset(); });
    const auto goesAt = [this](const char* pSlot) {
        QMetaObject::invokeMethod(m_pPage.get(), pSlot, Qt::DirectConnection);
        EXPECT_EQ(m_pPage, nullptr) << pSlot;
    };
    Open();
    goesAt("on_pushButton_Stitch_clicked");
    WriteFiles();
    Doubles::The().answers["Save_Image"] = false;
    Open();
    goesAt("on_pushButton_Stitch_clicked");
    EXPECT_EQ(m_answers.Notices().back().strText, "The fusion image is empty!");
    Open();
    int nEnded = 0;
    QObject::connect(m_pPage.get(), &StitchingWdg::ExitWindowSignal, [&] { ++nEnded; });
    goesAt("on_pushButton_confirm_clicked");
    EXPECT_EQ(nEnded, 0);
}

TEST_F(Stitching, BackOpensConfirmEvenBeforeAnyStitching)
{
    Open();
    QSignalSpy back(m_pPage.get(), &StitchingWdg::backWdgSignal);
    QSignalSpy other(m_pPage.get(), &StitchingWdg::AutoDualCalibrateWdgBtnBackSignal);
    Click("pushButton_back");
    EXPECT_TRUE(Button("pushButton_confirm").isEnabled());
    EXPECT_TRUE(Doubles::The().Logged(0, "pushButton_back was clicked."));
    EXPECT_EQ(back.size(), 1);
    EXPECT_EQ(other.size(), 0);
}

TEST_F(Stitching, CancelAsksForTheWindowToBeClosed)
{
    Open();
    QSignalSpy close(m_pPage.get(), &StitchingWdg::CloseWindowSignal);
    Click("pushButton_cancel");
    EXPECT_TRUE(Doubles::The().Logged(0, "pushButton_cancel was clicked."));
    EXPECT_EQ(close.size(), 1);
}

TEST_F(Stitching, GivesTheCameraBackAndNeverUsesIt)
{
    WriteFiles();
    Open();
    Click("pushButton_Stitch");
    EndCountdown(*m_pPage);
    EXPECT_THAT(m_module.Camera().Calls(), IsEmpty());
    m_pPage.reset();
    EXPECT_EQ(m_module.GivenBack(), 1);
}
