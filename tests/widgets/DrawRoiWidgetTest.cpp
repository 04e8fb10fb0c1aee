#include "DrawRoiWidget.h"

#include "Painted.h"

#include <gmock/gmock.h>

#include <QSignalSpy>
#include <QTest>

#include <climits>

namespace
{

/// A label of 400 x 300 that shows a grey picture of 200 x 100 in its middle, the full one being 2000 x 500.
class RoiLabel : public testing::Test
{
protected:
    RoiLabel()
    {
        m_label.resize(400, 300);
        m_label.setAlignment(Qt::AlignCenter);
        QPixmap picture(200, 100);
        picture.fill(QColor(128, 128, 128));
        m_label.setPixmap(picture);
        m_label.SetImageSize(2000, 500);
    }

    void DrawByLeftButton(QPoint ptFrom, QPoint ptTo)
    {
        Painted::Press(m_label, ptFrom);
        Painted::Drag(m_label, ptTo);
        Painted::Release(m_label, ptTo);
    }

    void FinishByRightButton(QPoint pt)
    {
        Painted::Press(m_label, pt, Qt::RightButton);
        Painted::Release(m_label, pt, Qt::RightButton);
    }

    DrawRoiWidget m_label;
    QSignalSpy m_finished{&m_label, &DrawRoiWidget::DrawingFinishedSignal};
};

} // namespace

TEST_F(RoiLabel, BeforeItIsArmedItIsAPlainLabel)
{
    const QImage before = Painted::Of(m_label);
    DrawByLeftButton({50, 60}, {150, 160});
    EXPECT_EQ(Painted::Of(m_label), before);
    FinishByRightButton({150, 160});
    EXPECT_TRUE(m_finished.isEmpty());
    EXPECT_EQ(m_label.GetDrawnRect(), QRect(QPoint(-100, -100), QPoint(-100, -100)));
}

TEST_F(RoiLabel, IsWhite)
{
    EXPECT_EQ(m_label.styleSheet(), "background-color: white;");
    EXPECT_EQ(Painted::Of(m_label).pixelColor(5, 5), QColor(Qt::white));
}

TEST_F(RoiLabel, DrawsABlueRectangleWhileItIsArmed)
{
    m_label.EnableDrawingSlots();
    Painted::Press(m_label, {50, 60});
    Painted::Drag(m_label, {150, 160});
    QImage image = Painted::Of(m_label);
    // Two pixels wide, about the edges.
    const QRect extent = Painted::Extent(image, Painted::BLUE);
    EXPECT_TRUE(extent.contains(QRect(QPoint(50, 60), QPoint(149, 159))));
    EXPECT_TRUE(QRect(QPoint(48, 58), QPoint(153, 163)).contains(extent));
    EXPECT_EQ(image.pixelColor(100, 60), QColor(Qt::blue));
    EXPECT_EQ(image.pixelColor(50, 100), QColor(Qt::blue));
    EXPECT_EQ(Painted::Count(image, QRect(100, 50, 1, 60), Painted::BLUE), 2);
    EXPECT_FALSE(Painted::Has(image, QRect(QPoint(60, 70), QPoint(140, 150)), Painted::BLUE));
    EXPECT_TRUE(m_finished.isEmpty());

    // A left release leaves it open.
    Painted::Release(m_label, {150, 160});
    EXPECT_EQ(Painted::Of(m_label), image);
    EXPECT_TRUE(m_finished.isEmpty());
}

TEST_F(RoiLabel, FinishesOnTheRightReleaseAndDrawsNoRectangleAnyMore)
{
    m_label.EnableDrawingSlots();
    DrawByLeftButton({50, 60}, {150, 160});
    FinishByRightButton({10, 10});
    ASSERT_EQ(m_finished.size(), 1);
    EXPECT_EQ(m_finished[0][0].toRect(), QRect(QPoint(50, 60), QPoint(150, 160)));
    EXPECT_FALSE(Painted::Has(Painted::Of(m_label), m_label.rect(), Painted::BLUE));

    // One rectangle for each arming; the drawn one can be asked for on.
    DrawByLeftButton({1, 1}, {2, 2});
    FinishByRightButton({2, 2});
    EXPECT_EQ(m_finished.size(), 1);
    EXPECT_EQ(m_label.GetDrawnRect(), QRect(QPoint(-50, -40), QPoint(50, 60)));
}

TEST_F(RoiLabel, EachStepOfADragAndItsEndIsSeenAtOnce)
{
    m_label.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&m_label));
    m_label.EnableDrawingSlots();
    Painted::PaintCounter counter(m_label);
    Painted::Press(m_label, {50, 60});
    EXPECT_GE(counter.Take(), 1);
    Painted::Drag(m_label, {150, 160});
    EXPECT_GE(counter.Take(), 1);
    Painted::Release(m_label, {150, 160});
    Painted::Press(m_label, {10, 10}, Qt::RightButton);
    EXPECT_EQ(counter.Take(), 0);
    Painted::Release(m_label, {10, 10}, Qt::RightButton);
    EXPECT_GE(counter.Take(), 1) << "the rectangle goes away";
}

TEST_F(RoiLabel, AnswersTheMouseAsALabelToo)
{
    m_label.setText("<a href='somewhere'>" + QString(30, 'M') + "</a>");
    m_label.setTextInteractionFlags(Qt::TextBrowserInteraction);
    m_label.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&m_label));
    QSignalSpy hovered(&m_label, &QLabel::linkHovered);
    QSignalSpy activated(&m_label, &QLabel::linkActivated);
    const QPoint ptMiddle = m_label.rect().center();
    Painted::Drag(m_label, ptMiddle, Qt::NoButton);
    EXPECT_EQ(hovered.size(), 1);
    Painted::Press(m_label, ptMiddle);
    EXPECT_TRUE(activated.isEmpty());
    Painted::Release(m_label, ptMiddle);
    EXPECT_EQ(activated.size(), 1);

    m_label.setText(QString(30, 'M'));
    Painted::Press(m_label, ptMiddle);
    Painted::Drag(m_label, ptMiddle + QPoint(60, 0));
    EXPECT_TRUE(m_label.hasSelectedText());
}

TEST_F(RoiLabel, DrawsItsPictureUnderTheRectangle)
{
    m_label.EnableDrawingSlots();
    DrawByLeftButton({110, 120}, {160, 150});
    EXPECT_EQ(Painted::Of(m_label).pixelColor(130, 130), QColor(128, 128, 128));
}

TEST_F(RoiLabel, ASecondLeftDragStartsAgain)
{
    m_label.EnableDrawingSlots();
    DrawByLeftButton({50, 60}, {150, 160});
    DrawByLeftButton({200, 210}, {220, 240});
    FinishByRightButton({220, 240});
    ASSERT_EQ(m_finished.size(), 1);
    EXPECT_EQ(m_finished[0][0].toRect(), QRect(QPoint(200, 210), QPoint(220, 240)));
}

TEST_F(RoiLabel, ADragToTheUpperLeftIsNormalisedInTheSignalOnly)
{
    m_label.EnableDrawingSlots();
    DrawByLeftButton({250, 180}, {150, 130});
    FinishByRightButton({150, 130});
    ASSERT_EQ(m_finished.size(), 1);
    const QRect finished = m_finished[0][0].toRect();
    EXPECT_EQ(finished, QRect(QPoint(250, 180), QPoint(150, 130)).normalized());
    EXPECT_TRUE(finished.isValid());
    const QRect drawn = m_label.GetDrawnRect();
    EXPECT_EQ(drawn.topLeft(), QPoint(150, 80));
    EXPECT_EQ(drawn.bottomRight(), QPoint(50, 30));
    EXPECT_FALSE(drawn.isValid());
}

TEST_F(RoiLabel, ARightClickWithoutADragReportsOnePixel)
{
    m_label.EnableDrawingSlots();
    FinishByRightButton({70, 80});
    ASSERT_EQ(m_finished.size(), 1);
    EXPECT_EQ(m_finished[0][0].toRect(), QRect(QPoint(0, 0), QPoint(0, 0)));
}

TEST_F(RoiLabel, ADragThatLeavesTheLabelKeepsItsCoordinates)
{
    m_label.EnableDrawingSlots();
    DrawByLeftButton({390, 290}, {700, -50});
    FinishByRightButton({0, 0});
    ASSERT_EQ(m_finished.size(), 1);
    EXPECT_EQ(m_finished[0][0].toRect(), QRect(QPoint(390, 290), QPoint(700, -50)).normalized());
    EXPECT_EQ(m_label.GetDrawnRect().bottomRight(), QPoint(600, -150));
}

TEST_F(RoiLabel, DragsOnlyWithTheLeftButtonHeld)
{
    m_label.EnableDrawingSlots();
    Painted::Press(m_label, {50, 60});
    Painted::Drag(m_label, {150, 160}, Qt::NoButton);
    Painted::Drag(m_label, {150, 160}, Qt::RightButton);
    Painted::Press(m_label, {170, 180}, Qt::MiddleButton);
    EXPECT_EQ(m_label.GetDrawnRect(), QRect(QPoint(-50, -40), QPoint(-50, -40)));
}

TEST_F(RoiLabel, ThePicturesOffsetIsThatOfACentredPixmap)
{
    EXPECT_EQ(m_label.GetPictureOffset(), QPointF(100, 100));
    QPixmap odd(201, 99);
    odd.fill(Qt::gray);
    m_label.setPixmap(odd);
    EXPECT_EQ(m_label.GetPictureOffset(), QPointF(99.5, 100.5));
    m_label.setContentsMargins(10, 20, 0, 0);
    EXPECT_EQ(m_label.GetPictureOffset(), QPointF(10 + (390 - 201) / 2.0, 20 + (280 - 99) / 2.0));
    m_label.setContentsMargins(0, 0, 0, 0);
    // A picture larger than the label begins outside of it.
    m_label.setPixmap(QPixmap(600, 300));
    EXPECT_EQ(m_label.GetPictureOffset(), QPointF(-100, 0));
    m_label.setPixmap(QPixmap());
    EXPECT_EQ(m_label.GetPictureOffset(), QPointF(0, 0));
    EXPECT_EQ(DrawRoiWidget().GetPictureOffset(), QPointF(0, 0));
}

TEST_F(RoiLabel, TheDrawnRectangleIsRoundedAfterTheOffset)
{
    QPixmap odd(201, 99);
    odd.fill(Qt::gray);
    m_label.setPixmap(odd); // offset (99.5, 100.5)
    m_label.EnableDrawingSlots();
    DrawByLeftButton({110, 120}, {130, 140});
    EXPECT_EQ(m_label.GetDrawnRect(), QRect(QPointF(10.5, 19.5).toPoint(), QPointF(30.5, 39.5).toPoint()));
}

TEST_F(RoiLabel, TheRegionIsInPixelsOfTheFullPicture)
{
    m_label.EnableDrawingSlots();
    DrawByLeftButton({110, 120}, {159, 149});
    // Shown pixels (10, 20) to (59, 49), that is 50 x 30; times 10 and times 5.
    EXPECT_EQ(m_label.GetRoiRect(), QRect(QPoint(100, 100), QPoint(600, 250)));
    m_label.SetImageSize(333, 77);
    const double dX = 200.0 / 333;
    const double dY = 100.0 / 77;
    EXPECT_EQ(m_label.GetRoiRect(), QRect(QPoint(static_cast<int>(10 / dX), static_cast<int>(20 / dY)),
                                          QPoint(static_cast<int>(60 / dX), static_cast<int>(50 / dY))));
}

TEST_F(RoiLabel, TheRegionTruncatesTowardZero)
{
    m_label.SetImageSize(100, 50); // half of what is shown
    m_label.EnableDrawingSlots();
    DrawByLeftButton({95, 97}, {110, 110}); // (-5, -3) to (10, 10): 16 x 14
    EXPECT_EQ(m_label.GetRoiRect(), QRect(QPoint(-2, -1), QPoint(5, 5)));
}

TEST_F(RoiLabel, TheRegionIsEmptyWithoutASizeOrAPicture)
{
    m_label.EnableDrawingSlots();
    DrawByLeftButton({110, 120}, {160, 150});
    for (const QSize size : {QSize(-1, -1), QSize(0, 500), QSize(2000, 0), QSize(-5, 10)}) {
        m_label.SetImageSize(size.width(), size.height());
        EXPECT_TRUE(m_label.GetRoiRect().isEmpty());
        EXPECT_TRUE(m_label.GetFitRect().isEmpty());
    }
    m_label.SetImageSize(2000, 500);
    EXPECT_FALSE(m_label.GetRoiRect().isEmpty());
    m_label.setPixmap(QPixmap());
    EXPECT_TRUE(m_label.GetRoiRect().isEmpty());
    EXPECT_TRUE(m_label.GetFitRect().isEmpty());
    m_label.setText("no picture");
    EXPECT_TRUE(m_label.GetRoiRect().isEmpty());
}

TEST_F(RoiLabel, HugeSizesStayInsideOfWhatACoordinateHolds)
{
    m_label.SetImageSize(INT_MAX, INT_MAX);
    m_label.EnableDrawingSlots();
    DrawByLeftButton({-30000, -30000}, {30000, 30000});
    const QRect roi = m_label.GetRoiRect();
    EXPECT_EQ(roi.left(), INT_MIN);
    EXPECT_EQ(roi.right(), INT_MAX);
}

TEST_F(RoiLabel, RemembersTheImageSize)
{
    EXPECT_EQ(DrawRoiWidget().GetImageSize(), QSize(-1, -1));
    EXPECT_EQ(m_label.GetImageSize(), QSize(2000, 500));
}

TEST_F(RoiLabel, TheFitRectangleKeepsTheAspectAndIsCentred)
{
    EXPECT_EQ(m_label.GetFitRect(), QRect(0, 100, 400, 100));
    m_label.SetImageSize(100, 301);
    const QSize fitted = QSize(100, 301).scaled(400, 300, Qt::KeepAspectRatio);
    EXPECT_EQ(m_label.GetFitRect(), QRect((400 - fitted.width()) / 2, 0, fitted.width(), 300));
}
