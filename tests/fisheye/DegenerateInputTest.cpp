// Input that no camera can be fitted to.

#include "CalibrationScene.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <utility>

namespace
{

class DegenerateInput : public testing::Test
{
protected:
    /// False, with nothing touched that the caller owns.
    bool Refused(Points points)
    {
        const Points before = points;
        FishEyeCalibrationParam param;
        param.words.fill(7.0);
        double errorPx = 123.0;
        const bool bGood =
            SingleCamCalibration(m_gray.data, m_gray.cols, m_gray.rows, 8, points, 5184, 3888, param, errorPx);
        EXPECT_EQ(errorPx == 123.0, !bGood);
        EXPECT_EQ(param.words[0] == 7.0 && param.words[28] == 7.0, !bGood);
        const bool bSame = points.size() == before.size() &&
                           (points.empty() ||
                            std::memcmp(points.data(), before.data(), points.size() * sizeof(CalibrationPoint)) == 0);
        EXPECT_TRUE(bGood || bSame);
        return !bGood;
    }

    Scene m_scene{false, 1};
    cv::Mat m_gray{1944, 2592, CV_8UC1, cv::Scalar(128)};
};

} // namespace

TEST_F(DegenerateInput, GoodPointsAreTakenSoTheseTestsMeanSomething)
{
    EXPECT_FALSE(Refused(m_scene.exact));
}

TEST_F(DegenerateInput, FewerPointsThanUnknownsAreRefused)
{
    for (std::size_t n = 0; n < 7; ++n) {
        Points points;
        for (std::size_t i = 0; i < n; ++i) {
            points.push_back(m_scene.exact[i * 5 + i % 3]);
        }
        EXPECT_TRUE(Refused(points)) << n;
    }
}

TEST_F(DegenerateInput, PointsOnOneLineAreRefused)
{
    Points row;
    Points column;
    for (const CalibrationPoint& point : FisheyeScene::ExactPoints(m_scene.camera, 0, 8)) {
        if (point.nRow == 3) {
            row.push_back(point);
        }
        if (point.nCol == 5) {
            column.push_back(point);
        }
    }
    for (Points* pPoints : {&row, &column}) {
        for (CalibrationPoint& point : *pPoints) {
            point.fImageX = std::clamp(point.fImageX, 0.0f, 2591.0f);
        }
    }
    ASSERT_GE(row.size(), 7U);
    ASSERT_GE(column.size(), 7U);
    EXPECT_TRUE(Refused(row));
    EXPECT_TRUE(Refused(column));
}

TEST_F(DegenerateInput, DuplicatePointsAreRefused)
{
    Points sameId = m_scene.exact;
    sameId[4].nId = sameId[5].nId;
    EXPECT_TRUE(Refused(sameId));
    Points allOne = m_scene.exact;
    for (CalibrationPoint& point : allOne) {
        point.nId = 1;
    }
    EXPECT_TRUE(Refused(allOne));
    Points sameClick = m_scene.exact;
    sameClick[9].fImageX = sameClick[10].fImageX;
    sameClick[9].fImageY = sameClick[10].fImageY;
    EXPECT_TRUE(Refused(sameClick));
    Points sameMark = m_scene.exact;
    sameMark[9].fWorldX = sameMark[10].fWorldX;
    sameMark[9].fWorldY = sameMark[10].fWorldY;
    EXPECT_TRUE(Refused(sameMark));
}

TEST_F(DegenerateInput, AllWorldCoordinatesZeroAreRefused)
{
    Points points = m_scene.exact;
    for (CalibrationPoint& point : points) {
        point.fWorldX = point.fWorldY = 0.0f;
    }
    EXPECT_TRUE(Refused(points));
}

TEST_F(DegenerateInput, NumbersThatAreNotFiniteAreRefused)
{
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::max()}) {
        for (float CalibrationPoint::*pField :
             {&CalibrationPoint::fWorldX, &CalibrationPoint::fWorldY, &CalibrationPoint::fWorldZ,
              &CalibrationPoint::fImageX, &CalibrationPoint::fImageY}) {
            Points points = m_scene.exact;
            points[12].*pField = bad;
            EXPECT_TRUE(Refused(points)) << bad;
        }
    }
}

TEST_F(DegenerateInput, APointFarOutsideThePictureIsRefused)
{
    Points points = m_scene.exact;
    points[0].fImageX = -500.0f;
    EXPECT_TRUE(Refused(points));
    points[0].fImageX = 3000.0f;
    EXPECT_TRUE(Refused(points));
}

TEST_F(DegenerateInput, PointsThatFitNoCameraAreRefused)
{
    Points points = m_scene.exact;
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i].fImageX = m_scene.exact[(i * 13 + 5) % points.size()].fImageX;
        points[i].fImageY = m_scene.exact[(i * 13 + 5) % points.size()].fImageY;
    }
    EXPECT_TRUE(Refused(points));
}

TEST_F(DegenerateInput, MirroredPointsAreRefusedAndTheLogSaysSo)
{
    const auto mirrored = [this](const char* pKind, auto mirror) {
        for (const Points& from : {m_scene.exact, m_scene.Clicks()}) {
            Points points = from;
            for (CalibrationPoint& point : points) {
                mirror(point);
            }
            testing::internal::CaptureStderr();
            EXPECT_TRUE(Refused(points)) << pKind;
            EXPECT_NE(testing::internal::GetCapturedStderr().find("mirrored"), std::string::npos) << pKind;
        }
    };
    mirrored("Y of the machine flipped", [](CalibrationPoint& point) { point.fWorldY = 900.0f - point.fWorldY; });
    mirrored("X of the machine flipped", [](CalibrationPoint& point) { point.fWorldX = 1300.0f - point.fWorldX; });
    mirrored("axes exchanged", [](CalibrationPoint& point) { std::swap(point.fWorldX, point.fWorldY); });
    mirrored("picture flipped", [](CalibrationPoint& point) { point.fImageY = 1943.0f - point.fImageY; });
    // Flipped twice is turned by 180 degrees, which a camera may well be.
    Points turned = m_scene.exact;
    for (CalibrationPoint& point : turned) {
        point.fWorldX = 1300.0f - point.fWorldX;
        point.fWorldY = 900.0f - point.fWorldY;
    }
    EXPECT_FALSE(Refused(turned));
}

TEST_F(DegenerateInput, NoPictureAbsurdSizesAndOtherDepthsAreRefused)
{
    const auto good = [this](unsigned char* pGray, long width, long height, int bits) {
        Points points = m_scene.exact;
        FishEyeCalibrationParam param;
        double errorPx = 0.0;
        return SingleCamCalibration(pGray, width, height, bits, points, 5184, 3888, param, errorPx);
    };
    EXPECT_FALSE(good(nullptr, 2592, 1944, 8));
    for (const int nBits : {-8, 0, 1, 16, 24, 32}) {
        EXPECT_FALSE(good(m_gray.data, 2592, 1944, nBits)) << nBits;
    }
    for (const long size :
         {0L, -1L, 1L, 1L << 40, std::numeric_limits<long>::min(), std::numeric_limits<long>::max()}) {
        EXPECT_FALSE(good(m_gray.data, size, 1944, 8)) << size;
        EXPECT_FALSE(good(m_gray.data, 2592, size, 8)) << size;
    }
}
