#include "FusionWdg.h"

#include "ui_FusionWdg.h"

#include "CalibGlobalParam.h"
#include "CalibrateTwoCameraIns.h"
#include "FileStore.h"
#include "FusionRegion.h"
#include "ImageConversion.h"
#include "KorvaneVision.h"
#include "Log.h"
#include "Notice.h"
#include "PageParts.h"
#include "PipelineGuard.h"
#include "Snapshot.h"

#include <QDir>
#include <QEvent>
#include <QFile>
#include <QPixmap>
#include <QPointer>
#include <QTimer>

#include <cstdio>

namespace
{

using Korvane::CameraCalibration::ImageDirFlags;

constexpr const char* g_pSnapClicked = "FusionWdg::on_pushButton_snap_clicked";
constexpr const char* g_pConfirmClicked = "FusionWdg::on_pushButton_confirm_clicked";
constexpr const char* g_pDrawRoiEnding = "FusionWdg::DrawRoiEndingSlot";

constexpr const char* g_pHomographyFile = "mapImgR2L.xml";

constexpr const char* g_pSplicingFailed = "Splicing failed";
constexpr const char* g_pTooFewMatches =
    "The stitching process failed due to insufficient matching points in the overlapping area of the left and right "
    "cameras' fields of view. Please follow these steps:\n1.Minimize ambient light interference.\n2.Add more "
    "identifiable patterns in the overlapping field of view to increase matching points. After completing these steps, "
    "please retry the stitching process.";

// What matching and fit are given.
constexpr double g_dMatchA = 0.8f;
constexpr double g_dMatchB = 0.8f;
constexpr double g_dMatchRatio = 0.7f;
constexpr double g_dThresholdPx = 3.0;
constexpr int g_nIterations = 2000;
constexpr double g_dConfidence = 0.995;

// Of the photo button, shared by all objects of the class; this is meant.
int s_nCountdown = g_nCountdownStart;

QString OutputFile(const char* pFile)
{
    return GetCalibrationRootPath() + Pipeline::strOutputFolder + pFile;
}

QString ResultFile(const char* pFile)
{
    return GetCalibrationRootPath() + Pipeline::strResultFolder + pFile;
}

void LogNotWritten(const QString& strFile)
{
    ILog_WriteLogF(3, "%s, %s cannot be written", g_pConfirmClicked, QStringToUtf8(strFile).constData());
}

} // namespace

FusionWdg::FusionWdg(QWidget* parent)
    : QWidget(parent), ui(std::make_unique<Ui::FusionWdg>()), m_pCountdownTimer(new QTimer(this))
{
    ui->setupUi(this);
    RetranslateTexts();
    ui->pushButton_setRoiRect->setEnabled(false);
    ui->pushButton_confirm->setEnabled(false);
    ui->label_fusionHint->setVisible(false);
    m_pCountdownTimer->setInterval(1000);
    connect(m_pCountdownTimer, &QTimer::timeout, this, &FusionWdg::TimeOutSlot);
    // The page asks the label for the rectangle in the full picture.
    connect(ui->label_cameraPic, &DrawRoiWidget::DrawingFinishedSignal, this, &FusionWdg::DrawRoiEndingSlot);
    m_pCamera = LoadCamera();
}

FusionWdg::~FusionWdg()
{
    m_pCountdownTimer->stop();
}

void FusionWdg::RetranslateTexts()
{
    ui->label_fusionHint->setText(Wording("Fusion completed"));
    ui->label_fusionWdg->setText(Wording("Image Fusion"));
    ui->plainTextEdit_2->setPlainText(
        Wording("1.Place the image in the center of the machine's working area and press the <Photo> button."));
    ui->pushButton_snap->setText(Wording("Photo"));
    ui->plainTextEdit_3->setPlainText(
        Wording("2. Click the <Start> buttonUse the left mouse button to select the pattern area of the stitching "
                "template,Aftercompleting the selection, press the <RightClick> key to complete the splicing."));
    ui->pushButton_setRoiRect->setText(Wording("Start"));
    ui->pushButton_back->setText(Wording("Previous"));
    ui->pushButton_confirm->setText(Wording("Confirm"));
    ui->pushButton_cancel->setText(Wording("Cancel"));
    ui->label_hintBar->setProperty("state", Wording("DualCamera_Flow_Step4"));
    Repolish(ui->label_hintBar);
}

void FusionWdg::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        RetranslateTexts();
    }
    QWidget::changeEvent(event);
}

void FusionWdg::showEvent(QShowEvent* event)
{
    LoadProgress();
    SaveProgress();
    FitButtonWidths(this);
    QWidget::showEvent(event);
}

void FusionWdg::hideEvent(QHideEvent* event)
{
    m_pCalibrateIns.reset();
    QWidget::hideEvent(event);
}

void FusionWdg::LoadProgress()
{
    const QString strFile = ProgressFile();
    if (ReadIniInt(g_pProgressSection, "PROGRESS", 0, strFile) != 0) {
        m_bFusionSuccess = ReadIniInt(g_pProgressSection, "FUSIONSUCCESS", 0, strFile) != 0;
    }
    if (m_bFusionSuccess) {
        ui->pushButton_confirm->setEnabled(true);
    }
}

void FusionWdg::SaveProgress()
{
    const ProgressBatch batch;
    const QString strFile = ProgressFile();
    WriteIniInt(g_pProgressSection, "PROGRESS", 2, strFile);
    WriteIniInt(g_pProgressSection, "FUSIONSUCCESS", m_bFusionSuccess ? 1 : 0, strFile);
}

// ---- The picture ----

cv::Mat FusionWdg::SnapOne(const QString& cameraName)
{
    return ::SnapOne(m_pCamera, cameraName, g_fusionSnapshot, *this);
}

void FusionWdg::ReportNoPicture()
{
    ui->pushButton_snap->setEnabled(true);
    ILog_WriteLog(1, "FusionWdg SnapOne empty!");
    ShowWarning(this, "TakePic fail!");
}

void FusionWdg::on_pushButton_snap_clicked()
{
    LogClicked("pushButton_snap");
    ui->pushButton_snap->setEnabled(false);
    const cv::Mat left = SnapOne(g_calibGlobalParam.strLeftCameraName);
    if (left.empty()) {
        ReportNoPicture();
        return;
    }
    const cv::Mat right = SnapOne(g_calibGlobalParam.strRightCameraName);
    if (right.empty()) {
        ReportNoPicture();
        return;
    }
    if (!KeepPictures(left, right)) {
        ui->pushButton_snap->setEnabled(true);
        ILog_WriteLog(1, "FusionWdg RectifyPic fail!");
        return;
    }
    if (!ShowBoth()) {
        ui->pushButton_snap->setEnabled(true);
        ILog_WriteLog(1, "FusionWdg RectifyPic empty!");
    }
}

bool FusionWdg::KeepPictures(const cv::Mat& left, const cv::Mat& right)
{
    if (m_nCameraType != 0) {
        return RectifyPic(left, right);
    }
    m_matLeft = left.clone();
    m_matRight = right.clone();
    return true;
}

bool FusionWdg::RectifyPic(const cv::Mat& left, const cv::Mat& right)
{
    if (!m_pCalibrateIns) {
        m_pCalibrateIns = std::make_unique<CalibrateTwoCameraIns>();
    }
    return m_pCalibrateIns->CalibImage(left, right, m_matLeft, m_matRight, !m_bUseResultMaps) == 0;
}

bool FusionWdg::ShowBoth()
{
    cv::Mat left;
    cv::Mat right;
    cv::Mat both;
    Pipeline::Guarded(g_pSnapClicked, -1, [&] {
        left = Upright(m_matLeft, m_nLeftRotate);
        right = Upright(m_matRight, m_nRightRotate);
        if (!left.empty() && left.rows == right.rows) {
            both = SideBySide(left, right);
        }
        return 0;
    });
    if (left.empty() || right.empty()) {
        return false;
    }
    if (left.rows != right.rows) {
        // Neither a notice nor the log, and the photo button stays shut: the page can only be left. This is meant.
        std::fputs("两张图片的高度不一致，无法拼接！\n", stderr);
        return true;
    }
    if (both.empty()) {
        return false;
    }
    ShowPicture(both);
    ui->pushButton_setRoiRect->setEnabled(true);
    ui->label_fusionHint->setVisible(false);
    m_pCountdownTimer->start();
    return true;
}

void FusionWdg::ShowPicture(const cv::Mat& picture)
{
    if (picture.empty()) {
        return;
    }
    m_matShown = picture.clone();
    const QPixmap pixmap = QPixmap::fromImage(Vision::MatToQImage(m_matShown));
    ui->label_cameraPic->SetImageSize(pixmap.width(), pixmap.height());
    ui->label_cameraPic->setAlignment(Qt::AlignCenter);
    ui->label_cameraPic->setPixmap(
        pixmap.scaled(ui->label_cameraPic->contentsRect().size(), Qt::KeepAspectRatio, Qt::FastTransformation));
}

void FusionWdg::TimeOutSlot()
{
    CountDown(s_nCountdown, *m_pCountdownTimer, *ui->pushButton_snap, "Photo");
}

// ---- The fit ----

void FusionWdg::on_pushButton_setRoiRect_clicked()
{
    LogClicked("pushButton_setRoiRect");
    ui->label_cameraPic->EnableDrawingSlots();
    ui->pushButton_setRoiRect->setEnabled(false);
}

void FusionWdg::DrawRoiEndingSlot()
{
    if (m_matLeft.empty() || m_matRight.empty()) {
        RefuseRegion("[Fusion]The left or right image is empty!");
        return;
    }
    const FusionRegion region = SplitAtSeam(ui->label_cameraPic->GetRoiRect(), ui->label_cameraPic->GetImageSize());
    if (region.pProblem) {
        RefuseRegion(region.pProblem);
        return;
    }
    const cv::Mat matches = Fit(region.left, region.right);
    if (m_matHomography.empty()) {
        ShowSplicingFailed();
        return;
    }
    ShowPicture(matches);
    m_bFusionSuccess = true;
    SaveProgress();
    // The label stays hidden; this is meant.
    ui->label_fusionHint->setText(Wording("Complete splicing"));
    ui->pushButton_setRoiRect->setEnabled(true);
    setEnabled(true);
    ui->pushButton_confirm->setEnabled(true);
}

cv::Mat FusionWdg::Fit(const cv::Rect& leftRoi, const cv::Rect& rightRoi)
{
    cv::Mat matches;
    const int nFitted = Pipeline::Guarded(g_pDrawRoiEnding, -1, [&] {
        using namespace Korvane::CameraCalibration;
        const ImageDirFlags flags(0, false, false);
        std::vector<cv::Point2f> first;
        std::vector<cv::Point2f> second;
        CalibrationMatchPointsForDualCam(m_matLeft, flags, leftRoi, m_matRight, flags, rightRoi, g_dMatchA, g_dMatchB,
                                         g_dMatchRatio, first, second);
        CreateMatchesImage(m_matLeft, flags, m_matRight, flags, first, second, matches);
        double dErrorPx = -1.0;
        CreateHomography(first, second, m_matHomography, dErrorPx, g_dThresholdPx, g_nIterations, g_dConfidence);
        return 0;
    });
    if (nFitted != 0) {
        m_matHomography = cv::Mat();
    }
    return matches;
}

void FusionWdg::RefuseRegion(const char* pProblem)
{
    // Armed anew, so that the operator can draw at once.
    ui->label_cameraPic->EnableDrawingSlots();
    ui->pushButton_setRoiRect->setEnabled(false);
    ILog_WriteLog(3, pProblem);
    ShowSplicingFailed();
}

void FusionWdg::ShowSplicingFailed()
{
    ShowNotice(g_pTooFewMatches, g_pSplicingFailed);
}

// ---- The way on ----

void FusionWdg::on_pushButton_confirm_clicked()
{
    LogClicked("pushButton_confirm");
    if (m_matHomography.empty()) {
        ShowWarning(this, g_pTooFewMatches, g_pSplicingFailed);
        return;
    }
    ILog_WriteLog(1, "FusionWdg SaveFiles!");
    const QString strFile = OutputFile(g_pHomographyFile);
    QDir().mkpath(OutputFile(""));
    const int nSaved = Pipeline::Guarded(g_pConfirmClicked, 0, [&] {
        return Korvane::CameraCalibration::SaveHomography(ToLocalBytes(strFile).toStdString(), m_matHomography) ? 1 : 0;
    });
    // The page goes on whatever came of it; this is meant.
    if (nSaved == 0) {
        LogNotWritten(strFile);
        // One of a run that broke off must not pass for this one's.
        QFile::remove(strFile);
    }
    // Whoever closes the host on the first signal takes this page along.
    const QPointer<FusionWdg> pAlive(this);
    if (m_bFusionOnly) {
        Publish();
        emit ExitWindowSignal();
    }
    if (pAlive) {
        emit nextWdgSignal();
    }
}

void FusionWdg::Publish()
{
    const char* const files[] = {"cameraL_calibrateMap.xml", "cameraR_calibrateMap.xml", g_pHomographyFile};
    QDir().mkpath(ResultFile(""));
    for (const char* const pFile : files) {
        QFile::remove(ResultFile(pFile));
    }
    for (const char* const pFile : files) {
        if (!QFile::copy(OutputFile(pFile), ResultFile(pFile))) {
            LogNotWritten(ResultFile(pFile));
        }
    }
    WriteIniInt(Pipeline::strCameraParamSection, "CAMERA_TYPE", m_nCameraType, ResultFile("CameraParam.ini"));
    QDir(OutputFile("")).removeRecursively();
}

void FusionWdg::on_pushButton_back_clicked()
{
    LogClicked("pushButton_back");
    emit backWdgSignal();
}

void FusionWdg::on_pushButton_cancel_clicked()
{
    LogClicked("pushButton_cancel");
    emit CloseWindowSignal();
}
