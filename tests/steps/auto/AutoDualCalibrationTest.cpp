// Confirming the marks: the calibration of each camera, and its files.

#include "AutoDualFixture.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

std::vector<int> IdsOf(const std::vector<CalibrationPoint>& points)
{
    std::vector<int> ids;
    for (const CalibrationPoint& point : points) {
        ids.push_back(point.nId);
    }
    return ids;
}

} // namespace

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
