// Confirming the eighteen marks: the two homographies, what is published, and how a failure ends.

#include "HandEyeFixture.h"

namespace
{

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

class HandEyeResult : public HandEye
{
protected:
    void OpenMarked(const QList<QPointF>& grid = Grid())
    {
        OpenWithPicture();
        m_pPage->SetListPt(grid);
        MarkAll();
        Doubles::The().journal.clear();
        Doubles::The().logLines.clear();
    }
    static QString Content(const QString& strFile)
    {
        QFile file(strFile);
        return file.open(QFile::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString("(none)");
    }
    QStringList Files(const char* pFolder) const
    {
        return QDir(m_root.Root() + "/Vision/calib/Camera_Two/" + pFolder)
            .entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name);
    }
};

} // namespace

TEST_F(HandEyeResult, BothHomographiesAreMadeFromTheEighteenPairs)
{
    OpenMarked();
    Click("pushButton_confirm");
    EXPECT_EQ(Doubles::The().logLines.front(), std::make_pair(0, std::string("pushButton_confirm was clicked.")));
    EXPECT_THAT(Doubles::The().journal,
                ElementsAre("CreateHomography()", "SaveHomography(Output/DualCamera_pix2mm.xml 1)",
                            "CreateHomography()", "SaveHomography(Output/DualCamera_mm2pix.xml 2)"));
    std::vector<cv::Point2f> imagePx;
    std::vector<cv::Point2f> worldMm;
    for (int i = 0; i < MARKS; ++i) {
        imagePx.emplace_back(static_cast<float>(Place(i).x()), static_cast<float>(Place(i).y()));
        worldMm.emplace_back(static_cast<float>(Grid()[i].x()), static_cast<float>(Grid()[i].y()));
    }
    ASSERT_THAT(Doubles::The().fits, SizeIs(2));
    const Doubles::Fit& pix2mm = Doubles::The().fits[0];
    EXPECT_EQ(pix2mm.source, imagePx);
    EXPECT_EQ(pix2mm.target, worldMm);
    const Doubles::Fit& mm2pix = Doubles::The().fits[1];
    EXPECT_EQ(mm2pix.source, worldMm);
    EXPECT_EQ(mm2pix.target, imagePx);
    for (const Doubles::Fit& fit : Doubles::The().fits) {
        EXPECT_EQ(fit.dError, -1.0);
        EXPECT_EQ(fit.dThreshold, 3.0);
        EXPECT_EQ(fit.nIterations, 2000);
        EXPECT_EQ(fit.dConfidence, 0.995);
    }
}

TEST_F(HandEyeResult, OfALargerGridTheFirstEighteenPointsAreTaken)
{
    OpenMarked(Grid(24));
    Click("pushButton_confirm");
    ASSERT_THAT(Doubles::The().fits, SizeIs(2));
    ASSERT_THAT(Doubles::The().fits[0].target, SizeIs(MARKS));
    EXPECT_EQ(Doubles::The().fits[0].target.back(), cv::Point2f(117.25f, 234.5f));
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting success!");
}

TEST_F(HandEyeResult, SuccessPublishesTheRunTellsItAndLeaves)
{
    m_root.WriteFile(Output("L_images/1.bmp"), "x");
    m_root.WriteFile(Output("R_images/deep/1.bmp"), "x");
    m_root.WriteFile(Result("mapImgR2L.xml"), "of the run before");
    OpenMarked();
    // Only now: a fusion would follow them.
    m_root.WriteFile(Result("AutoDualCalibrate_stitch.xml"), "[CAMERA_PARAM]\nAUTO_CALIBRATION=1\n");
    m_root.WriteFile(Result("old/deep.xml"), "x");
    QSignalSpy exit(m_pPage.get(), &HandEyeAdjustWdg::ExitWindowSignal);
    qsizetype nExitAtNotice = -1;
    QStringList resultAtNotice;
    m_answers.OnBox([&](QMessageBox&) {
        nExitAtNotice = exit.size();
        resultAtNotice = Files("Result");
        EXPECT_TRUE(QFile::exists(m_root.Root() + "/Vision/calib/cameraDevices.ini"));
    });
    Click("pushButton_confirm");

    const QStringList expected{"CameraParam.ini",          "DualCamera_mm2pix.xml",    "DualCamera_pix2mm.xml",
                               "cameraL_calibrateMap.xml", "cameraR_calibrateMap.xml", "mapImgR2L.xml"};
    QStringList published = Files("Result");
    published.sort();
    EXPECT_EQ(published, expected);
    EXPECT_EQ(Files("Output"), QStringList());
    EXPECT_EQ(Content(Result("mapImgR2L.xml")), "of this run");
    EXPECT_EQ(Content(Result("DualCamera_pix2mm.xml")), "1");
    EXPECT_EQ(Content(Result("DualCamera_mm2pix.xml")), "2");
    EXPECT_EQ(Param(Result("CameraParam.ini"), "CAMERA_TYPE"), "0");
    const QString strDevices = m_root.Root() + "/Vision/calib/cameraDevices.ini";
    EXPECT_EQ(ReadIniInt("VISION", "CAMERA_NUMBER", -1, strDevices), 2);
    EXPECT_EQ(ReadIniString("VISION", "CAMERA_LEFT_NAME", "", strDevices), "Camera-Left");
    EXPECT_EQ(ReadIniString("VISION", "CAMERA_RIGHT_NAME", "", strDevices), "Camera-Right");

    EXPECT_EQ(m_answers.OnlyText(), "Adjusting success!");
    EXPECT_EQ(m_answers.Notices()[0].strTitle, "Tips");
    EXPECT_EQ(m_answers.Notices()[0].icon, QMessageBox::Information);
    EXPECT_EQ(m_answers.Notices()[0].pParent, nullptr);
    EXPECT_EQ(resultAtNotice.size(), expected.size()) << "published before it is told";
    EXPECT_EQ(nExitAtNotice, 0);
    EXPECT_EQ(exit.size(), 1);
}

TEST_F(HandEyeResult, ThePublishedTypeIsWhatThePageWasTold)
{
    for (const int nType : {-1, 4}) {
        m_root.WriteFile(Output("cameraL_calibrateMap.xml"), "x");
        m_root.WriteFile(Output("cameraR_calibrateMap.xml"), "x");
        m_root.WriteFile(Output("mapImgR2L.xml"), "x");
        m_pPage = std::make_unique<HandEyeAdjustWdg>();
        if (nType >= 0) {
            m_pPage->SetCameraType(nType);
        }
        Show();
        Photo();
        m_pPage->SetListPt(Grid());
        MarkAll();
        Click("pushButton_confirm");
        EXPECT_EQ(Param(Result("CameraParam.ini"), "CAMERA_TYPE"), QString::number(nType));
    }
}

TEST_F(HandEyeResult, AFitThatFailsIsNotDetected)
{
    OpenMarked();
    Doubles::The().answers["CreateHomography"] = false;
    m_root.WriteFile(Output("DualCamera_mm2pix.xml"), "of a run that broke off");
    Doubles::The().failAt["SaveHomography"] = 2;
    QSignalSpy exit(m_pPage.get(), &HandEyeAdjustWdg::ExitWindowSignal);
    Click("pushButton_confirm");
    EXPECT_THAT(Doubles::The().journal, Contains("SaveHomography(Output/DualCamera_pix2mm.xml empty)"));
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting success!");
    EXPECT_EQ(exit.size(), 1);
    EXPECT_EQ(Content(Result("mapImgR2L.xml")), "of this run");
    EXPECT_FALSE(QFile::exists(Result("DualCamera_mm2pix.xml"))) << "never that of another run";
    EXPECT_TRUE(Doubles::The().Logged(3, "HandEyeAdjustWdg::CreateHomographyFiles: " +
                                             Output("DualCamera_mm2pix.xml").toStdString() + " cannot be written"));
}

TEST_F(HandEyeResult, AModuleThatThrowsIsNotDetectedEither)
{
    for (const char* const pOperation : {"CreateHomography", "SaveHomography"}) {
        for (const char* const pFile : {"cameraL_calibrateMap.xml", "cameraR_calibrateMap.xml", "mapImgR2L.xml"}) {
            m_root.WriteFile(Output(pFile), "x");
        }
        OpenMarked();
        Doubles::The().throwFrom = {{pOperation, "out of order"}};
        Click("pushButton_confirm");
        EXPECT_EQ(m_answers.Notices().back().strText, "Adjusting success!");
        EXPECT_THAT(Doubles::The().logLines, Contains(Field(&std::pair<int, std::string>::first, 3)));
        Doubles::The().throwFrom.clear();
    }
}

TEST_F(HandEyeResult, SeventeenMarksFailAndStillLeave)
{
    OpenMarked();
    Click("pushButton_RemoveCoord");
    ASSERT_TRUE(Button("pushButton_confirm").isEnabled());
    m_root.WriteFile(Result("kept.xml"), "x");
    Doubles::The().wordings = {{"OK", "~ok"}};
    QSignalSpy exit(m_pPage.get(), &HandEyeAdjustWdg::ExitWindowSignal);
    Click("pushButton_confirm");
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting fail!");
    const ModalAnswers::Notice& notice = m_answers.Notices()[0];
    EXPECT_EQ(notice.strTitle, "Tips");
    EXPECT_EQ(notice.icon, QMessageBox::Warning);
    EXPECT_EQ(notice.pParent, m_pPage.get());
    EXPECT_EQ(notice.buttons, QStringList{"OK"}) << "the standard button's own text";
    EXPECT_EQ(exit.size(), 1);
    EXPECT_THAT(Doubles::The().journal, IsEmpty());
    EXPECT_EQ(Files("Result"), QStringList{"kept.xml"});
    EXPECT_EQ(Content(Output("mapImgR2L.xml")), "of this run");
    EXPECT_FALSE(QFile::exists(m_root.Root() + "/Vision/calib/cameraDevices.ini"));
}

TEST_F(HandEyeResult, ASmallerGridThanEighteenFails)
{
    OpenMarked(Grid(17));
    QSignalSpy exit(m_pPage.get(), &HandEyeAdjustWdg::ExitWindowSignal);
    Click("pushButton_confirm");
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting fail!");
    EXPECT_EQ(exit.size(), 1);
}

TEST_F(HandEyeResult, TheGridIsReplacedNotExtended)
{
    OpenMarked(Grid(10));
    m_pPage->SetListPt(Grid(10));
    Click("pushButton_confirm");
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting fail!");
}

TEST_F(HandEyeResult, AnOutputFolderThatIsGoneIsLoggedAndToldAsSuccess)
{
    OpenMarked();
    QDir(m_root.Root() + "/Vision/calib/Camera_Two/Output").removeRecursively();
    Click("pushButton_confirm");
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting success!");
    EXPECT_THAT(Doubles::The().logLines,
                Contains(AllOf(Field(&std::pair<int, std::string>::first, 3),
                               Field(&std::pair<int, std::string>::second,
                                     testing::HasSubstr("HandEyeAdjustWdg::PublishResults: ")))));
}

TEST_F(HandEyeResult, APageThatGoesWithItsNoticeIsNotTouched)
{
    for (const int nMarks : {MARKS, MARKS - 1}) {
        m_root.WriteFile(Output("cameraL_calibrateMap.xml"), "x");
        m_root.WriteFile(Output("cameraR_calibrateMap.xml"), "x");
        m_root.WriteFile(Output("mapImgR2L.xml"), "x");
        OpenMarked();
        if (nMarks < MARKS) {
            Click("pushButton_RemoveCoord");
        }
        int nExits = 0;
        QObject::connect(m_pPage.get(), &HandEyeAdjustWdg::ExitWindowSignal, [&nExits] { ++nExits; });
        m_answers.OnBox([this](QMessageBox&) { m_pPage.reset(); });
        QMetaObject::invokeMethod(m_pPage.get(), "on_pushButton_confirm_clicked", Qt::DirectConnection);
        m_answers.OnBox({});
        EXPECT_EQ(m_pPage, nullptr);
        EXPECT_EQ(nExits, 0);
    }
}
