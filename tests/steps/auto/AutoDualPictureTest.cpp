// Taking the picture that the crosses are marked in.

#include "AutoDualFixture.h"

#include <opencv2/imgcodecs.hpp>

#include <QDir>
#include <QFile>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

} // namespace

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

TEST_F(AutoDual, EachCamerasFirstPictureOpensSoThatAllOfItIsSeen)
{
    m_picture = cv::Mat(2000, 2600, CV_8UC3, cv::Scalar(30, 40, 50));
    const auto expectAllSeen = [this] {
        const QRect port = View().viewport()->rect();
        EXPECT_TRUE(port.contains(View().mapFromScene(QPointF(0, 0))));
        EXPECT_TRUE(port.contains(View().mapFromScene(QPointF(2600, 2000))));
    };
    Open();
    TakePicture();
    expectAllSeen();
    FinishLeft();
    View().scale(5, 5);
    TakePicture();
    expectAllSeen();
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
