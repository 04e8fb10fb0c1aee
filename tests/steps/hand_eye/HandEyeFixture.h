#pragma once

// The page for the eighteen marks with module doubles and cameras that record: fingers for its buttons, its list and
// its view, and the files of a manual run that it needs.

#include "HandEyeAdjustWdg.h"

#include "PageFixture.h"

#include <QDir>
#include <QFile>
#include <QGraphicsPixmapItem>
#include <QGraphicsTextItem>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QSignalSpy>

#include <memory>

class HandEye : public PageFixture
{
protected:
    static constexpr int MARKS = 18;
    inline static const QSize PICTURE{400, 300};

    void SetUp() override
    {
        PageFixture::SetUp();
        m_picture = cv::Mat(PICTURE.height(), PICTURE.width(), CV_8UC3, cv::Scalar(10, 20, 30));
        // One that counts as read.
        Doubles::The().homography = cv::Mat::eye(3, 3, CV_64F);
        for (const char* const pFile : {"cameraL_calibrateMap.xml", "cameraR_calibrateMap.xml", "mapImgR2L.xml"}) {
            m_root.WriteFile(Output(pFile), "of this run");
        }
    }
    void TearDown() override
    {
        if (m_pPage) {
            EndCountdown(*m_pPage);
        }
        m_pPage.reset();
        EXPECT_EQ(m_module.GivenBack(), 0) << "its camera lives until the process ends";
        ReleaseAllModules();
        PageFixture::TearDown();
    }

    void Open()
    {
        m_pPage = std::make_unique<HandEyeAdjustWdg>();
        m_pPage->SetCameraType(0);
        Show();
    }
    void Show()
    {
        m_pPage->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_pPage.get()));
    }
    void OpenWithPicture()
    {
        Open();
        Photo();
        ASSERT_TRUE(View().HasPicture());
    }

    template <typename Widget> Widget& Get(const char* pName) { return Child<Widget>(*m_pPage, pName); }
    QPushButton& Button(const char* pName) { return Get<QPushButton>(pName); }
    DualGraphicsView& View() { return Get<DualGraphicsView>("graphicsView"); }
    QListWidget& List() { return Get<QListWidget>("listWidget_Coord"); }
    QStringList Rows()
    {
        QStringList rows;
        for (int i = 0; i < List().count(); ++i) {
            rows << List().item(i)->text();
        }
        return rows;
    }
    void Click(const char* pName)
    {
        ASSERT_TRUE(Button(pName).isEnabled()) << pName << " cannot be pressed";
        QTest::mouseClick(&Button(pName), Qt::LeftButton);
    }
    /// Takes a picture and lets its countdown pass.
    void Photo()
    {
        Click("pushButton_takePic");
        EndCountdown(*m_pPage);
    }
    /// Where the view shows a pixel of the picture, which it brings into view.
    QPoint At(QPointF pixel)
    {
        View().centerOn(pixel);
        return View().mapFromScene(pixel);
    }
    void DoubleClick(QPointF pixel) { QTest::mouseDClick(View().viewport(), Qt::LeftButton, {}, At(pixel)); }
    /// Sets a cross and records it.
    void Mark(QPointF pixel)
    {
        DoubleClick(pixel);
        Click("pushButton_AddCoord");
    }
    /// Where mark number `nMark`, counted from 0, is put.
    static QPoint Place(int nMark) { return {20 + 60 * (nMark % 6), 40 + 90 * (nMark / 6)}; }
    void MarkAll(int nMarks = MARKS)
    {
        for (int i = List().count(); i < nMarks; ++i) {
            Mark(Place(i));
        }
        ASSERT_EQ(List().count(), nMarks);
    }
    void DoubleClickRow(int nRow)
    {
        List().scrollToItem(List().item(nRow));
        const QPoint centre = List().visualItemRect(List().item(nRow)).center();
        QTest::mouseClick(List().viewport(), Qt::LeftButton, {}, centre);
        QTest::mouseDClick(List().viewport(), Qt::LeftButton, {}, centre);
    }
    /// @return what the operator was told, one after the other
    QStringList Told() const
    {
        QStringList texts;
        for (const ModalAnswers::Notice& notice : m_answers.Notices()) {
            texts << notice.strText;
        }
        return texts;
    }
    /// The picture, or any other, that the view shows.
    QList<QGraphicsPixmapItem*> Pictures()
    {
        QList<QGraphicsPixmapItem*> pictures;
        for (QGraphicsItem* const pItem : View().scene()->items()) {
            if (auto* const pPixmap = dynamic_cast<QGraphicsPixmapItem*>(pItem)) {
                pictures << pPixmap;
            }
        }
        return pictures;
    }
    std::vector<CrossItem*> Crosses()
    {
        std::vector<CrossItem*> crosses;
        for (QGraphicsItem* const pItem : View().scene()->items()) {
            if (auto* const pCross = dynamic_cast<CrossItem*>(pItem)) {
                crosses.push_back(pCross);
            }
        }
        return crosses;
    }
    QString Output(const QString& strFile) const { return m_root.CameraTwo("Output/" + strFile); }

    /// The grid in machine millimetres: no two coordinates are the same.
    static QList<QPointF> Grid(int nPoints = MARKS)
    {
        QList<QPointF> grid;
        for (int i = 0; i < nPoints; ++i) {
            grid << QPointF(100.25 + i, 200.5 + 2 * i);
        }
        return grid;
    }

    std::unique_ptr<HandEyeAdjustWdg> m_pPage;
};
