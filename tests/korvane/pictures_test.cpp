#include "KorvaneVision.h"
#include "SeededNoise.h"

#include <gtest/gtest.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <utility>

using namespace Korvane::CameraCalibration;

namespace
{

const cv::Size kSize(640, 480);

cv::Mat Camera()
{
    return (cv::Mat_<double>(3, 3) << 520, 0, 330, 0, 521, 236, 0, 0, 1);
}

/// Smooth enough to be sampled between pixels, with detail everywhere; its level never touches 0 or 255.
/// @param stride  scene pixels from one of the picture to the next, about the picture's middle
cv::Mat Scene(const cv::Size& size, double offsetX = 0.0, double gain = 1.0, const cv::Point2d& stride = {1.0, 1.0})
{
    cv::Mat scene(size, CV_8UC3);
    const cv::Point2d middle(0.5 * (size.width - 1), 0.5 * (size.height - 1));
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const auto fx = static_cast<float>(middle.x + stride.x * (x - middle.x) + offsetX);
            const auto fy = static_cast<float>(middle.y + stride.y * (y - middle.y));
            for (int c = 0; c < 3; ++c) {
                const auto nSeed = static_cast<std::uint32_t>(10 + c);
                const float value = 120.0f + 50.0f * Simulator::ValueNoise(nSeed, fx / 25.0f, fy / 25.0f);
                scene.at<cv::Vec3b>(y, x)[c] = cv::saturate_cast<unsigned char>(gain * static_cast<double>(value));
            }
        }
    }
    return scene;
}

double MeanDifference(const cv::Mat& a, const cv::Mat& b)
{
    cv::Mat difference;
    cv::absdiff(a, b, difference);
    return cv::mean(difference.reshape(1))[0];
}

/// Blends two unscaled upright pictures.
bool Blend(const cv::Mat& left, const cv::Mat& right, const cv::Mat& homography, cv::Mat& out, double& score)
{
    const ImageDirFlags none(-1, false, false);
    return DoBlendingImageForDualCam(left, none, right, none, 1.0, 1.0, homography, score, out);
}

cv::Mat Shift(double x, double y)
{
    return (cv::Mat_<double>(3, 3) << 1, 0, x, 0, 1, y, 0, 0, 1);
}

} // namespace

TEST(UnDistortedImage, IsThePictureItselfWithoutDistortionAndScale)
{
    cv::Mat camera = Camera(), lens = cv::Mat::zeros(1, 5, CV_64F), out;
    const cv::Mat scene = Scene(kSize);
    ASSERT_TRUE(UnDistortedImage(scene, camera, lens, 1.0, 1.0, out));
    EXPECT_LT(MeanDifference(scene, out), 0.5);
}

TEST(UnDistortedImage, AnEmptyDistortionIsNone)
{
    cv::Mat camera = Camera(), zeros = cv::Mat::zeros(1, 5, CV_64F), none, expected, out;
    const cv::Mat scene = Scene(kSize);
    ASSERT_TRUE(UnDistortedImage(scene, camera, zeros, 0.8, 0.7, expected));
    ASSERT_TRUE(UnDistortedImage(scene, camera, none, 0.8, 0.7, out)) << GetLastError();
    EXPECT_EQ(cv::norm(out, expected, cv::NORM_INF), 0.0);
    EXPECT_TRUE(none.empty());
}

TEST(UnDistortedImage, TheScalesShrinkAboutTheCentreOfThePicture)
{
    cv::Mat camera = Camera(), lens = cv::Mat::zeros(1, 5, CV_64F), out, expected;
    const cv::Mat scene = Scene(kSize);
    ASSERT_TRUE(UnDistortedImage(scene, camera, lens, 0.75, 0.5, out));
    const cv::Mat outFromIn = (cv::Mat_<double>(2, 3) << 0.75, 0, 0.25 * 0.5 * 639, 0, 0.5, 0.5 * 0.5 * 479);
    cv::warpAffine(scene, expected, outFromIn, kSize);
    EXPECT_LT(MeanDifference(out, expected), 0.8);
}

TEST(UnDistortedImage, IsWhatOpenCvMakesOfALens)
{
    cv::Mat camera = Camera(), lens = (cv::Mat_<double>(1, 5) << -0.2, 0.05, 1e-3, -5e-4, 0.0), out, expected;
    const cv::Mat scene = Scene(kSize);
    ASSERT_TRUE(UnDistortedImage(scene, camera, lens, 1.0, 1.0, out));
    cv::undistort(scene, expected, camera, lens);
    EXPECT_LT(MeanDifference(out, expected), 0.5);
    EXPECT_GT(MeanDifference(out, scene), 2.0);
}

TEST(UnDistortedImage, AChangedLensNeverMeetsAnOldTable)
{
    cv::Mat camera = Camera(), first = cv::Mat::zeros(1, 5, CV_64F), second, a, b, c;
    first.copyTo(second);
    second.at<double>(0, 0) = -0.2;
    const cv::Mat scene = Scene(kSize);
    ASSERT_TRUE(UnDistortedImage(scene, camera, first, 1.0, 1.0, a));
    ASSERT_TRUE(UnDistortedImage(scene, camera, second, 1.0, 1.0, b));
    ASSERT_TRUE(UnDistortedImage(scene, camera, first, 1.0, 1.0, c));
    EXPECT_GT(MeanDifference(a, b), 2.0);
    EXPECT_EQ(MeanDifference(a, c), 0.0);
    // Nor do other scales, and no size that another picture had.
    for (const auto& [dA, dB] : {std::pair(0.8, 1.0), std::pair(1.0, 0.8), std::pair(0.8, 0.8)}) {
        ASSERT_TRUE(UnDistortedImage(scene, camera, first, dA, dB, b));
        EXPECT_GT(MeanDifference(a, b), 2.0) << dA << " " << dB;
    }
    ASSERT_TRUE(UnDistortedImage(scene.rowRange(0, 300), camera, first, 1.0, 1.0, b));
    EXPECT_EQ(b.size(), cv::Size(640, 300));
}

TEST(UnDistortedImage, BadInputIsRefused)
{
    cv::Mat camera = Camera(), lens = cv::Mat::zeros(1, 5, CV_64F), out;
    cv::Mat nan = Camera(), two = cv::Mat::eye(2, 2, CV_64F), long7 = cv::Mat::zeros(1, 7, CV_64F);
    nan.at<double>(0, 0) = std::nan("");
    const cv::Mat scene = Scene(kSize);
    EXPECT_FALSE(UnDistortedImage(cv::Mat(), camera, lens, 1.0, 1.0, out));
    EXPECT_FALSE(UnDistortedImage(scene, nan, lens, 1.0, 1.0, out));
    EXPECT_FALSE(UnDistortedImage(scene, two, lens, 1.0, 1.0, out));
    EXPECT_FALSE(UnDistortedImage(scene, camera, long7, 1.0, 1.0, out));
    EXPECT_FALSE(UnDistortedImage(scene, camera, lens, 0.0, 1.0, out));
    EXPECT_FALSE(UnDistortedImage(scene, camera, lens, 1.0, std::nan(""), out));
    EXPECT_FALSE(GetLastError().empty());
    EXPECT_TRUE(UnDistortedImage(Scene({1, 1}), camera, lens, 1.0, 1.0, out));
}

TEST(Blending, AnOverlapThatFitsGivesTheScene)
{
    const cv::Mat left = Scene(kSize), right = Scene(kSize, 400.0);
    cv::Mat out;
    double score = -1.0;
    ASSERT_TRUE(Blend(left, right, Shift(400, 0), out, score));
    EXPECT_LT(score, 1.0);
    // Where the left picture's (0, 0) lies follows from the sizes: no margin in x without a scale.
    cv::Mat found;
    const cv::Mat whole = Scene({1040, 480});
    cv::matchTemplate(out, whole, found, cv::TM_SQDIFF);
    cv::Point place;
    cv::minMaxLoc(found, nullptr, nullptr, &place, nullptr);
    EXPECT_EQ(place.x, 0);
    EXPECT_LT(MeanDifference(out(cv::Rect(place, whole.size())), whole), 1.0);
}

TEST(Blending, TheFrameDependsOnSizesOnly)
{
    cv::Mat first, second;
    double score = 0.0;
    ASSERT_TRUE(Blend(Scene(kSize), Scene(kSize, 400.0), Shift(400, 0), first, score));
    ASSERT_TRUE(Blend(Scene(kSize, 77.0), Scene(kSize, 300.0), Shift(350, 12), second, score));
    EXPECT_EQ(first.size(), second.size());
}

TEST(Blending, TheScalesAreUndoneAboutTheMiddlesOfThePictures)
{
    // Pictures that show more of the scene at the same size, as the rectification leaves them. The right camera hangs
    // higher, so that what is done about another middle shows.
    const ImageDirFlags none(-1, false, false);
    const cv::Point2d stride(1.25, 1.1);
    constexpr double dHigher = 1.2;
    const cv::Mat homography =
        (cv::Mat_<double>(3, 3) << dHigher, 0, 400, 0, dHigher, (1.0 - dHigher) * 239.5, 0, 0, 1);
    cv::Point firstPlace;
    for (const double dOffset : {0.0, 60.0}) {
        const cv::Mat right =
            Scene(kSize, dOffset + 400.0 + (dHigher - 1.0) * 319.5, 1.0, {dHigher * stride.x, dHigher * stride.y});
        cv::Mat out, found;
        double score = -1.0;
        ASSERT_TRUE(DoBlendingImageForDualCam(Scene(kSize, dOffset, 1.0, stride), none, right, none, stride.x, stride.y,
                                              homography, score, out));
        EXPECT_LT(score, 2.0);
        const cv::Mat expected = Scene({900, 400}, dOffset);
        cv::matchTemplate(out, expected, found, cv::TM_SQDIFF);
        cv::Point place;
        cv::minMaxLoc(found, nullptr, nullptr, &place, nullptr);
        EXPECT_LT(MeanDifference(out(cv::Rect(place, expected.size())), expected), 2.0);
        EXPECT_TRUE(dOffset == 0.0 || place == firstPlace) << "where the left picture lies depends on sizes only";
        firstPlace = place;
    }
}

TEST(Blending, ARightCameraThatHangsALittleHigherOrLowerIsNotCut)
{
    const cv::Mat grey(kSize, CV_8UC3, cv::Scalar::all(200));
    for (const int nShift : {-28, 28}) {
        cv::Mat out;
        double score = -1.0;
        ASSERT_TRUE(Blend(grey, grey, Shift(600, nShift), out, score));
        // All rows of the right picture, where it is alone.
        EXPECT_EQ(cv::countNonZero(out.col(1000).reshape(1)), 3 * kSize.height) << nShift;
    }
}

TEST(Blending, BrightnessOfTheTwoSidesIsMatched)
{
    const cv::Mat left = Scene(kSize), right = Scene(kSize, 400.0, 0.85);
    cv::Mat out;
    double score = -1.0;
    ASSERT_TRUE(Blend(left, right, Shift(400, 0), out, score));
    const int nTop = (out.rows - 480) / 2;
    const cv::Mat whole = Scene({1040, 480});
    const auto ratio = [&](int x) {
        const cv::Rect strip(x, 0, 60, 480);
        return cv::mean(out(strip + cv::Point(0, nTop)))[1] / cv::mean(whole(strip))[1];
    };
    EXPECT_NEAR(ratio(100) / ratio(900), 1.0, 0.02) << "one side is darker by 15 in a hundred before";
}

TEST(Blending, RotationAndMirrorsBringPicturesUpright)
{
    const cv::Mat upright = Scene({480, 640}), right = Scene({480, 640}, 300.0);
    cv::Mat rawLeft, rawRight, plain, turned;
    cv::rotate(upright, rawLeft, cv::ROTATE_90_COUNTERCLOCKWISE);
    cv::rotate(right, rawRight, cv::ROTATE_90_COUNTERCLOCKWISE);
    double score = 0.0;
    ASSERT_TRUE(Blend(upright, right, Shift(300, 0), plain, score));
    const ImageDirFlags clockwise(cv::ROTATE_90_CLOCKWISE, false, false);
    ASSERT_TRUE(
        DoBlendingImageForDualCam(rawLeft, clockwise, rawRight, clockwise, 1.0, 1.0, Shift(300, 0), score, turned));
    EXPECT_EQ(MeanDifference(plain, turned), 0.0);

    cv::flip(upright, rawLeft, 1);
    cv::flip(right, rawRight, 1);
    const ImageDirFlags mirror(-1, true, false);
    ASSERT_TRUE(DoBlendingImageForDualCam(rawLeft, mirror, rawRight, mirror, 1.0, 1.0, Shift(300, 0), score, turned));
    EXPECT_EQ(MeanDifference(plain, turned), 0.0);
}

TEST(Blending, ThePicturesThatAreGivenStayAsTheyAre)
{
    const cv::Mat left = Scene(kSize), right = Scene(kSize, 500.0);
    const cv::Mat leftBefore = left.clone(), rightBefore = right.clone();
    for (const int nRotateCode : {-1, 0, 1, 2}) {
        for (const int nMirrors : {0, 1, 2, 3}) {
            const ImageDirFlags flags(nRotateCode, (nMirrors & 1) != 0, (nMirrors & 2) != 0);
            cv::Mat out;
            double dScore = -1.0;
            ASSERT_TRUE(DoBlendingImageForDualCam(left, flags, right, flags, 1.0, 1.0, Shift(300, 0), dScore, out));
            EXPECT_EQ(cv::norm(left, leftBefore, cv::NORM_INF), 0.0) << nRotateCode << " " << nMirrors;
            EXPECT_EQ(cv::norm(right, rightBefore, cv::NORM_INF), 0.0) << nRotateCode << " " << nMirrors;
        }
    }
}

TEST(Blending, PixelsThatNeitherPictureShowsAreBlackAndAllOthersAreFilled)
{
    const cv::Mat grey(kSize, CV_8UC3, cv::Scalar::all(200));
    const std::vector<cv::Mat> homographies{
        Shift(500, 3), (cv::Mat_<double>(3, 3) << 0.9, -0.2, 450.0, 0.25, 0.95, -60.0, 3.0e-4, -2.0e-4, 1.0),
        (cv::Mat_<double>(3, 3) << -0.8, 0.3, -900.0, -0.3, -0.8, -20.0, 2.0e-4, 4.0e-4, -1.0)};
    for (const cv::Mat& homography : homographies) {
        cv::Mat out;
        double dScore = -1.0;
        ASSERT_TRUE(Blend(grey, grey, homography, out, dScore)) << homography;
        const double dMargin = 0.5 * (out.rows - kSize.height);
        const cv::Matx33d rightFromLeft = cv::Matx33d(homography).inv();
        // How far inside a picture a point lies, negative outside.
        const auto depth = [](double x, double y) {
            return std::min({x, y, kSize.width - 1.0 - x, kSize.height - 1.0 - y});
        };
        for (int y = 0; y < out.rows; ++y) {
            for (int x = 0; x < out.cols; ++x) {
                const cv::Vec3d p = rightFromLeft * cv::Vec3d(x, y - dMargin, 1.0);
                const double dDepth = std::max(depth(x, y - dMargin), depth(p[0] / p[2], p[1] / p[2]));
                if (std::abs(dDepth) > 1.0e-6) {
                    ASSERT_EQ(out.at<cv::Vec3b>(y, x), cv::Vec3b::all(dDepth > 0.0 ? 200 : 0))
                        << homography << " at " << x << " " << y;
                }
            }
        }
    }
}

TEST(Blending, TheResultDoesNotDependOnTheNumberOfThreads)
{
    const int nThreads = cv::getNumThreads();
    cv::Mat one, many;
    double score = 0.0;
    cv::setNumThreads(1);
    EXPECT_TRUE(Blend(Scene(kSize), Scene(kSize, 400.0), Shift(400, 3), one, score));
    cv::setNumThreads(4);
    EXPECT_TRUE(Blend(Scene(kSize), Scene(kSize, 400.0), Shift(400, 3), many, score));
    cv::setNumThreads(nThreads);
    EXPECT_EQ(MeanDifference(one, many), 0.0);
}

TEST(Blending, BadInputEmptiesTheOutput)
{
    const cv::Mat good = Scene(kSize);
    const cv::Mat nan(3, 3, CV_64F, cv::Scalar(std::nan("")));
    const auto refused = [](const cv::Mat& left, const cv::Mat& right, const cv::Mat& homography, double a, double b) {
        const ImageDirFlags none(-1, false, false);
        cv::Mat out = cv::Mat::ones(3, 3, CV_8U);
        double score = 0.0;
        return !DoBlendingImageForDualCam(left, none, right, none, a, b, homography, score, out) && out.empty();
    };
    EXPECT_TRUE(refused(cv::Mat(), good, Shift(400, 0), 1, 1));
    EXPECT_TRUE(refused(good, cv::Mat(), Shift(400, 0), 1, 1));
    EXPECT_TRUE(refused(good, cv::Mat(kSize, CV_8UC1), Shift(400, 0), 1, 1));
    EXPECT_TRUE(refused(cv::Mat(kSize, CV_16UC3), cv::Mat(kSize, CV_16UC3), Shift(400, 0), 1, 1));
    EXPECT_TRUE(refused(good, good, cv::Mat(), 1, 1));
    EXPECT_TRUE(refused(good, good, nan, 1, 1));
    EXPECT_TRUE(refused(good, good, cv::Mat::zeros(3, 3, CV_64F), 1, 1));
    EXPECT_TRUE(refused(good, good, Shift(1e6, 0), 1, 1));
    EXPECT_TRUE(refused(good, good, Shift(400, 0), 0.0, 1));
    EXPECT_TRUE(refused(good, good, Shift(400, 0), 1, 1e9));
    EXPECT_TRUE(refused(good, good, Shift(400, 0), std::nan(""), 1));
}
