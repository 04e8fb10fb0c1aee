#pragma once

// The wizard's window. It owns the pages of one flow and shows one of them at a time; pages end by signals, and the
// window moves on. It knows nothing of calibration. Made once, hidden and shown again; the flow is the one that the
// progress file named when it was made. Its title bar offers no way out: the pages' buttons are the only exit. Every
// closing removes the progress file and the folder Output. GUI thread only.

#include <QList>
#include <QMainWindow>
#include <QPointF>
#include <QSizeF>

#include <vector>

class AutoDualCalibrateWdg;
class CalibrateWdg;
class FusionWdg;
class HandEyeAdjustWdg;
class HandEyePicSetWdg;
class IDeviceHost;
class StitchingWdg;
class WaitDeviceWdg_DualCamera;

namespace Ui
{
class CalibrateTwoCameraWnd;
}

class CalibrateTwoCameraWnd : public QMainWindow
{
    Q_OBJECT

public:
    /// @param pHost  the host's device service, not owned, may be null
    CalibrateTwoCameraWnd(QWidget* pParent, IDeviceHost* pHost);
    ~CalibrateTwoCameraWnd() override;

    // Where a run starts. One of these follows each showing of the window.

    /// Where a run that died has stopped, else at the first page.
    void ResumeFromProgress();
    /// At the coordinate part, with no way back; in the automatic flow at the stitching page.
    void EnterCoordinateOnly();
    /// At the fusion page; in the automatic flow at its coordinate page.
    void EnterFusionOnly();
    /// At the first page of a run that ends with the fusion. Nothing calls it.
    void EnterFusionFromFirstPage();

    /// Reads the flow anew and tells the pages. The pages themselves stay those of the flow that the window began with.
    void ApplyCameraType();

signals:
    /// The run has ended and the window is closed.
    void ExitCalibDlgSignal();

public slots:
    void backWdgSlot();
    void nextWdgSlot();
    /// Keeps the pattern's points, machine millimetres, and hands them on.
    void SetListPtSlot(QList<QPointF> listPt);
    /// Keeps the size of one cross, millimetres. The pages read it from the progress file.
    void SetFlagSizeSlot(QSizeF size);
    /// Closes without asking.
    void ExitWindowSlot();
    /// Asks, then closes.
    void CloseWindowSlot();

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void RetranslateTitle();
    void InitPages();
    void InitConnections();
    template <typename Page> void LeadTo(Page* pPage, void (Page::*pSignal)(), void (CalibrateTwoCameraWnd::*pSlot)());
    template <typename Page> void TellCameraType(std::size_t nPage);
    /// The page at a place; null where there is none.
    QWidget* PageAt(std::size_t nPage) const;
    /// The manual flow's; null in the automatic one.
    FusionWdg* FusionPage() const;
    /// Shows the page at a place; the first or the last one for a place outside of the list.
    void GoTo(int nIndex);
    void ShowStep(QWidget* pPage);
    void CleanUpProgress();

    Ui::CalibrateTwoCameraWnd* ui;
    QList<QPointF> m_listPt;
    QSizeF m_sizeFlag{40.0, 40.0};
    CalibrateWdg* m_pCalibrateWdg = nullptr; ///< null in the automatic flow
    FusionWdg* m_pFusionWdg = nullptr;       ///< null in the automatic flow
    HandEyePicSetWdg* m_pHandEyePicSetWdg = nullptr;
    WaitDeviceWdg_DualCamera* m_pWaitDeviceWdgKind0 = nullptr; ///< null in the automatic flow
    WaitDeviceWdg_DualCamera* m_pWaitDeviceWdgKind1 = nullptr;
    HandEyeAdjustWdg* m_pHandEyeAdjustWdg = nullptr;         ///< made in the automatic flow too, which never shows it
    AutoDualCalibrateWdg* m_pAutoDualCalibrateWdg = nullptr; ///< null in the manual flow
    StitchingWdg* m_pStitchingWdg = nullptr;                 ///< null in the manual flow
    /// The pages of the flow in their order, owned.
    std::vector<QWidget*> m_vecPages;
    int m_nIndex = 0;
    int m_nCameraType = -1;
    IDeviceHost* m_pDeviceHost;
};
