#include "FolderRoom.h"

#include "Failure.h"
#include "FullDisk.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace
{

using testing::AllOf;
using testing::HasSubstr;
using namespace Workbench;

class RoomOfAFolder : public testing::Test
{
protected:
    ~RoomOfAFolder() override
    {
        EXPECT_TRUE(QDir(m_folder.path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot))
            << "something is left behind";
    }

    QTemporaryDir m_folder;
};

} // namespace

TEST_F(RoomOfAFolder, IsThereWhereAFileOfTheSizeCanBeWritten)
{
    EXPECT_EQ(ReasonNotWritable(m_folder.path()), "");
    EXPECT_NO_THROW(RequireRoom(m_folder.path(), 1));
}

TEST_F(RoomOfAFolder, IsNotThereForAFileLargerThanTheDisk)
{
    EXPECT_NE(ReasonNotWritable(m_folder.path(), 1LL << 60), "");
}

TEST_F(RoomOfAFolder, IsNotThereOnAFullDiskAndTheFolderIsNamedWithTheReason)
{
    const FullDisk full;
    try {
        RequireRoom(m_folder.path(), 1);
        FAIL() << "nothing was said";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.Code(), Failed);
        EXPECT_THAT(failure.what(),
                    AllOf(HasSubstr(m_folder.path().toStdString()), HasSubstr("cannot be written: File too large.")));
    }
}

TEST_F(RoomOfAFolder, IsNotThereWhereThereIsNoFolder)
{
    EXPECT_EQ(ReasonNotWritable(m_folder.filePath("none")), "No such file or directory");
    QFile file(m_folder.filePath("file"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(ReasonNotWritable(file.fileName()), "Not a directory");
    ASSERT_TRUE(file.remove());
}

TEST_F(RoomOfAFolder, ThatWasFullForAMomentIsRemembered)
{
    qint64 nFree = 1LL << 30;
    RoomWatch watch(m_folder.path(), [&nFree] { return nFree; });
    watch.Look();
    EXPECT_EQ(watch.Problem(1), "");
    nFree = -1;
    watch.Look();
    EXPECT_EQ(watch.Problem(1), "") << "nobody knows";
    nFree = 4096;
    watch.Look();
    nFree = 1LL << 30;
    watch.Look();
    EXPECT_EQ(watch.Problem(1),
              QString("The folder %1 cannot be written: No space left on device.").arg(m_folder.path()));
}

TEST_F(RoomOfAFolder, ThatWasNeverFullIsNoProblem)
{
    RoomWatch watch(m_folder.path());
    watch.Look();
    EXPECT_EQ(watch.Problem(1), "");
    const FullDisk full;
    EXPECT_TRUE(watch.Problem(1).endsWith("cannot be written: File too large."));
}
