#include "BmpFile.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <QFile>
#include <QTemporaryDir>

namespace
{

class BmpFile : public testing::Test
{
protected:
    /// A picture whose rows need padding in the file.
    static cv::Mat Picture(int nWidth = 41, int nHeight = 700)
    {
        cv::Mat picture(nHeight, nWidth, CV_8UC3);
        cv::RNG random(5);
        random.fill(picture, cv::RNG::UNIFORM, 0, 256);
        return picture;
    }

    void Write(const cv::Mat& picture) const
    {
        std::string strReason;
        ASSERT_TRUE(Bitmap::WriteBmp(m_strFile.c_str(), picture.data, picture.cols, picture.rows, 24, strReason))
            << strReason;
    }

    bool Holds(const cv::Mat& picture) const
    {
        Bitmap::BmpReader reader(m_strFile.c_str());
        Bitmap::BmpInfo info;
        std::string strReason;
        EXPECT_EQ(reader.ReadHeader(info, strReason), Bitmap::BmpAnswer::Ok) << strReason;
        return reader.HoldsPixels(info, picture.data);
    }

    QTemporaryDir m_folder;
    std::string m_strFile = m_folder.filePath("picture.bmp").toStdString();
};

} // namespace

TEST_F(BmpFile, HoldsWhatWasWritten)
{
    Write(Picture());
    EXPECT_TRUE(Holds(Picture()));
}

TEST_F(BmpFile, OneOtherByteAnywhereIsNoticed)
{
    Write(Picture());
    for (const cv::Point& place :
         {cv::Point(0, 0), cv::Point(40, 0), cv::Point(20, 350), cv::Point(0, 699), cv::Point(40, 699)}) {
        cv::Mat other = Picture();
        other.at<cv::Vec3b>(place)[2] ^= 1;
        EXPECT_FALSE(Holds(other)) << place;
    }
}

TEST_F(BmpFile, RowsThatRunDownwardAreComparedToo)
{
    cv::Mat flipped(700, 41, CV_8UC3);
    cv::flip(Picture(), flipped, 0);
    Write(flipped);
    QFile file(QString::fromStdString(m_strFile));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    const int nHeight = -700;
    ASSERT_TRUE(file.seek(22));
    ASSERT_EQ(file.write(reinterpret_cast<const char*>(&nHeight), 4), 4);
    file.close();
    EXPECT_TRUE(Holds(Picture()));
    EXPECT_FALSE(Holds(flipped));
}

TEST_F(BmpFile, AFileThatShrinksAfterItsHeaderWasReadHoldsNothing)
{
    Write(Picture());
    Bitmap::BmpReader reader(m_strFile.c_str());
    Bitmap::BmpInfo info;
    std::string strReason;
    ASSERT_EQ(reader.ReadHeader(info, strReason), Bitmap::BmpAnswer::Ok);
    ASSERT_TRUE(QFile::resize(QString::fromStdString(m_strFile), 1000));
    EXPECT_FALSE(reader.HoldsPixels(info, Picture().data));
}
