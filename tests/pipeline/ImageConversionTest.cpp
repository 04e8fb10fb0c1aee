#include "ImageConversion.h"

#include "PipelineFixture.h"

class ImageConversion : public PipelineFixture
{
};

TEST_F(ImageConversion, AnEmptyMatrixIsANullImageInSilence)
{
    EXPECT_TRUE(Vision::MatToQImage(cv::Mat()).isNull());
    EXPECT_TRUE(Doubles::The().logLines.empty());
}

TEST_F(ImageConversion, OtherTypesAreNullInSilence)
{
    for (const int nType : {CV_16UC1, CV_32FC1, CV_8UC2, CV_16UC3, CV_8SC1}) {
        EXPECT_TRUE(Vision::MatToQImage(cv::Mat(4, 4, nType, cv::Scalar::all(1))).isNull());
    }
    EXPECT_TRUE(Doubles::The().logLines.empty());
}

TEST_F(ImageConversion, AMatrixOfThreeDimensionsIsToldAndIsNull)
{
    const int sizes[] = {2, 3, 4};
    for (const int nType : {CV_8UC1, CV_8UC3, CV_8UC4}) {
        Doubles::The().logLines.clear();
        EXPECT_TRUE(Vision::MatToQImage(cv::Mat(3, sizes, nType, cv::Scalar::all(1))).isNull());
        EXPECT_EQ(Doubles::The().logLines.size(), 1U) << nType;
        EXPECT_TRUE(Doubles::The().Logged(0, "Vision::MatToQImage, QImage is empty!")) << nType;
    }
}

TEST_F(ImageConversion, GreyBecomesIndexedWithAGreyTable)
{
    const cv::Mat mat = (cv::Mat_<uchar>(2, 3) << 0, 1, 2, 100, 200, 255);
    const QImage image = Vision::MatToQImage(mat);
    ASSERT_EQ(image.format(), QImage::Format_Indexed8);
    EXPECT_EQ(image.colorCount(), 256);
    EXPECT_EQ(image.pixel(1, 1), qRgb(200, 200, 200));
    EXPECT_EQ(image.pixelIndex(2, 1), 255);
}

TEST_F(ImageConversion, AOneRowGreyMatrixWithALongStrideIsCopiedRight)
{
    cv::Mat wide(3, 50, CV_8UC1);
    cv::randu(wide, 0, 255);
    const cv::Mat row = wide(cv::Rect(5, 1, 7, 1));
    const QImage image = Vision::MatToQImage(row);
    ASSERT_EQ(image.size(), QSize(7, 1));
    for (int x = 0; x < 7; ++x) {
        EXPECT_EQ(image.pixelIndex(x, 0), row.at<uchar>(0, x));
    }
}

TEST_F(ImageConversion, ColourSwapsRedAndBlueAndIsADeepCopy)
{
    cv::Mat big(6, 9, CV_8UC3, cv::Scalar(1, 2, 3));
    const cv::Mat mat = big(cv::Rect(2, 1, 5, 4));
    const QImage image = Vision::MatToQImage(mat);
    big.setTo(cv::Scalar::all(9));
    ASSERT_EQ(image.format(), QImage::Format_RGB888);
    ASSERT_EQ(image.size(), QSize(5, 4));
    EXPECT_EQ(image.pixel(4, 3), qRgb(3, 2, 1));
}

TEST_F(ImageConversion, FourChannelsAreACopyOfTheirOwn)
{
    cv::Mat mat(3, 3, CV_8UC4, cv::Scalar(1, 2, 3, 128));
    const QImage image = Vision::MatToQImage(mat);
    mat.setTo(cv::Scalar::all(0));
    ASSERT_EQ(image.format(), QImage::Format_ARGB32);
    EXPECT_EQ(image.pixel(2, 2), qRgba(3, 2, 1, 128));
}

TEST_F(ImageConversion, SwapRefusesOtherFormats)
{
    EXPECT_TRUE(SwapRedBlue(QImage(3, 3, QImage::Format_ARGB32)).isNull());
    EXPECT_TRUE(Doubles::The().Logged(0, "Invalid image format, expected Format_RGB888."));
}

TEST_F(ImageConversion, SwapTwiceIsTheSame)
{
    QImage image(5, 4, QImage::Format_RGB888);
    image.fill(QColor(10, 20, 30));
    EXPECT_EQ(SwapRedBlue(image).pixel(0, 0), qRgb(30, 20, 10));
    EXPECT_EQ(SwapRedBlue(SwapRedBlue(image)), image);
}

TEST_F(ImageConversion, ThirtyTwoBitsAndGreyAreViews)
{
    for (const QImage::Format format : {QImage::Format_RGB32, QImage::Format_ARGB32,
                                        QImage::Format_ARGB32_Premultiplied, QImage::Format_Grayscale8}) {
        const QImage image(5, 4, format);
        const cv::Mat mat = QImageToMat(image);
        EXPECT_EQ(mat.data, image.constBits());
        EXPECT_EQ(mat.size(), cv::Size(5, 4));
        EXPECT_EQ(mat.type(), format == QImage::Format_Grayscale8 ? CV_8UC1 : CV_8UC4);
    }
}

TEST_F(ImageConversion, Rgb888BecomesBgrWithoutTouchingTheImage)
{
    QImage image(5, 4, QImage::Format_RGB888);
    image.fill(QColor(10, 20, 30));
    const QImage before = image.copy();
    const cv::Mat mat = QImageToMat(image);
    EXPECT_NE(mat.data, image.constBits());
    EXPECT_EQ(mat.at<cv::Vec3b>(3, 4), cv::Vec3b(30, 20, 10));
    EXPECT_EQ(image, before);
}

TEST_F(ImageConversion, OtherImagesGiveAnEmptyMatrix)
{
    EXPECT_TRUE(QImageToMat(QImage(3, 3, QImage::Format_Indexed8)).empty());
    EXPECT_TRUE(QImageToMat(QImage()).empty());
}

TEST_F(ImageConversion, AQuarterTurnMovesPixelsAboutTheCentre)
{
    // Odd sizes have a centre pixel.
    QImage image(5, 3, QImage::Format_RGB32);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 5; ++x) {
            image.setPixel(x, y, qRgb(x, y, 9));
        }
    }
    EXPECT_EQ(RotateImage(image, 0.0), image);
    const QImage turned = RotateImage(image, 90.0);
    ASSERT_EQ(turned.size(), QSize(3, 5));
    EXPECT_EQ(turned.pixel(1, 2), qRgb(2, 1, 9));
    // Clockwise: what lay left of the centre now lies above it.
    EXPECT_EQ(qRed(turned.pixel(1, 0)), 0);
    EXPECT_EQ(qRed(turned.pixel(1, 4)), 4);
    EXPECT_EQ(qGreen(turned.pixel(0, 2)), 2);
    EXPECT_EQ(qGreen(turned.pixel(2, 2)), 0);
    // Sizes do not depend on the angle's sign.
    const QImage back = RotateImage(image, -90.0);
    ASSERT_EQ(back.size(), QSize(3, 5));
    EXPECT_EQ(back.pixel(1, 2), qRgb(2, 1, 9));
    EXPECT_GT(qRed(back.pixel(1, 0)), qRed(back.pixel(1, 4)));
    for (const double dAngle : {180.0, -180.0}) {
        const QImage half = RotateImage(image, dAngle);
        ASSERT_EQ(half.size(), image.size());
        EXPECT_EQ(half.pixel(2, 1), qRgb(2, 1, 9));
        EXPECT_GT(qRed(half.pixel(0, 1)), qRed(half.pixel(4, 1)));
    }
}

TEST_F(ImageConversion, UncoveredPixelsAreTransparent)
{
    QImage image(20, 20, QImage::Format_ARGB32);
    image.fill(Qt::red);
    const QImage turned = RotateImage(image, 45.0);
    EXPECT_GT(turned.width(), 26);
    EXPECT_EQ(turned.pixel(0, 0), qRgba(0, 0, 0, 0));
    EXPECT_EQ(turned.pixel(turned.width() / 2, turned.height() / 2), qRgb(255, 0, 0));
}

TEST_F(ImageConversion, OddImagesAndAnglesAreBorne)
{
    EXPECT_TRUE(RotateImage(QImage(), 30.0).isNull());
    EXPECT_TRUE(RotateImage(QImage(4, 4, QImage::Format_RGB32), std::numeric_limits<double>::quiet_NaN()).isNull());
    EXPECT_FALSE(RotateImage(QImage(40, 40, QImage::Format_Mono), 30.0).isNull());
    EXPECT_FALSE(RotateImage(Vision::MatToQImage(cv::Mat(9, 9, CV_8UC1, cv::Scalar(5))), 30.0).isNull());
}

TEST_F(ImageConversion, CameraNamesComeFromTheHostsSettings)
{
    EXPECT_EQ(GetCameraDeviceName(1), "");
    m_data.WriteFile(m_data.Root() + "/Data/CameraSetting.ini",
                     "[CameraSetting]\nCamera-Top=a\nCamera-Left=b\nCamera-Right=c\nCamera-Movable=d\n");
    EXPECT_EQ(GetCameraDeviceName(0), "a");
    EXPECT_EQ(GetCameraDeviceName(1), "b");
    EXPECT_EQ(GetCameraDeviceName(2), "c");
    EXPECT_EQ(GetCameraDeviceName(3), "d");
    EXPECT_EQ(GetCameraDeviceName(4), "");
    EXPECT_EQ(GetCameraDeviceName(-1), "");
}
