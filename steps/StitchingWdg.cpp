#include "StitchingWdg.h"

#include "ui_StitchingWdg.h"

#include "CrossPtsDetectDllR.h"
#include "FileStore.h"
#include "FisheyeCalibrationDllR.h"
#include "GreyCopy.h"
#include "ImageConversion.h"
#include "LibraryLoader.h"
#include "Log.h"
#include "Notice.h"
#include "PageParts.h"
#include "PictureMemory.h"
#include "PipelineGuard.h"
#include "PointFiles.h"
#include "ScratchBuffer.h"
#include "Snapshot.h"

#include <opencv2/imgcodecs.hpp>

#include <QEvent>
#include <QFile>
#include <QPointer>
#include <QTimer>

#include <algorithm>

namespace
{

constexpr const char* g_pCameraStitch = "StitchingWdg::CameraStitch";
constexpr const char* g_pStitchClicked = "StitchingWdg::on_pushButton_Stitch_clicked";

// No machine's picture comes near this.
constexpr std::size_t g_nMaxStitchedBytes = std::size_t{2} << 30;

// Of the stitch button, shared by all objects of the class; this is meant.
int g_nStitchCountdown = g_nCountdownStart;

QString ResultFile(const char* pFile)
{
    return GetCalibrationRootPath() + Pipeline::strResultFolder + pFile;
}

QString TempFile(const char* pFile)
{
    return GetCalibrationRootPath() + Pipeline::strScratchFolder + "Temp/" + pFile;
}

QString StitchFile()
{
    return ResultFile("AutoDualCalibrate_stitch.xml");
}

void WriteStitchParam(const char* pKey, int nValue)
{
    WriteIniInt(Pipeline::strCameraParamSection, pKey, nValue, StitchFile());
}

/// False, with a log line in the words of the side, for a file that is no picture.
bool ReadPicture(const char* pFile, const char* pSide, PictureBuffer& buffer, unsigned char*& pPixels, long& nWidth,
                 long& nHeight, int& nBits)
{
    pPixels = nullptr;
    if (!Read_Image(buffer.Pixels(), nWidth, nHeight, nBits, QStringToUtf8(TempFile(pFile)).constData())) {
        ILog_WriteLogF(3, "%s, Filded to read %s Image !", g_pCameraStitch, pSide);
        return false;
    }
    pPixels = buffer.Pixels();
    // Made as the calibration makes it, and not used.
    ScratchBuffer grey;
    Pipeline::GreyCopy(pPixels, nWidth, nHeight, nBits, grey);
    return true;
}

} // namespace

StitchingWdg::StitchingWdg(QWidget* parent)
    : QWidget(parent), ui(std::make_unique<Ui::StitchingWdg>()), m_pTimer(new QTimer(this))
{
    ui->setupUi(this);
    m_pTimer->setInterval(1000);
    connect(m_pTimer, &QTimer::timeout, this, &StitchingWdg::TimeOutSlot);
    ui->pushButton_confirm->setEnabled(false);
    SetTexts();
    m_pCamera = LoadCamera();
    ui->graphicsView->UpdateHintText("Stitch");
}

StitchingWdg::~StitchingWdg()
{
    m_pTimer->stop();
    if (m_pCamera) {
        ReleaseModule(m_pCamera);
    }
}

void StitchingWdg::SetTexts()
{
    ui->label_Stitch->setText(Wording("Stitch"));
    ui->plainTextEdit->setPlainText(
        Wording("Click the [Stitch] button to automatically align the left and right camera images. After stitching, "
                "click [OK] to finalize the dual-camera calibration."));
    ui->pushButton_Stitch->setText(Wording("Stitch"));
    ui->pushButton_back->setText(Wording("Previous step"));
    ui->pushButton_confirm->setText(Wording("Ok"));
    ui->pushButton_cancel->setText(Wording("Cancel"));
}

void StitchingWdg::SetStepTexts()
{
    if (m_nCameraType != 0) {
        SetAutomaticStepTexts({ui->toolButton_Step1, ui->toolButton_Step2, ui->toolButton_Step3, ui->toolButton_Step4,
                               ui->toolButton_Step5});
    } else {
        SetManualStepTexts({ui->toolButton_Step1, ui->toolButton_Step2, ui->toolButton_Step3, ui->toolButton_Step4});
    }
}

void StitchingWdg::SetCameraType(int nType)
{
    m_nCameraType = nType;
    WriteStitchParam("CAMERA_TYPE", nType);
    if (nType != 0) {
        SetStepEnable({ui->toolButton_Step1, ui->label_Step1, ui->toolButton_Step2, ui->label_Step2,
                       ui->toolButton_Step3, ui->label_Step3, ui->toolButton_Step4, ui->label_Step4,
                       ui->toolButton_Step5},
                      true);
        ui->pushButton_confirm->setText(Wording("Ok"));
    } else {
        // `label_Step1` is left alone; this is meant.
        SetStepEnable({ui->toolButton_Step1, ui->toolButton_Step2, ui->label_Step2, ui->toolButton_Step3}, true);
        SetStepEnable({ui->label_Step3, ui->toolButton_Step4}, false);
        ui->label_Step3->setVisible(true);
        ui->toolButton_Step4->setVisible(true);
    }
    SetStepTexts();
    Repolish({ui->toolButton_Step1, ui->label_Step1, ui->toolButton_Step2, ui->label_Step2, ui->toolButton_Step3,
              ui->label_Step3, ui->toolButton_Step4, ui->label_Step4, ui->toolButton_Step5});
    WriteStitchParam("AUTO_CALIBRATION", nType != 0 ? 1 : 0);
}

void StitchingWdg::changeEvent(QEvent* pEvent)
{
    if (pEvent->type() == QEvent::LanguageChange) {
        SetTexts();
        SetStepTexts();
        if (!ui->graphicsView->HasPicture()) {
            ui->graphicsView->UpdateHintText("Stitch");
        }
    }
    QWidget::changeEvent(pEvent);
}

void StitchingWdg::showEvent(QShowEvent* pEvent)
{
    FitButtonWidths(this);
    QWidget::showEvent(pEvent);
}

void StitchingWdg::on_pushButton_Stitch_clicked()
{
    // In the words of another page's button; this is meant.
    ILog_WriteLog(0, "pushButton_takePic was clicked.");
    ui->pushButton_Stitch->setEnabled(false);
    ui->pushButton_confirm->setEnabled(true);
    // Whoever closes the host while a notice stands takes this page along.
    const QPointer<StitchingWdg> pAlive(this);
    if (CameraStitch() != 0) {
        ShowNotice("Failed to fusion!");
        if (pAlive) {
            ui->pushButton_Stitch->setEnabled(true);
        }
        ILog_WriteLogF(1, "%s, The function CameraStitch() is faild.", g_pStitchClicked);
        return;
    }
    cv::Mat stitched;
    Pipeline::Guarded(g_pStitchClicked, -1, [&] {
        stitched = cv::imread(TempFile("DImage.bmp").toStdString(), cv::IMREAD_COLOR);
        return 0;
    });
    if (stitched.empty()) {
        ShowNotice("The fusion image is empty!");
        if (pAlive) {
            ui->pushButton_Stitch->setEnabled(true);
        }
        ILog_WriteLogF(1, "%s, The fusion image is empty.", g_pStitchClicked);
        return;
    }
    const bool bFirst = !ui->graphicsView->HasPicture();
    m_pixStitch = QPixmap::fromImage(Vision::MatToQImage(stitched));
    ui->graphicsView->SetPicture(m_pixStitch);
    if (bFirst) {
        ShowWholePicture(*ui->graphicsView, m_pixStitch.size());
    }
    m_pTimer->start();
}

int StitchingWdg::CameraStitch()
{
    return Pipeline::Guarded(g_pCameraStitch, 1, [this] { return TryCameraStitch(); });
}

bool StitchingWdg::ReadPictures()
{
    if (!ReadPicture("DualCamBeforeCalibrate_LeftTemp.bmp", "left", m_leftBuffer, m_pLeftData, m_nLeftWidth,
                     m_nLeftHeight, m_nLeftBits) ||
        !ReadPicture("DualCamBeforeCalibrate_RightTemp.bmp", "right", m_rightBuffer, m_pRightData, m_nRightWidth,
                     m_nRightHeight, m_nRightBits)) {
        return false;
    }
    // Only the depths are compared, not the sizes; this is meant.
    if (m_nLeftBits != m_nRightBits) {
        ILog_WriteLogF(1, "%s, The depth of the left and right images is inconsistent. !", g_pCameraStitch);
        return false;
    }
    return true;
}

// What cannot be loaded or stitched is not detected here: the module gets what was read, and what it leaves is stored
// and shown. This is meant.
int StitchingWdg::TryCameraStitch()
{
    if (!ReadPictures()) {
        return 1;
    }
    FishEyeCalibrationParam leftParam;
    FishEyeCalibrationParam rightParam;
    LoadCalibrationParam(ToLocalBytes(ResultFile("L_AutoDualCalibrate.xml")).constData(), leftParam);
    LoadCalibrationParam(ToLocalBytes(ResultFile("R_AutoDualCalibrate.xml")).constData(), rightParam);
    GetCalPtsSeqFile(ResultFile("LeftCalPts.txt"), ResultFile("RightCalPts.txt"), m_vecLeft, m_vecRight);

    long nOutWidth = 0;
    long nOutHeight = 0;
    int nOutBits = 24;
    ComputeStitchedImageSize(m_pLeftData, m_nLeftWidth, m_nLeftHeight, m_nLeftBits, leftParam, m_vecLeft, m_pRightData,
                             m_nRightWidth, m_nRightHeight, m_nRightBits, rightParam, m_vecRight, nOutWidth, nOutHeight,
                             nOutBits);
    // The module may report another depth than the picture is then painted and stored with.
    const std::size_t nBytes = Pipeline::PictureBytes(nOutWidth, nOutHeight, std::max(nOutBits, m_nLeftBits));
    if (nBytes > g_nMaxStitchedBytes) {
        ILog_WriteLogF(3, "%s: the module wants a stitched picture of %ld x %ld pixels", g_pCameraStitch, nOutWidth,
                       nOutHeight);
        return 1;
    }
    ScratchBuffer stitched;
    unsigned char* const pStitched = stitched.Reserve(nBytes);
    if (pStitched) {
        ZeroPicture(pStitched, nBytes);
    }
    DualFishEyeCalibrationParam dualParam;
    if (!FishEyeImageStitching(m_pLeftData, m_nLeftWidth, m_nLeftHeight, m_nLeftBits, leftParam, m_vecLeft,
                               m_pRightData, m_nRightWidth, m_nRightHeight, m_nRightBits, rightParam, m_vecRight,
                               pStitched, nOutWidth, nOutHeight, m_nLeftBits, dualParam)) {
        ILog_WriteLogF(3, "%s: the stitching failed", g_pCameraStitch);
    }

    WriteStitchParam("AUTO_CALIBRATION_OUTPUT_HEIGHT", static_cast<int>(nOutHeight));
    WriteStitchParam("AUTO_CALIBRATION_OUTPUT_WIDTH", static_cast<int>(nOutWidth));
    WriteStitchParam("AUTO_CALIBRATION_OUTPUT_STITCHEDIMAGE_BIT", m_nLeftBits);
    SaveDualCamerasCalibrationParam(ToLocalBytes(ResultFile("DualCamerasCalibrationParam.ini")).constData(), dualParam);
    const QString strPicture = TempFile("DImage.bmp");
    if (!Save_Image(pStitched, nOutWidth, nOutHeight, m_nLeftBits, QStringToUtf8(strPicture).constData())) {
        // The picture of an earlier run is never shown as the result of this one.
        ILog_WriteLogF(3, "%s: %s cannot be written", g_pCameraStitch, QStringToUtf8(strPicture).constData());
        QFile::remove(strPicture);
    }
    return 0;
}

bool StitchingWdg::GetCalPtsSeqFile(const QString& strLeftFile, const QString& strRightFile,
                                    std::vector<CalibrationPoint>& left, std::vector<CalibrationPoint>& right)
{
    return ReadPointFiles(strLeftFile, strRightFile, left, right, "StitchingWdg::GetCalPtsSeqFile");
}

bool StitchingWdg::CheckPointCounts()
{
    const auto agrees = [](const QList<QPointF>& world, const std::vector<CalibrationPoint>& marks,
                           const char* pNotice) {
        const bool bAgrees = static_cast<std::size_t>(world.size()) == marks.size();
        if (!bAgrees) {
            ShowNotice(pNotice, "Warning");
        }
        return bAgrees;
    };
    if (!agrees(m_listLeftWorld, m_vecLeft,
                "Left Camera Coordinate count does not match actual count! Please verify again.") ||
        !agrees(m_listRightWorld, m_vecRight,
                "Right Camera Coordinate count does not match actual count! Please verify again.")) {
        return false;
    }
    const auto fill = [](const QList<QPointF>& world, std::vector<CalibrationPoint>& marks) {
        std::transform(marks.begin(), marks.end(), world.begin(), marks.begin(),
                       [](CalibrationPoint mark, const QPointF& point) {
                           mark.fWorldX = static_cast<float>(point.x());
                           mark.fWorldY = static_cast<float>(point.y());
                           mark.fWorldZ = 0.0f;
                           return mark;
                       });
    };
    fill(m_listLeftWorld, m_vecLeft);
    fill(m_listRightWorld, m_vecRight);
    return true;
}

cv::Mat StitchingWdg::SnapOne(const QString& strCameraName)
{
    return ::SnapOne(m_pCamera, strCameraName, g_stitchingSnapshot, *this);
}

void StitchingWdg::TimeOutSlot()
{
    CountDown(g_nStitchCountdown, *m_pTimer, *ui->pushButton_Stitch, "Stitch");
}

void StitchingWdg::on_pushButton_confirm_clicked()
{
    // Worded like this; it is meant.
    ILog_WriteLog(0, "on_pushButton_confirm_clicked was clicken.");
    const QPointer<StitchingWdg> pAlive(this);
    ShowNotice("Adjusting success!");
    if (pAlive) {
        emit ExitWindowSignal();
    }
}

void StitchingWdg::on_pushButton_back_clicked()
{
    ui->pushButton_confirm->setEnabled(true);
    LogClicked("pushButton_back");
    emit backWdgSignal();
}

void StitchingWdg::on_pushButton_cancel_clicked()
{
    LogClicked("pushButton_cancel");
    emit CloseWindowSignal();
}
