#include "Stitching.h"
#include "DualModel.h"
#include "StitchScene.h"
#include "WarpCell.h"

#include <gtest/gtest.h>

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstdlib>

using StitchScene::Camera;

namespace
{

double Bilinear(const Fisheye::PictureView& view, const Fisheye::SourcePlace& place, int nChannel)
{
    const int x0 = std::clamp(static_cast<int>(std::floor(place.x)), 0, view.nWidth - 1);
    const int y0 = std::clamp(static_cast<int>(std::floor(place.y)), 0, view.nHeight - 1);
    const int x1 = std::min(x0 + 1, view.nWidth - 1);
    const int y1 = std::min(y0 + 1, view.nHeight - 1);
    const double fx = place.x - x0;
    const double fy = place.y - y0;
    const auto at = [&](int x, int y) {
        return static_cast<double>(view.pPixels[static_cast<std::size_t>(y) * view.Stride() +
                                                static_cast<std::size_t>(x * view.nChannels + nChannel)]);
    };
    return (at(x0, y0) * (1 - fx) + at(x1, y0) * fx) * (1 - fy) + (at(x0, y1) * (1 - fx) + at(x1, y1) * fx) * fy;
}

/// The slow exact way: every pixel projected, sampled and blended in double.
cv::Mat Oracle(const Camera& left, const Camera& right, const cv::Size& size)
{
    const Fisheye::StitchProjection leftPlace(left.model, 6.0);
    const Fisheye::StitchProjection rightPlace(right.model, 6.0);
    const Fisheye::PictureView a = left.View();
    const Fisheye::PictureView b = right.View();
    const Fisheye::BrightnessMatch match =
        Fisheye::MatchBrightness(a, leftPlace, b, rightPlace, size.width, size.height);
    cv::Mat out(size, CV_8UC(a.nChannels), cv::Scalar::all(0));
    for (int y = 0; y < size.height; ++y) {
        const auto leftGain = match.Gain(y, true);
        const auto rightGain = match.Gain(y, false);
        for (int x = 0; x < size.width; ++x) {
            const Fisheye::SourcePlace p = leftPlace(x, y);
            const Fisheye::SourcePlace q = rightPlace(x, y);
            const bool bLeft = Fisheye::IsInside(a, p);
            const bool bRight = Fisheye::IsInside(b, q);
            if (!bLeft && !bRight) {
                continue;
            }
            const double dShare = Fisheye::ShareOfFirst(a, p, b, q);
            for (int c = 0; c < a.nChannels; ++c) {
                const auto i = static_cast<std::size_t>(std::min(c, 2));
                const double dLeft = bLeft ? Bilinear(a, p, c) * leftGain[i] : 0.0;
                const double dRight = bRight ? Bilinear(b, q, c) * rightGain[i] : 0.0;
                out.ptr(y)[x * a.nChannels + c] = cv::saturate_cast<uchar>(dShare * dLeft + (1.0 - dShare) * dRight);
            }
        }
    }
    return out;
}

/// The grey level that 99.9 of 100 differences do not exceed.
int Difference999(const cv::Mat& a, const cv::Mat& b)
{
    cv::Mat difference;
    cv::absdiff(a, b, difference);
    std::vector<uchar> values(difference.begin<uchar>(), difference.end<uchar>());
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(static_cast<double>(values.size() - 1) * 0.999);
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

class Stitching : public testing::Test
{
protected:
    ~Stitching() override { cv::setNumThreads(-1); }

    bool Stitch() { return StitchScene::Stitch(m_left, m_right, m_out, m_dual); }

    Camera m_left{370.0, CV_PI, 0.012};
    Camera m_right{930.0, 0.0, -0.01};
    cv::Mat m_out = cv::Mat(1350, 7800, CV_8UC3, cv::Scalar::all(99));
    DualFishEyeCalibrationParam m_dual;
};

} // namespace

TEST_F(Stitching, DiffersFromTheExactWayByAtMostTwoGreyLevels)
{
    ASSERT_TRUE(Stitch());
    const cv::Mat oracle = Oracle(m_left, m_right, m_out.size());
    EXPECT_LE(Difference999(m_out.reshape(1), oracle.reshape(1)), 2);
}

TEST_F(Stitching, BetweenTheExactProjectionsAPlaceIsOffByLessThanAHundredthOfAPixel)
{
    // A real-sized camera: the small ones of the other tests bend less per cell.
    Fisheye::FisheyeModel model = m_left.model;
    model.nWidth *= 4;
    model.nHeight *= 4;
    for (double* pParameter : {&model.fx, &model.fy, &model.cx, &model.cy}) {
        *pParameter *= 4.0;
    }
    const Fisheye::StitchProjection place(model, 6.0);
    const Fisheye::PictureView view{nullptr, model.nWidth, model.nHeight, 3};
    double dWorst = 0.0;
    int nCells = 0;
    for (int nTop = 0; nTop < 5400; nTop += 5 * Fisheye::kGridStep) {
        for (int nLeft = 0; nLeft < 7800; nLeft += 5 * Fisheye::kGridStep) {
            std::array<std::int64_t, 4> x{}, y{};
            bool bInside = true;
            for (std::size_t i = 0; i < 4; ++i) {
                const auto corner =
                    place(nLeft + (i % 2 == 0 ? 0 : Fisheye::kGridStep), nTop + (i < 2 ? 0 : Fisheye::kGridStep));
                bInside = bInside && Fisheye::IsInside(view, corner);
                x[i] = Fisheye::CellRamp::ToFixed(corner.x);
                y[i] = Fisheye::CellRamp::ToFixed(corner.y);
            }
            if (!bInside) {
                continue;
            }
            ++nCells;
            const Fisheye::CellRamp cellX(x[0], x[1], x[2], x[3]);
            const Fisheye::CellRamp cellY(y[0], y[1], y[2], y[3]);
            for (int nRow = 0; nRow < Fisheye::kGridStep; ++nRow) {
                for (int i = 0; i < Fisheye::kGridStep; ++i) {
                    const auto exact = place(nLeft + i, nTop + nRow);
                    dWorst = std::max(dWorst, std::hypot(cellX.Row(nRow).At(i) / 65536.0 - exact.x,
                                                         cellY.Row(nRow).At(i) / 65536.0 - exact.y));
                }
            }
        }
    }
    RecordProperty("worst_px", std::to_string(dWorst));
    EXPECT_GT(nCells, 1000);
    EXPECT_LT(dWorst, 0.01);
}

TEST_F(Stitching, ShowsTheSurfaceInTheMachineFrame)
{
    ASSERT_TRUE(Stitch());
    // Pixel i lies at i / 6 mm: the pattern is there, up to what small pictures resolve.
    double dWorst = 0.0;
    for (int y = 60; y < m_out.rows - 60; y += 97) {
        for (int x = 60; x < m_out.cols - 60; x += 89) {
            const cv::Vec3d expected = StitchScene::Pattern({x / 6.0, y / 6.0});
            for (int c = 0; c < 3; ++c) {
                dWorst = std::max(dWorst, std::abs(m_out.at<cv::Vec3b>(y, x)[c] - expected[c]));
            }
        }
    }
    EXPECT_LT(dWorst, 4.0);
}

TEST_F(Stitching, DoesNotDependOnTheNumberOfThreads)
{
    ASSERT_TRUE(Stitch());
    const cv::Mat first = m_out.clone();
    for (const int nThreads : {1, 3, 4}) {
        cv::setNumThreads(nThreads);
        m_out.setTo(cv::Scalar::all(1));
        ASSERT_TRUE(Stitch());
        EXPECT_EQ(cv::norm(first, m_out, cv::NORM_INF), 0.0) << nThreads;
    }
}

TEST_F(Stitching, AChangedRecordNeverMeetsOldWork)
{
    const Camera other(400.0, CV_PI, -0.02);
    cv::Mat fresh = m_out.clone();
    ASSERT_TRUE(StitchScene::Stitch(other, m_right, fresh, m_dual));
    ASSERT_TRUE(Stitch());
    cv::Mat again = m_out.clone();
    ASSERT_TRUE(StitchScene::Stitch(other, m_right, again, m_dual));
    EXPECT_EQ(cv::norm(fresh, again, cv::NORM_INF), 0.0);
}

TEST_F(Stitching, AllDepthsAgree)
{
    ASSERT_TRUE(Stitch());
    for (const int nCode : {cv::COLOR_BGR2BGRA, cv::COLOR_BGR2GRAY}) {
        Camera left = m_left;
        Camera right = m_right;
        cv::cvtColor(m_left.picture, left.picture, nCode);
        cv::cvtColor(m_right.picture, right.picture, nCode);
        cv::Mat out(m_out.size(), left.picture.type());
        ASSERT_TRUE(StitchScene::Stitch(left, right, out, m_dual));
        cv::Mat expected, seen = out;
        if (nCode == cv::COLOR_BGR2GRAY) {
            cv::cvtColor(m_out, expected, nCode);
        } else {
            expected = m_out;
            cv::cvtColor(out, seen, cv::COLOR_BGRA2BGR);
        }
        EXPECT_LE(Difference999(expected.reshape(1), seen.reshape(1)), 2);
    }
}

TEST_F(Stitching, ADarkerPictureLeavesNoStepAtTheSeam)
{
    m_right = Camera(930.0, 0.0, -0.01, 0.8);
    ASSERT_TRUE(Stitch());
    // Green does not change along x, so a step across the seam near x = 650 mm could only come from the brightness.
    const auto green = [this](int xMm) { return cv::mean(m_out(cv::Rect(6 * xMm, 300, 60, 200)))[1]; };
    EXPECT_NEAR(green(600), green(690), 2.0);
    const Fisheye::StitchProjection a(m_left.model, 6.0);
    const Fisheye::StitchProjection b(m_right.model, 6.0);
    const auto match = Fisheye::MatchBrightness(m_left.View(), a, m_right.View(), b, m_out.cols, m_out.rows);
    EXPECT_NEAR(std::exp(match.logRatio[1]), 0.8, 0.02);
    EXPECT_NEAR(match.Gain(700.0, false)[1] / match.Gain(700.0, true)[1], 1.25, 0.03);
}

TEST_F(Stitching, WhatNoCameraSeesIsBlack)
{
    cv::Mat wide(600, 12000, CV_8UC3, cv::Scalar::all(99));
    ASSERT_TRUE(StitchScene::Stitch(m_left, m_right, wide, m_dual));
    EXPECT_EQ(wide.at<cv::Vec3b>(300, 11990), cv::Vec3b(0, 0, 0));
}

TEST_F(Stitching, ThePairsRecordHoldsTheFrame)
{
    ASSERT_TRUE(Stitch());
    const auto dual = Fisheye::UnpackDualRecord(m_dual);
    ASSERT_TRUE(dual);
    EXPECT_EQ(dual->pxPerMm, 6.0f);
    EXPECT_EQ(dual->originXmm, 0.0f);
    EXPECT_EQ(dual->nWidth, m_out.cols);
    EXPECT_EQ(dual->nHeight, m_out.rows);
}

TEST_F(Stitching, WhatCannotBeStitchedIsRefusedAndNothingIsWritten)
{
    const cv::Mat before = m_out.clone();
    const auto refused = [&](const Camera& left, const Camera& right) {
        EXPECT_FALSE(StitchScene::Stitch(left, right, m_out, m_dual));
        EXPECT_EQ(cv::norm(before, m_out, cv::NORM_INF), 0.0);
    };
    Camera bad = m_left;
    bad.picture = cv::Mat();
    refused(bad, m_right);
    bad = m_left;
    bad.record = {};
    refused(bad, m_right);
    bad.record = m_left.record;
    bad.record.words[5] = std::numeric_limits<double>::quiet_NaN();
    refused(bad, m_right);
    bad = m_left;
    bad.picture = cv::Mat(1, 1, CV_8UC3, cv::Scalar::all(5));
    refused(bad, m_right);
    bad = m_left;
    cv::cvtColor(m_left.picture, bad.picture, cv::COLOR_BGR2GRAY);
    refused(bad, m_right);
    for (const long nWidth : {-1L, 0L, 70000L, 4000000000L}) {
        EXPECT_FALSE(FishEyeImageStitching(m_left.picture.data, 648, 486, 24, m_left.record, {}, m_right.picture.data,
                                           648, 486, 24, m_right.record, {}, m_out.data, nWidth, 100, 24, m_dual));
    }
    EXPECT_FALSE(FishEyeImageStitching(m_left.picture.data, 648, 486, 24, m_left.record, {}, m_right.picture.data, 648,
                                       486, 24, m_right.record, {}, nullptr, 100, 100, 24, m_dual));
    EXPECT_FALSE(FishEyeImageStitching(m_left.picture.data, 648, 486, 24, m_left.record, {}, m_right.picture.data, 648,
                                       486, 24, m_right.record, {}, m_out.data, 100, 100, 32, m_dual));
    EXPECT_EQ(cv::norm(before, m_out, cv::NORM_INF), 0.0);
}

TEST_F(Stitching, OddAndTinyTargetsArePainted)
{
    for (const cv::Size& size : {cv::Size(1, 1), cv::Size(17, 3), cv::Size(16, 16), cv::Size(33, 15)}) {
        cv::Mat out(size, CV_8UC3, cv::Scalar::all(99));
        ASSERT_TRUE(StitchScene::Stitch(m_left, m_right, out, m_dual));
        EXPECT_LE(cv::norm(out, Oracle(m_left, m_right, size), cv::NORM_INF), 2.0);
    }
}

TEST_F(Stitching, TheSizeReachesBeyondTheMarksInWholeMillimetres)
{
    std::vector<CalibrationPoint> marks(2);
    marks[0].fWorldX = 55.0f;
    marks[0].fWorldY = 45.0f;
    marks[1].fWorldX = 1245.0f;
    marks[1].fWorldY = 855.0f;
    const auto size = [&](const std::vector<CalibrationPoint>& points) {
        long nWidth = 0, nHeight = 0;
        int nBits = 0;
        EXPECT_TRUE(ComputeStitchedImageSize(m_left.picture.data, 648, 486, 24, m_left.record, points,
                                             m_right.picture.data, 648, 486, 24, m_right.record, points, nWidth,
                                             nHeight, nBits));
        EXPECT_EQ(nBits, 24);
        EXPECT_EQ(nWidth % 6, 0);
        EXPECT_EQ(nHeight % 6, 0);
        return cv::Size(static_cast<int>(nWidth), static_cast<int>(nHeight));
    };
    const cv::Size withMarks = size(marks);
    EXPECT_GE(withMarks.width, 7800);
    EXPECT_GE(withMarks.height, 5400);
    // By 15 % of the marks' extent at most.
    EXPECT_LE(withMarks.width, 6 * (1245 + 178));
    EXPECT_LE(withMarks.height, 6 * (855 + 121));
    const cv::Size without = size({});
    EXPECT_GE(without.width, withMarks.width);
    // Never unlimited: well below what a fisheye lens sees toward the horizon.
    EXPECT_LT(without.width, 6 * 2200);
    EXPECT_LT(without.height, 6 * 1800);
}

TEST_F(Stitching, TheDepthIsThatOfTheLeftPicture)
{
    Camera grey = m_left;
    cv::cvtColor(m_left.picture, grey.picture, cv::COLOR_BGR2GRAY);
    const auto bits = [](const Camera& left, const Camera& right) {
        long nWidth = 0, nHeight = 0;
        int nBits = 0;
        EXPECT_TRUE(ComputeStitchedImageSize(left.picture.data, 648, 486, left.Bits(), left.record, {},
                                             right.picture.data, 648, 486, right.Bits(), right.record, {}, nWidth,
                                             nHeight, nBits));
        return nBits;
    };
    EXPECT_EQ(bits(grey, m_right), 8);
    EXPECT_EQ(bits(m_right, grey), 24);
}

TEST_F(Stitching, CamerasThatHangFarTooHighHaveNoSize)
{
    const auto raised = [](Camera camera, double dHeightMm) {
        camera.model.translationMm[2] = dHeightMm;
        camera.record = Fisheye::PackRecord(camera.model);
        return camera;
    };
    const auto fits = [&](double dHeightMm) {
        const Camera left = raised(m_left, dHeightMm);
        const Camera right = raised(m_right, dHeightMm);
        long nWidth = 7, nHeight = 8;
        int nBits = 9;
        const bool bFits =
            ComputeStitchedImageSize(left.picture.data, 648, 486, 24, left.record, {}, right.picture.data, 648, 486, 24,
                                     right.record, {}, nWidth, nHeight, nBits);
        EXPECT_LE(static_cast<double>(nWidth) * static_cast<double>(nHeight), 5.0e8);
        EXPECT_EQ(nBits == 9, !bFits);
        return bFits;
    };
    EXPECT_TRUE(fits(1000.0));
    EXPECT_FALSE(fits(3500.0));
    EXPECT_FALSE(fits(900000.0));
}

TEST_F(Stitching, BeyondWhatWasComparedTheBrightnessStaysAsAtTheEnd)
{
    Fisheye::BrightnessMatch match;
    match.logRatio = {0.1, 0.0, -0.1};
    match.slope = {0.001, 0.001, 0.001};
    match.yLowPx = 100.0;
    match.yHighPx = 300.0;
    match.yMidPx = 200.0;
    EXPECT_EQ(match.Gain(-5000.0, true), match.Gain(100.0, true));
    EXPECT_EQ(match.Gain(5000.0, false), match.Gain(300.0, false));
    EXPECT_DOUBLE_EQ(match.Gain(300.0, true)[0], std::exp(0.5 * (0.1 + 0.1)));
    EXPECT_DOUBLE_EQ(match.Gain(300.0, true)[0] * match.Gain(300.0, false)[0], 1.0);
}

TEST(GridWarp, ASourceThatLiesBetweenTheNodesIsPaintedAllTheSame)
{
    const cv::Mat source(8, 8, CV_8UC1, cv::Scalar(200));
    const auto place = [](double x, double y) {
        return Fisheye::SourcePlace{.bValid = true, .x = x - 20.0, .y = y - 20.0, .thetaRad = 0.1};
    };
    cv::Mat out(48, 48, CV_8UC1, cv::Scalar(99));
    cv::Mat mask(48, 48, CV_8UC1, cv::Scalar(99));
    Fisheye::PaintWarp({out.data, 48, 48, mask.data}, {{source.data, 8, 8, 1}, place, {}}, nullptr);
    EXPECT_EQ(cv::countNonZero(out == 200), 64);
    EXPECT_EQ(cv::countNonZero(out), 64);
    EXPECT_EQ(out.at<uchar>(20, 20), 200);
    EXPECT_EQ(cv::countNonZero(mask == 255), 64);
}

TEST_F(Stitching, NoSizeWithoutPixelsOrRecords)
{
    long nWidth = 7, nHeight = 8;
    int nBits = 9;
    EXPECT_FALSE(ComputeStitchedImageSize(nullptr, 648, 486, 24, m_left.record, {}, m_right.picture.data, 648, 486, 24,
                                          m_right.record, {}, nWidth, nHeight, nBits));
    EXPECT_FALSE(ComputeStitchedImageSize(m_left.picture.data, 648, 486, 24, {}, {}, m_right.picture.data, 648, 486, 24,
                                          m_right.record, {}, nWidth, nHeight, nBits));
    EXPECT_EQ(nWidth, 7);
    EXPECT_EQ(nHeight, 8);
    EXPECT_EQ(nBits, 9);
}
