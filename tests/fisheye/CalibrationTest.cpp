#include "CalibrationScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <utility>
#include <vector>

namespace
{

using FisheyeScene::Camera;

/// Of the scene's own picture and clicks, which several tests look at.
const Fit& FitOf(const Scene& scene)
{
    static std::map<std::pair<bool, std::uint64_t>, Fit> fits;
    Fit& fit = fits[{scene.bLeft, scene.nSeed}];
    if (fit.points.empty()) {
        fit = Calibrate(scene.Picture(), scene.Clicks());
    }
    return fit;
}

bool SameBytes(const FishEyeCalibrationParam& a, const FishEyeCalibrationParam& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

} // namespace

// -----------------------------------------------------------------------------------------------------------------------
// Accuracy

TEST(SingleCamCalibration, ClicksThreePixelsOffGiveTheSurfaceToAFewHundredthsOfAMillimetre)
{
    for (std::uint64_t nSeed = 1; nSeed <= 4; ++nSeed) {
        for (const bool bLeft : {false, true}) {
            const Scene scene(bLeft, nSeed);
            const Fit& fit = FitOf(scene);
            ASSERT_TRUE(fit.bGood);
            const auto hull = FisheyeScene::SurfaceError(scene.camera, fit.model, scene.Hull());
            const auto share = FisheyeScene::SurfaceError(scene.camera, fit.model, scene.Share());
            EXPECT_LT(hull.rms, 0.06) << nSeed << bLeft;
            EXPECT_LT(hull.max, 0.25) << nSeed << bLeft;
            EXPECT_LT(share.rms, 0.15) << nSeed << bLeft;
            EXPECT_LT(fit.errorPx, 0.5) << nSeed << bLeft;
        }
    }
}

TEST(SingleCamCalibration, BothCamerasAgreeWhereBothSee)
{
    for (std::uint64_t nSeed = 1; nSeed <= 4; ++nSeed) {
        const Scene left(true, nSeed);
        const Scene right(false, nSeed);
        const Fisheye::FisheyeProjector leftFit(FitOf(left).model);
        const Fisheye::FisheyeProjector rightFit(FitOf(right).model);
        double sum = 0.0;
        int n = 0;
        for (double y = 45.0; y <= 855.0; y += 10.0) {
            for (double x = 565.0; x <= 735.0; x += 10.0) {
                const auto fromLeft = leftFit.SurfaceFromPixel(left.camera.PixelFromMachine({x, y}));
                const auto fromRight = rightFit.SurfaceFromPixel(right.camera.PixelFromMachine({x, y}));
                ASSERT_TRUE(fromLeft && fromRight);
                sum += (*fromLeft - *fromRight).ddot(*fromLeft - *fromRight);
                ++n;
            }
        }
        EXPECT_LT(std::sqrt(sum / n), 0.08) << nSeed;
    }
}

TEST(SingleCamCalibration, ThePointsComeBackOnTheirCrosses)
{
    const Scene scene(true, 4);
    const Fit& fit = FitOf(scene);
    ASSERT_TRUE(fit.bGood);
    double sum = 0.0;
    for (std::size_t i = 0; i < scene.exact.size(); ++i) {
        const double offPx = scene.OffPx(fit, i);
        sum += offPx * offPx;
        EXPECT_EQ(fit.points[i].nId, scene.exact[i].nId);
        EXPECT_EQ(fit.points[i].fWorldX, scene.exact[i].fWorldX);
        EXPECT_EQ(fit.points[i].fWorldY, scene.exact[i].fWorldY);
    }
    EXPECT_LT(std::sqrt(sum / static_cast<double>(scene.exact.size())), 0.2);
}

TEST(SingleCamCalibration, TheErrorIsTheRmsResidualOfTheReturnedPoints)
{
    const Scene scene(false, 4);
    const Fit& fit = FitOf(scene);
    ASSERT_TRUE(fit.bGood);
    double sum = 0.0;
    for (const CalibrationPoint& point : fit.points) {
        const auto pixel = fit.model.PixelFromMachine({point.fWorldX, point.fWorldY, 0.0});
        ASSERT_TRUE(pixel.has_value());
        const cv::Point2d off = *pixel - cv::Point2d(point.fImageX, point.fImageY);
        sum += off.ddot(off);
    }
    EXPECT_NEAR(fit.errorPx, std::sqrt(sum / static_cast<double>(fit.points.size())), 1.0e-3);
    EXPECT_EQ(fit.errorPx, fit.model.residualPx);
}

TEST(SingleCamCalibration, ThreeClicksFifteenPixelsOffDoNoHarm)
{
    for (std::uint64_t nSeed = 1; nSeed <= 3; ++nSeed) {
        const Scene scene(nSeed % 2 == 0, nSeed);
        Points clicks = scene.Clicks();
        clicks[3].fImageX += 15.0f;
        clicks[17].fImageY -= 15.0f;
        clicks[29].fImageX -= 10.6f;
        clicks[29].fImageY += 10.6f;
        const Fit fit = Calibrate(scene.Picture(), clicks);
        ASSERT_TRUE(fit.bGood);
        EXPECT_LT(FisheyeScene::SurfaceError(scene.camera, fit.model, scene.Hull()).rms, 0.06) << nSeed;
        for (const std::size_t i : {3U, 17U, 29U}) {
            EXPECT_LT(scene.OffPx(fit, i), 1.0) << nSeed << " " << i;
        }
    }
}

TEST(SingleCamCalibration, ThreeWrongPointsWithoutCrossesCostLessThanATenthOfAMillimetre)
{
    const Scene scene(false, 5);
    const cv::Mat plain(1944, 2592, CV_8UC1, cv::Scalar(128));
    Points clicks = scene.exact;
    clicks[3].fImageX += 15.0f;
    clicks[17].fImageY -= 15.0f;
    clicks[29].fImageX -= 15.0f;
    const Fit fit = Calibrate(plain, clicks);
    ASSERT_TRUE(fit.bGood);
    EXPECT_LT(FisheyeScene::SurfaceError(scene.camera, fit.model, scene.Hull()).rms, 0.1);
}

TEST(SingleCamCalibration, APointWithoutACrossKeepsItsPlaceAndLittleWeight)
{
    const Scene scene(true, 2);
    FisheyeScene::SceneOptions options;
    options.missingIds = {scene.exact[8].nId, scene.exact[20].nId};
    const Points clicks = scene.Clicks();
    const Fit fit = Calibrate(scene.Picture(options), clicks);
    ASSERT_TRUE(fit.bGood);
    for (const std::size_t i : {8U, 20U}) {
        EXPECT_EQ(fit.points[i].fImageX, clicks[i].fImageX);
        EXPECT_EQ(fit.points[i].fImageY, clicks[i].fImageY);
    }
    EXPECT_LT(FisheyeScene::SurfaceError(scene.camera, fit.model, scene.Hull()).rms, 0.06);
}

TEST(SingleCamCalibration, ClicksOnAPictureWithoutCrossesAreRefusedAndTheLogSaysSo)
{
    const Scene scene(false, 3);
    const cv::Mat plain(1944, 2592, CV_8UC1, cv::Scalar(128));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(Calibrate(plain, scene.Clicks()).bGood);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("too dark"), std::string::npos);
}

TEST(SingleCamCalibration, ExactPointsNeedNoCrossesAndKeepTheirPlaces)
{
    Scene scene(false, 3);
    scene.camera.extraBendPx = 0.0;
    scene.exact = FisheyeScene::ExactPoints(scene.camera, 3);
    const cv::Mat plain(1944, 2592, CV_8UC1, cv::Scalar(128));
    const Fit fit = Calibrate(plain, scene.exact);
    ASSERT_TRUE(fit.bGood);
    for (std::size_t i = 0; i < scene.exact.size(); ++i) {
        EXPECT_EQ(fit.points[i].fImageX, scene.exact[i].fImageX);
        EXPECT_EQ(fit.points[i].fImageY, scene.exact[i].fImageY);
    }
    EXPECT_LT(FisheyeScene::SurfaceError(scene.camera, fit.model, scene.Hull()).rms, 0.02);
}

TEST(SingleCamCalibration, APictureThatGrowsDarkIsEitherGoodEnoughOrRefused)
{
    const Scene scene(true, 5);
    const cv::Mat picture = scene.Picture();
    int nGood = 0;
    int nRefused = 0;
    for (const double light : {0.5, 0.2, 0.1, 0.05, 0.03, 0.02, 0.0}) {
        cv::Mat dark;
        picture.convertTo(dark, CV_16S, light);
        cv::Mat noise(picture.size(), CV_16S);
        cv::RNG rng(77);
        rng.fill(noise, cv::RNG::NORMAL, 0.0, 1.5);
        cv::Mat(dark + noise).convertTo(dark, CV_8U);
        const Fit fit = Calibrate(dark, scene.Clicks());
        nRefused += fit.bGood ? 0 : 1;
        if (fit.bGood) {
            ++nGood;
            EXPECT_LT(FisheyeScene::SurfaceError(scene.camera, fit.model, scene.Hull()).rms, 0.06) << light;
            EXPECT_LT(FisheyeScene::SurfaceError(scene.camera, fit.model, scene.Share()).rms, 0.15) << light;
        }
    }
    EXPECT_GE(nGood, 2);
    EXPECT_GE(nRefused, 2);
}

TEST(SingleCamCalibration, LinesLighterThanTheMaterialServeAsWell)
{
    const Scene scene(false, 6);
    FisheyeScene::SceneOptions options;
    options.bBright = true;
    const Fit fit = Calibrate(scene.Picture(options), scene.Clicks());
    ASSERT_TRUE(fit.bGood);
    EXPECT_LT(FisheyeScene::SurfaceError(scene.camera, fit.model, scene.Hull()).rms, 0.06);
}

TEST(SingleCamCalibration, ACameraTurnedByAnyAngleIsFitted)
{
    for (const double turnDeg : {30.0, 137.0, -90.0}) {
        Scene scene(false, 8);
        // A square picture keeps all crosses in view at any turn.
        Fisheye::FisheyeModel& model = scene.camera.model;
        model.nWidth = model.nHeight = 2592;
        model.cy += 324.0;
        Fisheye::FisheyeModel turn;
        turn.rotation = {0.0, 0.0, turnDeg * CV_PI / 180.0};
        const cv::Matx33d rotation = turn.RotationMatrix() * model.RotationMatrix();
        const double angle = std::acos(std::clamp(0.5 * (cv::trace(rotation) - 1.0), -1.0, 1.0));
        const cv::Vec3d axis(rotation(2, 1) - rotation(1, 2), rotation(0, 2) - rotation(2, 0),
                             rotation(1, 0) - rotation(0, 1));
        model.rotation = axis * (angle / cv::norm(axis));
        model.translationMm = turn.RotationMatrix() * model.translationMm;
        scene.exact = FisheyeScene::ExactPoints(scene.camera, 3);
        const Fit fit = Calibrate(scene.Picture(), scene.Clicks());
        ASSERT_TRUE(fit.bGood) << turnDeg;
        EXPECT_LT(FisheyeScene::SurfaceError(scene.camera, fit.model, scene.Hull()).rms, 0.06) << turnDeg;
    }
}

TEST(SingleCamCalibration, OtherPictureSizesFocalLengthsAndHeightsAreFitted)
{
    struct Case {
        int nWidth, nHeight;
        double focalPx, heightMm;
    };
    for (const Case& shape : {Case{1280, 960, 640.0, 700.0}, Case{3840, 2160, 1900.0, 650.0},
                              Case{2592, 1944, 5500.0, 2900.0}, Case{2592, 1944, 850.0, 500.0}}) {
        Scene scene(false, 9);
        Fisheye::FisheyeModel& model = scene.camera.model;
        scene.camera.extraBendPx = 0.0;
        model.nWidth = shape.nWidth;
        model.nHeight = shape.nHeight;
        model.fx = shape.focalPx;
        model.fy = 1.003 * shape.focalPx;
        model.cx = 0.503 * shape.nWidth;
        model.cy = 0.497 * shape.nHeight;
        model.translationMm = -(model.RotationMatrix() * cv::Vec3d(905.0, 450.0, -shape.heightMm));
        scene.exact = FisheyeScene::ExactPoints(scene.camera, 3);
        const cv::Mat gray(shape.nHeight, shape.nWidth, CV_8UC1, cv::Scalar(128));
        const Fit fit = Calibrate(gray, scene.exact);
        ASSERT_TRUE(fit.bGood) << shape.nWidth << " " << shape.focalPx;
        EXPECT_LT(fit.errorPx, 0.1) << shape.nWidth << " " << shape.focalPx;
        EXPECT_LT(FisheyeScene::SurfaceError(scene.camera, fit.model, scene.Hull()).rms, 0.06)
            << shape.nWidth << " " << shape.focalPx;
    }
}

// -----------------------------------------------------------------------------------------------------------------------
// Determinism

TEST(SingleCamCalibration, TheSameInputGivesTheSameBytesOnAnyNumberOfThreads)
{
    const Scene scene(true, 3);
    const cv::Mat gray = scene.Picture();
    const int nThreads = cv::getNumThreads();
    cv::setNumThreads(1);
    const Fit one = Calibrate(gray, scene.Clicks());
    cv::setNumThreads(4);
    const Fit four = Calibrate(gray, scene.Clicks());
    cv::setNumThreads(nThreads);
    ASSERT_TRUE(one.bGood && four.bGood);
    EXPECT_TRUE(SameBytes(one.param, four.param));
    EXPECT_EQ(one.errorPx, four.errorPx);
    EXPECT_EQ(std::memcmp(one.points.data(), four.points.data(), one.points.size() * sizeof(CalibrationPoint)), 0);
}

TEST(SingleCamCalibration, RowsAndColumnsOfThePointsAreNotUsed)
{
    const Scene scene(false, 3);
    Points scrambled = scene.Clicks();
    for (std::size_t i = 0; i < scrambled.size(); ++i) {
        scrambled[i].nCol = static_cast<int>(i) % 7;
        scrambled[i].nRow = -5;
    }
    EXPECT_TRUE(SameBytes(FitOf(scene).param, Calibrate(scene.Picture(), scrambled).param));
}
