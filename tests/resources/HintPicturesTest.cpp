#include "DeviceTypes.h"

#include <QImage>

namespace
{

class HintPictures : public DeviceTypesTest
{
protected:
    static QImage Picture(bool bManual, int nNumber)
    {
        return QImage(Workbench::CalibrationResourceFolder(bManual) + "/Camera_Two/AdjustHandEye_HintImages/" +
                      QString::number(nNumber) + ".svg");
    }
};

/// Middle of the pixels that are as blue as the disc behind a number; empty where there are none.
QPointF MiddleOfDisc(const QImage& picture)
{
    QPointF sum;
    int nCount = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QColor colour = picture.pixelColor(x, y);
            if (colour.alpha() > 200 && colour.blue() - colour.red() > 120) {
                sum += QPointF(x, y);
                ++nCount;
            }
        }
    }
    return nCount == 0 ? QPointF() : sum / nCount;
}

} // namespace

TEST_F(HintPictures, EveryNumberOfEveryMachineHasItsPicture)
{
    for (const DeviceType& type : m_types) {
        // The manual flow counts all crosses, the automatic one those of a camera.
        const int nCols = type.Number(type.IsManual() ? "Col" : "ColForSingleCamera");
        for (int nNumber = 1; nNumber <= type.Number("Row") * nCols; ++nNumber) {
            EXPECT_FALSE(Picture(type.IsManual(), nNumber).isNull()) << qPrintable(type.strName) << " " << nNumber;
        }
    }
}

TEST_F(HintPictures, ThePictureMarksTheCrossThatItsNumberCountsTo)
{
    for (const DeviceType& type : m_types) {
        const int nRows = type.Number("Row");
        const int nCols = type.Number(type.IsManual() ? "Col" : "ColForSingleCamera");
        const QPointF first = MiddleOfDisc(Picture(type.IsManual(), 1));
        const QPointF last = MiddleOfDisc(Picture(type.IsManual(), nRows * nCols));
        ASSERT_GT(last.x() - first.x(), 20.0 * (nCols - 1));
        ASSERT_GT(last.y() - first.y(), 20.0 * (nRows - 1));
        for (int i = 0; i < nRows * nCols; ++i) {
            const QPointF middle = MiddleOfDisc(Picture(type.IsManual(), i + 1));
            const double dAcross = static_cast<double>(i % nCols) / (nCols - 1);
            const double dDown = static_cast<double>(i / nCols) / (nRows - 1);
            EXPECT_NEAR(middle.x(), first.x() + dAcross * (last.x() - first.x()), 2.0) << i + 1;
            EXPECT_NEAR(middle.y(), first.y() + dDown * (last.y() - first.y()), 2.0) << i + 1;
        }
    }
}
