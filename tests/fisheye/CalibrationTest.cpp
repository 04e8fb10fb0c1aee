#include "FisheyeModel.h"
#include "FisheyeScene.h"

#include "FisheyeCalibrationDllR.h"

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
using Points = std::vector<CalibrationPoint>;

constexpr double kClickSigmaPx = 3.0;
constexpr double kBendPx = 0.3; // terms that the fitted model does not have

struct Fit {
    bool bGood = false;
    Points points;
    FishEyeCalibrationParam param;
    double errorPx = -1.0;
    Fisheye::FisheyeModel model;
};

Fit Calibrate(const cv::Mat& gray, Points points)
{
    Fit fit;
    fit.points = std::move(points);
    fit.bGood = SingleCamCalibration(gray.data, gray.cols, gray.rows, 8, fit.points, 2L * gray.cols, 2L * gray.rows,
                                     fit.param, fit.errorPx);
    if (const auto model = Fisheye::UnpackRecord(fit.param)) {
        fit.model = *model;
    }
    return fit;
}

/// A camera over its share of the grid.
struct Scene {
    bool bLeft;
    std::uint64_t nSeed;
    Camera camera;
    Points exact;

    Scene(bool bLeftCamera, std::uint64_t nSceneSeed)
        : bLeft(bLeftCamera), nSeed(nSceneSeed),
          camera(bLeft ? FisheyeScene::LeftCamera(nSeed) : FisheyeScene::RightCamera(nSeed))
    {
        camera.extraBendPx = kBendPx;
        exact = FisheyeScene::ExactPoints(camera, bLeft ? 0 : 3);
    }

    cv::Mat Picture(FisheyeScene::SceneOptions options = {}) const
    {
        options.nSeed = nSeed;
        return FisheyeScene::Render(camera, exact, options);
    }
    Points Clicks() const { return FisheyeScene::Clicked(exact, kClickSigmaPx, nSeed); }
    cv::Rect2d Hull() const { return {bLeft ? 55.0 : 565.0, 45.0, 680.0, 810.0}; }
    /// The part of the work area that a stitched picture takes from this camera.
    cv::Rect2d Share() const { return {bLeft ? 0.0 : 560.0, 0.0, 740.0, 900.0}; }
    double OffPx(const Fit& fit, std::size_t i) const
    {
        return std::hypot(fit.points[i].fImageX - exact[i].fImageX, fit.points[i].fImageY - exact[i].fImageY);
    }
};

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

// -----------------------------------------------------------------------------------------------------------------------
// Input that no camera can be fitted to

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
