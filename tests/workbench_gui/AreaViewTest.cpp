#include "AreaView.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

namespace
{

using namespace Workbench;

/// Each pixel of the picture says where it is: red is a sixteenth of x, green of y.
AreaPicturePointer Coded(const cv::Size& size = {3200, 1600})
{
    cv::Mat picture(size, CV_8UC3);
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            picture.at<cv::Vec3b>(y, x) = {200, static_cast<uchar>(y / 16), static_cast<uchar>(x / 16)};
        }
    }
    return std::make_shared<const AreaPicture>(picture);
}

class View : public testing::Test
{
protected:
    void SetUp() override
    {
        m_view.resize(640, 480);
        m_view.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&m_view));
        m_view.SetPicture(Coded());
    }
    /// Where a pixel of the picture is on the screen.
    QPoint OnScreen(const QPointF& pixel) const { return m_view.mapFromScene(pixel); }
    QPointF Under(const QPoint& place) const { return m_view.viewportTransform().inverted().map(QPointF(place)); }
    void Wheel(const QPoint& place, int nTurns)
    {
        QWheelEvent event(place, m_view.viewport()->mapToGlobal(place), {}, {0, 120 * nTurns}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(m_view.viewport(), &event);
    }
    QRgb Shown(const QPoint& place) { return m_view.viewport()->grab().toImage().pixel(place); }

    AreaView m_view;
};

TEST_F(View, ShowsTheFirstPictureWhole)
{
    const QRect whole = m_view.viewport()->rect();
    EXPECT_TRUE(whole.contains(OnScreen({0.0, 0.0})));
    EXPECT_TRUE(whole.contains(OnScreen({3199.0, 1599.0})));
    EXPECT_GT(m_view.Zoom(), 0.18);
}

TEST_F(View, PaintsAtEachPlaceWhatThePictureHasThere)
{
    for (const int nTurns : {0, 6, 6, 8}) {
        Wheel(m_view.viewport()->rect().center(), nTurns);
        for (const QPoint place : {QPoint(320, 240), QPoint(200, 200), QPoint(450, 280)}) {
            const QPointF pixel = Under(place);
            const QRgb shown = Shown(place);
            EXPECT_NEAR(qRed(shown), pixel.x() / 16.0, 1.5) << m_view.Zoom();
            EXPECT_NEAR(qGreen(shown), pixel.y() / 16.0, 1.5) << m_view.Zoom();
            EXPECT_EQ(qBlue(shown), 200);
        }
    }
}

TEST_F(View, TheWheelKeepsTheSpotUnderTheMouse)
{
    const QPoint place(450, 250);
    const QPointF before = Under(place);
    Wheel(place, 12);
    EXPECT_NEAR(m_view.Zoom(), 8.0 * 0.19, 0.2);
    EXPECT_NEAR(Under(place).x(), before.x(), 3.0);
    EXPECT_NEAR(Under(place).y(), before.y(), 3.0);
}

TEST_F(View, TheWheelKeepsASpotAtTheEdgeToo)
{
    const QPoint place = OnScreen({20.0, 20.0});
    const QPointF before = Under(place);
    Wheel(place, 12);
    EXPECT_NEAR(Under(place).x(), before.x(), 3.0);
    EXPECT_NEAR(Under(place).y(), before.y(), 3.0);
}

TEST_F(View, WhatIsUnderTheMouseIsToldAnewAfterZooming)
{
    QSignalSpy spy(&m_view, &AreaView::HoveredSignal);
    Wheel({450, 250}, 3);
    ASSERT_FALSE(spy.isEmpty());
    EXPECT_NEAR(spy.last()[0].toPointF().x(), Under({450, 250}).x(), 1.0e-6);
}

TEST_F(View, ZoomEndsInBothDirections)
{
    for (int i = 0; i < 40; ++i) {
        Wheel({320, 240}, 10);
    }
    EXPECT_LE(m_view.Zoom(), 40.0);
    for (int i = 0; i < 80; ++i) {
        Wheel({320, 240}, -10);
    }
    EXPECT_GT(m_view.Zoom(), 0.05);
}

TEST_F(View, SaysWhichPixelIsUnderTheMouse)
{
    QSignalSpy spy(&m_view, &AreaView::HoveredSignal);
    Wheel({320, 240}, 20);
    spy.clear();
    const QPointF pixel(std::round(Under({330, 250}).x()), std::round(Under({330, 250}).y()));
    QTest::mouseMove(m_view.viewport(), OnScreen(pixel));
    ASSERT_FALSE(spy.isEmpty());
    // The pixel's middle is its own number.
    EXPECT_NEAR(spy.last()[0].toPointF().x(), pixel.x(), 0.51 / m_view.Zoom());
    EXPECT_NEAR(spy.last()[0].toPointF().y(), pixel.y(), 0.51 / m_view.Zoom());
}

TEST_F(View, SaysWhenTheMouseIsBesideThePicture)
{
    QSignalSpy hovered(&m_view, &AreaView::HoveredSignal);
    QSignalSpy left(&m_view, &AreaView::LeftSignal);
    QTest::mouseMove(m_view.viewport(), {320, 240});
    hovered.clear();
    QTest::mouseMove(m_view.viewport(), {320, 4});
    EXPECT_TRUE(hovered.isEmpty());
    EXPECT_FALSE(left.isEmpty());
}

TEST_F(View, AClickInsideThePictureIsTold)
{
    QSignalSpy spy(&m_view, &AreaView::ClickedSignal);
    QTest::mouseClick(m_view.viewport(), Qt::LeftButton, {}, {300, 200});
    ASSERT_EQ(spy.count(), 1);
    EXPECT_NEAR(spy[0][0].toPointF().x(), Under({300, 200}).x(), 1.0e-6);
    QTest::mouseClick(m_view.viewport(), Qt::LeftButton, {}, {300, 4});
    QTest::mouseClick(m_view.viewport(), Qt::RightButton, {}, {300, 200});
    EXPECT_EQ(spy.count(), 1) << "beside the picture, or with another button";
}

TEST_F(View, DraggingMovesThePictureAndIsNoClick)
{
    Wheel({320, 240}, 12);
    const QPointF before = Under({320, 240});
    QSignalSpy spy(&m_view, &AreaView::ClickedSignal);
    QTest::mousePress(m_view.viewport(), Qt::LeftButton, {}, {320, 240});
    QTest::mouseMove(m_view.viewport(), {350, 240});
    QTest::mouseMove(m_view.viewport(), {380, 200});
    QTest::mouseRelease(m_view.viewport(), Qt::LeftButton, {}, {380, 200});
    EXPECT_EQ(spy.count(), 0);
    EXPECT_NEAR(Under({380, 200}).x(), before.x(), 2.0);
    EXPECT_NEAR(Under({380, 200}).y(), before.y(), 2.0);
}

TEST_F(View, LaterPicturesKeepZoomAndPlace)
{
    Wheel({400, 240}, 10);
    const QTransform before = m_view.viewportTransform();
    m_view.SetPicture(Coded());
    EXPECT_EQ(m_view.viewportTransform(), before);
    m_view.SetPicture(Coded({1600, 1600}));
    EXPECT_TRUE(m_view.viewport()->rect().contains(OnScreen({1599.0, 1599.0}))) << "another size is shown whole";
}

TEST_F(View, AResizeFitsUntilSomebodyZooms)
{
    const double dSmall = m_view.Zoom();
    m_view.resize(1000, 800);
    EXPECT_GT(m_view.Zoom(), 1.4 * dSmall);
    Wheel({320, 240}, 4);
    const double dZoomed = m_view.Zoom();
    m_view.resize(640, 480);
    EXPECT_EQ(m_view.Zoom(), dZoomed);
    m_view.FitSlot();
    EXPECT_NEAR(m_view.Zoom(), dSmall, 1.0e-9);
}

TEST_F(View, MarksStayOnTheirPixelAndTheirSizeAtAnyZoom)
{
    m_view.AddMark({1000.0, 800.0}, "X 166.67   Y 133.33 mm");
    EXPECT_EQ(m_view.MarkCount(), 1);
    EXPECT_EQ(m_view.LastMarkText(), "X 166.67   Y 133.33 mm");
    for (const int nTurns : {0, 8}) {
        Wheel(OnScreen({1000.0, 800.0}), nTurns);
        const QPoint place = OnScreen({1000.0, 800.0});
        EXPECT_GT(qRed(Shown(place)), 200) << "the cross is yellow";
        EXPECT_GT(qRed(Shown(place + QPoint(6, 0))), 200);
        EXPECT_LT(qRed(Shown(place - QPoint(14, 0))), 200);
    }
    m_view.ClearMarks();
    EXPECT_EQ(m_view.MarkCount(), 0);
    EXPECT_LT(qRed(Shown(OnScreen({1000.0, 800.0}))), 100);
    EXPECT_TRUE(m_view.LastMarkText().isEmpty());
}

TEST_F(View, WithoutAPictureNothingIsHoveredClickedOrZoomed)
{
    m_view.SetPicture(nullptr);
    m_view.SetPlaceholder("Not calibrated");
    QSignalSpy hovered(&m_view, &AreaView::HoveredSignal);
    QSignalSpy clicked(&m_view, &AreaView::ClickedSignal);
    const double dZoom = m_view.Zoom();
    Wheel({320, 240}, 3);
    QTest::mouseClick(m_view.viewport(), Qt::LeftButton, {}, {320, 240});
    m_view.FitSlot();
    EXPECT_TRUE(hovered.isEmpty());
    EXPECT_TRUE(clicked.isEmpty());
    EXPECT_EQ(m_view.Zoom(), dZoom);
    EXPECT_FALSE(m_view.HasPicture());
}

} // namespace
