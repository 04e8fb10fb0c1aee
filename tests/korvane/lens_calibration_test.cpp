#include "HeldChart.h"
#include "KorvaneVision.h"
#include "LensTruth.h"
#include "LensViews.h"
#include "Truth.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <cstdlib>
#include <filesystem>

using namespace Korvane::CameraCalibration;
using Simulator::Side;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace
{

const cv::Size g_lensBoard(7, 9);
constexpr std::uint64_t g_nMachine = 6;

/// Nine pictures of the chart by one camera, rendered once.
struct Nine {
    Nine() : machine(Simulator::Machine::Kind::Manual, g_nMachine)
    {
        const Simulator::Truth truth(machine);
        for (std::uint64_t i = 0; i < 9; ++i) {
            const auto chart = Simulator::DrawChart(machine, Side::Left, 500U + i, Simulator::ChartShown::Whole);
            machine.HoldChart(chart);
            pictures.push_back(machine.Snap(Side::Left));
            for (const cv::Point2d& p : truth.ChartCentres(Side::Left, chart)) {
                covered.emplace_back(p);
            }
        }
        machine.TakeChartAway();
        bare = machine.Snap(Side::Left);
    }

    Simulator::Machine machine;
    std::vector<cv::Mat> pictures;
    cv::Mat bare;
    std::vector<cv::Point2f> covered;
};

const Nine& TheNine()
{
    static const Nine nine;
    return nine;
}

struct Lens {
    bool bSuccess = false;
    cv::Mat camera, distortion;
    double dError = 7.0;
};

Lens Calibrate(const std::vector<cv::Mat>& pictures, const cv::Size& board = g_lensBoard)
{
    Lens lens;
    lens.bSuccess = CalibrateDistortedCamera(pictures, board, lens.camera, lens.distortion, lens.dError);
    return lens;
}

void ExpectTheTrueCamera(const Lens& lens)
{
    const cv::Matx33d truth = Simulator::Truth(TheNine().machine).CameraMatrix(Side::Left);
    EXPECT_NEAR(lens.camera.at<double>(0, 0), truth(0, 0), 0.005 * truth(0, 0));
    EXPECT_NEAR(lens.camera.at<double>(1, 1), truth(1, 1), 0.005 * truth(1, 1));
    EXPECT_LT(
        Simulator::LensMappingRmsPx(TheNine().machine, Side::Left, lens.camera, lens.distortion, TheNine().covered),
        0.3);
    EXPECT_LT(lens.dError, 0.2);
}

/// The first of the nine as lenses with barrel distortion would show it.
std::vector<cv::Mat> Distorted(const cv::Mat& camera, const cv::Mat& distortion)
{
    const cv::Size size = TheNine().bare.size();
    cv::Mat all(size, CV_32FC2), flat;
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            all.at<cv::Point2f>(y, x) = cv::Point2f(static_cast<float>(x), static_cast<float>(y));
        }
    }
    cv::undistortPoints(all.reshape(2, static_cast<int>(all.total())), flat, camera, distortion, cv::noArray(), camera);
    std::vector<cv::Mat> pictures;
    for (const cv::Mat& picture : TheNine().pictures) {
        cv::Mat distorted;
        cv::remap(picture, distorted, flat.reshape(2, size.height), cv::noArray(), cv::INTER_CUBIC);
        pictures.push_back(distorted);
    }
    return pictures;
}

} // namespace

TEST(LensCalibration, NinePicturesTellTheCamera)
{
    const Lens lens = Calibrate(TheNine().pictures);
    ASSERT_TRUE(lens.bSuccess) << GetLastError();
    ASSERT_EQ(lens.camera.size(), cv::Size(3, 3));
    ASSERT_EQ(lens.camera.type(), CV_64F);
    EXPECT_EQ(lens.distortion.total(), 5U);
    ExpectTheTrueCamera(lens);
}

TEST(LensCalibration, BarrelDistortionIsFound)
{
    const cv::Mat camera(Simulator::Truth(TheNine().machine).CameraMatrix(Side::Left));
    const cv::Mat distortion = (cv::Mat_<double>(1, 5) << -0.12, 0.03, 0.0005, -0.0004, 0.0);
    const Lens lens = Calibrate(Distorted(camera, distortion));
    ASSERT_TRUE(lens.bSuccess) << GetLastError();
    EXPECT_NEAR(lens.camera.at<double>(0, 0), camera.at<double>(0, 0), 0.005 * camera.at<double>(0, 0));
    EXPECT_NEAR(lens.distortion.at<double>(0), -0.12, 0.01);
    EXPECT_LT(lens.dError, 0.2);
}

TEST(LensCalibration, PicturesWithoutAChartAndOfAnotherSizeArePassedOver)
{
    std::vector<cv::Mat> pictures = TheNine().pictures;
    cv::Mat small;
    cv::resize(pictures[2], small, {}, 0.5, 0.5, cv::INTER_AREA);
    pictures.insert(pictures.begin() + 4, {TheNine().bare, cv::Mat(), small});
    const Lens lens = Calibrate(pictures);
    ASSERT_TRUE(lens.bSuccess) << GetLastError();
    ExpectTheTrueCamera(lens);
    EXPECT_THAT(GetFittedPictures(), ElementsAre(0, 1, 2, 3, 7, 8, 9, 10, 11));
}

TEST(LensCalibration, AViewThatSpoilsTheFitIsThrownOut)
{
    std::vector<cv::Mat> pictures = TheNine().pictures;
    // Sheared, so that no pose of a flat chart explains it with the others' camera.
    cv::Mat sheared;
    const cv::Matx23d shear(1.0, 0.06, -0.06 * 972.0, 0.0, 0.97, 0.03 * 972.0);
    cv::warpAffine(pictures[1], sheared, shear, pictures[1].size(), cv::INTER_LINEAR, cv::BORDER_REPLICATE);
    pictures.push_back(sheared);
    const Lens lens = Calibrate(pictures);
    ASSERT_TRUE(lens.bSuccess) << GetLastError();
    ExpectTheTrueCamera(lens);
    EXPECT_THAT(GetFittedPictures(), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_FALSE(Calibrate({}).bSuccess);
    EXPECT_THAT(GetFittedPictures(), IsEmpty());
}

TEST(LensCalibration, FewerThanThreeViewsAreRefused)
{
    EXPECT_FALSE(Calibrate({}).bSuccess);
    EXPECT_THAT(GetLastError(), HasSubstr("no pictures"));
    EXPECT_FALSE(Calibrate({cv::Mat(), cv::Mat(), cv::Mat()}).bSuccess);
    const std::vector<cv::Mat>& nine = TheNine().pictures;
    const Lens lens = Calibrate({nine[0], nine[1], TheNine().bare});
    EXPECT_FALSE(lens.bSuccess);
    EXPECT_THAT(GetLastError(), HasSubstr("2 of 3"));
    EXPECT_TRUE(lens.camera.empty());
    EXPECT_TRUE(lens.distortion.empty());
    EXPECT_EQ(lens.dError, -1.0);
}

TEST(LensCalibration, FlatViewsThatDoNotTellTheFocalLengthAreRefused)
{
    // The chart straight under the camera, moved but never tilted.
    cv::Mat picture(900, 1200, CV_8UC1, cv::Scalar(210));
    std::vector<cv::Mat> pictures;
    for (int i = 0; i < 4; ++i) {
        pictures.push_back(picture.clone());
        for (int k = 0; k < g_lensBoard.area(); ++k) {
            const cv::Point centre(16 * (100 + 90 * i + 60 * (k % 7)) + 5 * i,
                                   16 * (80 + 30 * i + 60 * (k / 7)) + 3 * i);
            cv::circle(pictures.back(), centre, 16 * 16, cv::Scalar(40), cv::FILLED, cv::LINE_AA, 4);
        }
    }
    EXPECT_FALSE(Calibrate(pictures).bSuccess);
    EXPECT_THAT(GetLastError(), HasSubstr("tilted more"));
}

TEST(LensCalibration, AChartOfImpossibleSizeIsRefused)
{
    EXPECT_FALSE(Calibrate(TheNine().pictures, {0, 0}).bSuccess);
    EXPECT_FALSE(Calibrate(TheNine().pictures, {-7, 9}).bSuccess);
}

/// See Charts.RealPhotographsShowTheirChartsInTheListedOrder.
TEST(LensCalibration, RealPhotographsGiveTheKnownFocalLengths)
{
    const char* pFolder = std::getenv("CTC_CHART_PHOTOS");
    if (pFolder == nullptr || !std::filesystem::is_directory(pFolder)) {
        GTEST_SKIP() << "CTC_CHART_PHOTOS names no folder";
    }
    std::vector<cv::Mat> pictures;
    for (int i = 0; i < 15; ++i) {
        const std::string strName = std::string("/image_") + (i < 10 ? "0" : "") + std::to_string(i) + ".png";
        pictures.push_back(cv::imread(pFolder + strName, cv::IMREAD_COLOR));
    }
    const Lens lens = Calibrate(pictures, {10, 10});
    ASSERT_TRUE(lens.bSuccess) << GetLastError();
    EXPECT_LT(lens.dError, 0.30);
    EXPECT_NEAR(lens.camera.at<double>(0, 0), 541.5, 0.005 * 541.5);
    EXPECT_NEAR(lens.camera.at<double>(1, 1), 542.8, 0.005 * 542.8);
}
