// The photo button of the page for the eighteen marks: two shots, the fusion, the countdown, and what may go wrong.

#include "HandEyeFixture.h"

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* TAKE_PIC = "HandEyeAdjustWdg::on_pushButton_takePic_clicked";

/// Only what is asked of a camera to get a picture.
std::vector<std::string> Shots(const Doubles::RecordingCamera& camera)
{
    std::vector<std::string> shots;
    for (const std::string& strCall : camera.Calls()) {
        if (strCall.rfind("SnapPicture", 0) == 0) {
            shots.push_back(strCall);
        }
    }
    return shots;
}

void ExpectNotice(const ModalAnswers::Notice& notice)
{
    EXPECT_EQ(notice.strTitle, "Tips");
    EXPECT_EQ(notice.icon, QMessageBox::Information);
    EXPECT_EQ(notice.buttons, QStringList{"OK"});
    EXPECT_EQ(notice.pParent, nullptr);
    EXPECT_TRUE(notice.flags.testFlag(Qt::MSWindowsFixedSizeDialogHint));
}

} // namespace

TEST_F(HandEye, APhotoFusesLeftAndRightWithTheFilesOfThisRun)
{
    Open();
    Click("pushButton_takePic");
    EXPECT_TRUE(Doubles::The().Logged(0, "pushButton_takePic was clicked."));
    EXPECT_THAT(Shots(m_module.Camera()), ElementsAre("SnapPicture([0] Camera-Left)", "SnapPicture([1] Camera-Right)"));
    EXPECT_THAT(Doubles::The().journal, Contains("LoadCameraParameters(Output/cameraL_calibrateMap.xml)"));
    EXPECT_THAT(Doubles::The().journal, Contains("LoadCameraParameters(Output/cameraR_calibrateMap.xml)"));
    EXPECT_THAT(Doubles::The().journal, Contains("LoadHomography(Output/mapImgR2L.xml)"));
    ASSERT_EQ(Pictures().size(), 1);
    const QImage shown = Pictures().first()->pixmap().toImage();
    EXPECT_EQ(shown.size(), PICTURE);
    EXPECT_EQ(shown.pixel(5, 5), qRgb(30, 20, 10));
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_FALSE(Button("pushButton_confirm").isEnabled());
}

TEST_F(HandEye, ThePhotoButtonCountsFromFiveAndComesBack)
{
    Open();
    Click("pushButton_takePic");
    QPushButton& button = Button("pushButton_takePic");
    EXPECT_TRUE(IsCounting(*m_pPage));
    EXPECT_FALSE(button.isEnabled());
    EXPECT_EQ(button.text(), "Photo");
    Doubles::The().wordings = {{"Photo", "Foto"}};
    for (const char* const pText : {"5", "4", "3", "2", "1"}) {
        Tick(*m_pPage);
        EXPECT_EQ(button.text(), pText);
        EXPECT_FALSE(button.isEnabled());
    }
    Tick(*m_pPage);
    EXPECT_EQ(button.text(), "Foto");
    EXPECT_TRUE(button.isEnabled());
    EXPECT_FALSE(IsCounting(*m_pPage));
}

TEST_F(HandEye, AllPagesShareOneCounter)
{
    OpenWithPicture();
    Click("pushButton_takePic");
    Tick(*m_pPage, 2);
    HandEyeAdjustWdg other;
    Tick(other);
    EXPECT_EQ(Child<QPushButton>(other, "pushButton_takePic").text(), "3");
    Tick(*m_pPage);
    EXPECT_EQ(Button("pushButton_takePic").text(), "2");
}

TEST_F(HandEye, AnotherPhotoReplacesThePictureAndKeepsMarksAndCrosses)
{
    OpenWithPicture();
    MarkAll(2);
    DoubleClick(Place(2));
    m_module.Camera().SetPicture(cv::Mat(500, 600, CV_8UC3, cv::Scalar(1, 2, 3)));
    Photo();
    ASSERT_EQ(Pictures().size(), 1);
    EXPECT_EQ(Pictures().first()->pixmap().size(), QSize(600, 500));
    EXPECT_EQ(List().count(), 2);
    EXPECT_EQ(Crosses().size(), 3u);
    Click("pushButton_AddCoord");
    EXPECT_EQ(List().count(), 3);
    // The new picture's size is what counts.
    Mark({600, 500});
    EXPECT_EQ(Rows().last(), "Coordinate4: 600,500");
}

TEST_F(HandEye, ALargePictureOpensSoThatAllOfItIsSeenAndTheNextOneWhereTheOperatorHasZoomedTo)
{
    m_picture = cv::Mat(2400, 3200, CV_8UC3, cv::Scalar(10, 20, 30));
    OpenWithPicture();
    const QRect port = View().viewport()->rect();
    EXPECT_TRUE(port.contains(View().mapFromScene(QPointF(0, 0))));
    EXPECT_TRUE(port.contains(View().mapFromScene(QPointF(3200, 2400))));
    View().scale(3, 3);
    View().centerOn(1000, 800);
    const QTransform zoomed = View().viewportTransform();
    Photo();
    EXPECT_EQ(View().viewportTransform(), zoomed);
}

TEST_F(HandEye, ASmallPictureIsNotEnlarged)
{
    OpenWithPicture();
    EXPECT_EQ(View().transform(), QTransform());
}

TEST_F(HandEye, ANewFusionIsMetWithItsNewHomography)
{
    Open();
    Photo();
    Photo();
    EXPECT_EQ(Doubles::The().Count("LoadHomography"), 1) << "it is kept while the page is on show";
    m_pPage->hide();
    Show();
    Photo();
    EXPECT_EQ(Doubles::The().Count("LoadHomography"), 2);
    EXPECT_EQ(Doubles::The().Count("LoadCameraParameters"), 4);
}

// ---- Failures ----

TEST_F(HandEye, WithoutALeftCameraTheOperatorIsToldAndTheRightOneIsNotAsked)
{
    g_calibGlobalParam.strLeftCameraName = "None";
    Open();
    Click("pushButton_takePic");
    EXPECT_EQ(Told(), QStringList{"Camera-Left grab failed!"});
    ExpectNotice(m_answers.Notices()[0]);
    EXPECT_THAT(m_module.Camera().Calls(), IsEmpty());
    EXPECT_TRUE(Button("pushButton_takePic").isEnabled());
    EXPECT_FALSE(IsCounting(*m_pPage));
    EXPECT_FALSE(View().HasPicture());
}

TEST_F(HandEye, WithoutARightCameraTheOperatorIsTold)
{
    g_calibGlobalParam.strRightCameraName = "";
    Open();
    Click("pushButton_takePic");
    EXPECT_EQ(Told(), QStringList{"Camera-Right grab failed!"});
    ExpectNotice(m_answers.Notices()[0]);
    EXPECT_THAT(Shots(m_module.Camera()), ElementsAre("SnapPicture([0] Camera-Left)"));
    EXPECT_THAT(Doubles::The().journal, IsEmpty());
    EXPECT_TRUE(Button("pushButton_takePic").isEnabled());
    EXPECT_FALSE(IsCounting(*m_pPage));
}

TEST_F(HandEye, AFailingShotIsToldTwice)
{
    Open();
    const struct {
        const char* pOperation;
        std::vector<int> answers;
        QStringList told;
    } rows[] = {
        {"OpenCamera", {-1}, {"Failed to open the target camera,Please try again.", "Camera-Left grab failed!"}},
        {"ApplyCameraParameters",
         {0},
         {"Failed to set camera parameters,Please try again.", "Camera-Left grab failed!"}},
        {"SnapPicture", {-1, -1, -1}, {"Failed to get photo,Please try again.", "Camera-Left grab failed!"}},
        {"OpenCamera", {0, -1}, {"Failed to open the target camera,Please try again.", "Camera-Right grab failed!"}},
        {"SnapPicture", {0, -1, -1, -1}, {"Failed to get photo,Please try again.", "Camera-Right grab failed!"}},
    };
    for (const auto& row : rows) {
        const qsizetype nBefore = Told().size();
        m_module.Camera().AnswerNext(row.pOperation, row.answers);
        Click("pushButton_takePic");
        EXPECT_EQ(Told().mid(nBefore), row.told);
        EXPECT_TRUE(Button("pushButton_takePic").isEnabled());
    }
    EXPECT_FALSE(View().HasPicture());
    EXPECT_FALSE(IsCounting(*m_pPage));
}

TEST_F(HandEye, ACameraThatIsNotListedIsToldTwice)
{
    g_calibGlobalParam.strLeftCameraName = "Camera-Middle";
    Open();
    Click("pushButton_takePic");
    EXPECT_EQ(Told(), (QStringList{"Failed to acquire the target camera.", "Camera-Left grab failed!"}));
}

TEST_F(HandEye, WithoutTheFilesOfThisRunTheFusionFails)
{
    for (const char* const pFile : {"cameraL_calibrateMap.xml", "mapImgR2L.xml"}) {
        QFile::remove(Output(pFile));
        Open();
        Click("pushButton_takePic");
        EXPECT_EQ(m_answers.Notices().back().strText, "Fusion images failed!");
        ExpectNotice(m_answers.Notices().back());
        EXPECT_EQ(Doubles::The().logLines.back(),
                  std::make_pair(1, std::string(TAKE_PIC) + ", Failed to CalibFusionImage."));
        EXPECT_TRUE(Button("pushButton_takePic").isEnabled());
        EXPECT_FALSE(View().HasPicture());
        EXPECT_FALSE(IsCounting(*m_pPage));
        m_root.WriteFile(Output(pFile), "of this run");
    }
}

TEST_F(HandEye, AFusionThatThrowsFails)
{
    Doubles::The().throwFrom["DoBlendingImageForDualCam"] = "out of order";
    Open();
    Click("pushButton_takePic");
    EXPECT_EQ(Told(), QStringList{"Fusion images failed!"});
    EXPECT_TRUE(Button("pushButton_takePic").isEnabled());
}

TEST_F(HandEye, AnEmptyFusionIsAFailureOfItsOwn)
{
    Doubles::The().bBlendEmpty = true;
    Open();
    Click("pushButton_takePic");
    EXPECT_EQ(Told(), QStringList{"The fusion image is empty!"});
    ExpectNotice(m_answers.Notices()[0]);
    EXPECT_EQ(Doubles::The().logLines.back(),
              std::make_pair(1, std::string(TAKE_PIC) + ", The fusion image is empty."));
    EXPECT_TRUE(Button("pushButton_takePic").isEnabled());
    EXPECT_FALSE(IsCounting(*m_pPage));
}

TEST_F(HandEye, AFailureKeepsThePictureBefore)
{
    OpenWithPicture();
    Doubles::The().bBlendEmpty = true;
    Click("pushButton_takePic");
    ASSERT_EQ(Pictures().size(), 1);
    EXPECT_EQ(Pictures().first()->pixmap().size(), PICTURE);
}

TEST_F(HandEye, TheButtonIsShutWhileTheCamerasWork)
{
    Open();
    QList<bool> enabled;
    m_module.Camera().OnCall("SnapPicture", [&] { enabled << Button("pushButton_takePic").isEnabled(); });
    g_calibGlobalParam.strRightCameraName = "None";
    m_answers.OnBox([&](QMessageBox&) { enabled << Button("pushButton_takePic").isEnabled(); });
    Click("pushButton_takePic");
    EXPECT_EQ(enabled, (QList<bool>{false, false}));
    EXPECT_TRUE(Button("pushButton_takePic").isEnabled());
}

TEST_F(HandEye, APageThatGoesWhileANoticeStandsIsNotTouched)
{
    const auto goesAtNotice = [this] {
        Open();
        m_answers.OnBox([this](QMessageBox&) { m_pPage.reset(); });
        QMetaObject::invokeMethod(m_pPage.get(), "on_pushButton_takePic_clicked", Qt::DirectConnection);
        m_answers.OnBox({});
        EXPECT_EQ(m_pPage, nullptr);
    };
    g_calibGlobalParam.strLeftCameraName = "Nobody";
    goesAtNotice();
    g_calibGlobalParam.strLeftCameraName = "None";
    goesAtNotice();
    g_calibGlobalParam.strLeftCameraName = "[0] Camera-Left";
    g_calibGlobalParam.strRightCameraName = "Nobody";
    goesAtNotice();
    g_calibGlobalParam.strRightCameraName = "None";
    goesAtNotice();
    g_calibGlobalParam.strRightCameraName = "[1] Camera-Right";
    Doubles::The().bBlendEmpty = true;
    goesAtNotice();
    QFile::remove(Output("mapImgR2L.xml"));
    goesAtNotice();
    EXPECT_EQ(Told(), (QStringList{"Failed to acquire the target camera.", "Camera-Left grab failed!",
                                   "Failed to acquire the target camera.", "Camera-Right grab failed!",
                                   "The fusion image is empty!", "Fusion images failed!"}));
}
