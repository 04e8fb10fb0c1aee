#include "CameraSource.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace
{

using Camera::ToDeliverable;

/// The first byte after the conversion.
int Converted(cv::Mat picture, int nExpectedType)
{
    std::string strWhy;
    EXPECT_TRUE(ToDeliverable(picture, strWhy)) << strWhy;
    EXPECT_EQ(picture.type(), nExpectedType);
    return picture.ptr()[0];
}

cv::Mat Plain(int nType, double dValue)
{
    return cv::Mat(3, 4, nType, cv::Scalar::all(dValue));
}

TEST(Deliverable, EveryDepthBecomesEightBits)
{
    EXPECT_EQ(Converted(Plain(CV_8UC1, 7), CV_8UC1), 7);
    EXPECT_EQ(Converted(Plain(CV_8SC3, -28), CV_8UC3), 100);
    EXPECT_EQ(Converted(Plain(CV_16UC1, 65535), CV_8UC1), 255);
    EXPECT_EQ(Converted(Plain(CV_16SC1, -4), CV_8UC1), 0);
    EXPECT_EQ(Converted(Plain(CV_32SC3, 100000), CV_8UC3), 255);
    EXPECT_EQ(Converted(Plain(CV_32FC3, 0.2), CV_8UC3), 51);
    EXPECT_EQ(Converted(Plain(CV_64FC1, 2.0), CV_8UC1), 255);
    cv::Mat half;
    Plain(CV_32FC1, 0.4).convertTo(half, CV_16F);
    EXPECT_EQ(Converted(half, CV_8UC1), 102);
}

TEST(Deliverable, ChannelsBecomeOneOrThree)
{
    EXPECT_EQ(Converted(Plain(CV_8UC2, 9), CV_8UC1), 9);
    EXPECT_EQ(Converted(Plain(CV_8UC4, 9), CV_8UC3), 9);
    EXPECT_EQ(Converted(Plain(CV_16UC4, 257 * 9), CV_8UC3), 9);
}

TEST(Deliverable, NumbersThatAreNoneAreBlack)
{
    EXPECT_EQ(Converted(Plain(CV_32FC1, std::nan("")), CV_8UC1), 0);
    EXPECT_EQ(Converted(Plain(CV_64FC1, std::nan("")), CV_8UC1), 0);
}

TEST(Deliverable, EmptyHugeAndManyChannelPicturesAreRefused)
{
    std::string strWhy;
    cv::Mat empty;
    EXPECT_FALSE(ToDeliverable(empty, strWhy));
    cv::Mat wide(1, 65501, CV_8UC1, cv::Scalar(0));
    EXPECT_FALSE(ToDeliverable(wide, strWhy));
    cv::Mat many(2, 2, CV_8UC(5), cv::Scalar::all(0));
    EXPECT_FALSE(ToDeliverable(many, strWhy));
    const int sizes[3] = {2, 2, 2};
    cv::Mat cube(3, sizes, CV_8UC1, cv::Scalar(0));
    EXPECT_FALSE(ToDeliverable(cube, strWhy));
}

TEST(Properties, AreKnownByTheirKeys)
{
    EXPECT_EQ(Camera::PropertyOf("autoExposure"), Camera::Property::AutoExposure);
    EXPECT_EQ(Camera::PropertyOf("exposureMode"), Camera::Property::AutoExposure);
    EXPECT_EQ(Camera::PropertyOf("exposure"), Camera::Property::Exposure);
    EXPECT_EQ(Camera::PropertyOf("Exposure"), std::nullopt);
    EXPECT_EQ(Camera::PropertyOf(""), std::nullopt);
    EXPECT_EQ(Camera::PropertyOf(nullptr), std::nullopt);
}

} // namespace
