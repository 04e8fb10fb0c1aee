#include "CameraPicture.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QLabel>

#include <functional>
#include <memory>
#include <thread>

namespace
{

class CameraPictureTest : public testing::Test
{
protected:
    CameraPictureTest()
    {
        m_label.resize(60, 80);
        m_pPicture = new CameraPicture(&m_label);
    }
    static QImage Plain(QColor colour, int nWidth = 8, int nHeight = 6)
    {
        QImage image(nWidth, nHeight, QImage::Format_RGB32);
        image.fill(colour);
        return image;
    }
    void ShowElsewhere(const QImage& image) const
    {
        std::thread([&] { m_pPicture->Show(image); }).join();
    }
    QImage Shown() const { return m_label.pixmap(Qt::ReturnByValue).toImage(); }
    QColor Colour() const { return Shown().isNull() ? QColor() : Shown().pixelColor(2, 2); }

    QLabel m_label;
    CameraPicture* m_pPicture;
};

} // namespace

TEST_F(CameraPictureTest, OnTheGuiThreadAPictureIsShownAtOnce)
{
    m_pPicture->Show(Plain(Qt::red));
    EXPECT_EQ(Colour(), QColor(Qt::red));
    EXPECT_EQ(Shown().size(), QSize(60, 80));
}

TEST_F(CameraPictureTest, FromAnotherThreadOnlyTheNewestIsShownAndNobodyWaits)
{
    ShowElsewhere(Plain(Qt::red));
    ShowElsewhere(Plain(Qt::green));
    ShowElsewhere(Plain(Qt::blue));
    EXPECT_TRUE(Shown().isNull());
    const qint64 nBefore = m_label.pixmap(Qt::ReturnByValue).cacheKey();
    QCoreApplication::processEvents();
    EXPECT_EQ(Colour(), QColor(Qt::blue));
    EXPECT_NE(m_label.pixmap(Qt::ReturnByValue).cacheKey(), nBefore);
    const qint64 nShown = m_label.pixmap(Qt::ReturnByValue).cacheKey();
    QCoreApplication::processEvents();
    EXPECT_EQ(m_label.pixmap(Qt::ReturnByValue).cacheKey(), nShown);
}

TEST_F(CameraPictureTest, APictureOfTheGuiThreadReplacesOneThatWaits)
{
    ShowElsewhere(Plain(Qt::red));
    m_pPicture->Show(Plain(Qt::green));
    EXPECT_EQ(Colour(), QColor(Qt::green));
    QCoreApplication::processEvents();
    EXPECT_EQ(Colour(), QColor(Qt::green));
    ShowElsewhere(Plain(Qt::blue));
    QCoreApplication::processEvents();
    EXPECT_EQ(Colour(), QColor(Qt::blue));
}

TEST_F(CameraPictureTest, ClearingDropsAPictureThatWaits)
{
    ShowElsewhere(Plain(Qt::red));
    m_pPicture->Clear();
    QCoreApplication::processEvents();
    EXPECT_TRUE(Shown().isNull());
    ShowElsewhere(Plain(Qt::green));
    QCoreApplication::processEvents();
    EXPECT_EQ(Colour(), QColor(Qt::green));
}

TEST_F(CameraPictureTest, ThePictureFollowsTheLabelsSizeAndKeepsItsShape)
{
    m_label.resize(60, 200);
    m_label.show();
    ShowElsewhere(Plain(Qt::red));
    QCoreApplication::processEvents();
    EXPECT_EQ(Shown().size(), QSize(60, 80));
    m_label.resize(300, 40);
    QCoreApplication::processEvents();
    ShowElsewhere(Plain(Qt::red));
    QCoreApplication::processEvents();
    EXPECT_EQ(Shown().size(), QSize(30, 40));
}

TEST_F(CameraPictureTest, NoPictureAtAllShowsNothing)
{
    m_pPicture->Show(QImage());
    EXPECT_TRUE(Shown().isNull());
    ShowCameraPicture(m_label, QImage());
    EXPECT_TRUE(Shown().isNull());
}
