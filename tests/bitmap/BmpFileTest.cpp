#include "BmpFile.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <QFile>
#include <QTemporaryDir>

#include <array>

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

    QByteArray Content() const
    {
        QFile file(QString::fromStdString(m_strFile));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
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

TEST_F(BmpFile, IsAPlainBitmapByteByByte)
{
    const std::array<unsigned char, 12> pixels{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    // Blanks are passed over.
    const QByteArray colour =
        QByteArray::fromHex("424d 46000000 00000000 36000000 28000000 02000000 02000000 0100 1800 "
                            "00000000 10000000 00000000 00000000 00000000 00000000 "
                            "0708090a0b0c0000 0102030405060000");
    std::string strReason;
    ASSERT_TRUE(Bitmap::WriteBmp(m_strFile.c_str(), pixels.data(), 2, 2, 24, strReason)) << strReason;
    EXPECT_EQ(Content(), colour);

    // Grey ones have 256 entries of a palette between header and pixels.
    ASSERT_TRUE(Bitmap::WriteBmp(m_strFile.c_str(), pixels.data(), 3, 2, 8, strReason)) << strReason;
    const QByteArray grey = Content();
    ASSERT_EQ(grey.size(), 54 + 1024 + 8);
    EXPECT_EQ(grey.left(54), QByteArray::fromHex("424d 3e040000 00000000 36040000 28000000 03000000 02000000 0100 0800 "
                                                 "00000000 08000000 00000000 00000000 00010000 00000000"));
    EXPECT_EQ(grey.mid(54, 8), QByteArray::fromHex("0000000001010100"));
    EXPECT_EQ(grey.mid(54 + 1020, 4), QByteArray::fromHex("ffffff00"));
    EXPECT_EQ(grey.right(8), QByteArray::fromHex("04050600 01020300"));
}

TEST_F(BmpFile, ASmallerPictureLeavesNothingOfALargerOne)
{
    Write(Picture(41, 700));
    Write(Picture(41, 7));
    EXPECT_EQ(Content().size(), 54 + 7 * 124);
    EXPECT_TRUE(Holds(Picture(41, 7)));
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
