#pragma once

// The first page of the manual flow: the operator photographs a chart of discs, 9 to 16 times with the left camera,
// then with the right one, sees at once whether each picture will do, and calibrates the camera in hand. After the
// right camera the fusion pattern goes to the machine, and the page ends with `nextWdgSignal` once its camera is given
// back.
//
// Threads. Everything is for the GUI thread but two pieces: `RecvSnapSlot` runs on the capture thread as well, inside
// the worker's loop, and waits for nobody, since stopping a camera waits for that loop; the calibration task runs on
// the progress dialog's thread while the GUI thread waits, reads the page's plain members and touches no widget.

#include "ThreadDialog.h"

#include <QImage>
#include <QString>
#include <QWidget>

#include <array>
#include <memory>

class CameraWorker;
class CCameraCalibration;
class IDeviceHost;
class CameraPicture;
class QThread;

namespace Ui
{
class CalibrateWdg;
}

class CalibrateWdg : public QWidget, public IThreadDialogOwner
{
    Q_OBJECT

public:
    /// @param pDeviceHost  not owned, may be null: the fusion pattern cannot be sent then
    explicit CalibrateWdg(QWidget* parent = nullptr, IDeviceHost* pDeviceHost = nullptr);
    /// Waits for the capture thread, however long its camera hangs.
    ~CalibrateWdg() override;

    /// 0 for the manual flow, which takes the pictures and calibrates nothing.
    void SetCameraType(int nType) { m_nCameraType = nType; }

    /// Task 0 calibrates the camera in hand and, after the right one, sends the fusion pattern: 0 for success, -1 for a
    /// failed calibration, -2 and -3 for a failed upload. Other tasks answer 1 and do nothing.
    int ThreadDialog_ThreadRun(int nTask, void* pData) override;
    int Reserved2(int nFirst) override;
    int Reserved3(int nFirst, void* pSecond, void* pThird) override;
    double Reserved4(int nFirst) override;

signals:
    void CloseWindowSignal();
    void nextWdgSignal();
    void startSnapSignal();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    void on_pushButton_snap_clicked();
    void on_pushButton_back_clicked();
    void on_pushButton_next_clicked();
    void on_pushButton_backPic_clicked();
    void on_pushButton_nextPic_clicked();
    void on_pushButton_rectify_clicked();
    void on_pushButton_cancel_clicked();
    void RecvSnapSlot(QImage image);
    void SavePicSuccessSlot(QString picPath);
    void CameraThreadFinishedSlot();
    void SnapFailedSlot();

private:
    /// So many pictures a camera needs at least and may have at most.
    static constexpr int FEWEST_PICTURES = 9;
    static constexpr int MOST_PICTURES = 16;

    enum Hint { HINT_PLACE, HINT_HOLD, HINT_ENOUGH, HINT_NOTES_PLACE, HINT_NOTES_HOLD, HINT_NOTES_ENOUGH, HINTS };

    // What the page shows.
    void RetranslateTexts();
    void BuildHints();
    void RefreshStep();
    void UpdateHints();
    void UpdateStepLabels();
    void ShowSupplementary();
    void UpdateButtons();
    void ShowPicNum(int nPictures);

    // The camera.
    void SwitchCamera();
    void StartCamera(const QString& strName);
    void MakeCapture();
    void StopCamera();
    bool ReConnectCamera();

    // The calibration task and what follows it.
    bool CalibrateCurrentCamera();
    int SendFusionPattern();
    void LeftCameraDone();
    void RightCameraDone();

    void SaveProgress();
    void LoadProgress();
    QString OutputFolder() const;
    QString ImageFolder(int nStep) const;

    std::unique_ptr<Ui::CalibrateWdg> ui;
    QThread* m_pCameraThread = nullptr;      ///< owned, like the worker; both go together
    CameraWorker* m_pCameraWorker = nullptr; ///< lives on the capture thread
    std::unique_ptr<CCameraCalibration> m_pCalibration;
    int m_nStepIndex = 1; ///< 1 left camera, 2 right camera
    int m_nPicIndex = 1;  ///< number of the picture in hand, 1 to 16
    int m_nLastPicIndexLeft = 1;
    int m_nLastPicIndexRight = 1;
    QString m_strCurrentCamera;
    QString m_strWantedCamera;
    bool m_bCloseAfterStop = false; ///< set by nothing
    bool m_bNextAfterStop = false;
    bool m_bSwitchAfterStop = false;
    std::array<QString, HINTS> m_hints; ///< the first of each kind is shown nowhere
    bool m_bCalibSuccess = false;
    double m_dFocus = 0.0; ///< metres, like the size of a pixel
    double m_dKappa = 0.0;
    double m_dSx = 0.0;
    double m_dSy = 0.0;
    int m_nCx = 0; ///< pixels, like the three below
    int m_nCy = 0;
    int m_nImageWidth = 0;
    int m_nImageHeight = 0;
    int m_nCameraType = -1;
    IDeviceHost* m_pDeviceHost;

    CameraPicture* m_pSnapPicture; ///< belongs to its label
};
