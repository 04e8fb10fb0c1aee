// From picture to picture: what passes, how many there are, and what the progress file keeps.

#include "LensPageFixture.h"

#include <opencv2/imgcodecs.hpp>

namespace
{

class LensPictures : public LensPageFixture
{
protected:
    /// What the calibration was given, "10 pictures, 7 x 9".
    static std::string LastCalibration()
    {
        std::string strLast;
        for (const std::string& strLine : Doubles::The().journal) {
            if (strLine.rfind("CalibrateDistortedCamera(", 0) == 0) {
                strLast = strLine.substr(25, strLine.find(" pictures") - 25);
            }
        }
        return strLast;
    }
    static QColor At(const QLabel& label, double dX, double dY)
    {
        const QImage image = label.pixmap(Qt::ReturnByValue).toImage();
        return image.pixelColor(static_cast<int>(dX * (image.width() - 1)),
                                static_cast<int>(dY * (image.height() - 1)));
    }
};

} // namespace

TEST_F(LensPictures, AGoodPictureIsCountedShownAndOpensTheWayOn)
{
    MakeStreaming();
    Doubles::The().dBoardError = 0.123456789;
    Button(*m_pPage, "next").setEnabled(false);
    Shoot();
    EXPECT_TRUE(QFile::exists(Picture("L", 1)));
    EXPECT_EQ(PicNum(), Valid(1));
    EXPECT_EQ(Label("picError").text(), "pictures(error: 0.123457)");
    EXPECT_TRUE(HasPicture("cameraPic"));
    EXPECT_TRUE(IsOpen("nextPic"));
    EXPECT_TRUE(IsOpen("next"));
    EXPECT_FALSE(IsOpen("rectify"));
    EXPECT_THAT(m_answers.Notices(), testing::IsEmpty());
    EXPECT_EQ(Doubles::The().boardSearches.back().dError, -1.0);
}

TEST_F(LensPictures, APoorPictureIsToldAndStopsTheWayOn)
{
    MakeStreaming();
    Doubles::The().dBoardError = std::nullopt;
    QStringList atNotice;
    m_answers.OnBox([&](QMessageBox&) {
        atNotice << (IsOpen("snap") ? "open" : "shut") << Label("picNum").text() << Label("picError").text();
    });
    Shoot(false);
    EXPECT_EQ(atNotice, QStringList({"open", "Number of valid pictures: 0", "pictures(error: -1)"}));
    ASSERT_EQ(m_answers.Notices().size(), 1u);
    const ModalAnswers::Notice& notice = m_answers.Notices().front();
    EXPECT_EQ(notice.strText, g_strPoorPicture);
    EXPECT_EQ(notice.strTitle, "Tips");
    EXPECT_EQ(notice.icon, QMessageBox::Information);
    EXPECT_EQ(notice.buttons, QStringList{"OK"});
    EXPECT_EQ(notice.pParent, nullptr);
    EXPECT_EQ(PicNum(), Valid(0));
    EXPECT_EQ(Label("picError").text(), "pictures(error: -1)");
    EXPECT_TRUE(HasPicture("cameraPic"));
    EXPECT_FALSE(IsOpen("nextPic"));
    EXPECT_TRUE(IsOpen("snap"));
    EXPECT_TRUE(QFile::exists(Picture("L", 1)));
    Shoot();
    EXPECT_EQ(PicNum(), Valid(1));
    EXPECT_TRUE(IsOpen("nextPic"));
}

TEST_F(LensPictures, ThePictureStandsTurnedAndMirroredAndFitsItsLabel)
{
    MakeStreaming();
    Shoot();
    for (const char* pLabel : {"cameraPic", "snapPic"}) {
        const QLabel& label = Label(pLabel);
        const QSize size = label.pixmap(Qt::ReturnByValue).size();
        EXPECT_EQ(size, QSize(30, 40).scaled(label.size(), Qt::KeepAspectRatio)) << pLabel;
        EXPECT_EQ(label.alignment(), Qt::AlignLeft) << pLabel;
        // The raw picture's first row is the last column here.
        EXPECT_EQ(At(label, 1.0, 0.5), QColor(Qt::red)) << pLabel;
        EXPECT_EQ(At(label, 0.0, 0.5), QColor(0, 200, 0)) << pLabel;
        EXPECT_EQ(At(label, 0.5, 0.0), QColor(0, 200, 0)) << pLabel;
        // Enlarged pixel by pixel: nothing is mixed.
        const QImage shown = label.pixmap(Qt::ReturnByValue).toImage();
        for (int x = 0; x < shown.width(); ++x) {
            const QColor colour = shown.pixelColor(x, shown.height() / 2);
            EXPECT_TRUE(colour == QColor(Qt::red) || colour == QColor(0, 200, 0)) << pLabel << " " << x;
        }
    }
}

TEST_F(LensPictures, TheTurnIsNoMirrorImage)
{
    MakeStreaming();
    // Top left, top right and bottom left of the raw picture.
    QImage raw(40, 30, QImage::Format_RGB32);
    raw.fill(Qt::white);
    raw.setPixelColor(39, 29, Qt::red);
    raw.setPixelColor(39, 0, Qt::blue);
    m_pPage->hide();
    ASSERT_TRUE(QMetaObject::invokeMethod(m_pPage.get(), "RecvSnapSlot", Q_ARG(QImage, raw)));
    EXPECT_EQ(At(Label("snapPic"), 0.0, 0.0), QColor(Qt::red));
    EXPECT_EQ(At(Label("snapPic"), 1.0, 0.0), QColor(Qt::blue));
    EXPECT_EQ(At(Label("snapPic"), 0.0, 1.0), QColor(Qt::white));
}

TEST_F(LensPictures, ASavedPictureThatIsNotThereIsNotShownAndInspectedAllTheSame)
{
    MakeStreaming();
    m_pPage->hide();
    Doubles::The().answers["FindCalibrationBoard"] = false;
    ASSERT_TRUE(QMetaObject::invokeMethod(m_pPage.get(), "SavePicSuccessSlot", Q_ARG(QString, Output("none.png"))));
    EXPECT_FALSE(HasPicture("cameraPic"));
    EXPECT_EQ(m_answers.OnlyText(), g_strPoorPicture);
    EXPECT_EQ(Doubles::The().Count("FindCalibrationBoard"), 2);
}

TEST_F(LensPictures, ShootingAgainReplacesTheFile)
{
    MakeStreaming();
    Shoot();
    Camera().SetPicture(cv::Mat(30, 40, CV_8UC3, cv::Scalar::all(7)));
    // A snap that is under way still has the picture before.
    const int nSnaps = Camera().Count("SnapPicture");
    WaitUntil([&] { return Camera().Count("SnapPicture") >= nSnaps + 2; });
    Shoot();
    EXPECT_EQ(cv::imread(Picture("L", 1).toStdString()).at<cv::Vec3b>(5, 5), cv::Vec3b(7, 7, 7));
    EXPECT_EQ(PicNum(), Valid(1));
}

TEST_F(LensPictures, EightAreTooFewAndTheNinthOpensTheCalibrationAtOnce)
{
    MakeStreaming();
    ShootUpTo(8);
    EXPECT_FALSE(IsOpen("rectify"));
    Press(*m_pPage, "nextPic");
    EXPECT_FALSE(IsOpen("rectify"));
    Shoot();
    EXPECT_TRUE(IsOpen("rectify"));
    EXPECT_TRUE(IsOpen("nextPic"));
    Press(*m_pPage, "nextPic");
    EXPECT_TRUE(IsOpen("rectify"));
    EXPECT_FALSE(IsOpen("nextPic"));
    EXPECT_EQ(PicNum(), Valid(9));
}

TEST_F(LensPictures, TheSixteenthIsTheLast)
{
    MakeStreaming();
    ShootUpTo(16);
    EXPECT_EQ(PicNum(), Valid(16));
    EXPECT_FALSE(IsOpen("nextPic"));
    EXPECT_TRUE(IsOpen("rectify"));
    // Even where the press reaches the page.
    Button(*m_pPage, "nextPic").setEnabled(true);
    Press(*m_pPage, "nextPic");
    EXPECT_EQ(Progress("PICINDEX"), "16");
    Shoot();
    EXPECT_FALSE(QFile::exists(Picture("L", 17)));
}

TEST_F(LensPictures, APoorTenthLeavesTheCalibrationOpenAndReachesIt)
{
    MakeStreaming(1);
    ShootUpTo(9);
    Press(*m_pPage, "nextPic");
    Shoot(false);
    EXPECT_EQ(PicNum(), Valid(9));
    EXPECT_TRUE(IsOpen("rectify"));
    EXPECT_FALSE(IsOpen("nextPic"));
    EXPECT_TRUE(QFile::exists(Picture("L", 10)));
    Press(*m_pPage, "rectify");
    EXPECT_EQ(LastCalibration(), "10");
}

TEST_F(LensPictures, BackRightAfterAPassOnlyTakesThePassBack)
{
    MakeStreaming();
    ShootUpTo(3);
    Press(*m_pPage, "backPic");
    EXPECT_FALSE(IsOpen("nextPic"));
    EXPECT_EQ(PicNum(), Valid(2));
    EXPECT_EQ(State(), "3");
    EXPECT_EQ(Progress("PICINDEX"), "3");
    Press(*m_pPage, "backPic");
    EXPECT_EQ(PicNum(), Valid(1));
    EXPECT_EQ(State(), "2");
    EXPECT_EQ(Progress("PICINDEX"), "2");
    Press(*m_pPage, "backPic");
    EXPECT_EQ(State(), "1");
    EXPECT_FALSE(IsOpen("backPic"));
}

TEST_F(LensPictures, BackAtTheFirstRightPictureReturnsToWhereTheLeftCameraEnded)
{
    MakeStreaming();
    ShootUpTo(11);
    Press(*m_pPage, "rectify");
    WaitForOpen("[1] Camera-Right");
    WaitForStream();
    EXPECT_EQ(Label("photoRange").text(), "Right camera photo range");
    EXPECT_EQ(Label("hintBar").property("state"), "2");
    EXPECT_EQ(PicNum(), Valid(0));
    EXPECT_FALSE(HasPicture("cameraPic"));
    EXPECT_TRUE(IsOpen("backPic"));
    Press(*m_pPage, "backPic");
    EXPECT_EQ(Label("photoRange").text(), "Left camera photo range");
    EXPECT_EQ(Label("hintBar").property("state"), "1");
    EXPECT_EQ(PicNum(), Valid(10));
    EXPECT_EQ(State(), "10");
    EXPECT_TRUE(IsOpen("rectify"));
    EXPECT_EQ(Progress("STEPINDEX"), "1");
    EXPECT_EQ(Progress("PICINDEX"), "11");
    WaitUntil([this] { return Times("OpenCamera([0] Camera-Left)") == 2; });
}

TEST_F(LensPictures, PicturesOfHigherNumbersStayAndReachTheCalibration)
{
    MakeStreaming(1);
    ShootUpTo(11);
    for (int i = 0; i < 3; ++i) {
        Press(*m_pPage, "backPic");
    }
    EXPECT_EQ(PicNum(), Valid(8));
    Shoot();
    Press(*m_pPage, "rectify");
    EXPECT_EQ(LastCalibration(), "11");
}

TEST_F(LensPictures, TheRightCamerasPicturesHaveAFolderOfTheirOwn)
{
    MakeStreaming();
    FinishLeftCamera();
    Shoot();
    EXPECT_TRUE(QFile::exists(Picture("R", 1)));
    EXPECT_EQ(PicNum(), Valid(1));
}

TEST_F(LensPictures, ThePathIsWordedPartByPart)
{
    auto& wordings = Doubles::The().wordings;
    wordings["/Vision/calib/Camera_Two/Output/"] = "/Vision/calib/Camera_Two/Ausgabe/";
    wordings["L_images/"] = "Links/";
    wordings[".png"] = ".bmp";
    MakeStreaming();
    Shoot();
    EXPECT_TRUE(QFile::exists(m_root.CameraTwo("Ausgabe/Links/1.bmp")));
}

TEST_F(LensPictures, ThePhotoButtonLogsItsWay)
{
    MakeStreaming();
    Shoot();
    std::vector<std::string> lines;
    for (const auto& [nLevel, strText] : Log()) {
        if (strText.rfind("[CalibrateWdg::", 0) == 0 || strText.rfind("pushButton", 0) == 0) {
            lines.push_back(std::to_string(nLevel) + " " + strText);
        }
    }
    EXPECT_THAT(lines, testing::ElementsAre("0 pushButton_snap was clicked.",
                                            "1 [CalibrateWdg::on_pushButton_snap_clicked]Start",
                                            "1 [CalibrateWdg::on_pushButton_snap_clicked]SaveOnePic Start",
                                            "1 [CalibrateWdg::on_pushButton_snap_clicked]SaveOnePic End"));
}

TEST_F(LensPictures, ProgressKeepsWhatTheNextRunNeeds)
{
    MakeStreaming();
    EXPECT_FALSE(QFile::exists(ProgressFile()));
    ShootUpTo(3);
    m_pPage->hide();
    const QStringList keys{"PROGRESS",          "STEPINDEX", "LASTPICINDEXLEFT",
                           "LASTPICINDEXRIGHT", "PICINDEX",  "CALIBSUCCESS"};
    const QStringList values{"1", "1", "1", "1", "3", "0"};
    for (int i = 0; i < keys.size(); ++i) {
        EXPECT_EQ(Progress(keys[i]), values[i]) << qPrintable(keys[i]);
    }
}

TEST_F(LensPictures, TheHiddenStepButtonsKeepProgressAndGoBackToTheFirstPicture)
{
    WriteProgress("PROGRESS=1\nSTEPINDEX=2\nLASTPICINDEXRIGHT=7\n");
    MakeStreaming();
    EXPECT_EQ(PicNum(), Valid(6));
    Button(*m_pPage, "next").click();
    EXPECT_EQ(Progress("PICINDEX"), "7");
    Button(*m_pPage, "back").click();
    EXPECT_EQ(Progress("STEPINDEX"), "1");
    EXPECT_EQ(Progress("PICINDEX"), "1");
    EXPECT_EQ(PicNum(), Valid(0));
    EXPECT_EQ(Label("photoRange").text(), "Left camera photo range");
}

TEST_F(LensPictures, TheHiddenBackButtonOnlyKeepsProgressInTheLeftStep)
{
    MakeStreaming();
    ShootUpTo(2);
    Press(*m_pPage, "nextPic");
    QFile::remove(ProgressFile());
    Button(*m_pPage, "back").click();
    EXPECT_EQ(Progress("PICINDEX"), "3");
    EXPECT_EQ(PicNum(), Valid(2));
    EXPECT_EQ(State(), "3");
}

TEST_F(LensPictures, ASuccessThatIsStoredStaysStored)
{
    for (const char* const pStored : {"1", "0"}) {
        WriteProgress(QByteArray("PROGRESS=1\nCALIBSUCCESS=") + pStored + "\n");
        MakeStreaming();
        Button(*m_pPage, "next").click();
        EXPECT_EQ(Progress("CALIBSUCCESS"), pStored);
        m_pPage.reset();
    }
}

TEST_F(LensPictures, ARunResumesAtTheLastPictureOfTheStepItWasIn)
{
    const struct {
        const char* pWhat;
        QByteArray progress;
        const char* pRange;
        int nPicture;
        bool bRectify;
    } rows[] = {
        {"nothing stored counts", "PROGRESS=0\nSTEPINDEX=2\nLASTPICINDEXRIGHT=5\n", "Left", 1, false},
        {"defaults", "PROGRESS=1\n", "Left", 1, false},
        {"the number in hand decides nothing", "PROGRESS=1\nSTEPINDEX=1\nPICINDEX=7\n", "Left", 1, false},
        {"left", "PROGRESS=1\nSTEPINDEX=1\nLASTPICINDEXLEFT=9\nLASTPICINDEXRIGHT=3\n", "Left", 9, false},
        {"enough", "PROGRESS=1\nSTEPINDEX=1\nLASTPICINDEXLEFT=10\n", "Left", 10, true},
        {"right", "PROGRESS=1\nSTEPINDEX=2\nLASTPICINDEXLEFT=12\nLASTPICINDEXRIGHT=4\n", "Right", 4, false},
        {"another page's step", "PROGRESS=3\nSTEPINDEX=3\nLASTPICINDEXRIGHT=11\n", "Right", 11, true},
        {"a step that there is not", "PROGRESS=1\nSTEPINDEX=0\nLASTPICINDEXRIGHT=2\n", "Right", 2, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.pWhat);
        WriteProgress(row.progress);
        MakeStreaming();
        EXPECT_EQ(Label("photoRange").text(), QString(row.pRange) + " camera photo range");
        EXPECT_EQ(PicNum(), Valid(row.nPicture - 1));
        EXPECT_EQ(State(), std::to_string(std::min(row.nPicture, 10)));
        EXPECT_EQ(IsOpen("rectify"), row.bRectify);
        EXPECT_FALSE(IsOpen("nextPic"));
        m_pPage.reset();
    }
}

TEST_F(LensPictures, ADamagedNumberBecomesOneThatThereIs)
{
    for (const auto& [pStored, nUsed] : {std::pair{"-2147483648", 1}, {"0", 1}, {"2147483647", 16}, {"17", 16}}) {
        SCOPED_TRACE(pStored);
        Doubles::The().logLines.clear();
        WriteProgress(QByteArray("PROGRESS=1\nLASTPICINDEXLEFT=") + pStored + "\n");
        MakeStreaming();
        EXPECT_EQ(PicNum(), Valid(nUsed - 1));
        EXPECT_TRUE(Logged(2, "CalibrateWdg::LoadProgress, LASTPICINDEXLEFT of " + ProgressFile().toStdString() +
                                  " is " + pStored + ", a picture's number is 1 to 16"));
        m_pPage.reset();
    }
}
