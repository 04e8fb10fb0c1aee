#pragma once

// The last page of the manual flow: the operator marks the eighteen engraved crosses in a fused picture, in the order
// of the pattern, and confirms; the two homographies between picture and machine are made from the pairs and the whole
// result of the run is published. GUI thread only, which it holds for a shot and for the fusion. The wizard gives it
// the pattern's points before it is shown, or lets it read them from the progress file of a run that broke off here.
// The marks stay when the page is shown again, and no file keeps them.

#include <opencv2/core/mat.hpp>

#include <QList>
#include <QPixmap>
#include <QPoint>
#include <QPointF>
#include <QSizeF>
#include <QString>
#include <QWidget>

#include <memory>

class CalibrateTwoCameraIns;
class ICameraDevice;
class QListWidgetItem;
class QTimer;

namespace Ui
{
class HandEyeAdjustWdg;
}

/// Crosses of the pattern, each of which is marked.
inline constexpr int g_nHandEyeMarks = 18;

class HandEyeAdjustWdg : public QWidget
{
    Q_OBJECT

public:
    explicit HandEyeAdjustWdg(QWidget* parent = nullptr);
    ~HandEyeAdjustWdg() override;

    /// The pattern's points, machine millimetres; those after the eighteenth have no mark.
    void SetListPt(QList<QPointF> listPt);
    /// Stored with the results.
    /// @param nType  0: manual flow, else automatic
    void SetCameraType(int nType);

signals:
    void backWdgSignal();
    void CloseWindowSignal();
    void ExitWindowSignal(); ///< confirmed, with or without success
    /// The points that a broken-off run has stored, machine millimetres.
    void SendListPtSignal(QList<QPointF> listPt);
    /// The size of one cross that it has stored, millimetres.
    void SendFlagSizeSignal(QSizeF flagSize);

protected:
    void showEvent(QShowEvent* pEvent) override;
    void changeEvent(QEvent* pEvent) override;
    bool eventFilter(QObject* pWatched, QEvent* pEvent) override;

private slots:
    void on_pushButton_AddCoord_clicked();
    void on_pushButton_RemoveCoord_clicked();
    void on_pushButton_confirm_clicked();
    void on_pushButton_takePic_clicked();
    void on_pushButton_back_clicked();
    void on_pushButton_cancel_clicked();
    void on_listWidget_Coord_itemDoubleClicked(QListWidgetItem* item);
    void TimeOutSlot();

private:
    // The page.
    void RetranslateTexts();
    void InitStepPicture();
    void LoadProgress();

    // The picture and the marks.
    cv::Mat SnapOne(const QString& strCameraName);
    void RefreshCoordList();

    // The result, in HandEyeAdjustment.cpp.
    /// False for fewer than eighteen points or marks; else true, whatever the library makes of them.
    bool CreateHomographyFiles();
    /// Lets the results of this run take the place of those before.
    void PublishResults();

    std::unique_ptr<Ui::HandEyeAdjustWdg> ui;
    ICameraDevice* m_pCamera = nullptr; ///< never given back: it lives until the process ends, and this is meant
    QList<QPointF> m_listPt;            ///< the pattern, machine millimetres
    QList<QPoint> m_listCoord;          ///< the recorded marks in their order, pixels of the fused picture
    QPixmap m_pixmap;                   ///< on show
    /// Fuses. Of one showing of the page only: it keeps the homography that it has read, and a fusion that was done
    /// again has another.
    std::unique_ptr<CalibrateTwoCameraIns> m_pCalibrate;
    QTimer* m_pTimer = nullptr;
    int m_nCameraType = -1;
};
