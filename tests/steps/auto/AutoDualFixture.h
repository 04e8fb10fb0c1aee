#pragma once

// The page that marks the crosses of the automatic flow, with fingers for its buttons, its view and its list.

#include "AutoDualCalibrateWdg.h"

#include "DualCoordinateToolBar.h"
#include "PageFixture.h"

#include <QGraphicsPixmapItem>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QToolButton>

#include <memory>

/// A page of a grid of 2 rows and 5 columns, of which each camera sees 3.
class AutoDual : public PageFixture
{
protected:
    static constexpr int WIDTH = 501;
    static constexpr int HEIGHT = 401;
    static constexpr int CROSSES = 6;
    static constexpr const char* LEFT_FILE = "DualCamBeforeCalibrate_LeftTemp.bmp";
    static constexpr const char* RIGHT_FILE = "DualCamBeforeCalibrate_RightTemp.bmp";

    void SetUp() override
    {
        PageFixture::SetUp();
        m_picture = cv::Mat(HEIGHT, WIDTH, CV_8UC3, cv::Scalar(90, 90, 90));
        m_picture.at<cv::Vec3b>(60, 100) = {250, 240, 230};
        WriteGrid(2, 5, 2, 3);
        WriteIniInt("PROGRESS", "PROGRESS", 3, ProgressFile());
    }

    void TearDown() override
    {
        if (m_pPage) {
            EndCountdown(*m_pPage);
        }
        m_pPage.reset();
        PageFixture::TearDown();
    }

    void WriteGrid(int nRow, int nCol, int nRowSingle, int nColSingle)
    {
        WriteIniInt("PROGRESS", "Row", nRow, ProgressFile());
        WriteIniInt("PROGRESS", "Col", nCol, ProgressFile());
        WriteIniInt("PROGRESS", "RowForSingleCamera", nRowSingle, ProgressFile());
        WriteIniInt("PROGRESS", "ColForSingleCamera", nColSingle, ProgressFile());
    }

    /// The points of the grid, with fractions.
    static QList<QPointF> World(int nCount = 10)
    {
        QList<QPointF> world;
        for (int i = 0; i < nCount; ++i) {
            world << QPointF(100.9 + 50 * (i % 5), 200.9 + 40 * (i / 5));
        }
        return world;
    }

    AutoDualCalibrateWdg& Make()
    {
        m_pPage = std::make_unique<AutoDualCalibrateWdg>();
        m_pCamera = &m_module.Camera(static_cast<std::size_t>(m_module.HandedOut()) - 1);
        return *m_pPage;
    }
    /// As the wizard does it.
    void Open(int nType = 1, const QList<QPointF>& world = World())
    {
        Make();
        m_pPage->SetWorldPoints(world);
        m_pPage->SetCameraType(nType);
        Show();
    }
    void Show()
    {
        m_pPage->resize(911, 611);
        m_pPage->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_pPage.get()));
    }

    template <typename Widget> Widget& Get(const char* pName) { return Child<Widget>(*m_pPage, pName); }
    DualGraphicsView& View() { return Get<DualGraphicsView>("graphicsView"); }
    QListWidget& List() { return Get<QListWidget>("listWidget_Coord"); }
    QPushButton& Button(const char* pName) { return Get<QPushButton>(pName); }
    QToolButton& Tool(const char* pName) { return Get<QToolButton>(pName); }
    QPushButton& Confirm() { return Button("pushButton_confirm"); }
    QString Label(const char* pName) { return Get<QLabel>(pName).text(); }
    QString Instructions() { return Get<QPlainTextEdit>("plainTextEdit").toPlainText(); }
    DualCoordinateToolBar* ToolBar() { return m_pPage->findChild<DualCoordinateToolBar*>(); }

    void Click(QAbstractButton& button)
    {
        ASSERT_TRUE(button.isEnabled()) << button.objectName().toStdString() << " cannot be pressed";
        QTest::mouseClick(&button, Qt::LeftButton);
    }
    void Click(const char* pButton) { Click(Get<QAbstractButton>(pButton)); }

    void TakePicture()
    {
        Click("pushButton_takePic");
        EndCountdown(*m_pPage);
    }

    /// @return the point that the view gets, since a mouse stands on whole pixels of the screen
    QPointF DoubleClick(QPointF ptScene)
    {
        const QPoint place = View().mapFromScene(ptScene);
        QTest::mouseDClick(View().viewport(), Qt::LeftButton, {}, place);
        return View().mapToScene(place);
    }
    QPointF Add(QPointF ptScene)
    {
        if (!Tool("toolButton_Add").isChecked()) {
            Click("toolButton_Add");
        }
        return DoubleClick(ptScene);
    }
    static QPointF Place(int i) { return {60.0 + 70.0 * (i % 3), 80.0 + 90.0 * (i / 3)}; }
    QList<QPointF> AddCrosses(int nCount)
    {
        QList<QPointF> places;
        for (int i = 0; i < nCount; ++i) {
            places << Add(Place(i));
        }
        return places;
    }

    /// A finger on the row of a list.
    void ClickRow(int nRow, bool bDouble = false)
    {
        const QPoint place = List().visualItemRect(List().item(nRow)).center();
        QTest::mouseClick(List().viewport(), Qt::LeftButton, {}, place);
        if (bDouble) {
            QTest::mouseDClick(List().viewport(), Qt::LeftButton, {}, place);
        }
    }

    QList<int> Ids()
    {
        QList<int> ids;
        for (int i = 0; i < List().count(); ++i) {
            ids << List().item(i)->data(Qt::UserRole).toInt();
        }
        return ids;
    }
    QStringList Rows()
    {
        QStringList rows;
        for (int i = 0; i < List().count(); ++i) {
            rows << List().item(i)->text();
        }
        return rows;
    }

    QList<CrossItem*> Crosses()
    {
        QList<CrossItem*> crosses;
        for (QGraphicsItem* const pItem : View().scene()->items(Qt::AscendingOrder)) {
            if (auto* const pCross = dynamic_cast<CrossItem*>(pItem)) {
                crosses << pCross;
            }
        }
        return crosses;
    }
    static QPointF CentreOf(const CrossItem* pCross) { return pCross->pos() + QPointF(50, 50); }
    CrossItem* CrossOf(int nId)
    {
        for (CrossItem* const pCross : Crosses()) {
            if (pCross->data(256).toInt() == nId) {
                return pCross;
            }
        }
        return nullptr;
    }
    /// Drags with the left button from the centre of a cross.
    void Drag(CrossItem* pCross, QPoint by)
    {
        const QPoint from = View().mapFromScene(CentreOf(pCross));
        QTest::mousePress(View().viewport(), Qt::LeftButton, {}, from);
        QMouseEvent move(QEvent::MouseMove, QPointF(from + by), View().viewport()->mapToGlobal(QPointF(from + by)),
                         Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(View().viewport(), &move);
        QTest::mouseRelease(View().viewport(), Qt::LeftButton, {}, from + by);
    }
    void MoveMouse()
    {
        const QPointF place(30, 30);
        QMouseEvent move(QEvent::MouseMove, place, View().viewport()->mapToGlobal(place), Qt::NoButton, Qt::NoButton,
                         Qt::NoModifier);
        QApplication::sendEvent(View().viewport(), &move);
    }

    QImage Shown()
    {
        for (QGraphicsItem* const pItem : View().scene()->items()) {
            if (auto* const pPixmap = dynamic_cast<QGraphicsPixmapItem*>(pItem)) {
                return pPixmap->pixmap().toImage();
            }
        }
        return {};
    }

    /// Goes through step 3.
    void FinishLeft()
    {
        TakePicture();
        AddCrosses(CROSSES);
        Click("pushButton_confirm");
        ASSERT_EQ(Progress("STEPINDEX"), "4");
    }

    std::unique_ptr<AutoDualCalibrateWdg> m_pPage;
    Doubles::RecordingCamera* m_pCamera = nullptr;
};
