#include "WritableInstall.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

namespace
{

class WritableInstall : public testing::Test
{
protected:
    void SetUp() override
    {
        Write(m_strInstall + "/bin/app", "application");
        QFile::setPermissions(m_strInstall + "/bin/app", QFile::ReadOwner | QFile::ExeOwner);
        Write(m_strInstall + "/lib/libx.so", "library");
        Write(m_strInstall + m_strTypes, "{}");
        Write(m_strInstall + "/Resources/Res/Theme/a.svg", "picture");
    }

    static void Write(const QString& strFile, const QByteArray& content)
    {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(strFile).path()));
        QFile file(strFile);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }

    static QByteArray Read(const QString& strFile)
    {
        QFile file(strFile);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir m_folder;
    const QString m_strInstall = m_folder.filePath("installed here");
    const QString m_strCopy = m_folder.filePath("user/copy");
    const QString m_strTypes = "/Resources/Vision/calib/DeviceType.json";
};

} // namespace

TEST_F(WritableInstall, AListOfMachinesThatCanBeWrittenIsLeftWhereItIs)
{
    EXPECT_TRUE(Workbench::IsInstallWritable(m_strInstall));
}

TEST_F(WritableInstall, OneThatCannotBeOpenedForWritingIsSeenAndNotMade)
{
    ASSERT_TRUE(QFile::remove(m_strInstall + m_strTypes));
    EXPECT_FALSE(Workbench::IsInstallWritable(m_strInstall));
    EXPECT_FALSE(QFile::exists(m_strInstall + m_strTypes));
    ASSERT_TRUE(QDir().mkpath(m_strInstall + m_strTypes));
    EXPECT_FALSE(Workbench::IsInstallWritable(m_strInstall));
}

TEST_F(WritableInstall, TheCopyHasAllThatTheApplicationLooksForBesideItself)
{
    QFile::setPermissions(m_strInstall + m_strTypes, QFile::ReadOwner);
    ASSERT_TRUE(Workbench::CopyInstall(m_strInstall, "app", m_strCopy));
    EXPECT_EQ(Read(m_strCopy + "/bin/app"), "application");
    EXPECT_TRUE(QFileInfo(m_strCopy + "/bin/app").isExecutable());
    EXPECT_EQ(Read(m_strCopy + "/lib/libx.so"), "library");
    EXPECT_TRUE(QFileInfo(m_strCopy + "/lib").isSymLink());
    EXPECT_EQ(Read(m_strCopy + "/Resources/Res/Theme/a.svg"), "picture");
    EXPECT_TRUE(Workbench::IsInstallWritable(m_strCopy));
    EXPECT_TRUE(QFileInfo(m_strCopy + m_strTypes).permission(QFile::WriteOwner));
}

TEST_F(WritableInstall, ANewVersionReachesTheCopyButTheUsersMachinesStay)
{
    ASSERT_TRUE(Workbench::CopyInstall(m_strInstall, "app", m_strCopy));
    Write(m_strCopy + m_strTypes, "{\"mine\": {}}");
    QFile::setPermissions(m_strInstall + "/bin/app", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    Write(m_strInstall + "/bin/app", "newer application");
    Write(m_strInstall + "/Resources/Res/Theme/a.svg", "newer picture");
    ASSERT_TRUE(Workbench::CopyInstall(m_strInstall, "app", m_strCopy));
    EXPECT_EQ(Read(m_strCopy + "/bin/app"), "newer application");
    EXPECT_EQ(Read(m_strCopy + "/Resources/Res/Theme/a.svg"), "newer picture");
    EXPECT_EQ(Read(m_strCopy + m_strTypes), "{\"mine\": {}}");
}

TEST_F(WritableInstall, WhatHasNotChangedIsNotCopiedAgain)
{
    ASSERT_TRUE(Workbench::CopyInstall(m_strInstall, "app", m_strCopy));
    const QFileInfo from(m_strInstall + "/bin/app");
    QFile written(m_strCopy + "/bin/app");
    ASSERT_TRUE(written.open(QIODevice::ReadWrite));
    ASSERT_EQ(written.write("APPLICATION"), 11);
    ASSERT_TRUE(written.flush());
    ASSERT_TRUE(written.setFileTime(from.lastModified(), QFileDevice::FileModificationTime));
    written.close();
    ASSERT_TRUE(Workbench::CopyInstall(m_strInstall, "app", m_strCopy));
    EXPECT_EQ(Read(m_strCopy + "/bin/app"), "APPLICATION");
}

TEST_F(WritableInstall, ACopyThatCannotBeMadeIsTold)
{
    Write(m_folder.filePath("user"), "a file in the folder's place");
    EXPECT_FALSE(Workbench::CopyInstall(m_strInstall, "app", m_strCopy));
}
