#include "FusionFixture.h"

#include <QDir>
#include <QFile>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class FusionShot : public FusionFixture
{
protected:
    /// The lens files that a picture is rectified by.
    void WriteMaps(const QString& strFolder)
    {
        for (const char* const pFile : {"cameraL_calibrateMap.xml", "cameraR_calibrateMap.xml"}) {
            m_root.WriteFile(m_root.CameraTwo(strFolder + "/" + pFile), "a camera");
        }
    }
    static QColor At(const QImage& picture, int x, int y) { return picture.pixelColor(x, y); }
};

} // namespace

TEST_F(FusionShot, ShowsTheTwoPicturesUprightSideBySide)
{
    // A mark in the raw pictures' lower left corner is upright in the upper left one.
    m_leftPicture(cv::Rect(0, 180, 20, 20)).setTo(cv::Scalar(255, 0, 0));
    m_rightPicture(cv::Rect(0, 180, 20, 20)).setTo(cv::Scalar(0, 0, 255));
    OpenAndShoot();
    EXPECT_TRUE(Logged(0, "pushButton_snap was clicked."));
    const QImage shown = Shown();
    EXPECT_EQ(shown.size(), QSize(400, 300));
    EXPECT_EQ(At(shown, 5, 5), QColor(0, 0, 255));
    EXPECT_EQ(At(shown, SEAM + 5, 5), QColor(255, 0, 0));
    EXPECT_EQ(At(shown, 100, 150), QColor(30, 20, 10));
    EXPECT_EQ(At(shown, SEAM + 100, 150), QColor(60, 50, 40));
    EXPECT_EQ(Label().GetImageSize(), QSize(400, 300));
    EXPECT_EQ(Label().alignment(), Qt::AlignCenter);
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(FusionShot, ThePictureFillsTheLabelAndKeepsItsShape)
{
    Open();
    Label().setFixedSize(600, 300);
    QCoreApplication::processEvents();
    Click("snap");
    EXPECT_EQ(Shown().size(), QSize(400, 300));
    EXPECT_EQ(Label().GetPictureOffset(), QPointF(100, 0));
    EndCountdown(*m_pPage);
    Label().setFixedSize(200, 300);
    QCoreApplication::processEvents();
    Click("snap");
    EXPECT_EQ(Shown().size(), QSize(200, 150));
    EXPECT_EQ(Label().GetImageSize(), QSize(400, 300)) << "of the full picture";
}

TEST_F(FusionShot, ThePictureStaysInsideTheLabelsMargins)
{
    Open();
    Label().setContentsMargins(10, 20, 30, 40);
    Click("snap");
    EXPECT_EQ(Shown().size(), QSize(320, 240)) << "as 360 x 240 allow";
}

TEST_F(FusionShot, ThePictureIsMadeSmallerWithoutMixingPixels)
{
    for (int x = 0; x < m_leftPicture.cols; ++x) {
        m_leftPicture.col(x).setTo(cv::Scalar::all(x % 2 == 0 ? 0 : 255));
    }
    Open();
    Label().setFixedSize(240, 180);
    QCoreApplication::processEvents();
    Click("snap");
    const QImage shown = Shown();
    ASSERT_EQ(shown.size(), QSize(240, 180));
    for (int y = 0; y < shown.height(); ++y) {
        const int nRed = At(shown, 50, y).red();
        EXPECT_TRUE(nRed == 0 || nRed == 255) << nRed;
    }
}

TEST_F(FusionShot, AsksBothCamerasInTurn)
{
    OpenAndShoot();
    EXPECT_THAT(m_module.Camera().Commands(),
                ElementsAre("OpenCamera([0] Camera-Left)", "SetProperty(autoExposure)",
                            "ApplyCameraParameters([0] Camera-Left, 500)", "SnapPicture(null)", "CloseCamera(null)",
                            "OpenCamera([1] Camera-Right)", "SetProperty(autoExposure)",
                            "ApplyCameraParameters([1] Camera-Right, 500)", "SnapPicture(null)", "CloseCamera(null)"));
}

TEST_F(FusionShot, WhileItCountsTheRegionMayBeDrawnButNoPhotoTaken)
{
    OpenAndShoot();
    EXPECT_FALSE(IsEnabled("snap"));
    EXPECT_TRUE(IsEnabled("setRoiRect"));
    EXPECT_FALSE(IsEnabled("confirm"));
    EXPECT_TRUE(IsCounting(*m_pPage));
    for (const char* const pText : {"5", "4", "3", "2", "1"}) {
        Tick(*m_pPage);
        EXPECT_EQ(Text("snap"), pText);
        EXPECT_FALSE(IsEnabled("snap"));
    }
    Click("setRoiRect");
    Tick(*m_pPage);
    EXPECT_EQ(Text("snap"), "Photo");
    EXPECT_TRUE(IsEnabled("snap"));
    EXPECT_FALSE(IsCounting(*m_pPage));
}

TEST_F(FusionShot, ANewPictureHidesTheHintOfTheOneBefore)
{
    Open();
    auto& hint = Child<QLabel>(*m_pPage, "label_fusionHint");
    hint.show();
    Click("snap");
    EXPECT_TRUE(hint.isHidden());
}

TEST_F(FusionShot, ACountdownGoesOnWhereThePageBeforeItStopped)
{
    // Shared by all objects of the class.
    OpenAndShoot();
    Tick(*m_pPage, 2);
    m_pPage.reset();
    OpenAndShoot();
    Tick(*m_pPage);
    EXPECT_EQ(Text("snap"), "3");
}

TEST_F(FusionShot, ACameraThatGivesNoPictureIsToldAndThePhotoCanBeTakenAgain)
{
    for (const char* const pCamera : {"[0] Camera-Left", "[1] Camera-Right"}) {
        Open();
        Doubles::The().wordings = {{"TakePic fail!", "Kein Foto!"}, {"Tips", "Hinweis"}};
        m_module.Camera(static_cast<std::size_t>(m_module.HandedOut()) - 1)
            .SetList({QString(pCamera).contains("Left") ? "[1] Camera-Right" : "[0] Camera-Left"});
        const std::size_t nBoxes = m_answers.Notices().size();
        std::vector<std::pair<int, std::string>> logged;
        bool bEnabled = false;
        m_answers.OnBox([&](QMessageBox&) {
            logged = Doubles::The().logLines;
            bEnabled = IsEnabled("snap");
        });
        Click("snap");
        ASSERT_EQ(m_answers.Notices().size(), nBoxes + 1) << pCamera;
        const ModalAnswers::Notice& notice = m_answers.Notices().back();
        EXPECT_EQ(notice.strTitle, "Hinweis");
        EXPECT_EQ(notice.strText, "Kein Foto!");
        EXPECT_EQ(notice.icon, QMessageBox::Warning);
        EXPECT_EQ(notice.pParent, m_pPage.get());
        EXPECT_EQ(notice.buttons, QStringList{"OK"});
        EXPECT_THAT(logged, Contains(std::make_pair(1, std::string("FusionWdg SnapOne empty!"))));
        EXPECT_TRUE(bEnabled);
        EXPECT_FALSE(IsEnabled("setRoiRect"));
        EXPECT_FALSE(IsCounting(*m_pPage));
        EXPECT_TRUE(Label().pixmap().isNull());
        m_answers.OnBox({});
    }
}

TEST_F(FusionShot, ALeftCameraWithoutAPictureLeavesTheRightOneAlone)
{
    Open();
    m_module.Camera().AnswerNext("SnapPicture", {-1, -1, -1});
    Click("snap");
    EXPECT_EQ(m_answers.OnlyText(), "TakePic fail!");
    EXPECT_EQ(m_module.Camera().Count("OpenCamera"), 1);
}

TEST_F(FusionShot, APageMayGoWhileItsWarningStands)
{
    Open();
    m_module.Camera().SetList({});
    m_answers.OnBox([this](QMessageBox&) { m_pPage.reset(); });
    Press(*m_pPage, "snap");
    EXPECT_FALSE(m_pPage);
}

// ---- Rectification ----

TEST_F(FusionShot, PicturesOfRectifiedCamerasAreNotRectifiedAgain)
{
    OpenAndShoot(0);
    EXPECT_EQ(Doubles::The().Count("UnDistortedImage"), 0);
    EXPECT_FALSE(Shown().isNull());
}

TEST_F(FusionShot, OthersAreRectifiedByTheFilesOfThisRun)
{
    WriteMaps("Output");
    OpenAndShoot(1);
    EXPECT_EQ(Doubles::The().Count("UnDistortedImage"), 2);
    EXPECT_THAT(Doubles::The().journal, Contains("LoadCameraParameters(Output/cameraL_calibrateMap.xml)"));
    EXPECT_THAT(Doubles::The().journal, Contains("LoadCameraParameters(Output/cameraR_calibrateMap.xml)"));
    EXPECT_EQ(Shown().size(), QSize(400, 300));
    EXPECT_EQ(At(Shown(), 100, 150), QColor(30, 20, 10)) << "the left camera's";
    EXPECT_EQ(At(Shown(), SEAM + 100, 150), QColor(60, 50, 40));
}

TEST_F(FusionShot, ByTheResultsFilesWhereThatIsAskedFor)
{
    WriteMaps("Result");
    Open(1).SetUseResultMaps(true);
    Click("snap");
    EXPECT_THAT(Doubles::The().journal, Contains("LoadCameraParameters(Result/cameraL_calibrateMap.xml)"));
    EXPECT_FALSE(Shown().isNull());
}

TEST_F(FusionShot, APageThatWasNotToldTheTypeRectifies)
{
    m_pPage = std::make_unique<FusionWdg>();
    m_pPage->show();
    Click("snap");
    EXPECT_TRUE(Logged(1, "FusionWdg RectifyPic fail!"));
}

TEST_F(FusionShot, EveryTypeButTheRectifiedOneIsRectified)
{
    WriteMaps("Output");
    for (const int nType : {-1, 2, 7}) {
        Doubles::The().journal.clear();
        OpenAndShoot(nType);
        EXPECT_EQ(Doubles::The().Count("UnDistortedImage"), 2) << nType;
        EndCountdown(*m_pPage);
    }
}

TEST_F(FusionShot, ARectificationThatFailsHalfwayLeavesNoRegionToDraw)
{
    WriteMaps("Output");
    Doubles::The().failAt["UnDistortedImage"] = 2;
    OpenAndShoot(1);
    EXPECT_TRUE(Logged(1, "FusionWdg RectifyPic fail!"));
    QMetaObject::invokeMethod(m_pPage.get(), "DrawRoiEndingSlot", Qt::DirectConnection);
    EXPECT_TRUE(Logged(3, "[Fusion]The left or right image is empty!")) << "the right one is missing";
    EXPECT_THAT(Doubles::The().matchings, IsEmpty());
}

TEST_F(FusionShot, WithoutLensFilesItFailsInSilence)
{
    OpenAndShoot(1);
    EXPECT_TRUE(Logged(1, "FusionWdg RectifyPic fail!"));
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_TRUE(IsEnabled("snap"));
    EXPECT_FALSE(IsEnabled("setRoiRect"));
    EXPECT_FALSE(IsCounting(*m_pPage));
}

TEST_F(FusionShot, ARectificationWithoutPicturesIsToldApart)
{
    // What is left of an automatic calibration: its rectification gives no pictures.
    m_root.WriteFile(Result("LeftCameraParam.ini"), "[CAMERA_PARAM]\nAUTO_CALIBRATION=1\n");
    OpenAndShoot(1);
    EXPECT_TRUE(Logged(1, "FusionWdg RectifyPic empty!"));
    EXPECT_FALSE(Logged(1, "FusionWdg RectifyPic fail!"));
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_TRUE(IsEnabled("snap"));
    EXPECT_FALSE(IsEnabled("setRoiRect"));
    EXPECT_FALSE(IsCounting(*m_pPage));
}

TEST_F(FusionShot, LensFilesAreReadAnewOnceThePageWasHidden)
{
    WriteMaps("Output");
    OpenAndShoot(1);
    EndCountdown(*m_pPage);
    Click("snap");
    EXPECT_EQ(Doubles::The().Count("LoadCameraParameters"), 2);
    EndCountdown(*m_pPage);
    m_pPage->hide();
    m_pPage->show();
    Click("snap");
    EXPECT_EQ(Doubles::The().Count("LoadCameraParameters"), 4);
}

// ---- Pictures that do not go together ----

TEST_F(FusionShot, PicturesOfDifferentHeightEndWithALineOnStandardErrorOnly)
{
    m_rightPicture = cv::Mat(200, 301, CV_8UC3, cv::Scalar::all(1));
    Open();
    Doubles::The().logLines.clear();
    testing::internal::CaptureStderr();
    Press(*m_pPage, "snap");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "两张图片的高度不一致，无法拼接！\n");
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_THAT(Doubles::The().logLines,
                ElementsAre(std::make_pair(0, std::string("pushButton_snap was clicked.")),
                            std::make_pair(1, std::string("SnapOne, cameraName: [0] Camera-Left")),
                            std::make_pair(1, std::string("SnapOne, cameraName: [1] Camera-Right"))));
    EXPECT_FALSE(IsEnabled("snap")) << "the page can only be left";
    EXPECT_FALSE(IsEnabled("setRoiRect"));
    EXPECT_FALSE(IsCounting(*m_pPage));
    EXPECT_TRUE(IsEnabled("back"));
    EXPECT_TRUE(IsEnabled("cancel"));
}

TEST_F(FusionShot, PicturesOfDifferentWidthStandSideBySide)
{
    m_rightPicture = cv::Mat(100, 300, CV_8UC3, cv::Scalar(1, 2, 3));
    OpenAndShoot();
    EXPECT_EQ(Label().GetImageSize(), QSize(300, 300));
    EXPECT_EQ(At(Shown(), 250, 150), QColor(3, 2, 1));
}

TEST_F(FusionShot, AGreyPictureBesideAColourOneIsShown)
{
    m_rightPicture = cv::Mat(200, 300, CV_8UC1, cv::Scalar(90));
    OpenAndShoot();
    EXPECT_EQ(At(Shown(), 100, 150), QColor(30, 20, 10));
    EXPECT_EQ(At(Shown(), SEAM + 100, 150), QColor(90, 90, 90));
}
