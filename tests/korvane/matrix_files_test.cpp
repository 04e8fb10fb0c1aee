#include "FullDisk.h"
#include "KorvaneVision.h"
#include "SeededNoise.h"
#include "TempFolder.h"

#include <gtest/gtest.h>

#include <QFile>

#include <sys/stat.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <iterator>

using namespace Korvane::CameraCalibration;

namespace
{

class MatrixFiles : public ::testing::Test
{
protected:
    std::string Path(const char* pName) const { return m_folder.Path(pName); }
    std::string Write(const char* pName, const QByteArray& bytes) const { return m_folder.Write(pName, bytes); }

    TempFolder m_folder;
    const cv::Mat m_matCamera = (cv::Mat_<double>(3, 3) << 2200.25, 0, 1290.5, 0, 2201.75, 970.125, 0, 0, 1);
    const cv::Mat m_matLens = (cv::Mat_<double>(1, 5) << -0.1, 0.02, 1e-4, -2e-4, 0.003);
    const cv::Mat m_matHomography =
        (cv::Mat_<double>(3, 3) << 1.01, 0.002, 1500.5, -0.003, 0.99, -12.25, 1e-6, -2e-6, 1);
};

/// Damaged variants of a good file.
std::vector<QByteArray> Damaged(const QByteArray& good)
{
    QByteArray nan = good, text = good, rows = good, type = good, key = good;
    nan.replace("1.", ".Nan ");
    text.replace("1.", "word ");
    rows.replace("<rows>3</rows>", "<rows>2000000000</rows>");
    type.replace("<dt>d</dt>", "<dt>999999d</dt>");
    key.replace("HomMat2D", "Other").replace("CameraMatrix", "Other");
    return {"",
            "no XML",
            "<?xml version=\"1.0\"?>",
            "<?xml version=\"1.0\"?><opencv_storage></opencv_storage>",
            good.left(good.size() / 2),
            good.left(good.size() - 3),
            QByteArray(5000, '\xfe'),
            QByteArray(5000, '\0'),
            QByteArray(2 * 1024 * 1024, ' '),
            nan,
            text,
            rows,
            type,
            key};
}

} // namespace

TEST_F(MatrixFiles, ACamerasFileComesBackAsItWasWritten)
{
    ASSERT_TRUE(SaveCameraParameters(Path("c.xml"), m_matCamera, m_matLens, 0.125));
    cv::Mat camera, lens;
    double error = 0.0;
    ASSERT_TRUE(LoadCameraParameters(Path("c.xml"), camera, lens, error));
    EXPECT_EQ(cv::norm(camera, m_matCamera, cv::NORM_INF), 0.0);
    EXPECT_EQ(cv::norm(lens, m_matLens, cv::NORM_INF), 0.0);
    EXPECT_EQ(error, 0.125);
    EXPECT_EQ(camera.type(), CV_64F);
}

TEST_F(MatrixFiles, WhatIsNoCameraIsNeitherWrittenNorRead)
{
    cv::Mat camera, lens;
    double error = 0.0;
    for (const int nCount : {0, 4, 5, 8, 12, 14}) {
        ASSERT_TRUE(SaveCameraParameters(Path("c.xml"), m_matCamera, cv::Mat::ones(1, nCount, CV_64F), 0.5)) << nCount;
        ASSERT_TRUE(LoadCameraParameters(Path("c.xml"), camera, lens, error)) << nCount;
        EXPECT_EQ(lens.total(), nCount == 0 ? 5U : static_cast<std::size_t>(nCount)) << "none is written as zeros";
    }
    for (const int nCount : {1, 3, 6, 7, 13, 15}) {
        EXPECT_FALSE(SaveCameraParameters(Path("n.xml"), m_matCamera, cv::Mat::ones(1, nCount, CV_64F), 0.5)) << nCount;
    }
    for (const double dFocal : {0.0, -2200.0}) {
        cv::Mat wrong = m_matCamera.clone();
        wrong.at<double>(1, 1) = dFocal;
        EXPECT_FALSE(SaveCameraParameters(Path("n.xml"), wrong, m_matLens, 0.5)) << dFocal;
    }
    EXPECT_FALSE(QFile::exists(QString::fromStdString(Path("n.xml"))));
    // Nor from a file that somebody else has written.
    ASSERT_TRUE(SaveCameraParameters(Path("c.xml"), m_matCamera, m_matLens, 0.5));
    QByteArray six = m_folder.ReadAll("c.xml");
    six.replace("<cols>5</cols>", "<cols>6</cols>").replace("-1.0000000000000001e-01", "7. -1.0000000000000001e-01");
    EXPECT_FALSE(LoadCameraParameters(Write("six.xml", six), camera, lens, error));
    EXPECT_NE(GetLastError().find("Distortion has 6 coefficients"), std::string::npos) << GetLastError();
    QByteArray turned = m_folder.ReadAll("c.xml");
    turned.replace("2.2002500000000000e+03", "-2200.");
    EXPECT_FALSE(LoadCameraParameters(Write("turned.xml", turned), camera, lens, error));
    EXPECT_NE(GetLastError().find("focal length"), std::string::npos) << GetLastError();
}

TEST_F(MatrixFiles, AHomographyComesBackAsItWasWrittenUnderItsKey)
{
    ASSERT_TRUE(SaveHomography(Path("h.xml"), m_matHomography));
    EXPECT_TRUE(m_folder.ReadAll("h.xml").contains("<HomMat2D"));
    cv::Mat homography;
    ASSERT_TRUE(LoadHomography(Path("h.xml"), homography));
    EXPECT_EQ(cv::norm(homography, m_matHomography, cv::NORM_INF), 0.0);
    EXPECT_EQ(homography.type(), CV_64F);
}

TEST_F(MatrixFiles, DamagedFilesAreRefusedAndTheOutputsStay)
{
    ASSERT_TRUE(SaveHomography(Path("h.xml"), m_matHomography));
    ASSERT_TRUE(SaveCameraParameters(Path("c.xml"), m_matCamera, m_matLens, 0.5));
    const auto expectRefused = [](const std::string& strFile, const QByteArray& told) {
        cv::Mat camera(2, 2, CV_8U), lens(2, 2, CV_8U), homography(2, 2, CV_8U);
        double error = -3.0;
        EXPECT_FALSE(LoadHomography(strFile, homography)) << told.left(400).constData();
        EXPECT_FALSE(LoadCameraParameters(strFile, camera, lens, error)) << told.left(400).constData();
        EXPECT_EQ(homography.rows, 2);
        EXPECT_EQ(camera.rows, 2);
        EXPECT_EQ(lens.rows, 2);
        EXPECT_EQ(error, -3.0);
        EXPECT_NE(GetLastError().find(strFile), std::string::npos);
    };
    for (const char* pGood : {"h.xml", "c.xml"}) {
        for (const QByteArray& bytes : Damaged(m_folder.ReadAll(pGood))) {
            expectRefused(Write("bad.xml", bytes), bytes);
        }
    }
    expectRefused(Path("missing.xml"), "a missing file");
    expectRefused(m_folder.Path(), "a folder");
}

TEST_F(MatrixFiles, DeeplyNestedTagsAreRefusedBeforeTheyAreFollowed)
{
    QByteArray nested = "<?xml version=\"1.0\"?><opencv_storage>";
    for (int i = 0; i < 100000; ++i) {
        nested += "<a>";
    }
    nested += "</opencv_storage>";
    cv::Mat homography;
    EXPECT_FALSE(LoadHomography(Write("nested.xml", nested), homography));
    EXPECT_NE(GetLastError().find("more than a matrix"), std::string::npos) << GetLastError();
}

TEST_F(MatrixFiles, AnyChangedBytesAreReadAsFiniteNumbersOrRefused)
{
    ASSERT_TRUE(SaveHomography(Path("h.xml"), m_matHomography));
    ASSERT_TRUE(SaveCameraParameters(Path("c.xml"), m_matCamera, m_matLens, 0.5));
    for (const char* pGood : {"h.xml", "c.xml"}) {
        const QByteArray good = m_folder.ReadAll(pGood);
        for (std::uint64_t i = 0; i < 400; ++i) {
            QByteArray bytes = good;
            for (std::uint64_t k = 0; k <= i % 4; ++k) {
                const std::uint64_t n = Simulator::Mix(i + 1, k);
                bytes[static_cast<int>(n % static_cast<std::uint64_t>(bytes.size()))] = static_cast<char>(n >> 40);
            }
            const std::string strFile = Write("bad.xml", bytes);
            cv::Mat camera, lens, homography;
            double error = 0.0;
            if (LoadHomography(strFile, homography)) {
                EXPECT_EQ(homography.size(), cv::Size(3, 3));
                EXPECT_TRUE(cv::checkRange(homography));
            }
            if (LoadCameraParameters(strFile, camera, lens, error)) {
                EXPECT_EQ(camera.size(), cv::Size(3, 3));
                EXPECT_TRUE(cv::checkRange(camera) && cv::checkRange(lens));
            }
        }
    }
}

TEST_F(MatrixFiles, WhatIsNoMatrixOfItsKindIsNotWritten)
{
    const cv::Mat nan(3, 3, CV_64F, cv::Scalar(std::nan("")));
    EXPECT_FALSE(SaveHomography(Path("h.xml"), cv::Mat()));
    EXPECT_FALSE(SaveHomography(Path("h.xml"), cv::Mat::eye(2, 3, CV_64F)));
    EXPECT_FALSE(SaveHomography(Path("h.xml"), nan));
    EXPECT_FALSE(SaveCameraParameters(Path("h.xml"), nan, m_matLens, 0.0));
    EXPECT_FALSE(SaveCameraParameters(Path("h.xml"), cv::Mat(), m_matLens, 0.0));
    EXPECT_FALSE(QFile::exists(QString::fromStdString(Path("h.xml"))));
    EXPECT_FALSE(SaveHomography(Path("no/folder/h.xml"), m_matHomography));
}

TEST_F(MatrixFiles, ARefusedMatrixLeavesTheOldFile)
{
    ASSERT_TRUE(SaveHomography(Path("h.xml"), m_matHomography));
    EXPECT_FALSE(SaveHomography(Path("h.xml"), cv::Mat()));
    cv::Mat homography;
    EXPECT_TRUE(LoadHomography(Path("h.xml"), homography));
}

TEST_F(MatrixFiles, AFullDiskLeavesTheOldFileAndNothingBeside)
{
    ASSERT_TRUE(SaveHomography(Path("h.xml"), m_matHomography));
    bool bHomography = true;
    bool bCamera = true;
    {
        const FullDisk full;
        bHomography = SaveHomography(Path("h.xml"), cv::Mat::eye(3, 3, CV_64F));
        bCamera = SaveCameraParameters(Path("h.xml"), m_matCamera, m_matLens, 0.5);
    }
    EXPECT_FALSE(bHomography);
    EXPECT_FALSE(bCamera);
    cv::Mat homography;
    ASSERT_TRUE(LoadHomography(Path("h.xml"), homography));
    EXPECT_EQ(cv::norm(homography, m_matHomography, cv::NORM_INF), 0.0);
    const std::filesystem::directory_iterator first(m_folder.Path());
    EXPECT_EQ(std::distance(first, std::filesystem::directory_iterator()), 1);
}

TEST_F(MatrixFiles, WhatIsNoFileIsNotReplaced)
{
    ASSERT_EQ(::mkfifo(Path("pipe.xml").c_str(), 0600), 0);
    EXPECT_FALSE(SaveHomography(Path("pipe.xml"), m_matHomography));
    EXPECT_FALSE(SaveCameraParameters(Path("pipe.xml"), m_matCamera, m_matLens, 0.0));
    EXPECT_TRUE(std::filesystem::is_fifo(Path("pipe.xml")));
}

TEST(ExpansionHomography, IsTheDiagonalTimesTheMatrix)
{
    const cv::Mat matrix = (cv::Mat_<double>(3, 3) << 1, 2, 3, 4, 5, 6, 7, 8, 9);
    const cv::Mat expected = (cv::Mat_<double>(3, 3) << 6, 12, 18, 24, 30, 36, 7, 8, 9);
    const cv::Mat answer = Korvane::UtilityFunctions::CalculateExpansionHomography(matrix, 6.0);
    ASSERT_EQ(answer.type(), CV_64F);
    EXPECT_EQ(cv::norm(answer, expected, cv::NORM_INF), 0.0);
    EXPECT_TRUE(Korvane::UtilityFunctions::CalculateExpansionHomography(cv::Mat(), 6.0).empty());
    EXPECT_TRUE(Korvane::UtilityFunctions::CalculateExpansionHomography(cv::Mat::eye(2, 2, CV_64F), 6.0).empty());
}
