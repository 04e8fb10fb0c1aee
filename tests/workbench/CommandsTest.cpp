// The commands as a person runs them: exit codes, and one sentence for each failure.

#include "CalibratedMachine.h"
#include "FullDisk.h"
#include "KorvaneVision.h"
#include "WorkbenchProcess.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <vector>

namespace
{

constexpr int g_nFailed = 1;
constexpr int g_nWrongUse = 2;

/// One calibrated machine for all tests; each works on a copy of what it changes.
class Commands : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_pFolder = std::make_unique<QTemporaryDir>();
        Simulator::Machine machine(Simulator::Machine::Kind::Automatic, 1);
        Simulator::CalibrationReport report;
        ASSERT_TRUE(
            Simulator::WriteCalibrationFiles(machine, Path("data/Quillboost/Resources").toStdString(), {}, report))
            << report.strProblem;
        const cv::Mat left = machine.Snap(Simulator::Side::Left);
        const cv::Mat right = machine.Snap(Simulator::Side::Right);
        ASSERT_TRUE(cv::imwrite(Path("left.bmp").toStdString(), left));
        ASSERT_TRUE(cv::imwrite(Path("right.bmp").toStdString(), right));
        ASSERT_TRUE(cv::imwrite(Path("small.png").toStdString(), left(cv::Rect(0, 0, 640, 480))));
        cv::Mat grey;
        cv::extractChannel(right, grey, 1);
        ASSERT_TRUE(cv::imwrite(Path("grey.png").toStdString(), grey));
        cv::Mat deep;
        left.convertTo(deep, CV_16U, 256.0);
        ASSERT_TRUE(cv::imwrite(Path("deep.png").toStdString(), deep));
    }
    static void TearDownTestSuite() { s_pFolder.reset(); }

    static QString Path(const QString& strName) { return s_pFolder->filePath(strName); }
    static WorkbenchRun Run(const QStringList& listWords) { return RunWorkbench(listWords, s_pFolder->path()); }

    static QStringList PictureWords(const QString& strLeft, const QString& strRight, const QString& strOut)
    {
        return {"picture", "--left", Path(strLeft), "--right", Path(strRight), "--out", strOut, "--data", Path("data")};
    }

    static void Write(const QString& strName, const QByteArray& content)
    {
        QFile file(Path(strName));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    /// A data folder with the records of the calibrated machine, for a test to spoil.
    QString CopyOfRecords() const
    {
        const QString strResult = "/Quillboost/Resources/Vision/calib/Camera_Two/Result/";
        const QString strTo = m_own.path() + strResult;
        EXPECT_TRUE(QDir().mkpath(strTo));
        const QDir from(Path("data") + strResult);
        for (const QString& strName : from.entryList(QDir::Files)) {
            EXPECT_TRUE(QFile::copy(from.filePath(strName), strTo + strName));
        }
        return strTo;
    }

    static void ExpectFailure(const WorkbenchRun& run, int nCode, const QString& strNamed)
    {
        EXPECT_EQ(run.nExitCode, nCode) << qPrintable(run.strError);
        EXPECT_TRUE(run.ErrorIsOneSentence()) << qPrintable(run.strError);
        EXPECT_TRUE(run.strError.contains(strNamed)) << qPrintable(run.strError);
        EXPECT_TRUE(run.strOutput.isEmpty()) << qPrintable(run.strOutput);
    }

    QTemporaryDir m_own;

private:
    static std::unique_ptr<QTemporaryDir> s_pFolder;
};

std::unique_ptr<QTemporaryDir> Commands::s_pFolder;

} // namespace

TEST_F(Commands, HelpAndVersionSucceed)
{
    const WorkbenchRun help = Run({"--help"});
    EXPECT_EQ(help.nExitCode, 0);
    EXPECT_TRUE(help.strOutput.startsWith("Usage: workbench"));
    EXPECT_TRUE(help.strError.isEmpty());
    const WorkbenchRun version = Run({"--version"});
    EXPECT_EQ(version.nExitCode, 0);
    EXPECT_TRUE(version.strOutput.startsWith("workbench "));
}

TEST_F(Commands, AWindowWithoutAScreenIsAFailure)
{
    const WorkbenchRun run =
        RunWorkbench({"--gui"}, m_own.path(), {{"QT_QPA_PLATFORM", ""}, {"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}});
    ExpectFailure(run, g_nFailed, "DISPLAY");
}

TEST_F(Commands, WrongWordsAreWrongUse)
{
    ExpectFailure(Run({"bogus"}), g_nWrongUse, "bogus");
    ExpectFailure(Run({"picture", "--colour", "red"}), g_nWrongUse, "--colour");
    ExpectFailure(Run({"to-world", "1", "two"}), g_nWrongUse, "two");
}

TEST_F(Commands, APairOfPicturesBecomesAPictureOfTheWorkArea)
{
    const QString strOut = Path("area.bmp");
    const WorkbenchRun run = Run(PictureWords("left.bmp", "right.bmp", strOut));
    EXPECT_EQ(run.nExitCode, 0) << qPrintable(run.strError);
    EXPECT_TRUE(run.strError.isEmpty()) << qPrintable(run.strError);
    EXPECT_EQ(cv::imread(strOut.toStdString()).size(), cv::Size(7800, 5400));
}

TEST_F(Commands, ASizeCutsThePicture)
{
    const QString strOut = Path("part.bmp");
    const WorkbenchRun run = Run(PictureWords("left.bmp", "right.bmp", strOut) << "--size"
                                                                               << "200x100");
    EXPECT_EQ(run.nExitCode, 0) << qPrintable(run.strError);
    EXPECT_EQ(cv::imread(strOut.toStdString()).size(), cv::Size(1200, 600));
}

TEST_F(Commands, AMissingPictureIsNamed)
{
    ExpectFailure(Run(PictureWords("none.png", "right.bmp", Path("c.png"))), g_nFailed, "none.png");
    ExpectFailure(Run(PictureWords("left.bmp", "none.png", Path("c.png"))), g_nFailed, "none.png");
}

TEST_F(Commands, AnUnreadablePictureIsNamed)
{
    Write("text.png", "this is no picture");
    Write("empty.png", "");
    QFile small(Path("small.png"));
    ASSERT_TRUE(small.open(QIODevice::ReadOnly));
    Write("cut.png", small.read(5000));
    std::vector<uchar> jpeg;
    ASSERT_TRUE(cv::imencode(".jpg", cv::imread(Path("small.png").toStdString()), jpeg));
    Write("cut.jpg", QByteArray(reinterpret_cast<const char*>(jpeg.data()), static_cast<int>(jpeg.size() / 2)));
    ASSERT_EQ(mkfifo(Path("pipe.png").toLocal8Bit().constData(), 0600), 0);
    for (const char* pName : {"text.png", "empty.png", "cut.png", "cut.jpg", "pipe.png", "."}) {
        ExpectFailure(Run(PictureWords(pName, "right.bmp", Path("c.png"))), g_nFailed, "no picture");
    }
}

TEST_F(Commands, PicturesOfDifferentDepthAreRefused)
{
    ExpectFailure(Run(PictureWords("left.bmp", "grey.png", Path("c.png"))), g_nFailed, "different depths");
}

TEST_F(Commands, PicturesOfAnotherSizeAreRefused)
{
    ExpectFailure(Run(PictureWords("small.png", "small.png", Path("c.png"))), g_nFailed, "do not fit");
    ExpectFailure(Run(PictureWords("left.bmp", "small.png", Path("c.png"))), g_nFailed,
                  "left 2592 x 1944 px, right 640 x 480 px");
}

TEST_F(Commands, PicturesOfAnotherSizeAreRefusedByAManualCalibrationToo)
{
    const QString strResult = m_own.path() + "/Quillboost/Resources/Vision/calib/Camera_Two/Result/";
    ASSERT_TRUE(QDir().mkpath(strResult));
    const cv::Mat camera = (cv::Mat_<double>(3, 3) << 2190.0, 0.0, 1310.0, 0.0, 2190.0, 950.0, 0.0, 0.0, 1.0);
    for (const char* pName : {"cameraL_calibrateMap.xml", "cameraR_calibrateMap.xml"}) {
        ASSERT_TRUE(Korvane::CameraCalibration::SaveCameraParameters((strResult + pName).toStdString(), camera,
                                                                     cv::Mat::zeros(1, 5, CV_64F), 0.1));
    }
    for (const char* pName : {"mapImgR2L.xml", "DualCamera_pix2mm.xml"}) {
        ASSERT_TRUE(
            Korvane::CameraCalibration::SaveHomography((strResult + pName).toStdString(), cv::Mat::eye(3, 3, CV_64F)));
    }
    QStringList listWords = PictureWords("left.bmp", "small.png", Path("c.png"));
    listWords.last() = m_own.path();
    ExpectFailure(Run(listWords), g_nFailed, "The right picture of 640 x 480 px has another size");
    EXPECT_FALSE(QFile::exists(Path("c.png")));
}

TEST_F(Commands, PicturesOfSixteenBitsAreRefused)
{
    ExpectFailure(Run(PictureWords("deep.png", "deep.png", Path("c.png"))), g_nFailed, "8 bits a channel");
}

TEST_F(Commands, AnOutputThatCannotBeWrittenIsNamed)
{
    ExpectFailure(Run(PictureWords("left.bmp", "right.bmp", Path("none/c.png"))), g_nFailed,
                  "none/c.png: No such file or directory.");
    ASSERT_TRUE(QDir().mkpath(Path("folder.png")));
    ExpectFailure(Run(PictureWords("left.bmp", "right.bmp", Path("folder.png"))), g_nFailed, "folder.png: ");
}

TEST_F(Commands, ASuffixThatNamesNoPictureFormatIsWrongUse)
{
    for (const char* pName : {"c.strange", "c", "c."}) {
        ExpectFailure(Run(PictureWords("left.bmp", "right.bmp", Path(pName))), g_nWrongUse, Path(pName));
    }
}

TEST_F(Commands, AScriptThatNoRunCouldFollowIsRefusedBeforeAnythingIsTouched)
{
    Write("of_no_machine.json", R"({"subModel": "A0", "left": [[1, 2]], "right": [[1, 2]]})");
    ASSERT_TRUE(QDir().mkpath(Path("out_of_script")));
    Write("out_of_script/report.json", "of before");
    for (const char* pFlow : {"automatic", "manual"}) {
        const WorkbenchRun run = Run({"calibrate", "--flow", pFlow, "--script", Path("of_no_machine.json"), "--data",
                                      Path("data_of_script"), "--out", Path("out_of_script")});
        ExpectFailure(run, g_nWrongUse, "of_no_machine.json");
        EXPECT_TRUE(QFile::exists(Path("out_of_script/report.json")));
        EXPECT_FALSE(QFile::exists(Path("data_of_script")));
    }
}

TEST_F(Commands, AnOpeningWithoutTheCalibrationThatItBuildsOnIsAFailure)
{
    for (const char* pFlow : {"automatic", "manual"}) {
        const WorkbenchRun run = Run({"calibrate", "--flow", pFlow, "--opening", "coordinates", "--data",
                                      Path("data_of_opening"), "--out", Path("out_of_opening")});
        ExpectFailure(run, g_nFailed, "run the whole calibration first");
    }
}

TEST_F(Commands, AMarkOutsideOfThePictureIsRefusedBeforeTheWizardIsOpened)
{
    QByteArrayList marks;
    for (int i = 0; i < 18; ++i) {
        marks.append(QString("[%1, %2]").arg(100 + 100 * (i % 6)).arg(100 + 4000 * (i / 6)).toUtf8());
    }
    Write("outside.json",
          R"({"subModel": "M1 - 900 x 600 mm", "region": [0.4, 0, 0.2, 1], "marks": [)" + marks.join(", ") + "]}");
    const WorkbenchRun run = Run({"calibrate", "--flow", "manual", "--script", Path("outside.json"), "--data",
                                  Path("data_of_marks"), "--out", Path("out_of_marks")});
    ExpectFailure(run, g_nWrongUse, "[100, 4100]");
}

TEST_F(Commands, PointsGoThereAndBack)
{
    const WorkbenchRun pixel = Run({"to-pixel", "650", "450.5", "--data", Path("data")});
    EXPECT_EQ(pixel.nExitCode, 0);
    EXPECT_EQ(pixel.strOutput, "3900.000 2703.000\n");
    const WorkbenchRun world = Run({"to-world", "3900", "2703", "--data", Path("data")});
    EXPECT_EQ(world.nExitCode, 0);
    EXPECT_EQ(world.strOutput, "650.000 450.500\n");
}

TEST_F(Commands, NoCalibrationIsAFailureThatNamesTheFolder)
{
    ExpectFailure(Run({"to-world", "1", "2", "--data", m_own.path()}), g_nFailed, m_own.path());
    ExpectFailure(Run({"to-pixel", "1", "2", "--data", m_own.path()}), g_nFailed, "no calibration");
    QStringList words = PictureWords("left.bmp", "right.bmp", Path("c.png"));
    words.last() = m_own.path();
    ExpectFailure(Run(words), g_nFailed, "no calibration");
}

TEST_F(Commands, WithoutADataFolderTheUsersOwnIsUsed)
{
    ExpectFailure(Run({"to-world", "1", "2"}), g_nFailed, Path(".config"));
}

TEST_F(Commands, ADamagedRecordOfThePairIsNamed)
{
    QFile record(CopyOfRecords() + "DualCamerasCalibrationParam.ini");
    ASSERT_TRUE(record.resize(record.size() / 2));
    ExpectFailure(Run({"to-world", "1", "2", "--data", m_own.path()}), g_nFailed, "DualCamerasCalibrationParam.ini");
}

TEST_F(Commands, ADamagedRecordOfACameraIsNamed)
{
    QFile record(CopyOfRecords() + "R_AutoDualCalibrate.xml");
    ASSERT_TRUE(record.resize(record.size() / 2));
    QStringList words = PictureWords("left.bmp", "right.bmp", Path("c.png"));
    words.last() = m_own.path();
    ExpectFailure(Run(words), g_nFailed, "R_AutoDualCalibrate.xml");
}

TEST_F(Commands, AFlagFileThatLostItsFlagIsNamed)
{
    QStringList words = PictureWords("left.bmp", "right.bmp", Path("c.png"));
    words.last() = m_own.path();
    const QString strResult = CopyOfRecords();
    QFile left(strResult + "LeftCameraParam.ini");
    ASSERT_TRUE(left.resize(0));
    ExpectFailure(Run(words), g_nFailed, "LeftCameraParam.ini");
    QFile stitched(strResult + "AutoDualCalibrate_stitch.xml");
    ASSERT_TRUE(stitched.resize(0));
    ExpectFailure(Run(words), g_nFailed, "AutoDualCalibrate_stitch.xml");
    ExpectFailure(Run({"to-world", "1", "2", "--data", m_own.path()}), g_nFailed, "AutoDualCalibrate_stitch.xml");
}

TEST_F(Commands, AStitchedPictureWithoutASizeIsNoPictureOfOnePixel)
{
    QStringList words = PictureWords("left.bmp", "right.bmp", Path("c.png"));
    words.last() = m_own.path();
    QFile stitched(CopyOfRecords() + "AutoDualCalibrate_stitch.xml");
    ASSERT_TRUE(stitched.open(QIODevice::WriteOnly));
    stitched.write("[CAMERA_PARAM]\nAUTO_CALIBRATION=1\nAUTO_CALIBRATION_OUTPUT_WIDTH=8538\n");
    stitched.close();
    ExpectFailure(Run(words), g_nFailed, "names no picture size");
}

TEST_F(Commands, APipeUnderTheNameOfASettingsFileIsNotWaitedFor)
{
    QStringList words = PictureWords("left.bmp", "right.bmp", Path("c.png"));
    words.last() = m_own.path();
    const QString strResult = CopyOfRecords();
    const auto pipeInPlaceOf = [](const QString& strFile) {
        QFile::remove(strFile);
        return ::mkfifo(strFile.toLocal8Bit().constData(), 0600) == 0;
    };
    const QString strData = m_own.path() + "/Quillboost/Resources/Data";
    ASSERT_TRUE(QDir().mkpath(strData));
    ASSERT_TRUE(pipeInPlaceOf(strData + "/CameraSetting.ini"));
    ExpectFailure(Run(words), g_nFailed, "CameraSetting.ini is no file");
    ASSERT_TRUE(pipeInPlaceOf(strResult + "LeftCameraParam.ini"));
    ExpectFailure(Run(words), g_nFailed, "LeftCameraParam.ini is no file");
    ASSERT_TRUE(pipeInPlaceOf(strResult + "AutoDualCalibrate_stitch.xml"));
    ExpectFailure(Run(words), g_nFailed, "AutoDualCalibrate_stitch.xml");
}

TEST_F(Commands, AScratchPictureThatCannotBeWrittenIsNamed)
{
    QStringList words = PictureWords("left.bmp", "right.bmp", Path("c.png"));
    words.last() = m_own.path();
    ASSERT_TRUE(QDir(CopyOfRecords() + "..").mkdir("DstImage.bmp"));
    ExpectFailure(Run(words), g_nFailed, "Camera_Two/DstImage.bmp, which cannot be written");
}

TEST_F(Commands, ADiskWithoutRoomForTheStitchedPictureIsNamedWithTheReason)
{
    QStringList words = PictureWords("left.bmp", "right.bmp", Path("c.png"));
    words.last() = m_own.path();
    CopyOfRecords();
    const FullDisk full(64 << 10);
    ExpectFailure(Run(words), g_nFailed, "Camera_Two cannot be written: File too large.");
}

TEST_F(Commands, WhatTheUserHasNoRightsToIsNamed)
{
    if (::geteuid() == 0) {
        GTEST_SKIP() << "root may do everything";
    }
    QStringList words = PictureWords("left.bmp", "right.bmp", Path("c.png"));
    words.last() = m_own.path();
    const QString strResult = CopyOfRecords();
    const QString strScratch = QDir::cleanPath(strResult + "..");
    ASSERT_TRUE(QFile::setPermissions(strScratch, QFile::ReadOwner | QFile::ExeOwner));
    ExpectFailure(Run(words), g_nFailed, "Camera_Two, which cannot be written");
    ASSERT_TRUE(QFile::setPermissions(strScratch, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    ASSERT_TRUE(QFile::setPermissions(strResult + "L_AutoDualCalibrate.xml", {}));
    ExpectFailure(Run(words), g_nFailed, "L_AutoDualCalibrate.xml is no file or may not be read by this user");
    Write("secret.png", "no picture");
    ASSERT_TRUE(QFile::setPermissions(Path("secret.png"), {}));
    ExpectFailure(Run(PictureWords("secret.png", "right.bmp", Path("c.png"))), g_nFailed,
                  "secret.png may not be read by this user");
}

TEST_F(Commands, AMissingFileOfTheCalibrationIsNamed)
{
    ASSERT_TRUE(QFile::remove(CopyOfRecords() + "LeftCalPts.txt"));
    QStringList words = PictureWords("left.bmp", "right.bmp", Path("c.png"));
    words.last() = m_own.path();
    ExpectFailure(Run(words), g_nFailed, "LeftCalPts.txt");
}

TEST_F(Commands, ASizeThatNoMachineHasIsRefusedFromTheSettingsToo)
{
    CopyOfRecords();
    const QString strData = m_own.path() + "/Quillboost/Resources/Data";
    ASSERT_TRUE(QDir().mkpath(strData));
    QStringList words = PictureWords("left.bmp", "right.bmp", Path("c.png"));
    words.last() = m_own.path();
    for (const char* pValue : {"0", "-5", "wide", "nan", "1e300"}) {
        QFile settings(strData + "/CameraSetting.ini");
        ASSERT_TRUE(settings.open(QIODevice::WriteOnly));
        settings.write(QByteArray("[CANVAS_SIZE]\nWIDTH=") + pValue + "\nHEIGHT=900\n");
        settings.close();
        ExpectFailure(Run(words), g_nFailed, "no machine has");
    }
}

TEST_F(Commands, ADemonstrationThatCannotWriteSaysSo)
{
    Write("file", "in the way");
    ExpectFailure(Run({"demo", "--out", Path("file")}), g_nFailed, Path("file"));
}
