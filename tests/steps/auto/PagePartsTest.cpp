#include "PageParts.h"

#include "DataRoot.h"
#include "ModuleDoubles.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QEvent>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QTemporaryDir>
#include <QTest>

namespace
{

QByteArray Content(const QString& strFile)
{
    QFile file(strFile);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

class PaintCounter : public QObject
{
public:
    int nPaints = 0;
    bool eventFilter(QObject*, QEvent* pEvent) override
    {
        nPaints += pEvent->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

} // namespace

TEST(Repolish, AWidgetOfWhichOnlyThePictureChangesIsPaintedAnew)
{
    const QTemporaryDir folder;
    QImage picture(20, 10, QImage::Format_RGB32);
    QString strStyle;
    for (const QString strState : {"1", "2"}) {
        picture.fill(strState == "1" ? Qt::red : Qt::green);
        ASSERT_TRUE(picture.save(folder.filePath(strState + ".png")));
        strStyle +=
            QString("QLabel[state=\"%1\"] { image: url(%2); }").arg(strState, folder.filePath(strState + ".png"));
    }
    QWidget page;
    page.setStyleSheet(strStyle);
    QLabel label(&page);
    label.setProperty("state", "1");
    label.resize(60, 30);
    page.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&page));
    QTest::qWait(20);
    PaintCounter counter;
    label.installEventFilter(&counter);
    label.setProperty("state", "2");
    Repolish(&label);
    EXPECT_TRUE(QTest::qWaitFor([&] { return counter.nPaints > 0; }, 2000));
}

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

namespace
{

/// The line that the copy of one folder begins with.
std::pair<int, std::string> Covering(const QString& strFrom, const QString& strTo)
{
    return {1, "CoverOldFile, srcPath: " + strFrom.toStdString() + ",  dstPath: " + strTo.toStdString()};
}

} // namespace

TEST(CoverOldFile, LogsEachFolderAndReplacesWhatIsInTheWay)
{
    Doubles::Reset();
    const DataRoot root;
    const QString strFrom = root.CameraTwo("from");
    const QString strTo = root.CameraTwo("to");
    root.WriteFile(strFrom + "/a.txt", "new a");
    root.WriteFile(strFrom + "/deep/er/b.txt", "new b");
    root.WriteFile(strTo + "/a.txt", "old a");
    root.WriteFile(strTo + "/deep", "a file where a folder is to be");
    root.WriteFile(strTo + "/kept.txt", "kept");
    EXPECT_TRUE(CoverOldFile(strFrom, strTo));
    EXPECT_EQ(Content(strTo + "/a.txt"), "new a");
    EXPECT_EQ(Content(strTo + "/deep/er/b.txt"), "new b");
    EXPECT_EQ(Content(strTo + "/kept.txt"), "kept");
    EXPECT_EQ(Content(strFrom + "/a.txt"), "new a");
    EXPECT_THAT(Doubles::The().logLines,
                testing::ElementsAre(Covering(strFrom, strTo), Covering(strFrom + "/deep", strTo + "/deep"),
                                     Covering(strFrom + "/deep/er", strTo + "/deep/er")));
}

TEST(CoverOldFile, IsAlwaysDone)
{
    Doubles::Reset();
    const DataRoot root;
    const QString strTo = root.CameraTwo("to");
    EXPECT_TRUE(CoverOldFile(root.CameraTwo("nowhere"), strTo));
    EXPECT_TRUE(QFile::exists(strTo));
    const QString strFrom = root.CameraTwo("from");
    root.WriteFile(strFrom + "/a.txt", "a");
    root.WriteFile(strFrom + "/b.txt", "b");
    ASSERT_TRUE(QFile::link(strFrom, strFrom + "/round"));
    QDir().mkpath(strTo + "/a.txt");
    EXPECT_TRUE(CoverOldFile(strFrom, strTo));
    EXPECT_EQ(Content(strTo + "/b.txt"), "b");
    EXPECT_FALSE(QFile::exists(strTo + "/round"));
}

TEST(CoverOldFile, AFolderIsNotCopiedIntoItself)
{
    Doubles::Reset();
    const DataRoot root;
    const QString strFrom = root.CameraTwo("from");
    root.WriteFile(strFrom + "/a.txt", "a");
    for (const QString& strTo : {strFrom, strFrom + "/deep"}) {
        EXPECT_TRUE(CoverOldFile(strFrom, strTo));
        EXPECT_EQ(Content(strFrom + "/a.txt"), "a");
        EXPECT_TRUE(Doubles::The().Logged(2, "CoverOldFile, a folder is not copied into itself"));
    }
    EXPECT_FALSE(QFile::exists(strFrom + "/deep/a.txt"));
}
