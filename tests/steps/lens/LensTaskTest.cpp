// What the calibrate button does: the calibration, the fusion pattern for the machine, and the way on.

#include "LensPageFixture.h"

namespace
{

using testing::IsEmpty;

class LensTask : public LensPageFixture
{
protected:
    /// The page in the right camera's step, with its nine pictures and a stream.
    CalibrateWdg& MakeAtTheEnd(int nCameraType = 0)
    {
        WriteProgress("PROGRESS=1\nSTEPINDEX=2\nLASTPICINDEXLEFT=9\nLASTPICINDEXRIGHT=10\n");
        return MakeStreaming(nCameraType);
    }
    void SetCanvas(const QByteArray& width, const QByteArray& height)
    {
        m_root.WriteFile(m_root.Root() + "/Data/CameraSetting.ini",
                         "[CANVAS_SIZE]\nWIDTH=" + width + "\nHEIGHT=" + height + "\n");
    }
    std::string Journal(const std::string& strName) const
    {
        for (const std::string& strLine : Doubles::The().journal) {
            if (strLine.rfind(strName + "(", 0) == 0) {
                return strLine;
            }
        }
        return "(none)";
    }
};

} // namespace

TEST_F(LensTask, TheManualFlowCalibratesNothingAndGoesOnToTheRightCamera)
{
    // Only the dialog's text is not worded.
    Doubles::The().wordings["Processing..."] = "Bitte warten";
    MakeStreaming();
    QStringList atNotice;
    m_answers.OnBox([&](QMessageBox&) {
        atNotice << Label("photoRange").text() << Progress("STEPINDEX") << (IsOpen("rectify") ? "open" : "shut");
    });
    FinishLeftCamera();
    EXPECT_EQ(m_answers.OnlyText(), "Camera Calibration success!");
    EXPECT_EQ(atNotice, QStringList({"Left camera photo range", "1", "shut"})) << "told before it goes on";
    EXPECT_EQ(Journal("ThreadDialogRun"), "ThreadDialogRun(0, null, 0, Processing...)");
    EXPECT_EQ(Doubles::The().Count("CalibrateDistortedCamera"), 0);
    EXPECT_TRUE(m_host.calls.empty());
    EXPECT_FALSE(QFile::exists(Output("CameraParam.ini")));
    EXPECT_EQ(Label("photoRange").text(), "Right camera photo range");
    EXPECT_EQ(PicNum(), Valid(0));
    EXPECT_FALSE(IsOpen("rectify"));
    EXPECT_EQ(Progress("STEPINDEX"), "2");
    EXPECT_EQ(Progress("LASTPICINDEXLEFT"), "9");
    EXPECT_EQ(Progress("LASTPICINDEXRIGHT"), "1");
    EXPECT_EQ(Progress("PICINDEX"), "1");
    EXPECT_EQ(Progress("CALIBSUCCESS"), "0");
}

TEST_F(LensTask, AnyOtherTypeCalibratesEachCameraFromItsFolder)
{
    MakeStreaming(1);
    FinishLeftCamera();
    EXPECT_EQ(Journal("CalibrateDistortedCamera"), "CalibrateDistortedCamera(9 pictures, 7x9)");
    EXPECT_THAT(Journal("SaveCameraParameters"), testing::HasSubstr("Output/cameraL_calibrateMap.xml"));
    Doubles::The().journal.clear();
    ShootUpTo(9);
    QSignalSpy next(m_pPage.get(), &CalibrateWdg::nextWdgSignal);
    Press(*m_pPage, "rectify");
    EXPECT_EQ(Journal("CalibrateDistortedCamera"), "CalibrateDistortedCamera(9 pictures, 7x9)");
    EXPECT_THAT(Journal("SaveCameraParameters"), testing::HasSubstr("Output/cameraR_calibrateMap.xml"));
    WaitUntil([&] { return next.size() == 1; });
    EXPECT_EQ(Param(Output("CameraParam.ini"), "CAMERA_TYPE"), "1");
}

TEST_F(LensTask, EachCameraStoresWhereItEnded)
{
    WriteProgress("PROGRESS=1\nSTEPINDEX=1\nLASTPICINDEXLEFT=10\nLASTPICINDEXRIGHT=12\n");
    MakeStreaming();
    Press(*m_pPage, "rectify");
    EXPECT_EQ(Progress("LASTPICINDEXLEFT"), "10");
    EXPECT_EQ(Progress("LASTPICINDEXRIGHT"), "1") << "the right camera begins anew";
    WaitForOpen("[1] Camera-Right");
    WaitForStream();
    ShootUpTo(11);
    Press(*m_pPage, "rectify");
    EXPECT_EQ(Progress("LASTPICINDEXLEFT"), "10");
    EXPECT_EQ(Progress("LASTPICINDEXRIGHT"), "11");
}

TEST_F(LensTask, TheLensFilesAreWordedPartByPart)
{
    auto& wordings = Doubles::The().wordings;
    wordings["L_images/"] = "Links/";
    wordings["R_images/"] = "Rechts/";
    wordings["cameraL_calibrateMap.xml"] = "links.xml";
    wordings["cameraR_calibrateMap.xml"] = "rechts.xml";
    MakeStreaming(1);
    FinishLeftCamera();
    EXPECT_TRUE(QFile::exists(Output("Links/9.png")));
    EXPECT_EQ(Journal("CalibrateDistortedCamera"), "CalibrateDistortedCamera(9 pictures, 7x9)");
    EXPECT_THAT(Journal("SaveCameraParameters"), testing::HasSubstr("Output/links.xml"));
    Doubles::The().journal.clear();
    ShootUpTo(9);
    EXPECT_TRUE(QFile::exists(Output("Rechts/9.png")));
    Press(*m_pPage, "rectify");
    EXPECT_EQ(Journal("CalibrateDistortedCamera"), "CalibrateDistortedCamera(9 pictures, 7x9)");
    EXPECT_THAT(Journal("SaveCameraParameters"), testing::HasSubstr("Output/rechts.xml"));
}

TEST_F(LensTask, TheUploadIsLoggedBeforeAndAfter)
{
    WriteProgress("PROGRESS=1\nSTEPINDEX=2\nLASTPICINDEXRIGHT=10\n");
    Make().show();
    m_pPage->hide();
    Doubles::The().logLines.clear();
    m_host.onCommand = [] { Doubles::The().logLines.emplace_back(-1, "the command"); };
    EXPECT_EQ(m_pPage->ThreadDialog_ThreadRun(0, nullptr), 0);
    EXPECT_THAT(Doubles::The().logLines,
                testing::ElementsAre(std::pair(1, "ThreadDialog_ThreadRun : DeviceDocumentImport Start!"),
                                     std::pair(-1, "the command"),
                                     std::pair(1, "ThreadDialog_ThreadRun : DeviceDocumentImport End!")));
}

TEST_F(LensTask, ACalibrationThatFailsIsToldAndChangesNothing)
{
    for (const char* pOperation : {"CalibrateDistortedCamera", "SaveCameraParameters"}) {
        SCOPED_TRACE(pOperation);
        Doubles::The().answers[pOperation] = false;
        const std::size_t nBefore = m_answers.Notices().size();
        MakeAtTheEnd(2);
        Press(*m_pPage, "rectify");
        ASSERT_EQ(m_answers.Notices().size(), nBefore + 1);
        EXPECT_EQ(m_answers.Notices().back().strText, "Camera Calibration fail!");
        EXPECT_EQ(m_answers.Notices().back().icon, QMessageBox::Information);
        EXPECT_TRUE(IsOpen("rectify"));
        EXPECT_EQ(Label("photoRange").text(), "Right camera photo range");
        EXPECT_TRUE(m_host.calls.empty());
        EXPECT_FALSE(QFile::exists(Output("CameraParam.ini")));
        EXPECT_EQ(Progress("CALIBSUCCESS"), "(none)");
        m_pPage.reset();
        Doubles::The().answers.clear();
    }
}

TEST_F(LensTask, AfterTheRightCameraThePatternGoesToTheMachineAndThePageEnds)
{
    MakeAtTheEnd();
    QSignalSpy next(m_pPage.get(), &CalibrateWdg::nextWdgSignal);
    Press(*m_pPage, "rectify");
    EXPECT_EQ(m_answers.OnlyText(), "Camera Calibration success!");
    EXPECT_THAT(m_host.calls, testing::ElementsAre("RunCommand(DeviceDocumentImport, " + m_root.Root().toStdString() +
                                                   "/Vision/calib/Camera_Two/FusionCalibImages/FusionImage.kv)"));
    EXPECT_NE(m_host.thread, std::this_thread::get_id());
    EXPECT_EQ(Param(Output("CameraParam.ini"), "CAMERA_TYPE"), "0");
    EXPECT_EQ(Progress("CALIBSUCCESS"), "1");
    EXPECT_EQ(Progress("LASTPICINDEXRIGHT"), "10");
    EXPECT_EQ(Progress("STEPINDEX"), "2");
    // Only when the capture thread's end is heard of.
    EXPECT_EQ(next.size(), 0);
    WaitUntil([&] { return next.size() == 1; });
    EXPECT_FALSE(IsOpen("rectify"));
    EXPECT_TRUE(Logged(1, "ThreadDialog_ThreadRun : DeviceDocumentImport Start!"));
    EXPECT_TRUE(Doubles::The().Logged(1, "ThreadDialog_ThreadRun : DeviceDocumentImport End!"));
    QTest::qWait(20);
    EXPECT_EQ(next.size(), 1);
}

TEST_F(LensTask, WithoutARunningThreadThePageDoesNotEnd)
{
    g_calibGlobalParam.strRightCameraName = "None";
    WriteProgress("PROGRESS=1\nSTEPINDEX=2\nLASTPICINDEXRIGHT=10\n");
    Make().show();
    QSignalSpy next(m_pPage.get(), &CalibrateWdg::nextWdgSignal);
    Press(*m_pPage, "rectify");
    EXPECT_EQ(m_answers.OnlyText(), "Camera Calibration success!");
    QTest::qWait(50);
    EXPECT_EQ(next.size(), 0);
    EXPECT_EQ(Progress("CALIBSUCCESS"), "1");
}

TEST_F(LensTask, TheMachinesStatusDecidesTheUpload)
{
    const struct {
        int nStatus;
        int nResult;
    } rows[] = {{1011, 0}, {1016, -3}, {1001, -2}, {0, -2}, {-1, -2}};
    CalibrateWdg& page = MakeAtTheEnd();
    for (const auto& row : rows) {
        m_host.nAnswer = row.nStatus;
        EXPECT_EQ(page.ThreadDialog_ThreadRun(0, nullptr), row.nResult) << row.nStatus;
    }
}

TEST_F(LensTask, AnUploadThatFailsIsToldAndChangesNothing)
{
    MakeAtTheEnd();
    for (const int nStatus : {1016, 1001}) {
        m_host.nAnswer = nStatus;
        Press(*m_pPage, "rectify");
        EXPECT_EQ(m_answers.Notices().back().strText, "Upload fusion image failed!") << nStatus;
        EXPECT_TRUE(IsOpen("rectify"));
    }
    EXPECT_EQ(m_answers.Notices().size(), 2u);
    EXPECT_EQ(Progress("CALIBSUCCESS"), "(none)");
    WaitForStream();
}

TEST_F(LensTask, WithoutAHostTheFlowIsStoredAndTheUploadFails)
{
    WriteProgress("PROGRESS=1\nSTEPINDEX=2\nLASTPICINDEXRIGHT=10\n");
    Make(0, false).show();
    Press(*m_pPage, "rectify");
    EXPECT_EQ(m_answers.OnlyText(), "Upload fusion image failed!");
    EXPECT_EQ(Param(Output("CameraParam.ini"), "CAMERA_TYPE"), "0");
    EXPECT_TRUE(IsOpen("rectify"));
}

TEST_F(LensTask, TheCanvasChoosesThePattern)
{
    const struct {
        const char* pWidth;
        const char* pHeight;
        const char* pFile;
    } rows[] = {{"900", "600", "FusionImage.kv"},
                {"813", "508", "FusionImage_813_508.kv"},
                {"813.9", "508.5", "FusionImage_813_508.kv"},
                {"1300", "900", "FusionImage_1300_900.kv"},
                {"1600", "1000", "FusionImage_1600_1000.kv"},
                {"1300", "508", "FusionImage.kv"},
                {"508", "813", "FusionImage.kv"},
                {"nan", "inf", "FusionImage.kv"}};
    CalibrateWdg& page = MakeAtTheEnd();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.pFile);
        SetCanvas(row.pWidth, row.pHeight);
        m_host.calls.clear();
        EXPECT_EQ(page.ThreadDialog_ThreadRun(0, nullptr), 0);
        ASSERT_EQ(m_host.calls.size(), 1u);
        EXPECT_THAT(m_host.calls.front(), testing::EndsWith(std::string("FusionCalibImages/") + row.pFile + ")"));
    }
}

TEST_F(LensTask, APageThatGoesWhileItsNoticeStandsIsNotTouchedAgain)
{
    for (const int nStatus : {1011, 1016}) {
        m_host.nAnswer = nStatus;
        MakeAtTheEnd();
        m_answers.OnBox([this](QMessageBox&) { m_pPage.reset(); });
        Press(*m_pPage, "rectify");
        EXPECT_FALSE(m_pPage);
        QTest::qWait(10);
    }
    EXPECT_EQ(m_answers.Notices().size(), 2u);
}

TEST_F(LensTask, APageThatGoesWhileAPoorPictureIsToldIsNotTouchedAgain)
{
    MakeStreaming();
    m_answers.OnBox([this](QMessageBox&) { m_pPage.reset(); });
    Doubles::The().answers["FindCalibrationBoard"] = false;
    Press(*m_pPage, "snap");
    WaitUntil([this] { return !m_pPage; });
    EXPECT_EQ(m_answers.OnlyText(), g_strPoorPicture);
}

TEST_F(LensTask, TheRightStepAfterAFinishedRunOpensWithItsPictures)
{
    MakeAtTheEnd();
    QSignalSpy next(m_pPage.get(), &CalibrateWdg::nextWdgSignal);
    Press(*m_pPage, "rectify");
    WaitUntil([&] { return next.size() == 1; });
    m_pPage->hide();
    m_pPage->show();
    WaitForStream();
    EXPECT_EQ(PicNum(), Valid(9));
    EXPECT_TRUE(IsOpen("rectify"));
    EXPECT_EQ(next.size(), 1);
}
