#include "FileStore.h"

#include "DataRoot.h"
#include "ModuleDoubles.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QSettings>

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
    EXPECT_TRUE(QDir::isAbsolutePath(GetInstallResourcePath()));
    EXPECT_TRUE(GetInstallResourcePath().endsWith("/Resources"));
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
