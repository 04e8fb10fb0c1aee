#include "CrossMarks.h"

#include "DataRoot.h"
#include "FileStore.h"
#include "ModuleDoubles.h"
#include "PageParts.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

namespace
{

std::vector<CalibrationPoint> MarksWithIds(const std::vector<int>& ids)
{
    std::vector<CalibrationPoint> marks;
    for (const int nId : ids) {
        marks.push_back(NewMark(nId, 2, 3, QPointF()));
    }
    return marks;
}

} // namespace

TEST(CrossMarks, TheNextIdIsOneMoreThanTheirNumberWhereNoneIsMissing)
{
    EXPECT_EQ(NextMarkId({}), 1);
    EXPECT_EQ(NextMarkId(MarksWithIds({1, 2, 3})), 4);
    EXPECT_EQ(NextMarkId(MarksWithIds({3, 1, 2})), 4);
}

TEST(CrossMarks, TheNextIdIsTheOneAfterTheFirstThatIsMissing)
{
    EXPECT_EQ(NextMarkId(MarksWithIds({2, 3})), 2);
    EXPECT_EQ(NextMarkId(MarksWithIds({1, 3, 4})), 3);
    EXPECT_EQ(NextMarkId(MarksWithIds({2})), 2);
}

TEST(CrossMarks, AMissingHighestIdIsNotNoticed)
{
    EXPECT_EQ(NextMarkId(MarksWithIds({1, 2, 2})), 4) << "id 3 is looked for and missing";
    EXPECT_EQ(NextMarkId(MarksWithIds({1, 2})), 3);
}

TEST(CrossMarks, RowsAreDividedByColumnsAndColumnsLeftOverByRows)
{
    const CalibrationPoint mark = NewMark(14, 5, 7, QPointF(12.25, -3.5));
    EXPECT_EQ(mark.nId, 14);
    EXPECT_EQ(mark.nRow, 1);
    EXPECT_EQ(mark.nCol, 3);
    EXPECT_EQ(mark.fImageX, 12.25f);
    EXPECT_EQ(mark.fImageY, -3.5f);
    EXPECT_EQ(mark.fWorldX, 0.0f);
    EXPECT_EQ(mark.fWorldY, 0.0f);
    EXPECT_EQ(mark.fWorldZ, 0.0f);
    EXPECT_EQ(mark.dValue0, 0.0);
    EXPECT_EQ(mark.dValue1, 0.0);
    EXPECT_EQ(mark.dValue2, 0.0);
    EXPECT_EQ(mark.dValue3, 0.0);
}

TEST(CrossMarks, GridNumbersOfZeroDivideNothing)
{
    const CalibrationPoint mark = NewMark(14, 0, 0, QPointF());
    EXPECT_EQ(mark.nRow, 0);
    EXPECT_EQ(mark.nCol, 0);
}

TEST(CrossMarks, AMarkGoesThereAndBackExactlyWhateverTheSize)
{
    for (const cv::Size size : {cv::Size(64, 48), cv::Size(65, 47), cv::Size(64, 47), cv::Size(65, 48)}) {
        cv::Mat raw(size, CV_8UC3, cv::Scalar(10, 20, 30));
        const cv::Point spot(17, 9);
        raw.at<cv::Vec3b>(spot) = {200, 210, 220};

        const cv::Mat turned = HalfTurned(raw);
        ASSERT_EQ(turned.size(), size);
        const cv::Point seen(2 * (size.width / 2) - spot.x, 2 * (size.height / 2) - spot.y);
        EXPECT_EQ(turned.at<cv::Vec3b>(seen), cv::Vec3b(200, 210, 220)) << size;

        std::vector<cv::Point2f> back;
        ASSERT_TRUE(RotatePoints({QPointF(seen.x, seen.y)}, size, back));
        EXPECT_EQ(back.front(), cv::Point2f(spot)) << size;
    }
}

TEST(CrossMarks, TurningIsExactInEveryPixelButThoseFromBeyondTheBorder)
{
    cv::Mat raw(5, 8, CV_8UC1);
    cv::randu(raw, 1, 255);
    const cv::Mat turned = HalfTurned(raw);
    for (int y = 0; y < raw.rows; ++y) {
        EXPECT_EQ(turned.at<uchar>(y, 0), 0) << "an even width has its centre between two pixels";
        for (int x = 1; x < raw.cols; ++x) {
            EXPECT_EQ(turned.at<uchar>(y, x), raw.at<uchar>(4 - y, 8 - x));
        }
    }
}

TEST(CrossMarks, TurningMarksReversesTheirOrder)
{
    std::vector<cv::Point2f> turned;
    ASSERT_TRUE(RotatePoints({QPointF(1, 2), QPointF(30, 40.5)}, {101, 50}, turned));
    EXPECT_THAT(turned, testing::ElementsAre(cv::Point2f(70.0f, 9.5f), cv::Point2f(99.0f, 48.0f)));
}

TEST(CrossMarks, NoMarksAreRefusedWithALogLine)
{
    Doubles::Reset();
    std::vector<cv::Point2f> turned;
    EXPECT_FALSE(RotatePoints({}, {100, 50}, turned));
    EXPECT_TRUE(turned.empty());
    EXPECT_TRUE(Doubles::The().Logged(3, "AutoDualCalibrateWdg::RotatePoints: Wrong number of coordinates!"));
}

TEST(CrossMarks, StoredPointsEndWhereTheFirstIsMissing)
{
    Doubles::Reset();
    const DataRoot root;
    EXPECT_FALSE(StoredWorldPoint(0));
    EXPECT_TRUE(StoredWorldPoints(4).isEmpty());
    for (const int i : {0, 1, 3}) {
        WriteIniDouble("PROGRESS", QString("X%1").arg(i), 10.5 * i, ProgressFile());
        WriteIniDouble("PROGRESS", QString("Y%1").arg(i), 1.25, ProgressFile());
    }
    WriteIniDouble("PROGRESS", "X4", 7.0, ProgressFile());

    EXPECT_EQ(StoredWorldPoints(4), (QList<QPointF>{{0.0, 1.25}, {10.5, 1.25}}));
    EXPECT_EQ(StoredWorldPoints(1), (QList<QPointF>{{0.0, 1.25}}));
    EXPECT_EQ(*StoredWorldPoint(3), QPointF(31.5, 1.25));
    EXPECT_FALSE(StoredWorldPoint(4)) << "it has no Y";
    EXPECT_FALSE(StoredWorldPoint(-1));
}
