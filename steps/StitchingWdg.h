#pragma once

// The last page of the automatic flow: stitches the two pictures that the coordinate page kept, shows the result and
// stores what the run-time pipeline works from. GUI thread only, which it holds while it stitches.

#include "CalibrationPoint.h"
#include "PictureBuffer.h"

#include <opencv2/core/mat.hpp>

#include <QList>
#include <QPixmap>
#include <QPointF>
#include <QWidget>

#include <memory>
#include <vector>

class ICameraDevice;
class QTimer;

namespace Ui
{
class StitchingWdg;
}

class StitchingWdg : public QWidget
{
    Q_OBJECT

public:
    explicit StitchingWdg(QWidget* parent = nullptr);
    ~StitchingWdg() override;

    /// Stores the flow in the stitching file, too.
    /// @param nType  0: manual flow, else automatic
    void SetCameraType(int nType);

signals:
    void AutoDualCalibrateWdgBtnBackSignal(); ///< never emitted
    void CloseWindowSignal();
    void backWdgSignal();
    void ExitWindowSignal(); ///< the operator has accepted the result

protected:
    void changeEvent(QEvent* pEvent) override;
    void showEvent(QShowEvent* pEvent) override;

private slots:
    void on_pushButton_Stitch_clicked();
    void on_pushButton_back_clicked();
    void on_pushButton_confirm_clicked();
    void on_pushButton_cancel_clicked();
    void TimeOutSlot();

private:
    /// 0 on success, 1 on failure.
    int CameraStitch();
    int TryCameraStitch();
    /// Reads both pictures; false, with a log line, where that fails or their depths differ.
    bool ReadPictures();
    bool GetCalPtsSeqFile(const QString& strLeftFile, const QString& strRightFile, std::vector<CalibrationPoint>& left,
                          std::vector<CalibrationPoint>& right);
    /// Gives the marks of each side the world points of the same place. Not called by this flow.
    bool CheckPointCounts();
    /// Not called by this flow.
    cv::Mat SnapOne(const QString& strCameraName);
    void SetTexts();
    void SetStepTexts();

    std::unique_ptr<Ui::StitchingWdg> ui;
    int m_nCameraType = 1;
    ICameraDevice* m_pCamera = nullptr;
    QPixmap m_pixStitch;
    QTimer* m_pTimer = nullptr;
    cv::Mat m_matImg; ///< not used
    QList<QPointF> m_listLeftWorld;
    QList<QPointF> m_listRightWorld;
    std::vector<CalibrationPoint> m_vecLeft;
    std::vector<CalibrationPoint> m_vecRight;
    unsigned char* m_pLeftData = nullptr;
    long m_nLeftWidth = 0;
    long m_nLeftHeight = 0;
    int m_nLeftBits = 0;
    unsigned char* m_pRightData = nullptr;
    long m_nRightWidth = 0;
    long m_nRightHeight = 0;
    int m_nRightBits = 0;

    PictureBuffer m_leftBuffer;
    PictureBuffer m_rightBuffer;
};
