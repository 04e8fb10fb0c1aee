#include "CameraFixture.h"

#include "FileSources.h"

#include <opencv2/core.hpp>

#include <fcntl.h>
#include <sys/stat.h>

namespace
{

class FolderCamera : public CameraFixture
{
protected:
    void SetUp() override
    {
        CameraFixture::SetUp();
        QDir().mkpath(Path("pictures"));
        Name("Camera-Left=" + Path("pictures") + "\n");
    }
    QString In(const QString& strName) const { return Path("pictures/" + strName); }
};

TEST_F(FolderCamera, DeliversItsPicturesByNameOverAndOver)
{
    WritePicture(In("b.png"), 20);
    WritePicture(In("c.bmp"), 30);
    WritePicture(In("a.PNG"), 10);
    ASSERT_EQ(m_device.OpenCamera("Camera-Left"), 0);
    for (const int nExpected : {10, 20, 30, 10, 20, 30, 10}) {
        EXPECT_EQ(Grey(m_device), nExpected);
    }
}

TEST_F(FolderCamera, GoesOnWhereItStoppedWhenItIsOpenedAgain)
{
    WritePicture(In("a.png"), 10);
    WritePicture(In("b.png"), 20);
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(Grey(m_device), 10);
    m_device.CloseCamera(nullptr);
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(Grey(m_device), 20);
}

TEST_F(FolderCamera, GoesOnWhereItStoppedHoweverManyOthersWereOpen)
{
    const int greys[] = {10, 20, 30};
    for (const int nGrey : greys) {
        WritePicture(In(QString("%1.png").arg(nGrey)), nGrey);
    }
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(m_device.OpenCamera("Camera-Left"), 0);
        ASSERT_EQ(Grey(m_device), greys[i % 3]) << i;
        const QString strFile = Path(QString("%1.png").arg(i));
        WritePicture(strFile, 40);
        Name("Camera-Left=" + Path("pictures") + "\nCamera-Right=" + strFile + "\n");
        Camera::CameraDevice other;
        ASSERT_EQ(other.OpenCamera("Camera-Right"), 0);
        m_device.CloseCamera(nullptr);
    }
}

TEST_F(FolderCamera, OtherFilesAndFoldersInItArePassedOverInSilence)
{
    WritePicture(In("b.png"), 20);
    m_data.WriteFile(In("a.txt"), "notes");
    QDir().mkpath(In("c.png"));
    ASSERT_EQ(mkfifo(In("d.png").toUtf8().constData(), 0600), 0);
    ASSERT_TRUE(QFile::link(In("nothing"), In("e.png")));
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(Grey(m_device), 20);
    EXPECT_EQ(Grey(m_device), 20);
    EXPECT_EQ(Logged("skipped"), 0);
}

TEST_F(FolderCamera, BrokenPicturesAreSkippedWithOneLogLineEach)
{
    WritePicture(In("a.png"), 10);
    m_data.WriteFile(In("b.png"), "no picture");
    m_data.WriteFile(In("c.png"), "");
    WritePicture(In("d.jpg"), 40);
    QFile(In("d.jpg")).resize(QFileInfo(In("d.jpg")).size() - 20);
    WritePicture(In("e.png"), 50);
    QFile(In("e.png")).resize(QFileInfo(In("e.png")).size() / 2);
    WritePicture(In("f.png"), 60);
    m_device.OpenCamera("Camera-Left");
    for (const int nExpected : {10, 60, 10, 60}) {
        EXPECT_EQ(Grey(m_device), nExpected);
    }
    for (const char* pName : {"b.png", "c.png", "d.jpg", "e.png"}) {
        EXPECT_EQ(Logged(std::string(pName) + " is skipped"), 1) << pName;
    }
}

TEST_F(FolderCamera, ARepairedPictureJoinsIn)
{
    WritePicture(In("a.png"), 10);
    m_data.WriteFile(In("b.png"), "no picture");
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(Grey(m_device), 10);
    EXPECT_EQ(Grey(m_device), 10);
    WritePicture(In("b.png"), 20);
    EXPECT_EQ(Grey(m_device), 20);
}

TEST_F(FolderCamera, WithNothingButBrokenPicturesEverySnapFailsAndItIsNotAlive)
{
    m_data.WriteFile(In("a.png"), "no picture");
    m_data.WriteFile(In("b.png"), "no picture");
    ASSERT_EQ(m_device.OpenCamera("Camera-Left"), 0);
    EXPECT_TRUE(m_device.IsCameraAlive());
    EXPECT_EQ(Grey(m_device), -1);
    EXPECT_EQ(Grey(m_device), -1);
    EXPECT_FALSE(m_device.IsCameraAlive());
    EXPECT_EQ(Logged("gives no picture: none of 2 pictures in it can be read"), 1);
}

TEST_F(FolderCamera, ThousandsOfBrokenPicturesAreTriedInPortions)
{
    for (int i = 0; i < 1200; ++i) {
        m_data.WriteFile(In(QString("a%1.png").arg(i, 4, 10, QChar('0'))), "no picture");
    }
    WritePicture(In("b.png"), 10);
    ASSERT_EQ(m_device.OpenCamera("Camera-Left"), 0);
    EXPECT_EQ(Grey(m_device), -1);
    EXPECT_EQ(Logged("none of 1000 pictures in it can be read"), 1);
    EXPECT_EQ(Logged("is skipped"), 1000);
    EXPECT_EQ(Grey(m_device), 10);
}

TEST_F(FolderCamera, AnEmptyFolderIsNotOpened)
{
    EXPECT_EQ(m_device.OpenCamera("Camera-Left"), -1);
    EXPECT_EQ(Logged("there is no picture in it"), 1);
    EXPECT_FALSE(m_device.IsCameraOpen(nullptr));
}

TEST_F(FolderCamera, NewPicturesJoinInAtTheirPlace)
{
    WritePicture(In("a.png"), 10);
    WritePicture(In("c.png"), 30);
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(Grey(m_device), 10);
    WritePicture(In("b.png"), 20);
    // At the latest in the next round.
    const std::vector<int> seen{Grey(m_device), Grey(m_device), Grey(m_device), Grey(m_device)};
    EXPECT_THAT(seen, testing::Contains(20));
    EXPECT_EQ(Logged("gives no picture"), 0);
}

TEST_F(FolderCamera, NewPicturesJoinInAlsoWhereTheFoldersTimeDoesNotTell)
{
    WritePicture(In("a.png"), 10);
    struct stat before {
    };
    ASSERT_EQ(stat(Path("pictures").toUtf8().constData(), &before), 0);
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(Grey(m_device), 10);
    WritePicture(In("b.png"), 20);
    const timespec times[] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, Path("pictures").toUtf8().constData(), times, 0), 0);
    const std::vector<int> seen{Grey(m_device), Grey(m_device)};
    EXPECT_THAT(seen, testing::Contains(20));
}

TEST_F(FolderCamera, ARemovedFolderFailsUntilItIsBack)
{
    WritePicture(In("a.png"), 10);
    WritePicture(In("b.png"), 20);
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(Grey(m_device), 10);
    ASSERT_TRUE(QDir().rename(Path("pictures"), Path("elsewhere")));

    EXPECT_FALSE(m_device.IsCameraAlive());
    EXPECT_EQ(Grey(m_device), -1);
    EXPECT_EQ(Grey(m_device), -1);
    EXPECT_EQ(Logged("gives no picture: it does not exist"), 1);

    ASSERT_TRUE(QDir().rename(Path("elsewhere"), Path("pictures")));
    EXPECT_TRUE(m_device.IsCameraAlive());
    EXPECT_EQ(Grey(m_device), 20);
    EXPECT_EQ(Logged("gives pictures again"), 1);
}

TEST_F(FolderCamera, AllPicturesRemovedFailsUntilOneIsBack)
{
    WritePicture(In("a.png"), 10);
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(Grey(m_device), 10);
    QFile::remove(In("a.png"));
    EXPECT_EQ(Grey(m_device), -1);
    WritePicture(In("a.png"), 15);
    EXPECT_EQ(Grey(m_device), 15);
}

TEST_F(FolderCamera, RelativeAndNonAsciiPathsWork)
{
    WritePicture(m_data.Root() + "/Data/" + QString::fromUtf8("Bilder 床/ä.png"), 70);
    Name(QString::fromUtf8("Camera-Left=Bilder 床\n"));
    ASSERT_EQ(m_device.OpenCamera("Camera-Left"), 0);
    EXPECT_EQ(Grey(m_device), 70);
}

TEST_F(FolderCamera, TwoCamerasOnOneFolderEachGetAllPictures)
{
    WritePicture(In("a.png"), 10);
    WritePicture(In("b.png"), 20);
    Name("Camera-Left=" + Path("pictures") + "\nCamera-Right=" + Path("pictures") + "\n");
    Camera::CameraDevice second;
    m_device.OpenCamera("Camera-Left");
    second.OpenCamera("Camera-Right");
    EXPECT_EQ(Grey(m_device), 10);
    EXPECT_EQ(Grey(second), 10);
    EXPECT_EQ(Grey(m_device), 20);
    EXPECT_EQ(Grey(second), 20);
}

class PictureCamera : public CameraFixture
{
};

TEST_F(PictureCamera, DeliversTheSamePictureInMemoryOfItsOwn)
{
    WritePicture(Path("one.png"), 33);
    Name("Camera-Left=" + Path("one.png") + "\n");
    ASSERT_EQ(m_device.OpenCamera("Camera-Left"), 0);
    cv::Mat first;
    ASSERT_EQ(m_device.SnapPicture(first, nullptr), 0);
    first.setTo(0);
    EXPECT_EQ(Grey(m_device), 33);
    EXPECT_EQ(Grey(m_device), 33);
}

TEST_F(PictureCamera, IsReadAgainWhenTheFileChanges)
{
    WritePicture(Path("one.png"), 33);
    Name("Camera-Left=" + Path("one.png") + "\n");
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(Grey(m_device), 33);
    WritePicture(Path("two.png"), 44);
    ASSERT_EQ(std::rename(Path("two.png").toUtf8(), Path("one.png").toUtf8()), 0);
    EXPECT_EQ(Grey(m_device), 44);
}

TEST_F(PictureCamera, ARemovedFileFailsUntilItIsBack)
{
    WritePicture(Path("one.png"), 33);
    Name("Camera-Left=" + Path("one.png") + "\n");
    m_device.OpenCamera("Camera-Left");
    QFile::remove(Path("one.png"));
    EXPECT_FALSE(m_device.IsCameraAlive());
    EXPECT_EQ(Grey(m_device), -1);
    EXPECT_EQ(m_device.ApplyCameraParameters(nullptr, 500), false);
    WritePicture(Path("one.png"), 44);
    EXPECT_EQ(Grey(m_device), 44);
    EXPECT_TRUE(m_device.IsCameraAlive());
    EXPECT_TRUE(m_device.ApplyCameraParameters(nullptr, 500));
}

TEST_F(PictureCamera, ABrokenFileIsToldAsABrokenPicture)
{
    m_data.WriteFile(Path("one.png"), "no picture");
    Name("Camera-Left=" + Path("one.png") + "\n");
    EXPECT_EQ(m_device.OpenCamera("Camera-Left"), -1);
    EXPECT_EQ(Logged("cannot be opened: it is no picture, or damaged"), 1);
    EXPECT_EQ(Doubles::The().logLines.size(), 1u);
}

TEST_F(PictureCamera, IsKnownByItsContentWhereTheNameSaysNothing)
{
    WritePicture(Path("one.png"), 33);
    QFile::rename(Path("one.png"), Path("one"));
    Name("Camera-Left=" + Path("one") + "\n");
    ASSERT_EQ(m_device.OpenCamera("Camera-Left"), 0);
    EXPECT_EQ(Grey(m_device), 33);
}

TEST_F(PictureCamera, AnyKindOfPixelsComesAsEightBitGreyOrBgr)
{
    struct Case {
        const char* pFile;
        int nType;
        int nValue;
        int nExpectedType;
        int nExpected;
    };
    for (const Case& one :
         {Case{"grey.png", CV_8UC1, 77, CV_8UC1, 77}, Case{"alpha.png", CV_8UC4, 88, CV_8UC3, 88},
          Case{"deep.png", CV_16UC1, 257 * 99, CV_8UC1, 99}, Case{"deep.tiff", CV_16UC3, 257 * 101, CV_8UC3, 101},
          Case{"float.tiff", CV_32FC1, 1, CV_8UC1, 255}}) {
        WritePicture(Path(one.pFile), one.nValue, one.nType);
        Name("Camera-Left=" + Path(one.pFile) + "\n");
        ASSERT_EQ(m_device.OpenCamera("Camera-Left"), 0) << one.pFile;
        cv::Mat picture;
        ASSERT_EQ(m_device.SnapPicture(picture, "Camera-Left"), 0);
        EXPECT_EQ(picture.type(), one.nExpectedType) << one.pFile;
        EXPECT_EQ(picture.ptr()[0], one.nExpected) << one.pFile;
    }
}

class VideoCamera : public CameraFixture
{
protected:
    /// Frames of 64 x 48 with grey 40, 80, 120.
    void WriteVideo(const QString& strFile, int nFrames = 3) const
    {
        cv::VideoWriter writer(strFile.toStdString(), cv::CAP_OPENCV_MJPEG, cv::VideoWriter::fourcc('M', 'J', 'P', 'G'),
                               10.0, cv::Size(64, 48));
        ASSERT_TRUE(writer.isOpened());
        for (int i = 1; i <= nFrames; ++i) {
            writer.write(cv::Mat(48, 64, CV_8UC3, cv::Scalar::all(40 * i)));
        }
    }
};

TEST_F(VideoCamera, DeliversItsFramesOverAndOver)
{
    WriteVideo(Path("bed.avi"));
    Name("Camera-Left=" + Path("bed.avi") + "\n");
    ASSERT_EQ(m_device.OpenCamera("Camera-Left"), 0);
    for (const int nExpected : {40, 80, 120, 40, 80, 120, 40}) {
        EXPECT_NEAR(Grey(m_device), nExpected, 4);
    }
}

TEST_F(VideoCamera, BeginsAnewWhenItIsOpenedAgain)
{
    WriteVideo(Path("bed.avi"));
    Name("Camera-Left=" + Path("bed.avi") + "\n");
    m_device.OpenCamera("Camera-Left");
    EXPECT_NEAR(Grey(m_device), 40, 4);
    m_device.CloseCamera(nullptr);
    m_device.OpenCamera("Camera-Left");
    EXPECT_NEAR(Grey(m_device), 40, 4);
}

TEST_F(VideoCamera, OpenedTwiceItIsClosedByOneClose)
{
    WriteVideo(Path("bed.avi"));
    Name("Camera-Left=" + Path("bed.avi") + "\n");
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(m_device.OpenCamera("[0] Camera-Left"), 0);
    EXPECT_NEAR(Grey(m_device), 40, 4);
    m_device.CloseCamera(nullptr);
    m_device.OpenCamera("Camera-Left");
    EXPECT_NEAR(Grey(m_device), 40, 4) << "it begins anew only when it was closed";
}

TEST_F(VideoCamera, ARemovedFileFailsUntilItIsBack)
{
    WriteVideo(Path("bed.avi"));
    Name("Camera-Left=" + Path("bed.avi") + "\n");
    m_device.OpenCamera("Camera-Left");
    EXPECT_NEAR(Grey(m_device), 40, 4);
    QFile::rename(Path("bed.avi"), Path("away.avi"));
    EXPECT_EQ(Grey(m_device), -1);
    EXPECT_FALSE(m_device.IsCameraAlive());
    QFile::rename(Path("away.avi"), Path("bed.avi"));
    EXPECT_NEAR(Grey(m_device), 40, 4);
}

TEST_F(VideoCamera, WhatIsNoVideoIsNotOpened)
{
    m_data.WriteFile(Path("bed.avi"), QByteArray(5000, 'x'));
    m_data.WriteFile(Path("empty.avi"), "");
    WriteVideo(Path("cut.avi"));
    QFile(Path("cut.avi")).resize(100);
    for (const char* pFile : {"bed.avi", "empty.avi", "cut.avi"}) {
        Name("Camera-Left=" + Path(pFile) + "\n");
        Doubles::The().logLines.clear();
        EXPECT_EQ(m_device.OpenCamera("Camera-Left"), -1) << pFile;
        EXPECT_EQ(Logged("it is neither a picture nor a video that can be read"), 1) << pFile;
    }
}

TEST(PictureFile, OfMoreThanHalfAGigabyteIsRefused)
{
    const QTemporaryDir folder;
    const QString strFile = folder.filePath("huge.png");
    QFile file(strFile);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.resize(513LL * 1024 * 1024);
    cv::Mat picture;
    std::string strWhy;
    EXPECT_FALSE(Camera::ReadPictureFile(strFile, picture, strWhy));
    EXPECT_THAT(strWhy, testing::HasSubstr("larger than"));
}

} // namespace
