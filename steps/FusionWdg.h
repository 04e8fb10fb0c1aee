#pragma once

// The page of the manual flow that finds how the two cameras' pictures fit together. The operator photographs a pattern
// that lies under both cameras and draws one rectangle over it, across the seam of the two pictures; the homography
// from the points that both halves share is the result, a file of the folder Output. GUI thread only, which it holds
// for a shot and for a fit.

#include <opencv2/core/mat.hpp>

#include <QString>
#include <QWidget>

#include <memory>

class CalibrateTwoCameraIns;
class ICameraDevice;
class QTimer;

namespace Ui
{
class FusionWdg;
}

class FusionWdg : public QWidget
{
    Q_OBJECT

public:
    explicit FusionWdg(QWidget* parent = nullptr);
    ~FusionWdg() override;

    /// Whether the wizard was opened for the fusion alone: its result is then published at once, and the wizard ends.
    void SetFusionOnly(bool bFusionOnly) { m_bFusionOnly = bFusionOnly; }
    /// Whether pictures are rectified by the lens files of the last calibration, not by those of this run.
    void SetUseResultMaps(bool bUseResultMaps) { m_bUseResultMaps = bUseResultMaps; }
    /// @param nType  0: the cameras deliver rectified pictures, nothing is done to them; else they are rectified
    void SetCameraType(int nType) { m_nCameraType = nType; }

signals:
    void backWdgSignal();
    void nextWdgSignal();
    void CloseWindowSignal();
    /// The fusion alone was wanted and is published. `nextWdgSignal` comes after it all the same.
    void ExitWindowSignal();

protected:
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private slots:
    void on_pushButton_snap_clicked();
    void on_pushButton_setRoiRect_clicked();
    void on_pushButton_back_clicked();
    void on_pushButton_confirm_clicked();
    void on_pushButton_cancel_clicked();
    void TimeOutSlot();
    void DrawRoiEndingSlot();

private:
    void RetranslateTexts();
    void LoadProgress();
    void SaveProgress();

    // The picture.
    cv::Mat SnapOne(const QString& cameraName);
    void ReportNoPicture();
    /// Takes the two pictures over, rectified where that is needed.
    bool KeepPictures(const cv::Mat& left, const cv::Mat& right);
    bool RectifyPic(const cv::Mat& left, const cv::Mat& right);
    /// False where there is nothing to show; the photo button may then be pressed again.
    bool ShowBoth();
    void ShowPicture(const cv::Mat& picture);

    // The fit.
    /// Finds the homography of the region; leaves it empty where there is none.
    /// @return a picture of the matches
    cv::Mat Fit(const cv::Rect& leftRoi, const cv::Rect& rightRoi);
    void RefuseRegion(const char* pProblem);
    void ShowSplicingFailed();
    /// Puts this run's files in the place of the last calibration's.
    void Publish();

    cv::Mat m_matShown; ///< deep copy of the picture on the page
    std::unique_ptr<Ui::FusionWdg> ui;
    ICameraDevice* m_pCamera = nullptr; ///< never given back: it lives until the process ends, and this is meant
    std::unique_ptr<CalibrateTwoCameraIns> m_pCalibrateIns; ///< only to rectify, and only while the page is shown
    cv::Mat m_matLeft;                                      ///< of the last shot, as they came or rectified, not turned
    cv::Mat m_matRight;
    cv::Mat m_matHomography; ///< of the upright right picture into the upright left one; empty: no success yet
    int m_nLeftRotate = 0;   ///< of `cv::rotate`: clockwise by 90 degrees
    int m_nRightRotate = 0;
    bool m_bFusionOnly = false;
    bool m_bUseResultMaps = false;
    bool m_bFusionSuccess = false;
    int m_nCameraType = -1;
    QTimer* m_pCountdownTimer = nullptr;
};
