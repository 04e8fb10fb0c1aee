#include "PageParts.h"

#include "DataRoot.h"
#include "ModuleDoubles.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>

namespace
{

QByteArray Content(const QString& strFile)
{
    QFile file(strFile);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

} // namespace

TEST(CopyFolder, TakesAllFilesAndReplacesThoseOfTheSameName)
{
    const DataRoot root;
    const QString strFrom = root.CameraTwo("from");
    const QString strTo = root.CameraTwo("to");
    root.WriteFile(strFrom + "/a.txt", "new a");
    root.WriteFile(strFrom + "/deep/er/b.txt", "new b");
    root.WriteFile(strTo + "/a.txt", "old a");
    root.WriteFile(strTo + "/kept.txt", "kept");
    EXPECT_TRUE(CopyFolder(strFrom, strTo));
    EXPECT_EQ(Content(strTo + "/a.txt"), "new a");
    EXPECT_EQ(Content(strTo + "/deep/er/b.txt"), "new b");
    EXPECT_EQ(Content(strTo + "/kept.txt"), "kept");
    EXPECT_EQ(Content(strFrom + "/a.txt"), "new a");
}

TEST(CopyFolder, GoesOnWhereSomethingCannotBeCopiedAndSaysSo)
{
    const DataRoot root;
    const QString strFrom = root.CameraTwo("from");
    const QString strTo = root.CameraTwo("to");
    root.WriteFile(strFrom + "/a.txt", "a");
    root.WriteFile(strFrom + "/b.txt", "b");
    QDir().mkpath(strTo + "/a.txt");
    EXPECT_FALSE(CopyFolder(strFrom, strTo));
    EXPECT_EQ(Content(strTo + "/b.txt"), "b");
}

TEST(CopyFolder, ALinkToAFolderIsNotFollowed)
{
    const DataRoot root;
    const QString strFrom = root.CameraTwo("from");
    root.WriteFile(strFrom + "/a.txt", "a");
    ASSERT_TRUE(QFile::link(strFrom, strFrom + "/round"));
    EXPECT_FALSE(CopyFolder(strFrom, root.CameraTwo("to")));
    EXPECT_EQ(Content(root.CameraTwo("to") + "/a.txt"), "a");
}

TEST(CoverOldFile, SaysFirstWhatItCopies)
{
    Doubles::Reset();
    const DataRoot root;
    const QString strFrom = root.CameraTwo("from");
    const QString strTo = root.CameraTwo("to");
    root.WriteFile(strFrom + "/a.txt", "a");
    EXPECT_TRUE(CoverOldFile(strFrom, strTo));
    EXPECT_EQ(Content(strTo + "/a.txt"), "a");
    EXPECT_TRUE(Doubles::The().Logged(1, "CoverOldFile, srcPath: " + strFrom.toStdString() +
                                             ",  dstPath: " + strTo.toStdString()));
}
