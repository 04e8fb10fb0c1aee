#include "RunFiles.h"

#include "CalibratedMachine.h"
#include "DataRoot.h"
#include "Failure.h"
#include "FullDisk.h"
#include "KorvaneVision.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

using namespace Workbench;
using Kind = Simulator::Machine::Kind;

class FilesOfARun : public testing::Test
{
protected:
    QString Camera(const QString& strName) const { return m_data.CameraTwo(strName); }
    void Write(const QString& strName, const QByteArray& content) const { m_data.WriteFile(Camera(strName), content); }
    QByteArray Read(const QString& strName) const
    {
        QFile file(Camera(strName));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
    }
    bool Exists(const QString& strName) const { return QFileInfo::exists(Camera(strName)); }
    void WriteHomography(const QString& strName) const
    {
        QDir().mkpath(QFileInfo(Camera(strName)).path());
        EXPECT_TRUE(Korvane::CameraCalibration::SaveHomography(Camera(strName).toLocal8Bit().toStdString(),
                                                               cv::Mat::eye(3, 3, CV_64F)));
    }
    static void WriteLens(const QString& strFile)
    {
        EXPECT_TRUE(Korvane::CameraCalibration::SaveCameraParameters(
            strFile.toLocal8Bit().toStdString(), cv::Mat::eye(3, 3, CV_64F), cv::Mat::zeros(1, 5, CV_64F), 0.1));
    }
    /// What a wizard does at every closing.
    void CloseWizard() const { QFile::remove(Camera("Progress.ini")); }

    ::DataRoot m_data;
    RunFiles m_automatic{Kind::Automatic};
    RunFiles m_manual{Kind::Manual};
};

/// With a calibration that the pipeline takes.
class FilesOfACalibratedMachine : public FilesOfARun
{
protected:
    static void SetUpTestSuite()
    {
        Simulator::Machine machine(Kind::Automatic, 1);
        Simulator::CalibrationReport report;
        s_pOnce = new QTemporaryDir;
        ASSERT_TRUE(Simulator::WriteCalibrationFiles(machine, s_pOnce->path().toStdString(), {}, report));
    }
    static void TearDownTestSuite() { delete s_pOnce; }
    void SetUp() override
    {
        const QString strFolder = "/Vision/calib/Camera_Two/Result";
        ASSERT_TRUE(QDir().mkpath(m_data.Root() + strFolder));
        for (const QString& strName : QDir(s_pOnce->path() + strFolder).entryList(QDir::Files)) {
            ASSERT_TRUE(
                QFile::copy(s_pOnce->path() + strFolder + "/" + strName, m_data.Root() + strFolder + "/" + strName));
        }
    }

    static inline QTemporaryDir* s_pOnce = nullptr;
};

TEST_F(FilesOfACalibratedMachine, ACancelledRunGivesTheCalibrationBackByteForByte)
{
    const QByteArray left = Read("Result/L_AutoDualCalibrate.xml");
    const QByteArray points = Read("Result/LeftCalPts.txt");
    m_automatic.Prepare(Opening::Calibration);
    Write("Result/L_AutoDualCalibrate.xml", "half a run");
    Write("Result/NewFile.txt", "of the run");
    QFile::remove(Camera("Result/LeftCalPts.txt"));
    CloseWizard();
    EXPECT_FALSE(m_automatic.Conclude(false));
    EXPECT_EQ(Read("Result/L_AutoDualCalibrate.xml"), left);
    EXPECT_EQ(Read("Result/LeftCalPts.txt"), points);
    EXPECT_FALSE(Exists("Result/NewFile.txt"));
    EXPECT_FALSE(Exists("ResultBeforeRun"));
}

TEST_F(FilesOfACalibratedMachine, AFinishedRunKeepsItsResults)
{
    m_automatic.Prepare(Opening::Calibration);
    Write("Result/RightCameraParam.ini", "[CAMERA_PARAM]\nAUTO_CALIBRATION=1\n");
    CloseWizard();
    EXPECT_TRUE(m_automatic.Conclude(true));
    EXPECT_EQ(Read("Result/RightCameraParam.ini"), "[CAMERA_PARAM]\nAUTO_CALIBRATION=1\n");
    EXPECT_FALSE(Exists("ResultBeforeRun"));
}

TEST_F(FilesOfACalibratedMachine, ARunThatLeftNoWholeCalibrationCountsAsCancelled)
{
    const QByteArray pair = Read("Result/DualCamerasCalibrationParam.ini");
    m_automatic.Prepare(Opening::Calibration);
    Write("Result/DualCamerasCalibrationParam.ini", "no record");
    CloseWizard();
    EXPECT_FALSE(m_automatic.Conclude(true));
    EXPECT_EQ(Read("Result/DualCamerasCalibrationParam.ini"), pair);
}

TEST_F(FilesOfACalibratedMachine, AfterAProcessThatDiedTheBackupIsOfBeforeThatRun)
{
    const QByteArray left = Read("Result/L_AutoDualCalibrate.xml");
    m_automatic.Prepare(Opening::Calibration);
    Write("Result/L_AutoDualCalibrate.xml", "half a run");
    Write("Progress.ini", "[PROGRESS]\nPROGRESS=3\n");
    // The process ends here; the next one resumes and cancels.
    RunFiles next(Kind::Automatic);
    next.Recover();
    EXPECT_EQ(Read("Result/L_AutoDualCalibrate.xml"), "half a run") << "the resumed run needs it";
    next.Prepare(Opening::Calibration);
    CloseWizard();
    EXPECT_FALSE(next.Conclude(false));
    EXPECT_EQ(Read("Result/L_AutoDualCalibrate.xml"), left);
}

TEST_F(FilesOfACalibratedMachine, ARunThatDiedAndCannotBeResumedIsUndone)
{
    const QByteArray left = Read("Result/L_AutoDualCalibrate.xml");
    m_automatic.Prepare(Opening::Calibration);
    Write("Result/L_AutoDualCalibrate.xml", "half a run");
    RunFiles next(Kind::Automatic);
    next.Recover();
    EXPECT_EQ(Read("Result/L_AutoDualCalibrate.xml"), left);
    EXPECT_FALSE(Exists("ResultBeforeRun"));
}

TEST_F(FilesOfARun, ACancelledFirstRunLeavesNoCalibration)
{
    m_automatic.Prepare(Opening::Calibration);
    Write("Result/L_AutoDualCalibrate.xml", "half a run");
    CloseWizard();
    EXPECT_FALSE(m_automatic.Conclude(false));
    EXPECT_FALSE(Exists("Result"));
    EXPECT_FALSE(Exists("ResultBeforeRun"));
}

TEST_F(FilesOfARun, ConcludingWithoutARunChangesNothing)
{
    Write("Result/some.txt", "stays");
    m_automatic.Conclude(false);
    m_automatic.Recover();
    EXPECT_EQ(Read("Result/some.txt"), "stays");
}

TEST_F(FilesOfARun, AManualRunFindsItsCameraTypeAndLensFiles)
{
    int nCalls = 0;
    const auto writeLens = [&](const QString& strFolder) {
        ++nCalls;
        WriteLens(strFolder + "/cameraL_calibrateMap.xml");
        WriteLens(strFolder + "/cameraR_calibrateMap.xml");
        return true;
    };
    m_manual.Prepare(Opening::Calibration, writeLens);
    EXPECT_EQ(QSettings(Camera("Progress.ini"), QSettings::IniFormat).value("PROGRESS/CAMERA_TYPE", 1).toInt(), 0);
    const QByteArray lens = Read("Output/cameraL_calibrateMap.xml");
    EXPECT_GT(lens.size(), 100);
    m_manual.Conclude(false);
    CloseWizard();
    // The window deletes both at its closing, so they are written before each opening, and only where they are missing.
    m_manual.Prepare(Opening::Fusion, writeLens);
    EXPECT_EQ(QSettings(Camera("Progress.ini"), QSettings::IniFormat).value("PROGRESS/CAMERA_TYPE", 1).toInt(), 0);
    EXPECT_EQ(nCalls, 1);
    // Or damaged: the wizard would fail with one.
    Write("Output/cameraR_calibrateMap.xml", lens.left(lens.size() / 2));
    m_manual.Prepare(Opening::Fusion, writeLens);
    EXPECT_EQ(nCalls, 2);
    EXPECT_EQ(Read("Output/cameraR_calibrateMap.xml"), lens);
    EXPECT_THROW(RunFiles(Kind::Manual).Prepare(Opening::Coordinate, writeLens), Failure) << "no homography to copy";
}

TEST_F(FilesOfARun, AManualRunFindsTheFusionPatternsWhereTheWizardLooksForThem)
{
    m_manual.Prepare(Opening::Calibration);
    EXPECT_EQ(QDir(Camera("FusionCalibImages")).entryList(QDir::Files),
              QStringList(
                  {"FusionImage.kv", "FusionImage_1300_900.kv", "FusionImage_1600_1000.kv", "FusionImage_813_508.kv"}));
    m_manual.Conclude(false);
    CloseWizard();
    const QByteArray own = "KV 1\n# the user's own\nbed 900 600\nline 1 2 3 4\nend 1\n";
    Write("FusionCalibImages/FusionImage.kv", own);
    m_manual.Prepare(Opening::Fusion);
    EXPECT_EQ(Read("FusionCalibImages/FusionImage.kv"), own);
}

TEST_F(FilesOfARun, LensFilesThatCannotBeWrittenKeepTheWizardShut)
{
    EXPECT_THROW(m_manual.Prepare(Opening::Calibration, [](const QString&) { return false; }), Failure);
}

TEST_F(FilesOfARun, ACoordinateRunOfAManualMachineFindsThePairsHomography)
{
    WriteHomography("Result/mapImgR2L.xml");
    m_manual.Prepare(Opening::Coordinate);
    const QByteArray pair = Read("Result/mapImgR2L.xml");
    EXPECT_EQ(Read("Output/mapImgR2L.xml"), pair);
    Write("Output/mapImgR2L.xml", "damaged");
    m_manual.Prepare(Opening::Coordinate);
    EXPECT_EQ(Read("Output/mapImgR2L.xml"), pair);
    Write("Output/mapImgR2L.xml", "damaged");
    Write("Result/mapImgR2L.xml", "damaged too");
    EXPECT_THROW(m_manual.Prepare(Opening::Coordinate), Failure);
}

TEST_F(FilesOfACalibratedMachine, AManualRunMeetsNoFlagsOfTheAutomaticFlowAndACancelBringsThemBack)
{
    const QByteArray stitch = Read("Result/AutoDualCalibrate_stitch.xml");
    Write("Progress.ini", "[PROGRESS]\nPROGRESS=4\n");
    m_manual.Prepare(Opening::Calibration);
    EXPECT_FALSE(Exists("Result/AutoDualCalibrate_stitch.xml"));
    EXPECT_FALSE(Exists("Result/LeftCameraParam.ini"));
    EXPECT_FALSE(QSettings(Camera("Progress.ini"), QSettings::IniFormat).contains("PROGRESS/PROGRESS"))
        << "page 4 of another flow";
    CloseWizard();
    m_manual.Conclude(false);
    EXPECT_EQ(Read("Result/AutoDualCalibrate_stitch.xml"), stitch);
}

TEST_F(FilesOfARun, AnAutomaticRunDoesNotResumeAManualOne)
{
    Write("Progress.ini", "[PROGRESS]\nCAMERA_TYPE=0\nPROGRESS=5\n");
    Write("Output/cameraL_calibrateMap.xml", "left");
    m_automatic.Prepare(Opening::Calibration);
    EXPECT_FALSE(Exists("Progress.ini"));
    EXPECT_FALSE(Exists("Output"));
    EXPECT_TRUE(Exists("OtherFlow/Progress.ini"));
    m_automatic.Conclude(false);
    EXPECT_EQ(Read("Progress.ini"), "[PROGRESS]\nCAMERA_TYPE=0\nPROGRESS=5\n");
    EXPECT_EQ(Read("Output/cameraL_calibrateMap.xml"), "left");
    EXPECT_FALSE(Exists("OtherFlow"));
}

/// An automatic run has died with its process after the left camera; a manual one is opened.
class FilesOfAManualRunOverHalfAnAutomaticOne : public FilesOfACalibratedMachine
{
protected:
    void SetUp() override
    {
        FilesOfACalibratedMachine::SetUp();
        m_before = Read("Result/L_AutoDualCalibrate.xml");
        m_automatic.Prepare(Opening::Calibration);
        Write("Result/L_AutoDualCalibrate.xml", "half a run");
        Write("Progress.ini", m_progress);
        m_manual.Recover();
        m_manual.Prepare(Opening::Calibration, [this](const QString& strFolder) {
            m_data.WriteFile(strFolder + "/cameraL_calibrateMap.xml", "left");
            return true;
        });
    }
    void ExpectTheAutomaticRunCanGoOn()
    {
        EXPECT_EQ(Read("Progress.ini"), m_progress);
        EXPECT_EQ(Read("Result/L_AutoDualCalibrate.xml"), "half a run");
        EXPECT_FALSE(Exists("Output"));
        EXPECT_FALSE(Exists("OtherFlow"));
        RunFiles next(Kind::Automatic);
        next.Prepare(Opening::Calibration);
        CloseWizard();
        EXPECT_FALSE(next.Conclude(false));
        EXPECT_EQ(Read("Result/L_AutoDualCalibrate.xml"), m_before) << "the calibration of before both";
    }
    /// What the window does with its files at every closing.
    void CloseManualWizard() const
    {
        CloseWizard();
        QDir(Camera("Output")).removeRecursively();
    }

    const QByteArray m_progress = "[PROGRESS]\nPROGRESS=4\n";
    QByteArray m_before;
};

TEST_F(FilesOfAManualRunOverHalfAnAutomaticOne, MeetsTheCalibrationOfBeforeTheHalfRun)
{
    EXPECT_EQ(Read("Result/L_AutoDualCalibrate.xml"), m_before);
    EXPECT_FALSE(QSettings(Camera("Progress.ini"), QSettings::IniFormat).contains("PROGRESS/PROGRESS"));
}

TEST_F(FilesOfAManualRunOverHalfAnAutomaticOne, ACancelBringsTheHalfRunBackSoThatItGoesOn)
{
    CloseManualWizard();
    EXPECT_FALSE(m_manual.Conclude(false));
    ExpectTheAutomaticRunCanGoOn();
}

TEST_F(FilesOfAManualRunOverHalfAnAutomaticOne, AlsoWhenTheManualOneDiedBeforeItsFirstStep)
{
    CloseManualWizard();
    RunFiles(Kind::Manual).Recover();
    ExpectTheAutomaticRunCanGoOn();
}

TEST_F(FilesOfAManualRunOverHalfAnAutomaticOne, AnOpeningThatFailsBringsItBackToo)
{
    EXPECT_THROW(m_manual.Prepare(Opening::Coordinate), Failure) << "there is no homography of the pair";
    EXPECT_FALSE(m_manual.Conclude(false));
    ExpectTheAutomaticRunCanGoOn();
}

TEST_F(FilesOfAManualRunOverHalfAnAutomaticOne, ARunThatDiedWhileItWasPutAsideIsPutAsideByTheNext)
{
    CloseManualWizard();
    m_manual.Conclude(false);
    // As far as the half results, and no further.
    ASSERT_TRUE(QDir().mkpath(Camera("OtherFlow")));
    ASSERT_TRUE(QDir().rename(Camera("Result"), Camera("OtherFlow/Result")));
    RunFiles next(Kind::Manual);
    next.Recover();
    next.Prepare(Opening::Calibration);
    EXPECT_EQ(Read("Result/L_AutoDualCalibrate.xml"), m_before);
    CloseManualWizard();
    next.Conclude(false);
    ExpectTheAutomaticRunCanGoOn();
}

TEST_F(FilesOfAManualRunOverHalfAnAutomaticOne, AHalfRunThatIsNotWholeIsGivenUp)
{
    QDir(Camera("OtherFlow/ResultBeforeRun")).removeRecursively();
    CloseManualWizard();
    m_manual.Conclude(false);
    EXPECT_FALSE(Exists("Progress.ini"));
    EXPECT_FALSE(Exists("OtherFlow"));
    EXPECT_EQ(Read("Result/L_AutoDualCalibrate.xml"), m_before);
}

TEST_F(FilesOfARun, AResumedRunKeepsItsProgress)
{
    Write("Progress.ini", "[PROGRESS]\nPROGRESS=4\n");
    m_automatic.Prepare(Opening::Calibration);
    EXPECT_EQ(Read("Progress.ini"), "[PROGRESS]\nPROGRESS=4\n");
    EXPECT_FALSE(Exists("OtherFlow"));
}

TEST_F(FilesOfARun, ADiskWithoutRoomIsToldBeforeAnythingIsMoved)
{
    Write("Result/of_before.txt", "of before");
    Write("Progress.ini", "[PROGRESS]\nPROGRESS=2\nCAMERA_TYPE=0\n");
    Write("Output/L_images/1.png", "of the run");
    for (RunFiles* const pFiles : {&m_automatic, &m_manual}) {
        const FullDisk full;
        try {
            pFiles->Prepare(Opening::Calibration);
            ADD_FAILURE() << "nothing was said";
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.Key(), "The folder %1 cannot be written: %2.");
        }
        EXPECT_EQ(Read("Result/of_before.txt"), "of before");
        EXPECT_FALSE(Exists("ResultBeforeRun"));
        EXPECT_EQ(Read("Progress.ini"), "[PROGRESS]\nPROGRESS=2\nCAMERA_TYPE=0\n");
        EXPECT_TRUE(Exists("Output/L_images/1.png"));
    }
}

TEST_F(FilesOfARun, AManualRunWithDamagedFilesIsResumedBeforeTheyAreMade)
{
    QByteArray whole = "[PROGRESS]\nCAMERA_TYPE=0\nPROGRESS=5\n";
    for (int i = 0; i < 18; ++i) {
        whole += QString("X%1=%2\nY%1=%3\n").arg(i).arg(75 + 150 * (i % 6)).arg(75 + 225 * (i / 6)).toUtf8();
    }
    const auto stepOf = [this](const QByteArray& progress) {
        Write("Progress.ini", progress);
        m_manual.Prepare(Opening::Calibration);
        return QSettings(Camera("Progress.ini"), QSettings::IniFormat).value("PROGRESS/PROGRESS").toInt();
    };
    EXPECT_EQ(stepOf(whole), 3) << "there is no homography";
    WriteHomography("Output/mapImgR2L.xml");
    EXPECT_EQ(stepOf(whole), 5);
    EXPECT_EQ(stepOf(whole.chopped(whole.size() - whole.indexOf("Y17"))), 3);
    EXPECT_EQ(stepOf(QByteArray(whole).replace("X3=525", "X3=5 25")), 3);
    EXPECT_EQ(stepOf("[PROGRESS]\nCAMERA_TYPE=0\nPROGRESS=2\n"), 2) << "there are none yet";
    Write("Output/mapImgR2L.xml", "damaged");
    EXPECT_EQ(stepOf(whole), 3);
}

TEST_F(FilesOfARun, ProgressThatIsNoFileIsNotWaitedFor)
{
    ASSERT_TRUE(QDir().mkpath(Camera("")));
    ASSERT_EQ(mkfifo(Camera("Progress.ini").toLocal8Bit().constData(), 0600), 0);
    for (RunFiles* const pFiles : {&m_automatic, &m_manual}) {
        pFiles->Recover();
        try {
            pFiles->Prepare(Opening::Calibration);
            ADD_FAILURE() << "nothing was said";
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.Key(), "%1 is no file.");
        }
    }
}

TEST_F(FilesOfARun, ProgressWithoutRightsIsNotTakenForNone)
{
    if (geteuid() == 0) {
        GTEST_SKIP() << "root has all rights";
    }
    Write("Progress.ini", "[PROGRESS]\nPROGRESS=2\nCAMERA_TYPE=0\n");
    for (const auto& [rights, pKey] :
         {std::pair(QFile::WriteOwner, "%1 cannot be read."), std::pair(QFile::ReadOwner, "%1 cannot be written.")}) {
        ASSERT_TRUE(QFile::setPermissions(Camera("Progress.ini"), rights));
        try {
            m_manual.Prepare(Opening::Calibration);
            ADD_FAILURE() << pKey;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.Key(), pKey);
        }
    }
}

TEST_F(FilesOfARun, ARunThatLeftNoWholeCalibrationSaysWhatIsMissing)
{
    m_manual.Prepare(Opening::Calibration);
    EXPECT_EQ(m_manual.Problem(), "");
    EXPECT_FALSE(m_manual.Conclude(true));
    EXPECT_THAT(m_manual.Problem().toStdString(), testing::HasSubstr("There is no calibration in "));
}

TEST_F(FilesOfARun, OpeningsThatMakeNoSenseAreToldWhy)
{
    EXPECT_TRUE(m_automatic.ReasonAgainst(Opening::Calibration).isEmpty());
    EXPECT_THAT(m_automatic.ReasonAgainst(Opening::Fusion).toStdString(), testing::HasSubstr("automatically"));
    EXPECT_THAT(m_automatic.ReasonAgainst(Opening::Coordinate).toStdString(), testing::HasSubstr("not calibrated"));
    for (const char* pName :
         {"Result/L_AutoDualCalibrate.xml", "Result/R_AutoDualCalibrate.xml", "Result/LeftCalPts.txt",
          "Result/RightCalPts.txt", "Temp/DualCamBeforeCalibrate_LeftTemp.bmp",
          "Temp/DualCamBeforeCalibrate_RightTemp.bmp"}) {
        Write(pName, "there");
    }
    EXPECT_TRUE(m_automatic.ReasonAgainst(Opening::Coordinate).isEmpty());

    EXPECT_TRUE(m_manual.ReasonAgainst(Opening::Fusion).isEmpty());
    EXPECT_FALSE(m_manual.ReasonAgainst(Opening::Coordinate).isEmpty());
    Write("Result/mapImgR2L.xml", "there");
    EXPECT_TRUE(m_manual.ReasonAgainst(Opening::Coordinate).isEmpty());
}

} // namespace
