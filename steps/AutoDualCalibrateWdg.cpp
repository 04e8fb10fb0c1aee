#include "AutoDualCalibrateWdg.h"

#include "ui_AutoDualCalibrateWdg.h"

#include "CalibGlobalParam.h"
#include "CalibrateTwoCameraIns.h"
#include "CrossMarks.h"
#include "DualCoordinateToolBar.h"
#include "FileStore.h"
#include "ImageConversion.h"
#include "LibraryLoader.h"
#include "Log.h"
#include "Notice.h"
#include "PageParts.h"
#include "PipelineGuard.h"
#include "Snapshot.h"

#include <opencv2/imgcodecs.hpp>

#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QTimer>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace
{

constexpr int g_nReportMode = 1;

constexpr const char* g_pTakePic = "AutoDualCalibrateWdg::on_pushButton_takePic_clicked";

// Of the photo button, shared by all objects of the class; this is meant.
int g_nPhotoCountdown = g_nCountdownStart;

} // namespace

AutoDualCalibrateWdg::AutoDualCalibrateWdg(QWidget* parent)
    : QWidget(parent), ui(std::make_unique<Ui::AutoDualCalibrateWdg>()), m_pTimer(new QTimer(this))
{
    ui->setupUi(this);
    RetranslateTexts();
    m_pTimer->setInterval(1000);
    ui->graphicsView->SetAddMode(g_nReportMode);
    ui->graphicsView->setMouseTracking(true);
    ui->graphicsView->viewport()->installEventFilter(this);
    m_pCamera = LoadCamera();
    ui->pushButton_confirm->setEnabled(false);
    MakeToolBar();
    Connect();
}

AutoDualCalibrateWdg::~AutoDualCalibrateWdg()
{
    m_pTimer->stop();
    if (m_pCamera) {
        ReleaseModule(m_pCamera);
    }
}

void AutoDualCalibrateWdg::Connect()
{
    // Not by name: that would complain on every start about the two slots that have no button here.
    connect(ui->pushButton_confirm, &QPushButton::clicked, this, &AutoDualCalibrateWdg::on_pushButton_confirm_clicked);
    connect(ui->pushButton_back, &QPushButton::clicked, this, &AutoDualCalibrateWdg::on_pushButton_back_clicked);
    connect(ui->pushButton_cancel, &QPushButton::clicked, this, &AutoDualCalibrateWdg::on_pushButton_cancel_clicked);
    connect(ui->pushButton_takePic, &QPushButton::clicked, this, &AutoDualCalibrateWdg::on_pushButton_takePic_clicked);
    connect(ui->listWidget_Coord, &QListWidget::itemDoubleClicked, this,
            &AutoDualCalibrateWdg::on_listWidget_Coord_itemDoubleClicked);

    connect(m_pTimer, &QTimer::timeout, this, &AutoDualCalibrateWdg::TimeOutSlot);
    connect(ui->graphicsView, &DualGraphicsView::CrossItemPressedSignals, this,
            &AutoDualCalibrateWdg::CrossItemPressedSlots);
    connect(ui->listWidget_Coord, &QListWidget::itemClicked, this, &AutoDualCalibrateWdg::ListCoordItemClickedSlots);
    connect(this, &AutoDualCalibrateWdg::ListCoordRowClickedSignal, ui->graphicsView,
            &DualGraphicsView::SetSelectedCrossItemSlot);
    connect(ui->graphicsView, &DualGraphicsView::ClearSelectItemSignals, this,
            &AutoDualCalibrateWdg::ClearSelectItemSlots);
    connect(ui->graphicsView, &DualGraphicsView::AddCrossSignals, this, &AutoDualCalibrateWdg::AddCrossSlots);
}

void AutoDualCalibrateWdg::MakeToolBar()
{
    m_pToolBar = new DualCoordinateToolBar(this);
    m_pToolBar->setParent(ui->graphicsView->viewport());
    m_pToolBar->setAttribute(Qt::WA_DeleteOnClose);
    m_pToolBar->setWindowFlags(Qt::SubWindow | Qt::FramelessWindowHint);
    m_pToolBar->setAttribute(Qt::WA_NoMousePropagation, false);
    m_pToolBar->installEventFilter(this);
    connect(m_pToolBar, &DualCoordinateToolBar::ToolButtonAddClicked, this,
            &AutoDualCalibrateWdg::CoordinateToolBarAddSlots);
    connect(m_pToolBar, &DualCoordinateToolBar::ToolButtonModifyClicked, this,
            &AutoDualCalibrateWdg::CoordinateToolBarModifySlots);
    connect(m_pToolBar, &DualCoordinateToolBar::ToolButtonDeleteClicked, this,
            &AutoDualCalibrateWdg::CoordinateToolBarDeleteSlots);
}

void AutoDualCalibrateWdg::SetCameraType(int nType)
{
    m_nCameraType = nType;
    if (nType != 0) {
        SetAutomaticStepTexts({ui->toolButton_Step1, ui->toolButton_Step2, ui->toolButton_Step3, ui->toolButton_Step4,
                               ui->toolButton_Step5});
        UpdateStepAppearance();
        return;
    }
    // `label`, not `label_Step1`; this is meant.
    SetStepEnable({ui->toolButton_Step1, ui->label, ui->toolButton_Step2, ui->label_Step2, ui->toolButton_Step3}, true);
    SetStepEnable({ui->label_Step3, ui->toolButton_Step4}, false);
    SetManualStepTexts({ui->toolButton_Step1, ui->toolButton_Step2, ui->toolButton_Step3, ui->toolButton_Step4});
    ui->label_Step3->setVisible(true);
    ui->toolButton_Step4->setVisible(true);
}

void AutoDualCalibrateWdg::SetWorldPoints(QList<QPointF> points)
{
    m_listWorld = std::move(points);
}

// ---- Words ----

void AutoDualCalibrateWdg::RetranslateTexts()
{
    setWindowTitle(Wording("AdjustCalibratePicture"));
    // Both, one over the other; `UpdateStepAppearance` then shows the one that holds.
    ui->label_coorAlignment->setText(Wording("Get Left Coords"));
    ui->label_coorAlignment->setText(Wording("Get Right Coords"));
    ui->label_Coord->setText(Wording("Coordinates:(0,0)"));
    ui->label_tips->setText(Wording("Instructions"));
    ui->pushButton_takePic->setText(Wording("Photo"));
    ui->pushButton_back->setText(Wording("Previous step"));
    ui->pushButton_confirm->setText(Wording("Next step"));
    ui->pushButton_cancel->setText(Wording("Cancel"));
    SetAutomaticStepTexts(
        {ui->toolButton_Step1, ui->toolButton_Step2, ui->toolButton_Step3, ui->toolButton_Step4, ui->toolButton_Step5});
    SetInstructions();
}

void AutoDualCalibrateWdg::SetInstructions()
{
    ui->plainTextEdit->setPlainText(
        Wording("Please zoom and pan the photo to locate the centre of each cross; be sure to add exactly %1 "
                "coordinates in left - to - right order!")
            .arg(CrossesOfCamera()));
    Repolish(ui->plainTextEdit);
    ui->plainTextEdit->setReadOnly(true);
}

void AutoDualCalibrateWdg::changeEvent(QEvent* pEvent)
{
    if (pEvent->type() != QEvent::LanguageChange) {
        QWidget::changeEvent(pEvent);
        return;
    }
    RetranslateTexts();
    UpdateStepAppearance();
    ui->pushButton_takePic->setText(Wording("Photo"));
    ShowLastCrossPos(*ui->graphicsView, *ui->label_Coord);
    RefreshCoordList();
}

// ---- Events ----

bool AutoDualCalibrateWdg::eventFilter(QObject* pWatched, QEvent* pEvent)
{
    if (pWatched == ui->graphicsView->viewport() && pEvent->type() == QEvent::MouseMove) {
        ShowLastCrossPos(*ui->graphicsView, *ui->label_Coord);
    }
    // A view that scrolls takes the children of its viewport along.
    auto* const pToolBar = qobject_cast<DualCoordinateToolBar*>(pWatched);
    if (pToolBar && pEvent->type() == QEvent::Move) {
        pToolBar->move(m_ptToolBar);
    }
    return QWidget::eventFilter(pWatched, pEvent);
}

void AutoDualCalibrateWdg::showEvent(QShowEvent* pEvent)
{
    if (!m_pToolBar) {
        MakeToolBar();
    }
    ReadProgress();
    SaveProgress();
    RefreshPage();
    FitButtonWidths(this);
    UpdateToolBarPosition();
    QWidget::showEvent(pEvent);
}

void AutoDualCalibrateWdg::moveEvent(QMoveEvent* pEvent)
{
    UpdateToolBarPosition();
    QWidget::moveEvent(pEvent);
}

void AutoDualCalibrateWdg::resizeEvent(QResizeEvent* pEvent)
{
    UpdateToolBarPosition();
    QWidget::resizeEvent(pEvent);
}

void AutoDualCalibrateWdg::UpdateToolBarPosition()
{
    if (!m_pToolBar) {
        return;
    }
    const QWidget* const pViewport = ui->graphicsView->viewport();
    // Pixels of the view are added to a place in the scene, so that it lies at the bottom at scale 1 only; this is
    // meant.
    QPointF bottom = ui->graphicsView->mapToScene(pViewport->rect().center());
    const int nHalfHeight = pViewport->height() / 2;
    bottom.ry() += nHalfHeight;
    const QPoint place =
        ui->graphicsView->mapFromScene(bottom) + QPoint(-m_pToolBar->width() / 2, -5 - m_pToolBar->height());
    m_ptToolBar = pViewport->mapToParent(place);
    m_pToolBar->move(m_ptToolBar);
    if (m_pToolBar->isHidden()) {
        m_pToolBar->show();
    }
}

// ---- The two steps ----

bool AutoDualCalibrateWdg::IsLeftStep() const
{
    return m_nStepIndex == g_nLeftStep;
}

void AutoDualCalibrateWdg::ReadProgress()
{
    const QString strFile = ProgressFile();
    const int nProgress = ReadIniInt(g_pProgressSection, "PROGRESS", 0, strFile);
    if (m_nCameraType != 1 || nProgress == 0 || nProgress == 5) {
        return;
    }
    const int nStored = ReadIniInt(g_pProgressSection, "STEPINDEX", 1, strFile);
    const int nStep = nStored == g_nRightStep ? g_nRightStep : g_nLeftStep;
    if (nStep != m_nStepIndex) {
        // Another run than the one that this page has marks of.
        BeginStep(nStep);
        if (ui->graphicsView->HasPicture()) {
            ui->graphicsView->SetPicture(m_pixImg);
        }
        ui->pushButton_confirm->setEnabled(false);
    }
    m_bCalibSuccess = ReadIniInt(g_pProgressSection, "CALIBSUCCESS", 0, strFile) != 0 ? 1 : 0;
    m_nRow = ReadIniInt(g_pProgressSection, "Row", 1, strFile);
    m_nCol = ReadIniInt(g_pProgressSection, "Col", 0, strFile);
    m_nRowSingle = ReadIniInt(g_pProgressSection, "RowForSingleCamera", 1, strFile);
    m_nColSingle = ReadIniInt(g_pProgressSection, "ColForSingleCamera", 0, strFile);
    m_listCoord = IsLeftStep() ? m_listLeft : m_listRight;
    if (m_listWorld.isEmpty()) {
        const std::int64_t nPoints = std::int64_t{m_nRow} * m_nCol;
        m_listWorld =
            StoredWorldPoints(static_cast<int>(std::clamp<std::int64_t>(nPoints, 0, std::numeric_limits<int>::max())));
    }
}

void AutoDualCalibrateWdg::SaveProgress()
{
    const ProgressBatch batch;
    const QString strFile = ProgressFile();
    WriteIniInt(g_pProgressSection, "STEPINDEX", m_nStepIndex, strFile);
    WriteIniInt(g_pProgressSection, "CALIBSUCCESS", m_bCalibSuccess, strFile);
    WriteIniInt(g_pProgressSection, "PROGRESS", IsLeftStep() ? 3 : 4, strFile);
}

void AutoDualCalibrateWdg::BeginStep(int nStep)
{
    m_nStepIndex = nStep;
    m_vecPts.clear();
    m_matImg = cv::Mat();
    m_pixImg = QPixmap();
}

void AutoDualCalibrateWdg::RefreshPage()
{
    RefreshCoordList();
    UpdateStepAppearance();
    UpdateAddButton();
    UpdateCameraName();
    if (!ui->graphicsView->HasPicture()) {
        // It went with the crosses.
        ui->graphicsView->UpdateHintText("Photo");
    }
}

void AutoDualCalibrateWdg::UpdateStepAppearance()
{
    SetStepEnable({ui->toolButton_Step1, ui->label_Step1, ui->toolButton_Step2, ui->label_Step2, ui->toolButton_Step3},
                  true);
    SetStepEnable({ui->label_Step3, ui->toolButton_Step4}, !IsLeftStep());
    SetStepEnable({ui->label_Step4, ui->toolButton_Step5}, false);
    Repolish(ui->label_Step3);
    Repolish(ui->toolButton_Step4);
    ui->graphicsView->SetMaxCrossCount(CrossesOfCamera());
    if (IsLeftStep()) {
        ui->label_coorAlignment->setText(Wording("Get Left Coords"));
        ui->pushButton_confirm->setText(Wording("Next step"));
    } else {
        ui->label_coorAlignment->setText(Wording("Get Right Coords"));
        ui->graphicsView->SetAddEnabled(false);
    }
    SetInstructions();
}

void AutoDualCalibrateWdg::UpdateAddButton()
{
    if (m_nCameraType != 1) {
        return;
    }
    const bool bRoom = m_listCoord.size() < CrossesOfCamera();
    if (m_pToolBar) {
        m_pToolBar->SetToolButtonEnable(g_nAdd, bRoom);
    }
    if (!bRoom) {
        ui->graphicsView->SetAddEnabled(false);
    }
}

void AutoDualCalibrateWdg::UpdateCameraName()
{
    m_strCameraName = IsLeftStep() ? g_calibGlobalParam.strLeftCameraName : g_calibGlobalParam.strRightCameraName;
}

void AutoDualCalibrateWdg::on_pushButton_confirm_clicked()
{
    LogClicked("pushButton_confirm");
    // Whoever closes the host while a notice stands takes this page along; so in the other slots.
    const QPointer<AutoDualCalibrateWdg> pAlive(this);
    if (!CalibrateCamera(m_vecPts, m_nStepIndex) || !pAlive) {
        return;
    }
    if (IsLeftStep()) {
        BeginStep(g_nRightStep);
        ui->graphicsView->SetPicture(m_pixImg);
        RefreshPage();
        SaveProgress();
        ui->pushButton_confirm->setEnabled(false);
    } else {
        m_bCalibSuccess = 1;
        SaveProgress();
        emit AutoDualCalibrateWdgBtnNextSignal();
    }
}

void AutoDualCalibrateWdg::on_pushButton_back_clicked()
{
    LogClicked("pushButton_back");
    if (IsLeftStep()) {
        emit AutoDualCalibrateWdgBtnBackSignal();
        return;
    }
    // The view keeps the old picture; this is meant.
    BeginStep(g_nLeftStep);
    RefreshPage();
    SaveProgress();
}

void AutoDualCalibrateWdg::on_pushButton_cancel_clicked()
{
    LogClicked("pushButton_cancel");
    emit CloseWindowSignal();
}

// ---- The picture ----

void AutoDualCalibrateWdg::on_pushButton_takePic_clicked()
{
    LogClicked("pushButton_takePic");
    ui->pushButton_takePic->setEnabled(false);
    m_bCoordAdded = false;
    UpdateCameraName();
    const QPointer<AutoDualCalibrateWdg> pAlive(this);
    const cv::Mat picture = SnapOne(m_pCamera, m_strCameraName, g_autoDualSnapshot, *this);
    if (!pAlive) {
        return;
    }
    m_matImg = picture;
    const QString strFile =
        GetCalibrationRootPath() + Pipeline::strScratchFolder +
        (IsLeftStep() ? "Temp/DualCamBeforeCalibrate_LeftTemp.bmp" : "Temp/DualCamBeforeCalibrate_RightTemp.bmp");
    if (m_matImg.empty()) {
        ui->pushButton_takePic->setEnabled(true);
        return;
    }
    if (!QFileInfo(strFile).dir().mkpath(".")) {
        ILog_WriteLogF(3, "%s, Failed to create Temp folder", g_pTakePic);
        // The button stays shut; this is meant.
        return;
    }
    if (!KeepPicture(strFile)) {
        if (pAlive) {
            ui->pushButton_takePic->setEnabled(true);
        }
        return;
    }
    cv::Mat shown;
    if (m_nCameraType != 0) {
        shown = m_matImg.clone();
    } else if (!RectifyPic(m_matImg, shown)) {
        ILog_WriteLogF(1, "%s, AutoDualCalibrateWdg RectifyPic Fail!", g_pTakePic);
        ui->pushButton_takePic->setEnabled(true);
        return;
    }
    if (shown.empty()) {
        ILog_WriteLogF(1, "%s, AutoDualCalibrateWdg matImgRectify Empty!", g_pTakePic);
        ui->pushButton_takePic->setEnabled(true);
        return;
    }
    const bool bFirst = !ui->graphicsView->HasPicture();
    m_pixImg = QPixmap::fromImage(Vision::MatToQImage(shown));
    ui->graphicsView->SetPicture(m_pixImg);
    if (bFirst) {
        ShowWholePicture(*ui->graphicsView, m_pixImg.size());
    }
    m_pTimer->start();
}

bool AutoDualCalibrateWdg::KeepPicture(const QString& strFile)
{
    const int nKept = Pipeline::Guarded(g_pTakePic, 0, [&] {
        // The file always holds the camera's own orientation.
        const bool bWritten = cv::imwrite(strFile.toStdString(), m_matImg);
        if (bWritten && IsLeftStep()) {
            m_matImg = HalfTurned(m_matImg);
        }
        return bWritten ? 1 : 0;
    });
    if (nKept == 0) {
        // The calibration would look at the picture before this one.
        ILog_WriteLogF(3, "%s, %s cannot be written", g_pTakePic, QStringToUtf8(strFile).constData());
        m_matImg = cv::Mat();
        ShowNotice("Failed to get photo,Please try again.");
    }
    return nKept != 0;
}

bool AutoDualCalibrateWdg::RectifyPic(const cv::Mat& picture, cv::Mat& out)
{
    if (!m_pCalibImage) {
        m_pCalibImage = std::make_unique<CalibrateTwoCameraIns>();
    }
    cv::Mat left;
    cv::Mat right;
    if (m_pCalibImage->CalibImage(picture, picture, left, right, true) != 0) {
        return false;
    }
    out = IsLeftStep() ? left : right;
    return true;
}

void AutoDualCalibrateWdg::TimeOutSlot()
{
    CountDown(g_nPhotoCountdown, *m_pTimer, *ui->pushButton_takePic, "Photo");
}
