#include "CrossPtsDetectDllR.h"
#include "SeededNoise.h"
#include "TempFolder.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <QFile>

#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <limits>
#include <thread>

namespace
{

cv::Mat Noise(int nWidth, int nHeight, int nType)
{
    cv::Mat picture(nHeight, nWidth, nType);
    for (std::size_t i = 0; i < picture.total() * picture.elemSize(); ++i) {
        picture.data[i] = static_cast<unsigned char>(Simulator::Mix(3, i));
    }
    return picture;
}

/// The check word of a PNG's chunk, bit by bit.
std::uint32_t Crc(const QByteArray& bytes)
{
    std::uint32_t nCrc = 0xffffffffU;
    for (const char c : bytes) {
        nCrc ^= static_cast<unsigned char>(c);
        for (int i = 0; i < 8; ++i) {
            nCrc = (nCrc >> 1) ^ ((nCrc & 1U) != 0 ? 0xedb88320U : 0U);
        }
    }
    return ~nCrc;
}

class Pictures : public ::testing::Test
{
protected:
    std::string Path(const char* pName) const { return m_folder.Path(pName); }
    std::string Write(const char* pName, const QByteArray& bytes) const { return m_folder.Write(pName, bytes); }

    bool Read(const std::string& strFile)
    {
        return Read_Image(m_pPixels, m_nWidth, m_nHeight, m_nBits, strFile.c_str());
    }

    bool Holds(const cv::Mat& picture) const
    {
        return m_nWidth == picture.cols && m_nHeight == picture.rows && m_nBits == 8 * picture.channels() &&
               std::memcmp(m_pPixels, picture.data, picture.total() * picture.elemSize()) == 0;
    }

    TempFolder m_folder;
    unsigned char* m_pPixels = nullptr;
    long m_nWidth = -5;
    long m_nHeight = -6;
    int m_nBits = -7;
};

} // namespace

TEST_F(Pictures, EveryDepthComesBackAsItWasSaved)
{
    // Odd widths: the rows of a bitmap file are padded, those of a buffer are not.
    for (const int nType : {CV_8UC1, CV_8UC3, CV_8UC4}) {
        for (const int nWidth : {1, 2, 3, 5, 64, 101}) {
            for (const char* pName : {"p.bmp", "p.png"}) {
                const cv::Mat picture = Noise(nWidth, 7, nType);
                ASSERT_TRUE(Save_Image(picture.data, nWidth, 7, 8 * picture.channels(), Path(pName).c_str()));
                ASSERT_TRUE(Read(Path(pName)));
                EXPECT_TRUE(Holds(picture)) << pName << " " << nWidth << " " << nType;
            }
        }
    }
}

TEST_F(Pictures, WhatOpenCvWritesIsRead)
{
    const cv::Mat picture = Noise(37, 21, CV_8UC3);
    ASSERT_TRUE(cv::imwrite(Path("p.bmp"), picture));
    ASSERT_TRUE(Read(Path("p.bmp")));
    EXPECT_TRUE(Holds(picture));
}

TEST_F(Pictures, WhatIsSavedOpenCvReads)
{
    const cv::Mat picture = Noise(37, 21, CV_8UC3);
    ASSERT_TRUE(Save_Image(picture.data, 37, 21, 24, Path("p.bmp").c_str()));
    EXPECT_EQ(cv::norm(cv::imread(Path("p.bmp")), picture, cv::NORM_INF), 0.0);
}

TEST_F(Pictures, ABufferThatComesBackInIsUsedAgain)
{
    cv::imwrite(Path("p.bmp"), Noise(64, 64, CV_8UC3));
    ASSERT_TRUE(Read(Path("p.bmp")));
    unsigned char* pFirst = m_pPixels;
    for (int i = 0; i < 5; ++i) {
        ASSERT_TRUE(Read(Path("p.bmp")));
        EXPECT_EQ(m_pPixels, pFirst);
    }
}

TEST_F(Pictures, APointerOfAnotherOwnerIsLeftAlone)
{
    unsigned char own[4] = {1, 2, 3, 4};
    m_pPixels = own;
    cv::imwrite(Path("p.bmp"), Noise(64, 64, CV_8UC3));
    ASSERT_TRUE(Read(Path("p.bmp")));
    EXPECT_NE(m_pPixels, own);
    EXPECT_EQ(own[3], 4);
}

TEST_F(Pictures, WhatIsNoPictureLeavesTheOutputsUntouched)
{
    cv::imwrite(Path("good.bmp"), Noise(64, 64, CV_8UC3));
    const QByteArray bytes = m_folder.ReadAll("good.bmp");
    QByteArray huge = bytes;
    const std::int32_t nHuge = 2000000000;
    std::memcpy(huge.data() + 18, &nHuge, 4);
    std::memcpy(huge.data() + 22, &nHuge, 4);
    QByteArray negative = bytes;
    const std::int32_t nNegative = -64;
    std::memcpy(negative.data() + 18, &nNegative, 4);
    QByteArray lowest = bytes;
    const std::int32_t nLowest = std::numeric_limits<std::int32_t>::min();
    std::memcpy(lowest.data() + 22, &nLowest, 4);
    const std::vector<std::string> files{Path("missing.bmp"),
                                         m_folder.Path(),
                                         Write("empty.bmp", ""),
                                         Write("two.bmp", "BM"),
                                         Write("header.bmp", bytes.left(54)),
                                         Write("cut.bmp", bytes.left(bytes.size() / 2)),
                                         Write("huge.bmp", huge),
                                         Write("negative.bmp", negative),
                                         Write("lowest.bmp", lowest),
                                         Write("text.bmp", "no picture at all"),
                                         Write("binary.png", QByteArray(3000, '\xff'))};
    for (const std::string& strFile : files) {
        EXPECT_FALSE(Read(strFile)) << strFile;
        EXPECT_EQ(m_pPixels, nullptr) << strFile;
        EXPECT_EQ(m_nWidth, -5) << strFile;
        EXPECT_EQ(m_nHeight, -6) << strFile;
        EXPECT_EQ(m_nBits, -7) << strFile;
    }
    EXPECT_FALSE(Read_Image(m_pPixels, m_nWidth, m_nHeight, m_nBits, nullptr));
}

TEST_F(Pictures, OtherFormatsThatAreDamagedLeaveTheOutputsUntouched)
{
    for (const char* pSuffix : {".png", ".jpg", ".bmp"}) {
        const std::string strGood = std::string("good") + pSuffix;
        ASSERT_TRUE(cv::imwrite(m_folder.Path(strGood), Noise(64, 48, CV_8UC3)));
        const QByteArray good = m_folder.ReadAll(strGood);
        ASSERT_TRUE(Read(m_folder.Path(strGood))) << pSuffix;
        EXPECT_EQ(m_nWidth, 64);
        EXPECT_EQ(m_nHeight, 48);
        EXPECT_EQ(m_nBits, 24);
        m_pPixels = nullptr;
        m_nWidth = -5;
        m_nHeight = -6;
        m_nBits = -7;
        QByteArray binary(4000, '\0');
        for (int i = 0; i < binary.size(); ++i) {
            binary[i] = static_cast<char>(Simulator::Mix(5, static_cast<std::uint64_t>(i)));
        }
        for (const QByteArray& bytes : {QByteArray(), good.left(2), good.left(20), good.left(good.size() / 2),
                                        good.left(good.size() * 9 / 10), good.left(4) + binary, binary}) {
            EXPECT_FALSE(Read(m_folder.Write(std::string("bad") + pSuffix, bytes))) << pSuffix << " " << bytes.size();
            EXPECT_EQ(m_pPixels, nullptr);
            EXPECT_EQ(m_nWidth, -5);
            EXPECT_EQ(m_nHeight, -6);
            EXPECT_EQ(m_nBits, -7);
        }
    }
}

TEST_F(Pictures, AHeaderThatClaimsAHugePictureIsRefused)
{
    ASSERT_TRUE(cv::imwrite(Path("good.png"), Noise(8, 8, CV_8UC3)));
    ASSERT_TRUE(cv::imwrite(Path("good.jpg"), Noise(8, 8, CV_8UC3)));
    for (const std::uint32_t nSide : {30000U, 65500U, 1000000U, 2000000000U}) {
        QByteArray png = m_folder.ReadAll("good.png");
        for (const int nOffset : {16, 20}) {
            for (int i = 0; i < 4; ++i) {
                png[nOffset + i] = static_cast<char>(nSide >> (24 - 8 * i));
            }
        }
        const std::uint32_t nCheck = Crc(png.mid(12, 17));
        for (int i = 0; i < 4; ++i) {
            png[29 + i] = static_cast<char>(nCheck >> (24 - 8 * i));
        }
        EXPECT_FALSE(Read(Write("huge.png", png))) << nSide;
    }
    QByteArray jpg = m_folder.ReadAll("good.jpg");
    const int nFrame = static_cast<int>(jpg.indexOf("\xff\xc0"));
    ASSERT_GT(nFrame, 0);
    for (int i = 5; i < 9; ++i) {
        jpg[nFrame + i] = '\xff';
    }
    EXPECT_FALSE(Read(Write("huge.jpg", jpg)));
    EXPECT_EQ(m_pPixels, nullptr);
}

TEST_F(Pictures, AnyChangedBytesAreReadOrRefused)
{
    for (const char* pSuffix : {".png", ".jpg", ".bmp"}) {
        const std::string strGood = std::string("good") + pSuffix;
        ASSERT_TRUE(cv::imwrite(m_folder.Path(strGood), Noise(19, 13, CV_8UC3)));
        const QByteArray good = m_folder.ReadAll(strGood);
        for (std::uint64_t i = 0; i < 400; ++i) {
            QByteArray bytes = good;
            for (std::uint64_t k = 0; k <= i % 4; ++k) {
                const std::uint64_t n = Simulator::Mix(i + 1, k);
                const auto nRange =
                    static_cast<std::uint64_t>(i % 2 == 0 ? bytes.size() : std::min<qsizetype>(60, bytes.size()));
                bytes[static_cast<int>(n % nRange)] = static_cast<char>(n >> 40);
            }
            if (Read(m_folder.Write(std::string("bad") + pSuffix, bytes))) {
                ASSERT_NE(m_pPixels, nullptr);
                EXPECT_GE(m_nWidth, 1);
                EXPECT_LE(m_nWidth, 65500);
                EXPECT_TRUE(m_nBits == 8 || m_nBits == 24 || m_nBits == 32) << m_nBits;
            }
        }
    }
}

TEST_F(Pictures, SixteenBitsBecomeEightAndOtherKindsOfPixelsAreRefused)
{
    cv::Mat deep(5, 7, CV_16UC3, cv::Scalar(257 * 3, 257 * 170, 257 * 255));
    ASSERT_TRUE(cv::imwrite(Path("deep.png"), deep));
    ASSERT_TRUE(Read(Path("deep.png")));
    EXPECT_TRUE(Holds(cv::Mat(5, 7, CV_8UC3, cv::Scalar(3, 170, 255))));
    ASSERT_TRUE(cv::imwrite(Path("deep_grey.png"), cv::Mat(5, 7, CV_16UC1, cv::Scalar(257 * 9))));
    ASSERT_TRUE(Read(Path("deep_grey.png")));
    EXPECT_TRUE(Holds(cv::Mat(5, 7, CV_8UC1, cv::Scalar(9))));
    ASSERT_TRUE(cv::imwrite(Path("float.tiff"), cv::Mat(5, 7, CV_32FC3, cv::Scalar::all(0.5))));
    EXPECT_FALSE(Read(Path("float.tiff")));
}

TEST_F(Pictures, APipeUnderThePicturesNameHoldsNobody)
{
    ASSERT_EQ(mkfifo(Path("pipe.bmp").c_str(), 0600), 0);
    EXPECT_FALSE(Read(Path("pipe.bmp")));
    EXPECT_EQ(m_pPixels, nullptr);
}

TEST_F(Pictures, AWriteThatTheDiskRefusesLeavesNoPicture)
{
    const cv::Mat picture = Noise(64, 64, CV_8UC3);
    ASSERT_TRUE(Save_Image(picture.data, 64, 64, 24, Path("p.bmp").c_str()));
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = old;
    small.rlim_cur = 5000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool bSaved = Save_Image(picture.data, 64, 64, 24, Path("p.bmp").c_str());
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_FALSE(bSaved);
    EXPECT_FALSE(Read(Path("p.bmp")));
    EXPECT_TRUE(cv::imread(Path("p.bmp")).empty());
}

TEST_F(Pictures, AReaderBesideAWriterNeverSeesHalfOfTwoPictures)
{
    const cv::Mat dark(600, 800, CV_8UC3, cv::Scalar::all(1));
    const cv::Mat bright(600, 800, CV_8UC3, cv::Scalar::all(250));
    ASSERT_TRUE(Save_Image(dark.data, 800, 600, 24, Path("p.bmp").c_str()));
    std::atomic<bool> bStop{false};
    std::thread writer([&] {
        for (int i = 0; !bStop; ++i) {
            const cv::Mat& picture = i % 2 == 0 ? bright : dark;
            Save_Image(picture.data, 800, 600, 24, Path("p.bmp").c_str());
            // The lock is not a fair one; without a pause the reader may wait longer than it does.
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    for (int i = 0; i < 300; ++i) {
        EXPECT_TRUE(Read(Path("p.bmp")));
        EXPECT_TRUE(Holds(dark) || Holds(bright)) << "a mixture";
    }
    bStop = true;
    writer.join();
}

TEST_F(Pictures, WhatCannotBeSavedIsRefused)
{
    const cv::Mat picture = Noise(8, 8, CV_8UC3);
    const std::string strFile = Path("p.bmp");
    EXPECT_FALSE(Save_Image(nullptr, 8, 8, 24, strFile.c_str()));
    EXPECT_FALSE(Save_Image(picture.data, 8, 8, 24, nullptr));
    EXPECT_FALSE(Save_Image(picture.data, 0, 8, 24, strFile.c_str()));
    EXPECT_FALSE(Save_Image(picture.data, 8, -1, 24, strFile.c_str()));
    EXPECT_FALSE(Save_Image(picture.data, 8, 8, 16, strFile.c_str()));
    EXPECT_FALSE(Save_Image(picture.data, std::numeric_limits<long>::max(), 8, 24, strFile.c_str()));
    EXPECT_FALSE(QFile::exists(QString::fromStdString(strFile)));
    EXPECT_FALSE(Save_Image(picture.data, 8, 8, 24, Path("no/such/folder.bmp").c_str()));
    EXPECT_FALSE(Save_Image(picture.data, 8, 8, 24, Path("suffix.unknown").c_str()));
}

TEST_F(Pictures, GreyIsWhatOpenCvMakesOfBgr)
{
    for (const int nType : {CV_8UC3, CV_8UC4}) {
        cv::Mat picture = Noise(33, 9, nType);
        cv::Mat expected, grey(9, 33, CV_8UC1);
        cv::cvtColor(picture, expected, nType == CV_8UC3 ? cv::COLOR_BGR2GRAY : cv::COLOR_BGRA2GRAY);
        ConvertRGBToGray(picture.data, 33, 9, 8 * picture.channels(), grey.data);
        EXPECT_EQ(cv::norm(grey, expected, cv::NORM_INF), 0.0);
    }
}

TEST_F(Pictures, GreyOfAnotherDepthOrOfNothingIsLeftUntouched)
{
    cv::Mat picture = Noise(4, 4, CV_8UC3);
    cv::Mat grey(4, 4, CV_8UC1, cv::Scalar(77));
    ConvertRGBToGray(picture.data, 4, 4, 8, grey.data);
    ConvertRGBToGray(picture.data, 4, 4, 16, grey.data);
    ConvertRGBToGray(picture.data, -4, 4, 24, grey.data);
    ConvertRGBToGray(nullptr, 4, 4, 24, grey.data);
    ConvertRGBToGray(picture.data, 4, 4, 24, nullptr);
    EXPECT_EQ(cv::countNonZero(grey != 77), 0);
}
