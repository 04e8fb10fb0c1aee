#include "AreaPicture.h"

#include <gmock/gmock.h>

namespace
{

using Workbench::AreaPicture;

TEST(AreaPicture, SharesThePixelsOfTheFullPicture)
{
    const cv::Mat matrix(600, 800, CV_8UC3, cv::Scalar(10, 20, 30));
    const AreaPicture picture(matrix);
    EXPECT_EQ(picture.LevelFor(1.0).constBits(), matrix.data);
    EXPECT_EQ(picture.Size(), QSize(800, 600));
    EXPECT_EQ(picture.LevelFor(1.0).pixel(5, 5), qRgb(30, 20, 10)) << "blue comes first in the matrix";
}

TEST(AreaPicture, OutlivesTheMatrixThatItWasMadeOf)
{
    auto matrix = cv::Mat(600, 800, CV_8UC3, cv::Scalar(10, 20, 30));
    const AreaPicture picture(matrix);
    matrix.release();
    EXPECT_EQ(picture.LevelFor(1.0).pixel(799, 599), qRgb(30, 20, 10));
}

TEST(AreaPicture, ALevelNeverHasFewerPixelsThanTheScreenShows)
{
    const AreaPicture picture(cv::Mat(4000, 5000, CV_8UC3, cv::Scalar::all(0)));
    for (const double dScale : {4.0, 1.0, 0.9, 0.51, 0.5, 0.3, 0.26, 0.25, 0.126}) {
        EXPECT_GE(picture.LevelFor(dScale).width(), 5000 * std::min(1.0, dScale)) << dScale;
        EXPECT_LE(picture.LevelFor(dScale).width(), 2 * 5000 * dScale + 1) << dScale;
    }
}

TEST(AreaPicture, OddSizesAndScalesWithoutSenseHaveALevel)
{
    const AreaPicture picture(cv::Mat(1025, 2049, CV_8UC3, cv::Scalar::all(7)));
    EXPECT_EQ(picture.LevelCount(), 3u);
    EXPECT_EQ(picture.LevelFor(0.5).size(), QSize(1025, 513));
    EXPECT_EQ(picture.LevelFor(0.25).size(), QSize(513, 257));
    EXPECT_FALSE(picture.LevelFor(0.0).isNull());
    EXPECT_FALSE(picture.LevelFor(1.0e-9).isNull());
    EXPECT_FALSE(picture.LevelFor(-1.0).isNull());
}

} // namespace
