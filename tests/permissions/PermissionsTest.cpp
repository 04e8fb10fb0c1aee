#include "UiPermissionsManager.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <sys/stat.h>

namespace
{

QString ThemeName()
{
    return CUiPermissionsManager::GetInstance()->GetThemeName();
}

class Permissions : public testing::Test
{
protected:
    void SetUp() override
    {
        static int argc = 1;
        static char szName[] = "permissions_test";
        static char* argv[] = {szName, nullptr};
        static QCoreApplication application(argc, argv);
        m_strFolder = QDir::cleanPath(QCoreApplication::applicationDirPath() + "/../Resources");
        ASSERT_TRUE(QDir().mkpath(m_strFolder));
        QFile::remove(File());
    }

    void TearDown() override { QDir(m_strFolder).removeRecursively(); }

    QString File() const { return m_strFolder + "/theme.ini"; }

    void Write(const QByteArray& content)
    {
        QFile file(File());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }

    QString m_strFolder;
};

} // namespace

TEST_F(Permissions, WithoutAFileTheThemeIsTheDefault)
{
    EXPECT_EQ(ThemeName(), "Quillboost");
}

TEST_F(Permissions, TheInstallersFileNamesTheTheme)
{
    Write("[UI]\nTHEME=Quillmark\n");
    EXPECT_EQ(ThemeName(), "Quillmark");
}

TEST_F(Permissions, DamagedFilesGiveTheDefault)
{
    Write(QByteArray(500, '\x07'));
    EXPECT_EQ(ThemeName(), "Quillboost");
    Write("[UI]\nTHEME=Quillmark\n" + QByteArray(100000, '\n'));
    EXPECT_EQ(ThemeName(), "Quillboost");
}

TEST_F(Permissions, AFolderOrAPipeInPlaceOfTheFileGivesTheDefaultAtOnce)
{
    ASSERT_TRUE(QDir().mkpath(m_strFolder + "/theme.ini"));
    EXPECT_EQ(ThemeName(), "Quillboost");
    ASSERT_TRUE(QDir().rmdir(m_strFolder + "/theme.ini"));
    ASSERT_EQ(mkfifo((m_strFolder + "/theme.ini").toLocal8Bit().constData(), 0600), 0);
    EXPECT_EQ(ThemeName(), "Quillboost");
    QFile::remove(m_strFolder + "/theme.ini");
}
