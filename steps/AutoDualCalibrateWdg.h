#pragma once

// The page of the automatic flow on which the operator marks the engraved crosses, first in a picture of the left
// camera (step 3), then in one of the right (step 4), each followed by that camera's calibration. The left camera hangs
// upside down: its picture is shown turned, its file never is, and the marks go back before they are calibrated.
// GUI thread only, which it holds for a shot and for a calibration. The wizard gives it the pattern's points before it
// is shown; without them it takes those of the progress file.

#include "CalibrationPoint.h"
#include "PictureBuffer.h"

#include <opencv2/core/mat.hpp>

#include <QList>
#include <QPixmap>
#include <QPoint>
#include <QPointer>
#include <QPointF>
#include <QSizeF>
#include <QString>
#include <QWidget>

#include <memory>
#include <vector>

class CalibrateTwoCameraIns;
class DualCoordinateToolBar;
class ICameraDevice;
class QListWidgetItem;
class QTimer;

namespace Ui
{
class AutoDualCalibrateWdg;
}

class AutoDualCalibrateWdg : public QWidget
{
    Q_OBJECT

public:
    explicit AutoDualCalibrateWdg(QWidget* parent = nullptr);
    ~AutoDualCalibrateWdg() override;

    /// @param nType  0: manual flow, else automatic
    void SetCameraType(int nType);
    /// The pattern's points in the order of their ids, machine millimetres.
    void SetWorldPoints(QList<QPointF> points);

signals:
    void AutoDualCalibrateWdgBtnBackSignal();
    void AutoDualCalibrateWdgBtnNextSignal();
    void CloseWindowSignal();
    void ExitWindowSignal();                                     ///< never emitted
    void SendListPtSignal(QList<QPointF> points);                ///< never emitted
    void SendFlagSizeSignal(QSizeF size);                        ///< never emitted
    void ListCoordRowClickedSignal(int iRow);                    ///< for the view, to select the row's cross
    void AddCrossFinishSignal(int iPointID, QPointF ptAddPoint); ///< never emitted

protected:
    bool eventFilter(QObject* pWatched, QEvent* pEvent) override;
    void changeEvent(QEvent* pEvent) override;
    void showEvent(QShowEvent* pEvent) override;
    void moveEvent(QMoveEvent* pEvent) override;
    void resizeEvent(QResizeEvent* pEvent) override;

private slots:
    void on_pushButton_confirm_clicked();
    void on_pushButton_back_clicked();
    void on_pushButton_cancel_clicked();
    void on_pushButton_takePic_clicked();
    void ListCoordItemClickedSlots(QListWidgetItem* item);
    void ClearSelectItemSlots();
    void CoordinateToolBarAddSlots();
    void CoordinateToolBarModifySlots();
    void CoordinateToolBarDeleteSlots();
    void AddCrossSlots(QPointF ptAddPoint);
    /// No button of this form calls this one and the next.
    void on_pushButton_AddCoord_clicked();
    void on_pushButton_RemoveCoord_clicked();
    void on_listWidget_Coord_itemDoubleClicked(QListWidgetItem* item);
    void TimeOutSlot();
    void CrossItemPressedSlots(int iCrossIndex);

private:
    // The page.
    static constexpr int g_nLeftStep = 3;
    static constexpr int g_nRightStep = 4;
    void Connect();
    void MakeToolBar();
    void UpdateToolBarPosition();
    void RetranslateTexts();
    void SetInstructions();

    // The two steps.
    bool IsLeftStep() const;
    void ReadProgress();
    void SaveProgress();
    /// Forgets the marks and the picture of the camera before.
    void BeginStep(int nStep);
    void RefreshPage();
    void UpdateStepAppearance();
    void UpdateAddButton();
    void UpdateCameraName();

    // The picture.
    /// False, after a notice, where the camera's picture could not be kept.
    bool KeepPicture(const QString& strFile);
    bool RectifyPic(const cv::Mat& picture, cv::Mat& out);

    // The crosses, in AutoDualMarks.cpp.
    /// Buttons of the tool bar.
    static constexpr int g_nAdd = 0;
    static constexpr int g_nModify = 1;
    /// Crosses that one camera sees; not positive where the grid is not known.
    int CrossesOfCamera() const;
    int CrossLimit() const;
    void RefreshCoordList();
    /// What Modify and Delete work on; null where nothing fit is selected.
    QListWidgetItem* SelectedItem() const;
    bool RefusesMark();

    // The calibration, in AutoDualCalibration.cpp.
    bool CalibrateCamera(std::vector<CalibrationPoint> points, int nStep);
    bool TryCalibrateCamera(std::vector<CalibrationPoint> points, int nStep);
    /// False, after a notice, where a point has no place on the surface; it then keeps the values that it has.
    bool FillWorldCoordinates();
    void SaveParamState(const QString& strSettings);

    std::unique_ptr<Ui::AutoDualCalibrateWdg> ui;
    ICameraDevice* m_pCamera = nullptr;
    QList<QPointF> m_listWorld; ///< the pattern, machine millimetres
    QList<QPointF> m_listCoord; ///< centres of the current camera's crosses by id, pixels as shown
    QList<QPointF> m_listLeft;
    QList<QPointF> m_listRight;
    cv::Mat m_matImg; ///< as shown
    QPixmap m_pixImg;
    std::unique_ptr<CalibrateTwoCameraIns> m_pCalibImage; ///< rectifies the picture in the manual flow
    QTimer* m_pTimer = nullptr;
    QPointer<DualCoordinateToolBar> m_pToolBar; ///< deletes itself when it is closed
    int m_nCameraType = 1;
    std::vector<CalibrationPoint> m_vecPts;   ///< of the current camera, by id
    std::vector<CalibrationPoint> m_vecLeft;  ///< rearranged, in pixels of the raw picture
    std::vector<CalibrationPoint> m_vecRight; ///< the same of the right camera
    bool m_bCoordAdded = false;               ///< a click was in range since the last picture; nothing reads it
    QString m_strSpare;                       ///< not used
    QString m_strCameraName;
    int m_nStepIndex = 3; ///< 3 left camera, 4 right camera
    int m_bCalibSuccess = 0;
    int m_nRow = 0;
    int m_nCol = 0;
    int m_nRowSingle = 0;
    int m_nColSingle = 0;

    QPoint m_ptToolBar; ///< where it belongs in the viewport
    PictureBuffer m_rawBuffer;
};
