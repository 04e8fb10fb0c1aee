#include "HomographyFiles.h"

#include "TempFolder.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/core/persistence.hpp>

#include <QFile>

namespace
{

const cv::Matx33d g_mmFromPx(0.2, 0.01, 30.0, -0.02, 0.25, 12.0, 1.0e-6, 2.0e-6, 1.0);

QPointF Apply(const cv::Matx33d& homography, QPointF point)
{
    const cv::Vec3d mapped = homography * cv::Vec3d(point.x(), point.y(), 1.0);
    return {mapped[0] / mapped[2], mapped[1] / mapped[2]};
}

QList<QPointF> Pixels(int nCount)
{
    QList<QPointF> points;
    for (int i = 0; i < nCount; ++i) {
        points << QPointF(100 + 300 * (i % 3), 80 + 250 * (i / 3));
    }
    return points;
}

QList<QPointF> Millimetres(const QList<QPointF>& pixels)
{
    QList<QPointF> points;
    for (const QPointF& pixel : pixels) {
        points << Apply(g_mmFromPx, pixel);
    }
    return points;
}

cv::Matx33d Read(const std::string& strFile)
{
    cv::Mat matrix;
    cv::FileStorage(strFile, cv::FileStorage::READ)["HomMat2D"] >> matrix;
    EXPECT_EQ(matrix.size(), cv::Size(3, 3));
    return matrix.empty() ? cv::Matx33d::zeros() : cv::Matx33d(matrix);
}

} // namespace

TEST(HomographyFiles, TakePixelsToMillimetresAndBack)
{
    const TempFolder folder;
    const QList<QPointF> pixels = Pixels(9);
    const QList<QPointF> world = Millimetres(pixels);
    ASSERT_TRUE(WritePix2Mm(world, pixels, QString::fromStdString(folder.Path("pix2mm.xml"))));
    ASSERT_TRUE(WriteMm2Pix(world, pixels, QString::fromStdString(folder.Path("mm2pix.xml"))));
    const cv::Matx33d mmFromPx = Read(folder.Path("pix2mm.xml"));
    const cv::Matx33d pxFromMm = Read(folder.Path("mm2pix.xml"));
    for (int i = 0; i < 9; ++i) {
        EXPECT_NEAR(Apply(mmFromPx, pixels[i]).x(), world[i].x(), 1.0e-3);
        EXPECT_NEAR(Apply(mmFromPx, pixels[i]).y(), world[i].y(), 1.0e-3);
        EXPECT_NEAR(Apply(pxFromMm, world[i]).x(), pixels[i].x(), 1.0e-2);
        EXPECT_NEAR(Apply(pxFromMm, world[i]).y(), pixels[i].y(), 1.0e-2);
    }
}

TEST(HomographyFiles, NeedNineOfEach)
{
    const TempFolder folder;
    const QString strFile = QString::fromStdString(folder.Path("x.xml"));
    EXPECT_FALSE(WritePix2Mm(Millimetres(Pixels(8)), Pixels(9), strFile));
    EXPECT_FALSE(WriteMm2Pix(Millimetres(Pixels(9)), Pixels(8), strFile));
    EXPECT_FALSE(QFile::exists(strFile));
}

TEST(HomographyFiles, PairsAfterTheNinthAreNotLookedAt)
{
    const TempFolder folder;
    QList<QPointF> pixels = Pixels(9);
    QList<QPointF> world = Millimetres(pixels);
    pixels << QPointF(5, 5);
    world << QPointF(9999, -9999);
    ASSERT_TRUE(WritePix2Mm(world, pixels, QString::fromStdString(folder.Path("x.xml"))));
    EXPECT_NEAR(Apply(Read(folder.Path("x.xml")), pixels[0]).x(), world[0].x(), 1.0e-3);
}

TEST(HomographyFiles, AFolderThatIsNotThereIsAFailure)
{
    const TempFolder folder;
    EXPECT_FALSE(
        WritePix2Mm(Millimetres(Pixels(9)), Pixels(9), QString::fromStdString(folder.Path("no/such/folder/x.xml"))));
}
