#include "FileStore.h"

#include "DataRoot.h"
#include "ModuleDoubles.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

#include <sys/stat.h>

class FileStore : public testing::Test
{
protected:
    void SetUp() override { Doubles::Reset(); }

    DataRoot m_data;
};

TEST_F(FileStore, AFirstRunCreatesTheDataRoot)
{
    EXPECT_FALSE(QDir(m_data.Root()).exists());
    EXPECT_EQ(GetCalibrationRootPath(), m_data.Root());
    EXPECT_TRUE(QDir(m_data.Root()).exists());
}

TEST_F(FileStore, TheThemeSelectsTheFolderByAnExactComparison)
{
    const QString strOther = m_data.Folder() + "/Quillmark/Resources";
    for (const char* pTheme : {"", "quillmark", "Quillmark ", "Anything", "Quillboost"}) {
        Doubles::The().strTheme = pTheme;
        EXPECT_EQ(GetCalibrationRootPath(), m_data.Root()) << pTheme;
    }
    Doubles::The().strTheme = "Quillmark";
    EXPECT_EQ(GetCalibrationRootPath(), strOther);
}

TEST_F(FileStore, TheInstallRootLiesBesideTheApplicationsFolder)
{
    const QString strParent = QFileInfo(QCoreApplication::applicationDirPath()).path();
    EXPECT_EQ(GetInstallResourcePath(), strParent + "/Resources");
}

TEST_F(FileStore, AMissingFileReadsAsTheDefault)
{
    const QString strFile = m_data.Folder() + "/none.ini";
    EXPECT_EQ(ReadIniString("S", "K", "default", strFile), "default");
    EXPECT_EQ(ReadIniInt("S", "K", -7, strFile), -7);
    EXPECT_EQ(ReadIniDouble("S", "K", 2.5, strFile), 2.5);
    EXPECT_FALSE(QFile::exists(strFile));
}

TEST_F(FileStore, WhatIsWrittenReadsBack)
{
    const QString strFile = m_data.Folder() + "/a.ini";
    WriteIniInt("S", "int", 42, strFile);
    WriteIniDouble("S", "double", 30.25, strFile);
    WriteIniString("S", "string", QString::fromUtf8("Kamera grün"), strFile);
    EXPECT_EQ(ReadIniInt("S", "int", 0, strFile), 42);
    EXPECT_EQ(ReadIniDouble("S", "double", 0.0, strFile), 30.25);
    EXPECT_EQ(ReadIniString("S", "string", "", strFile), QString::fromUtf8("Kamera grün"));
}

TEST_F(FileStore, AKeyOfTheWrongTypeReadsAsZero)
{
    const QString strFile = m_data.Folder() + "/a.ini";
    WriteIniString("S", "K", "twelve", strFile);
    EXPECT_EQ(ReadIniInt("S", "K", 5, strFile), 0);
    EXPECT_EQ(ReadIniDouble("S", "K", 5.0, strFile), 0.0);
}

TEST_F(FileStore, SectionsAndKeysAreCaseSensitive)
{
    const QString strFile = m_data.Folder() + "/a.ini";
    m_data.WriteFile(strFile, "[PROGRESS]\nRow=3\nsizeW=30.5\n");
    EXPECT_EQ(ReadIniInt("PROGRESS", "Row", 1, strFile), 3);
    EXPECT_EQ(ReadIniInt("PROGRESS", "ROW", 1, strFile), 1);
    EXPECT_EQ(ReadIniInt("Progress", "Row", 1, strFile), 1);
    EXPECT_EQ(ReadIniDouble("PROGRESS", "sizeW", 0.0, strFile), 30.5);
}

TEST_F(FileStore, TheStitchingFileIsIniTextWhateverItsName)
{
    const QString strFile = m_data.CameraTwo("Result/AutoDualCalibrate_stitch.xml");
    WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION", 1, strFile);
    EXPECT_EQ(ReadIniInt("CAMERA_PARAM", "AUTO_CALIBRATION", 0, strFile), 1);
    QFile file(strFile);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll().trimmed(), QByteArray("[CAMERA_PARAM]\nAUTO_CALIBRATION=1"));
}

TEST_F(FileStore, WritingWhereNothingCanBeWrittenIsSilent)
{
    m_data.WriteFile(m_data.Folder() + "/plain", "x");
    const QString strFile = m_data.Folder() + "/plain/a.ini";
    WriteIniInt("S", "K", 1, strFile);
    WriteIniDouble("S", "K", 1.0, strFile);
    WriteIniString("S", "K", "1", strFile);
    EXPECT_EQ(ReadIniInt("S", "K", -1, strFile), -1);
    EXPECT_TRUE(Doubles::The().logLines.empty());
}

TEST_F(FileStore, ARootThatCannotBeCreatedIsNotNoticed)
{
    m_data.WriteFile(m_data.Folder() + "/Quillboost", "a file in the folder's place");
    EXPECT_EQ(GetCalibrationRootPath(), m_data.Root());
    EXPECT_FALSE(QDir(m_data.Root()).exists());
    EXPECT_TRUE(Doubles::The().logLines.empty());
}

TEST_F(FileStore, EndingABatchThatWasNeverBegunDoesNothing)
{
    EndIniBatch();
    EndIniBatch();
}

TEST_F(FileStore, OfACamerasNameTheLastWordIsStored)
{
    const QString strFile = m_data.Root() + "/Vision/calib/cameraDevices.ini";
    WriteCameraDevices("[0] Camera-Left", "Webcam");
    EXPECT_EQ(ReadIniInt("VISION", "CAMERA_NUMBER", 0, strFile), 2);
    EXPECT_EQ(ReadIniString("VISION", "CAMERA_LEFT_NAME", "", strFile), "Camera-Left");
    EXPECT_EQ(ReadIniString("VISION", "CAMERA_RIGHT_NAME", "", strFile), "Webcam");
    WriteCameraDevices("", "[1] USB  Camera ");
    EXPECT_EQ(ReadIniString("VISION", "CAMERA_LEFT_NAME", "x", strFile), "");
    // Split at single blanks: behind a blank at the end stands an empty word.
    EXPECT_EQ(ReadIniString("VISION", "CAMERA_RIGHT_NAME", "x", strFile), "");
}

TEST_F(FileStore, APipeOrAFolderInPlaceOfTheFileReadsAsTheDefault)
{
    const QString strPipe = m_data.Folder() + "/pipe.ini";
    ASSERT_EQ(mkfifo(strPipe.toLocal8Bit().constData(), 0600), 0);
    EXPECT_EQ(ReadIniInt("S", "K", 3, strPipe), 3);
    EXPECT_EQ(ReadIniInt("S", "K", 3, m_data.Folder()), 3);
    ASSERT_EQ(Doubles::The().logLines.size(), 2U);
    EXPECT_NE(Doubles::The().logLines[0].second.find("pipe.ini"), std::string::npos);
}

TEST_F(FileStore, AnOpenBatchTakesEveryWriteWhateverTheFile)
{
    const QString strBatch = m_data.Folder() + "/batch.ini";
    const QString strOther = m_data.Folder() + "/other.ini";
    BeginIniBatch(strBatch);
    WriteIniInt("S", "K", 1, strOther);
    // Reading ignores the batch.
    EXPECT_EQ(ReadIniInt("S", "K", -1, strOther), -1);
    EndIniBatch();
    EXPECT_EQ(ReadIniInt("S", "K", -1, strBatch), 1);
    EXPECT_FALSE(QFile::exists(strOther));
    WriteIniInt("S", "K", 2, strOther);
    EXPECT_EQ(ReadIniInt("S", "K", -1, strOther), 2);
    EndIniBatch();
}

TEST_F(FileStore, APipeIsNotWrittenEitherAndNotWaitedFor)
{
    const QString strPipe = m_data.Folder() + "/pipe.ini";
    ASSERT_EQ(mkfifo(strPipe.toLocal8Bit().constData(), 0600), 0);
    WriteIniInt("S", "K", 1, strPipe);
    BeginIniBatch(strPipe);
    WriteIniInt("S", "K", 1, strPipe);
    EndIniBatch();
    ASSERT_EQ(Doubles::The().logLines.size(), 3u);
    EXPECT_NE(Doubles::The().logLines.front().second.find("pipe.ini is no plain file and is not written"),
              std::string::npos);
}

TEST_F(FileStore, BinaryAndHugeSettingsReadAsTheDefault)
{
    const QString strFile = m_data.Folder() + "/junk.ini";
    QByteArray junk(4096, '\0');
    for (int i = 0; i < junk.size(); ++i) {
        junk[i] = static_cast<char>((i * 131) & 0xff);
    }
    m_data.WriteFile(strFile, junk);
    EXPECT_EQ(ReadIniInt("S", "K", 3, strFile), 3);
    QFile file(strFile);
    ASSERT_TRUE(file.resize(17LL * 1024 * 1024));
    EXPECT_EQ(ReadIniInt("S", "K", 3, strFile), 3);
    ASSERT_EQ(Doubles::The().logLines.size(), 1U);
    EXPECT_NE(Doubles::The().logLines[0].second.find("junk.ini"), std::string::npos);
}

TEST_F(FileStore, MovingAMissingFolderFails)
{
    EXPECT_FALSE(MoveDirectory(m_data.Folder() + "/no", m_data.Folder() + "/x"));
}

TEST_F(FileStore, MovingToAFreePlaceRenames)
{
    m_data.WriteFile(m_data.Folder() + "/Output/a.txt", "a");
    EXPECT_TRUE(MoveDirectory(m_data.Folder() + "/Output", m_data.Folder() + "/Result"));
    EXPECT_TRUE(QFile::exists(m_data.Folder() + "/Result/a.txt"));
    EXPECT_FALSE(QDir(m_data.Folder() + "/Output").exists());
}

TEST_F(FileStore, MovingOntoAnExistingFolderCopiesEntryByEntry)
{
    m_data.WriteFile(m_data.Folder() + "/Output/a.txt", "a");
    m_data.WriteFile(m_data.Folder() + "/Output/sub/b.txt", "b");
    m_data.WriteFile(m_data.Folder() + "/Result/old.txt", "old");
    EXPECT_TRUE(MoveDirectory(m_data.Folder() + "/Output", m_data.Folder() + "/Result"));
    for (const char* pFile : {"/Result/a.txt", "/Result/sub/b.txt", "/Result/old.txt"}) {
        EXPECT_TRUE(QFile::exists(m_data.Folder() + pFile)) << pFile;
    }
    EXPECT_FALSE(QDir(m_data.Folder() + "/Output").exists());
}

TEST_F(FileStore, MovingToWhereNoFolderCanBeMadeFailsAndTouchesNothing)
{
    m_data.WriteFile(m_data.Folder() + "/Output/a.txt", "a");
    m_data.WriteFile(m_data.Folder() + "/plain", "x");
    EXPECT_FALSE(MoveDirectory(m_data.Folder() + "/Output", m_data.Folder() + "/plain/Result"));
    EXPECT_TRUE(QFile::exists(m_data.Folder() + "/Output/a.txt"));
}

TEST_F(FileStore, AFileThatCannotBeCopiedStaysWhereItIs)
{
    m_data.WriteFile(m_data.Folder() + "/Output/a.txt", "new");
    m_data.WriteFile(m_data.Folder() + "/Result/a.txt", "old");
    EXPECT_TRUE(MoveDirectory(m_data.Folder() + "/Output", m_data.Folder() + "/Result"));
    EXPECT_TRUE(QFile::exists(m_data.Folder() + "/Output/a.txt"));
}

TEST_F(FileStore, TextCrossesAsUtf8)
{
    const char* pText = "\xe7\x9b\xb8\xe6\x9c\xba \xc3\xbc";
    EXPECT_EQ(Utf8ToQString(pText), QString::fromUtf8(pText));
    EXPECT_EQ(QStringToUtf8(QString::fromUtf8(pText)), QByteArray(pText));
    EXPECT_EQ(ToLocalBytes("plain"), QByteArray("plain"));
}
