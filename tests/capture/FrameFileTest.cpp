// The picture that the live loop writes, where it can and where it cannot.

#include "FrameFile.h"
#include "ModuleDoubles.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>

namespace
{

using testing::HasSubstr;
using testing::SizeIs;

class FrameFile : public testing::Test
{
protected:
    void SetUp() override { Doubles::Reset(); }

    /// What was logged of a picture that must not come about, and nothing on standard error.
    std::string ReasonAgainst(const QString& strPath, const cv::Mat& frame)
    {
        Doubles::The().logLines.clear();
        testing::internal::CaptureStderr();
        EXPECT_FALSE(WriteFrame(strPath, frame));
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        EXPECT_THAT(Doubles::The().logLines, SizeIs(1));
        const auto lines = Doubles::The().logLines;
        EXPECT_EQ(lines.empty() ? -1 : lines.front().first, 3);
        const std::string strLine = lines.empty() ? std::string() : lines.front().second;
        EXPECT_THAT(strLine, HasSubstr("cannot be written to " + strPath.toStdString() + ": "));
        return strLine;
    }

    const cv::Mat m_frame = cv::Mat(40, 60, CV_8UC3, cv::Scalar(10, 20, 30));
    QTemporaryDir m_folder;
};

} // namespace

TEST_F(FrameFile, IsTheFrameInTheFormatOfItsSuffix)
{
    for (const char* pName : {"1.png", "1.bmp"}) {
        const QString strPath = m_folder.filePath(pName);
        ASSERT_TRUE(WriteFrame(strPath, m_frame)) << pName;
        EXPECT_EQ(cv::norm(cv::imread(strPath.toStdString()), m_frame, cv::NORM_INF), 0.0) << pName;
    }
    EXPECT_TRUE(Doubles::The().logLines.empty());
}

TEST_F(FrameFile, ReplacesALongerPictureWhole)
{
    const QString strPath = m_folder.filePath("1.bmp");
    ASSERT_TRUE(WriteFrame(strPath, cv::Mat(400, 600, CV_8UC3, cv::Scalar::all(1))));
    ASSERT_TRUE(WriteFrame(strPath, m_frame));
    EXPECT_EQ(QFile(strPath).size(), 54 + 60 * 40 * 3);
}

TEST_F(FrameFile, OnAFullDiskIsGoneAndTheDiskIsNamedAsFull)
{
    const QString strPath = m_folder.filePath("1.png");
    ASSERT_TRUE(QFile::link("/dev/full", strPath));
    EXPECT_THAT(ReasonAgainst(strPath, m_frame), HasSubstr("No space left on device"));
    EXPECT_FALSE(QFile::exists(strPath)) << "no half a picture is left to be looked at";
}

TEST_F(FrameFile, ThatCannotComeAboutSaysWhy)
{
    EXPECT_THAT(ReasonAgainst(m_folder.filePath("no/such/1.png"), m_frame), HasSubstr("No such file or directory"));
    EXPECT_THAT(ReasonAgainst(m_folder.filePath("1.unheard-of"), m_frame), HasSubstr("suffix"));
    EXPECT_THAT(ReasonAgainst(m_folder.filePath("1.png"), cv::Mat()), HasSubstr("cannot be written"));
    const QString strPipe = m_folder.filePath("pipe.png");
    ASSERT_EQ(mkfifo(strPipe.toLocal8Bit().constData(), 0600), 0);
    EXPECT_THAT(ReasonAgainst(strPipe, m_frame), HasSubstr("cannot be written")) << "a pipe is not waited for";
}
