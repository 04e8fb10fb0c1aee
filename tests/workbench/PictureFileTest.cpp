#include "PictureFile.h"

#include "Failure.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

using namespace Workbench;

namespace
{

class PictureFile : public testing::Test
{
protected:
    QString Path(const QString& strName) const { return m_folder.filePath(strName); }

    void WriteText(const QString& strName, const QByteArray& content) const
    {
        QFile file(Path(strName));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    QByteArray Bytes(const QString& strName) const
    {
        QFile file(Path(strName));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    /// The sentence of a refusal; empty where the picture was written.
    static QString Refusal(const QString& strFile, const cv::Mat& picture)
    {
        try {
            WritePicture(strFile, picture);
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.Code(), Failed);
            return failure.what();
        }
        return {};
    }

    QTemporaryDir m_folder;
    const cv::Mat m_picture = cv::Mat(4, 6, CV_8UC3, cv::Scalar(1, 2, 3));
};

} // namespace

TEST_F(PictureFile, WhatIsWrittenIsReadBack)
{
    for (const char* pName : {"a.png", "a.BMP", "with a space \u00e4 \u5939.png", "two.dots.tif"}) {
        WritePicture(Path(pName), m_picture);
        const cv::Mat read = ReadPicture(Path(pName));
        ASSERT_EQ(read.size(), m_picture.size()) << pName;
        EXPECT_EQ(cv::norm(read, m_picture, cv::NORM_INF), 0.0) << pName;
    }
}

TEST_F(PictureFile, AReasonStandsInTheRefusal)
{
    EXPECT_TRUE(Refusal(Path("none/a.png"), m_picture).endsWith("none/a.png: No such file or directory."));
    ASSERT_TRUE(QDir(m_folder.path()).mkdir("folder.png"));
    EXPECT_TRUE(Refusal(Path("folder.png"), m_picture).endsWith("folder.png: it is a folder."));
}

TEST_F(PictureFile, ALinkIsFollowed)
{
    WriteText("target.png", "an earlier picture");
    ASSERT_TRUE(QFile::link("target.png", Path("link.png")));
    WritePicture(Path("link.png"), m_picture);
    EXPECT_TRUE(QFileInfo(Path("link.png")).isSymLink());
    EXPECT_EQ(ReadPicture(Path("target.png")).size(), m_picture.size());
}

TEST_F(PictureFile, WhatIsNoFileIsNeitherReplacedNorWaitedFor)
{
    const QByteArray pipe = Path("pipe.png").toLocal8Bit();
    ASSERT_EQ(::mkfifo(pipe.constData(), 0600), 0);
    EXPECT_TRUE(Refusal(Path("pipe.png"), m_picture).endsWith("pipe.png: it is no file."));
    struct stat now {
    };
    ASSERT_EQ(::lstat(pipe.constData(), &now), 0);
    EXPECT_TRUE(S_ISFIFO(now.st_mode));
}

TEST_F(PictureFile, APictureThatItsFormatCannotHoldLeavesTheEarlierFile)
{
    WriteText("kept.webp", "an earlier picture");
    const cv::Mat wide(1, 20000, CV_8UC3, cv::Scalar::all(9)); // the format ends at 16383
    EXPECT_TRUE(Refusal(Path("kept.webp"), wide).contains("20000 x 1 px"));
    EXPECT_EQ(Bytes("kept.webp"), "an earlier picture");
}

TEST_F(PictureFile, AWriteThatTheDiskRefusesLeavesTheEarlierFileAndNoOther)
{
    WriteText("kept.bmp", "an earlier picture");
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    auto* const pOldHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit little{4096, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &little);
    const QString strRefusal = Refusal(Path("kept.bmp"), cv::Mat(100, 100, CV_8UC3, cv::Scalar::all(9)));
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, pOldHandler);
    EXPECT_TRUE(strRefusal.contains("kept.bmp: File too large")) << qPrintable(strRefusal);
    EXPECT_EQ(Bytes("kept.bmp"), "an earlier picture");
    EXPECT_EQ(QDir(m_folder.path()).entryList(QDir::Files), QStringList{"kept.bmp"});
}

TEST_F(PictureFile, OnlySuffixesOfFormatsAreTaken)
{
    for (const char* pName : {"a.png", "a.jpg", "a.BMP", "b.c.png"}) {
        EXPECT_NO_THROW(RequirePictureSuffix(pName)) << pName;
    }
    for (const char* pName : {"a", "a.", "png", "a.txt", "folder.png/a", ""}) {
        EXPECT_THROW(RequirePictureSuffix(pName), Failure) << pName;
    }
}
