#include "KorvaneVision.h"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include <cmath>

using namespace Korvane::CameraCalibration;

namespace
{

const ImageDirFlags g_clockwise(cv::ROTATE_90_CLOCKWISE, false, false);
const ImageDirFlags g_asIs(-1, false, false);

cv::Mat Plain(const cv::Size& size, int nLevel, int nType = CV_8UC3)
{
    return {size, nType, cv::Scalar::all(nLevel)};
}

bool Make(const cv::Mat& left, const cv::Mat& right, const std::vector<cv::Point2f>& first,
          const std::vector<cv::Point2f>& second, cv::Mat& out, const ImageDirFlags& flags = g_clockwise)
{
    return CreateMatchesImage(left, flags, right, flags, first, second, out);
}

} // namespace

TEST(CreateMatchesImage, ShowsTheTurnedPicturesSideBySideAtFullSize)
{
    cv::Mat left = Plain({300, 200}, 60), right = Plain({300, 220}, 160), out;
    left.at<cv::Vec3b>(0, 0) = {1, 2, 3};
    ASSERT_TRUE(Make(left, right, {}, {}, out));
    EXPECT_EQ(out.size(), cv::Size(200 + 220, 300));
    EXPECT_EQ(out.type(), CV_8UC3);
    EXPECT_EQ(out.at<cv::Vec3b>(0, 199), cv::Vec3b(1, 2, 3)) << "turned clockwise";
    EXPECT_EQ(out.at<cv::Vec3b>(150, 100), cv::Vec3b(60, 60, 60));
    EXPECT_EQ(out.at<cv::Vec3b>(150, 300), cv::Vec3b(160, 160, 160));
}

TEST(CreateMatchesImage, DrawsALineFromTheLeftPointToTheRightOne)
{
    const cv::Mat left = Plain({300, 200}, 60), right = Plain({300, 200}, 160);
    cv::Mat out;
    // The first list is of the right picture, the second of the left one.
    ASSERT_TRUE(Make(left, right, {{50, 90}}, {{120, 90}}, out));
    EXPECT_NE(out.at<cv::Vec3b>(90, 150), cv::Vec3b(60, 60, 60));
    EXPECT_NE(out.at<cv::Vec3b>(90, 230), cv::Vec3b(160, 160, 160));
    EXPECT_EQ(out.at<cv::Vec3b>(90, 100), cv::Vec3b(60, 60, 60)) << "left of the left point";
    EXPECT_EQ(out.at<cv::Vec3b>(90, 270), cv::Vec3b(160, 160, 160)) << "right of the right point";
    EXPECT_EQ(left.at<cv::Vec3b>(90, 150), cv::Vec3b(60, 60, 60)) << "what it was given stays as it was";
}

TEST(CreateMatchesImage, TakesGreyPicturesAndPicturesOfFourChannels)
{
    cv::Mat out;
    ASSERT_TRUE(Make(Plain({90, 80}, 60, CV_8UC1), Plain({90, 80}, 70, CV_8UC1), {}, {}, out));
    EXPECT_EQ(out.type(), CV_8UC3);
    ASSERT_TRUE(Make(Plain({90, 80}, 60, CV_8UC4), Plain({90, 80}, 70, CV_8UC4), {}, {}, out));
    EXPECT_EQ(out.type(), CV_8UC3);
}

TEST(CreateMatchesImage, BelowTheLowerOfTwoPicturesIsBlack)
{
    cv::Mat out;
    ASSERT_TRUE(Make(Plain({100, 80}, 60), Plain({100, 60}, 70), {}, {}, out, g_asIs));
    EXPECT_EQ(out.size(), cv::Size(200, 80));
    EXPECT_EQ(out.at<cv::Vec3b>(70, 150), cv::Vec3b(0, 0, 0));
}

TEST(CreateMatchesImage, PointsOutsideOfThePicturesAreLeftOut)
{
    const cv::Mat left = Plain({300, 200}, 60), right = Plain({300, 200}, 160);
    cv::Mat with, without;
    ASSERT_TRUE(Make(left, right, {}, {}, without));
    ASSERT_TRUE(
        Make(left, right, {{50, 90}, {-1.0e30f, 5}, {NAN, 5}, {50, 90}}, {{250, 90}, {5, 5}, {5, 5}, {5, NAN}}, with));
    EXPECT_EQ(cv::norm(with, without), 0.0);
}

TEST(CreateMatchesImage, BadInputEmptiesThePicture)
{
    const cv::Mat good = Plain({300, 200}, 60);
    for (const cv::Mat& bad :
         {cv::Mat(), Plain({300, 200}, 60, CV_8UC1), Plain({300, 200}, 60, CV_16UC3), Plain({300, 200}, 60, CV_8UC2)}) {
        cv::Mat out = good.clone();
        EXPECT_FALSE(Make(good, bad, {}, {}, out));
        EXPECT_TRUE(out.empty());
        EXPECT_FALSE(Make(bad, good, {}, {}, out));
        EXPECT_FALSE(GetLastError().empty());
    }
    cv::Mat out = good.clone();
    EXPECT_FALSE(Make(good, good, {{1, 1}}, {}, out));
    EXPECT_TRUE(out.empty());
    EXPECT_NE(GetLastError().find("1 points for 0"), std::string::npos);
}
