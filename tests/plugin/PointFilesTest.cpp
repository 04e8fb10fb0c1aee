#include "PointFiles.h"

#include "DataRoot.h"
#include "ModuleDoubles.h"

#include <gtest/gtest.h>

#include <QFile>

#include <sys/stat.h>

class PointFiles : public testing::Test
{
protected:
    void SetUp() override { Doubles::Reset(); }

    bool Read() { return ReadPointFiles(m_strLeft, m_strRight, m_vecLeft, m_vecRight, "Caller::Read"); }

    DataRoot m_data;
    QString m_strLeft = m_data.Folder() + "/LeftCalPts.txt";
    QString m_strRight = m_data.Folder() + "/RightCalPts.txt";
    std::vector<CalibrationPoint> m_vecLeft, m_vecRight;
};

TEST_F(PointFiles, OneLineAPointWithTwelveValues)
{
    std::vector<CalibrationPoint> points(3);
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i].nId = static_cast<int>(i) + 5;
        points[i].fWorldX = 55.0f;
        points[i].fImageX = 1234.5678f;
    }
    ASSERT_TRUE(WritePointFile(m_strLeft, points, "Caller::Save"));
    QFile file(m_strLeft);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray content = file.readAll();
    EXPECT_EQ(content.count('\n'), 3);
    EXPECT_EQ(content.split('\n').first(), QByteArray("5 0 0 55 0 0 1234.57 0 0 0 0 0"));
}

TEST_F(PointFiles, PointsComeBackWithSixDigits)
{
    std::vector<CalibrationPoint> points(2);
    points[0].nId = 7;
    points[0].nRow = 1;
    points[0].nCol = 2;
    points[0].fImageX = 1234.5678f;
    points[0].fImageY = -0.25f;
    points[0].dValue3 = 0.125;
    points[1].nId = 9;
    ASSERT_TRUE(WritePointFile(m_strLeft, points, "Caller::Save"));
    ASSERT_TRUE(WritePointFile(m_strRight, points, "Caller::Save"));
    ASSERT_TRUE(Read());
    ASSERT_EQ(m_vecLeft.size(), 2U);
    EXPECT_EQ(m_vecLeft[0].nId, 7);
    EXPECT_EQ(m_vecLeft[0].nRow, 1);
    EXPECT_EQ(m_vecLeft[0].nCol, 2);
    EXPECT_FLOAT_EQ(m_vecLeft[0].fImageX, 1234.57f);
    EXPECT_FLOAT_EQ(m_vecLeft[0].fImageY, -0.25f);
    EXPECT_EQ(m_vecLeft[0].dValue3, 0.125);
    EXPECT_EQ(m_vecRight[1].nId, 9);
}

TEST_F(PointFiles, EmptyFilesGiveEmptyVectors)
{
    m_data.WriteFile(m_strLeft, "");
    m_data.WriteFile(m_strRight, "");
    m_vecLeft.resize(4);
    m_vecRight.resize(4);
    EXPECT_TRUE(Read());
    EXPECT_TRUE(m_vecLeft.empty());
    EXPECT_TRUE(m_vecRight.empty());
}

TEST_F(PointFiles, AMissingFileIsToldBySide)
{
    EXPECT_FALSE(Read());
    EXPECT_TRUE(Doubles::The().Logged(3, "Caller::Read: Failed to open the left file!"));
    m_data.WriteFile(m_strLeft, "");
    EXPECT_FALSE(Read());
    EXPECT_TRUE(Doubles::The().Logged(3, "Caller::Read: Failed to open the right file!"));
}

TEST_F(PointFiles, ABlankLineIsAParseFailure)
{
    m_data.WriteFile(m_strLeft, "1 0 0 1 2 0 3 4 0 0 0 0\n\n2 0 0 1 2 0 3 4 0 0 0 0\n");
    m_data.WriteFile(m_strRight, "");
    EXPECT_FALSE(Read());
    EXPECT_EQ(m_vecLeft.size(), 1U);
    EXPECT_TRUE(Doubles::The().Logged(3, "Caller::Read: Error parsing line in left file: "));
}

TEST_F(PointFiles, ALineOfElevenValuesIsAParseFailure)
{
    m_data.WriteFile(m_strLeft, "");
    m_data.WriteFile(m_strRight, "1 0 0 1 2 0 3 4 0 0 0\n");
    EXPECT_FALSE(Read());
    EXPECT_TRUE(m_vecRight.empty());
    EXPECT_TRUE(Doubles::The().Logged(3, "Caller::Read: Error parsing line in right file: 1 0 0 1 2 0 3 4 0 0 0"));
}

TEST_F(PointFiles, BinaryEndlessAndHugeFilesAreRefused)
{
    m_data.WriteFile(m_strRight, "");
    m_data.WriteFile(m_strLeft, QByteArray(1000, '\x01'));
    EXPECT_FALSE(Read());
    m_data.WriteFile(m_strLeft, QByteArray(200000, '7'));
    EXPECT_FALSE(Read());
    QFile file(m_strLeft);
    ASSERT_TRUE(file.resize(17LL * 1024 * 1024));
    EXPECT_FALSE(Read());
    EXPECT_TRUE(m_vecLeft.empty());
}

TEST_F(PointFiles, APipeInPlaceOfTheFileDoesNotOpen)
{
    ASSERT_EQ(mkfifo(m_strLeft.toLocal8Bit().constData(), 0600), 0);
    EXPECT_FALSE(Read());
    EXPECT_TRUE(Doubles::The().Logged(3, "Caller::Read: Failed to open the left file!"));
}

TEST_F(PointFiles, APipeInPlaceOfTheFileIsNotWrittenAndNotWaitedFor)
{
    ASSERT_EQ(mkfifo(m_strLeft.toLocal8Bit().constData(), 0600), 0);
    EXPECT_FALSE(WritePointFile(m_strLeft, {}, "Caller::Save"));
    EXPECT_TRUE(Doubles::The().Logged(3, "Caller::Save:Failed to open the file!"));
}

TEST_F(PointFiles, ReadingStopsAtTheFirstLineThatIsCutShort)
{
    m_data.WriteFile(m_strLeft, "1 0 0 1 2 0 3 4 0 0 0 0\n2 0 0 1 2 0 3");
    m_data.WriteFile(m_strRight, "1 0 0 1 2 0 3 4 0 0 0 0\n");
    EXPECT_FALSE(Read());
    EXPECT_EQ(m_vecLeft.size(), 1U);
    EXPECT_TRUE(m_vecRight.empty());
    EXPECT_TRUE(Doubles::The().Logged(3, "Caller::Read: Error parsing line in left file: 2 0 0 1 2 0 3"));
}

TEST_F(PointFiles, EveryFieldComesBackInItsPlace)
{
    m_data.WriteFile(m_strLeft, "1 2 3 4.5 5.5 6.5 7.5 8.5 9.5 10.5 11.5 12.5\r\n");
    m_data.WriteFile(m_strRight, "");
    ASSERT_TRUE(Read());
    ASSERT_EQ(m_vecLeft.size(), 1U);
    const CalibrationPoint& point = m_vecLeft[0];
    EXPECT_EQ(point.nId, 1);
    EXPECT_EQ(point.nRow, 2);
    EXPECT_EQ(point.nCol, 3);
    EXPECT_EQ(point.fWorldX, 4.5f);
    EXPECT_EQ(point.fWorldY, 5.5f);
    EXPECT_EQ(point.fWorldZ, 6.5f);
    EXPECT_EQ(point.fImageX, 7.5f);
    EXPECT_EQ(point.fImageY, 8.5f);
    EXPECT_EQ(point.dValue0, 9.5);
    EXPECT_EQ(point.dValue1, 10.5);
    EXPECT_EQ(point.dValue2, 11.5);
    EXPECT_EQ(point.dValue3, 12.5);
    ASSERT_TRUE(WritePointFile(m_strRight, m_vecLeft, "Caller::Save"));
    QFile file(m_strRight);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("1 2 3 4.5 5.5 6.5 7.5 8.5 9.5 10.5 11.5 12.5\n"));
}

TEST_F(PointFiles, AFolderThatIsNotThereIsToldWhenWriting)
{
    EXPECT_FALSE(WritePointFile(m_data.Folder() + "/no/such/file.txt", {}, "Caller::Save"));
    EXPECT_TRUE(Doubles::The().Logged(3, "Caller::Save:Failed to open the file!"));
}
