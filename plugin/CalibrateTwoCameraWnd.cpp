#include "CalibrateTwoCameraWnd.h"

#include "ui_CalibrateTwoCameraWnd.h"

#include "AutoDualCalibrateWdg.h"
#include "CalibrateWdg.h"
#include "CMsgBoxQss.h"
#include "FileStore.h"
#include "FusionWdg.h"
#include "HandEyeAdjustWdg.h"
#include "HandEyePicSetWdg.h"
#include "PageParts.h"
#include "StitchingWdg.h"
#include "WaitDeviceWdg_DualCamera.h"

#include <QDir>
#include <QEvent>
#include <QFile>
#include <QLayout>
#include <QPointer>

#include <algorithm>

namespace
{

QString OutputFolder()
{
    return GetCalibrationRootPath() + "/Vision/calib/Camera_Two/Output";
}

int StoredCameraType()
{
    return ReadIniInt(g_pProgressSection, "CAMERA_TYPE", 1, ProgressFile());
}

} // namespace

CalibrateTwoCameraWnd::CalibrateTwoCameraWnd(QWidget* pParent, IDeviceHost* pHost)
    : QMainWindow(pParent), ui(new Ui::CalibrateTwoCameraWnd), m_pDeviceHost(pHost)
{
    ui->setupUi(this);
    // A least size from the host's style sheet is where the window starts; a page whose texts need more still gets it.
    layout()->setSizeConstraint(QLayout::SetMinimumSize);
    RetranslateTitle();
    setWindowFlags(windowFlags() & ~(Qt::WindowCloseButtonHint | Qt::WindowMinMaxButtonsHint));
    InitPages();
    InitConnections();
}

CalibrateTwoCameraWnd::~CalibrateTwoCameraWnd()
{
    for (QWidget* const pPage : m_vecPages) {
        delete pPage;
    }
    if (std::find(m_vecPages.begin(), m_vecPages.end(), m_pHandEyeAdjustWdg) == m_vecPages.end()) {
        delete m_pHandEyeAdjustWdg;
    }
    delete ui;
}

void CalibrateTwoCameraWnd::RetranslateTitle()
{
    setWindowTitle(Wording("Camera calibration"));
}

void CalibrateTwoCameraWnd::InitPages()
{
    m_nCameraType = StoredCameraType();
    m_pHandEyePicSetWdg = new HandEyePicSetWdg(nullptr, m_pDeviceHost);
    m_pWaitDeviceWdgKind1 = new WaitDeviceWdg_DualCamera(1);
    m_pHandEyeAdjustWdg = new HandEyeAdjustWdg;
    if (m_nCameraType == 0) {
        m_pCalibrateWdg = new CalibrateWdg(nullptr, m_pDeviceHost);
        m_pFusionWdg = new FusionWdg;
        m_pWaitDeviceWdgKind0 = new WaitDeviceWdg_DualCamera(0);
        m_vecPages = {m_pCalibrateWdg,     m_pWaitDeviceWdgKind0, m_pFusionWdg,
                      m_pHandEyePicSetWdg, m_pWaitDeviceWdgKind1, m_pHandEyeAdjustWdg};
        return;
    }
    m_pAutoDualCalibrateWdg = new AutoDualCalibrateWdg;
    m_pStitchingWdg = new StitchingWdg;
    m_vecPages = {m_pHandEyePicSetWdg, m_pWaitDeviceWdgKind1, m_pAutoDualCalibrateWdg, m_pStitchingWdg};
}

/// One row of the wiring; it holds only if the page exists.
template <typename Page>
void CalibrateTwoCameraWnd::LeadTo(Page* pPage, void (Page::*pSignal)(), void (CalibrateTwoCameraWnd::*pSlot)())
{
    if (pPage) {
        connect(pPage, pSignal, this, pSlot);
    }
}

void CalibrateTwoCameraWnd::InitConnections()
{
    using Wnd = CalibrateTwoCameraWnd;
    LeadTo(m_pCalibrateWdg, &CalibrateWdg::CloseWindowSignal, &Wnd::CloseWindowSlot);
    LeadTo(m_pCalibrateWdg, &CalibrateWdg::nextWdgSignal, &Wnd::nextWdgSlot);

    LeadTo(m_pFusionWdg, &FusionWdg::CloseWindowSignal, &Wnd::CloseWindowSlot);
    LeadTo(m_pFusionWdg, &FusionWdg::ExitWindowSignal, &Wnd::ExitWindowSlot);
    LeadTo(m_pFusionWdg, &FusionWdg::backWdgSignal, &Wnd::backWdgSlot);
    LeadTo(m_pFusionWdg, &FusionWdg::nextWdgSignal, &Wnd::nextWdgSlot);

    LeadTo(m_pHandEyePicSetWdg, &HandEyePicSetWdg::cancelWdgSignal, &Wnd::CloseWindowSlot);
    LeadTo(m_pHandEyePicSetWdg, &HandEyePicSetWdg::backWdgSignal, &Wnd::backWdgSlot);
    LeadTo(m_pHandEyePicSetWdg, &HandEyePicSetWdg::nextWdgSignal, &Wnd::nextWdgSlot);
    connect(m_pHandEyePicSetWdg, &HandEyePicSetWdg::SendListPtSignal, this, &Wnd::SetListPtSlot);
    connect(m_pHandEyePicSetWdg, &HandEyePicSetWdg::SendFlagSizeSignal, this, &Wnd::SetFlagSizeSlot);

    for (WaitDeviceWdg_DualCamera* const pWait : {m_pWaitDeviceWdgKind0, m_pWaitDeviceWdgKind1}) {
        LeadTo(pWait, &WaitDeviceWdg_DualCamera::cancelWdgSignal, &Wnd::CloseWindowSlot);
        LeadTo(pWait, &WaitDeviceWdg_DualCamera::backWdgSignal, &Wnd::backWdgSlot);
        LeadTo(pWait, &WaitDeviceWdg_DualCamera::nextWdgSignal, &Wnd::nextWdgSlot);
    }

    LeadTo(m_pHandEyeAdjustWdg, &HandEyeAdjustWdg::CloseWindowSignal, &Wnd::CloseWindowSlot);
    LeadTo(m_pHandEyeAdjustWdg, &HandEyeAdjustWdg::ExitWindowSignal, &Wnd::ExitWindowSlot);
    LeadTo(m_pHandEyeAdjustWdg, &HandEyeAdjustWdg::backWdgSignal, &Wnd::backWdgSlot);
    connect(m_pHandEyeAdjustWdg, &HandEyeAdjustWdg::SendListPtSignal, this, &Wnd::SetListPtSlot);
    connect(m_pHandEyeAdjustWdg, &HandEyeAdjustWdg::SendFlagSizeSignal, this, &Wnd::SetFlagSizeSlot);

    LeadTo(m_pAutoDualCalibrateWdg, &AutoDualCalibrateWdg::AutoDualCalibrateWdgBtnBackSignal, &Wnd::backWdgSlot);
    LeadTo(m_pAutoDualCalibrateWdg, &AutoDualCalibrateWdg::AutoDualCalibrateWdgBtnNextSignal, &Wnd::nextWdgSlot);
    LeadTo(m_pAutoDualCalibrateWdg, &AutoDualCalibrateWdg::CloseWindowSignal, &Wnd::CloseWindowSlot);
    LeadTo(m_pAutoDualCalibrateWdg, &AutoDualCalibrateWdg::ExitWindowSignal, &Wnd::ExitWindowSlot);
    if (m_pAutoDualCalibrateWdg) {
        connect(m_pAutoDualCalibrateWdg, &AutoDualCalibrateWdg::SendListPtSignal, this, &Wnd::SetListPtSlot);
        connect(m_pAutoDualCalibrateWdg, &AutoDualCalibrateWdg::SendFlagSizeSignal, this, &Wnd::SetFlagSizeSlot);
    }

    // Two signals of one page lead back; this is meant.
    LeadTo(m_pStitchingWdg, &StitchingWdg::AutoDualCalibrateWdgBtnBackSignal, &Wnd::backWdgSlot);
    LeadTo(m_pStitchingWdg, &StitchingWdg::CloseWindowSignal, &Wnd::CloseWindowSlot);
    LeadTo(m_pStitchingWdg, &StitchingWdg::ExitWindowSignal, &Wnd::ExitWindowSlot);
    LeadTo(m_pStitchingWdg, &StitchingWdg::backWdgSignal, &Wnd::backWdgSlot);
}

QWidget* CalibrateTwoCameraWnd::PageAt(std::size_t nPage) const
{
    return nPage < m_vecPages.size() ? m_vecPages[nPage] : nullptr;
}

FusionWdg* CalibrateTwoCameraWnd::FusionPage() const
{
    return dynamic_cast<FusionWdg*>(PageAt(2));
}

void CalibrateTwoCameraWnd::GoTo(int nIndex)
{
    m_nIndex = std::clamp(nIndex, 0, static_cast<int>(m_vecPages.size()) - 1);
    ShowStep(PageAt(static_cast<std::size_t>(m_nIndex)));
}

void CalibrateTwoCameraWnd::ShowStep(QWidget* pPage)
{
    if (!pPage || pPage == centralWidget()) {
        return;
    }
    // Taken out first: setting another one would delete it.
    takeCentralWidget();
    setCentralWidget(pPage);
}

void CalibrateTwoCameraWnd::backWdgSlot()
{
    if (m_nIndex > 0) {
        GoTo(m_nIndex - 1);
    }
}

void CalibrateTwoCameraWnd::nextWdgSlot()
{
    if (m_nIndex + 1 < static_cast<int>(m_vecPages.size())) {
        GoTo(m_nIndex + 1);
    }
}

void CalibrateTwoCameraWnd::ResumeFromProgress()
{
    const int nProgress = ReadIniInt(g_pProgressSection, "PROGRESS", 0, ProgressFile());
    FusionWdg* const pFusion = FusionPage();
    if (m_nCameraType == 0 && pFusion) {
        pFusion->SetFusionOnly(false);
        pFusion->SetUseResultMaps(false);
    }
    GoTo(nProgress > 0 ? nProgress - 1 : 0);
}

void CalibrateTwoCameraWnd::EnterCoordinateOnly()
{
    WriteIniString(g_pProgressSection, "WIZARD", "Coordinate", ProgressFile());
    if (auto* const pPage = dynamic_cast<HandEyePicSetWdg*>(PageAt(3))) {
        pPage->SetBackLocked(true);
    }
    GoTo(3);
}

void CalibrateTwoCameraWnd::EnterFusionOnly()
{
    if (FusionWdg* const pFusion = FusionPage()) {
        pFusion->SetUseResultMaps(true);
    }
    GoTo(2);
}

void CalibrateTwoCameraWnd::EnterFusionFromFirstPage()
{
    if (FusionWdg* const pFusion = FusionPage()) {
        pFusion->SetFusionOnly(true);
    }
    GoTo(0);
}

template <typename Page> void CalibrateTwoCameraWnd::TellCameraType(std::size_t nPage)
{
    if (auto* const pPage = dynamic_cast<Page*>(PageAt(nPage))) {
        pPage->SetCameraType(m_nCameraType);
    }
}

void CalibrateTwoCameraWnd::ApplyCameraType()
{
    m_nCameraType = StoredCameraType();
    if (m_nCameraType == 0) {
        // Pattern and wait pages keep their defaults; this is meant.
        TellCameraType<CalibrateWdg>(0);
        TellCameraType<FusionWdg>(2);
        TellCameraType<HandEyeAdjustWdg>(5);
        return;
    }
    TellCameraType<HandEyePicSetWdg>(0);
    TellCameraType<WaitDeviceWdg_DualCamera>(1);
    TellCameraType<AutoDualCalibrateWdg>(2);
    TellCameraType<StitchingWdg>(3);
}

void CalibrateTwoCameraWnd::SetListPtSlot(QList<QPointF> listPt)
{
    m_listPt = listPt;
    m_pHandEyeAdjustWdg->SetListPt(listPt);
    if (m_pAutoDualCalibrateWdg) {
        m_pAutoDualCalibrateWdg->SetWorldPoints(listPt);
    }
}

void CalibrateTwoCameraWnd::SetFlagSizeSlot(QSizeF size)
{
    m_sizeFlag = size;
}

void CalibrateTwoCameraWnd::CloseWindowSlot()
{
    const QPointer<CalibrateTwoCameraWnd> pAlive(this);
    // On the heap: whoever deletes this window while it asks deletes the box with it.
    QPointer<CMsgBoxQss> pBox =
        new CMsgBoxQss(QMessageBox::Question, Wording("Tips"),
                       Wording("Camera calibration is incomplete. Are you sure you want to exit?"),
                       QMessageBox::Yes | QMessageBox::Cancel, this);
    const int nAnswer = pBox->exec();
    delete pBox;
    if (!pAlive || nAnswer != QMessageBox::Yes) {
        return;
    }
    QDir(OutputFolder()).removeRecursively();
    close();
    emit ExitCalibDlgSignal();
}

void CalibrateTwoCameraWnd::ExitWindowSlot()
{
    close();
    emit ExitCalibDlgSignal();
}

void CalibrateTwoCameraWnd::CleanUpProgress()
{
    QFile::remove(ProgressFile());
    QDir(OutputFolder()).removeRecursively();
}

void CalibrateTwoCameraWnd::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        RetranslateTitle();
    }
    QMainWindow::changeEvent(event);
}

void CalibrateTwoCameraWnd::closeEvent(QCloseEvent* /*event*/)
{
    takeCentralWidget();
    CleanUpProgress();
}
