#include "CalibrateWdg.h"

#include "ui_CalibrateWdg.h"

#include "CameraPicture.h"
#include "CameraWorker.h"
#include "CaptureThread.h"
#include "CCameraCalibration.h"
#include "FileStore.h"
#include "Log.h"
#include "Notice.h"
#include "PageParts.h"

#include <QDir>
#include <QEvent>
#include <QPointer>
#include <QThread>

#include <algorithm>

namespace
{

/// What this page stores as the step reached.
constexpr int g_nProgressOfPage = 1;

int ReadProgressInt(const char* pKey, int nDefault)
{
    return ReadIniInt(g_pProgressSection, pKey, nDefault, ProgressFile());
}

/// The number of a camera's last picture. A damaged file names none that there can be.
int ReadLastPicIndex(const char* pKey, int nMost)
{
    const int nIndex = ReadProgressInt(pKey, 1);
    const int nUsed = std::clamp(nIndex, 1, nMost);
    if (nUsed != nIndex) {
        ILog_WriteLogF(2, "%s, %s of %s is %d, a picture's number is 1 to %d", "CalibrateWdg::LoadProgress", pKey,
                       ProgressFile().toUtf8().constData(), nIndex, nMost);
    }
    return nUsed;
}

} // namespace

CalibrateWdg::CalibrateWdg(QWidget* parent, IDeviceHost* pDeviceHost)
    : QWidget(parent), ui(std::make_unique<Ui::CalibrateWdg>()), m_strCurrentCamera(Wording("None")),
      m_strWantedCamera(Wording("None")), m_pDeviceHost(pDeviceHost)
{
    ui->setupUi(this);
    m_pSnapPicture = new CameraPicture(ui->label_snapPic);
    ui->widget_photoRange->installEventFilter(this);
    RetranslateTexts();
    ShowPicNum(m_nPicIndex - 1);
    BuildHints();
}

CalibrateWdg::~CalibrateWdg()
{
    StopCamera();
    if (m_pCameraThread && m_pCameraThread->isRunning()) {
        ILog_WriteLogF(2, "%s, the camera hangs, the page waits for it", "CalibrateWdg::~CalibrateWdg");
    }
    constexpr int nForEver = -1;
    EndCapture(m_pCameraThread, m_pCameraWorker, nForEver);
}

// ---- What the page shows ----

void CalibrateWdg::showEvent(QShowEvent* event)
{
    for (const int nStep : {1, 2}) {
        QDir().mkpath(ImageFolder(nStep));
    }
    m_nStepIndex = 1;
    m_nPicIndex = 1;
    ShowPicNum(m_nPicIndex - 1);
    ui->label_cameraPic->clear();
    m_pSnapPicture->Clear();
    LoadProgress();
    ui->label_picError->setText(Wording("picture"));
    RefreshStep();
    // Again, for the buttons that the step has just set.
    LoadProgress();
    FitButtonWidths(this);
    QWidget::showEvent(event);
}

void CalibrateWdg::hideEvent(QHideEvent* event)
{
    // A thread that ends late must not start a camera for a page that nobody sees.
    m_bSwitchAfterStop = false;
    if (m_pCameraThread) {
        StopCamera();
    }
    ui->label_cameraPic->clear();
    QWidget::hideEvent(event);
}

void CalibrateWdg::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        RetranslateTexts();
        ShowPicNum(m_nPicIndex - 1);
        BuildHints();
        if (isVisible()) {
            UpdateHints();
            UpdateStepLabels();
        }
    }
    QWidget::changeEvent(event);
}

bool CalibrateWdg::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui->widget_photoRange && event->type() == QEvent::Resize) {
        ShowSupplementary();
    }
    return QWidget::eventFilter(watched, event);
}

void CalibrateWdg::RetranslateTexts()
{
    ui->label_cameraCalibration->setText(Wording("Distortion calibration"));
    ui->plainTextEdit_rectifyExplain->setPlainText(
        Wording("Place the calibration chart in the position shown in the schematic diagram on the machine working "
                "surface, close the door cover and click the <Take a picture> button.It can be adjusted during taking "
                "a picture. Click the <Take a picture> button again, and the latest picture taking result will be "
                "displayed in the picture area.After taking a picture, click the <Next> button to switch."));
    ui->label_5->setText(Wording("Notes on taking pictures"));
    ui->label_2->setText(Wording("Schematic diagram"));
    ui->label_photoRange->setText(Wording("Left camera photo range"));
    ui->label_picError->setText(Wording("Picture"));
    ui->label->setText(Wording("Camera view"));
    ui->pushButton_snap->setText(Wording("Take a picture"));
    ui->pushButton_back->setText(Wording("Previous step"));
    ui->pushButton_next->setText(Wording("Next step"));
    ui->pushButton_backPic->setText(Wording("Previous picture"));
    ui->pushButton_nextPic->setText(Wording("Next picture"));
    ui->pushButton_rectify->setText(Wording("Calibrate"));
    ui->pushButton_cancel->setText(Wording("Cancel"));
}

void CalibrateWdg::ShowPicNum(int nPictures)
{
    ui->label_picNum->setText(Wording("Number of valid pictures: %1").arg(nPictures));
}

void CalibrateWdg::BuildHints()
{
    m_hints[HINT_PLACE] =
        Wording("Place the calibration chart as shown in the schematic diagram in the lower right area on the machine "
                "working surface, and then click the <Take a picture> button. It can be adjusted during taking a "
                "picture. Click the <Take a picture> button again, and the latest picture taking result will be "
                "displayed in the lower left area.After taking a picture, click the <Next> button to switch.");
    m_hints[HINT_HOLD] =
        Wording("Open the door cover, hold the calibration plate and click the <Take a picture> button.It can be "
                "adjusted during taking a picture. Click the <Take a picture> button again, and the latest picture "
                "taking result will be displayed in the lower left area.After taking a picture, click the <Next> "
                "button to switch.After the number of pictures reaches the required number for calibration, click the "
                "<Calibrate> button.");
    m_hints[HINT_ENOUGH] =
        Wording("The minimum number of photos required for distortion calibration has been reached.Click the "
                "<Calibrate> button to the next step.You can freely choose whether to take supplementary pictures - "
                "more complete coverage and rich postures help improve calibration accuracy.");
    m_hints[HINT_NOTES_PLACE] =
        Wording("When placing the calibration plate, the calibration chart is located in the center of the camera's "
                "perspective, and the small triangle is located in the upper left corner, pointing to the machine "
                "origin.When shooting, the calibration pattern should be clear, complete and unobstructed.If the laser "
                "head blocks the calibration chart, it should be moved out of the screen while operating the machine.");
    m_hints[HINT_NOTES_HOLD] =
        Wording("When holding the calibration plate, keep the pattern facing the camera and the paper surface should "
                "be flat with no obvious bend.If necessary, it can be attached to a thin wooden board.When placing the "
                "calibration plate can be rotated. Try to cover the entire range of the camera, and limit the number "
                "of pictures at 9 to 16.The calibration pattern in the picture should be clear, complete and "
                "unobstructed.");
    m_hints[HINT_NOTES_ENOUGH] =
        Wording("When taking pictures, you can freely adjust the distance, position and angle of the calibration plate "
                "to supplement previously uncovered areas.Keep the paper flat without obvious bends, and the number of "
                "valid pictures should be controlled at 9 to 16.The calibration pattern in the picture should be "
                "clear, complete and unobstructed.");
}

void CalibrateWdg::RefreshStep()
{
    ui->label_cameraPic->clear();
    ui->pushButton_snap->setEnabled(false);
    UpdateHints();
    UpdateStepLabels();
    UpdateButtons();
    SwitchCamera();
    ui->pushButton_snap->setEnabled(true);
}

void CalibrateWdg::UpdateHints()
{
    ui->label_picNum->show();
    const bool bEnough = m_nPicIndex > FEWEST_PICTURES;
    ui->plainTextEdit_rectifyExplain->setPlainText(m_hints[bEnough ? HINT_ENOUGH : HINT_HOLD]);
    ui->plainTextEdit_snapExplain->setPlainText(m_hints[bEnough ? HINT_NOTES_ENOUGH : HINT_NOTES_HOLD]);
}

void CalibrateWdg::UpdateStepLabels()
{
    const bool bLeft = m_nStepIndex == 1;
    ui->label_hintBar->setProperty("state", QString(bLeft ? "1" : "2"));
    ui->label_photoRange->setText(bLeft ? Wording("Left camera photo range") : Wording("Right camera photo range"));
    // Free poses, which all look alike, from the tenth picture on.
    ui->label_hintPic->setProperty("state", QString::number(std::min(m_nPicIndex, FEWEST_PICTURES + 1)));
    ui->label_photoRange->show();
    ui->label_supplementary->setVisible(m_nPicIndex >= FEWEST_PICTURES);
    ShowSupplementary();
    Repolish({ui->label_hintPic, ui->label_hintBar});
}

void CalibrateWdg::ShowSupplementary()
{
    if (ui->label_supplementary->isHidden()) {
        return;
    }
    const QString strText =
        Wording("Supplementary photo: You can freely adjust the distance, position and Angle of the calibration plate");
    ui->label_supplementary->setText(
        ui->label_supplementary->fontMetrics().elidedText(strText, Qt::ElideRight, ui->widget_photoRange->width()));
    ui->label_supplementary->setToolTip(strText);
}

void CalibrateWdg::UpdateButtons()
{
    ui->pushButton_back->hide();
    ui->pushButton_next->hide();
    ui->pushButton_backPic->show();
    ui->pushButton_backPic->setEnabled(m_nStepIndex != 1 || m_nPicIndex > 1);
    ui->pushButton_nextPic->show();
    ui->pushButton_nextPic->setEnabled(false);
    ui->pushButton_rectify->show();
    ui->pushButton_rectify->setEnabled(m_nPicIndex - 1 >= FEWEST_PICTURES);
}

// ---- From picture to picture ----

void CalibrateWdg::on_pushButton_nextPic_clicked()
{
    LogClicked("pushButton_nextPic");
    if (m_nPicIndex < MOST_PICTURES) {
        ++m_nPicIndex;
        ui->pushButton_nextPic->setEnabled(false);
        UpdateButtons();
        UpdateStepLabels();
        UpdateHints();
    }
    SaveProgress();
}

void CalibrateWdg::on_pushButton_backPic_clicked()
{
    LogClicked("pushButton_backPic");
    if (ui->pushButton_nextPic->isEnabled()) {
        // The picture in hand has just passed: it is to be shot again.
        ui->pushButton_nextPic->setEnabled(false);
    } else if (m_nPicIndex >= 1) {
        --m_nPicIndex;
        if (m_nPicIndex == 0) {
            m_nStepIndex = std::max(m_nStepIndex - 1, 1);
            m_nPicIndex = m_nLastPicIndexLeft;
            RefreshStep();
        }
    }
    UpdateButtons();
    ShowPicNum(m_nPicIndex - 1);
    UpdateStepLabels();
    UpdateHints();
    SaveProgress();
}

void CalibrateWdg::on_pushButton_back_clicked()
{
    LogClicked("pushButton_back");
    if (m_nStepIndex == 2) {
        m_nStepIndex = 1;
        m_nPicIndex = 1;
        RefreshStep();
        ShowPicNum(m_nPicIndex - 1);
    }
    SaveProgress();
}

void CalibrateWdg::on_pushButton_next_clicked()
{
    LogClicked("pushButton_next");
    SaveProgress();
}

void CalibrateWdg::on_pushButton_cancel_clicked()
{
    LogClicked("pushButton_cancel");
    emit CloseWindowSignal();
}

void CalibrateWdg::on_pushButton_rectify_clicked()
{
    LogClicked("pushButton_rectify");
    ui->pushButton_rectify->setEnabled(false);
    const bool bLeft = m_nStepIndex == 1;
    // Whoever closes the host while the dialog or a notice stands takes this page along.
    const QPointer<CalibrateWdg> pAlive(this);
    // Not worded here; this is meant.
    const int nResult = ThreadDialogRun(this, 0, nullptr, 0, "Processing...");
    if (nResult == 0) {
        ShowNotice("Camera Calibration success!");
    } else {
        ShowNotice(nResult == -2 || nResult == -3 ? "Upload fusion image failed!" : "Camera Calibration fail!");
    }
    if (!pAlive) {
        return;
    }
    if (nResult != 0) {
        ui->pushButton_rectify->setEnabled(true);
    } else if (bLeft) {
        LeftCameraDone();
    } else {
        RightCameraDone();
    }
}

void CalibrateWdg::LeftCameraDone()
{
    m_nStepIndex = 2;
    m_nLastPicIndexLeft = m_nPicIndex;
    m_nPicIndex = 1;
    m_nLastPicIndexRight = 1;
    ShowPicNum(m_nPicIndex - 1);
    RefreshStep();
    SaveProgress();
}

void CalibrateWdg::RightCameraDone()
{
    m_nLastPicIndexRight = m_nPicIndex;
    m_bNextAfterStop = true;
    m_bCalibSuccess = true;
    SaveProgress();
    // The page ends when the capture thread has; without one it does not, and this is meant.
    StopCamera();
}

// ---- Progress ----

void CalibrateWdg::SaveProgress()
{
    const ProgressBatch batch;
    const auto write = [](const char* pKey, int nValue) {
        WriteIniInt(g_pProgressSection, pKey, nValue, ProgressFile());
    };
    write("PROGRESS", g_nProgressOfPage);
    write("STEPINDEX", m_nStepIndex);
    write("LASTPICINDEXLEFT", m_nLastPicIndexLeft);
    write("LASTPICINDEXRIGHT", m_nLastPicIndexRight);
    write("PICINDEX", m_nPicIndex);
    write("CALIBSUCCESS", m_bCalibSuccess ? 1 : 0);
}

void CalibrateWdg::LoadProgress()
{
    const ProgressBatch batch;
    if (ReadProgressInt("PROGRESS", 0) == 0) {
        return;
    }
    // Other pages store steps of their own under the same key.
    m_nStepIndex = ReadProgressInt("STEPINDEX", 1) == 1 ? 1 : 2;
    m_nLastPicIndexLeft = ReadLastPicIndex("LASTPICINDEXLEFT", MOST_PICTURES);
    m_nLastPicIndexRight = ReadLastPicIndex("LASTPICINDEXRIGHT", MOST_PICTURES);
    // "PICINDEX" decides nothing; this is meant.
    m_nPicIndex = m_nStepIndex == 1 ? m_nLastPicIndexLeft : m_nLastPicIndexRight;
    ShowPicNum(m_nPicIndex - 1);
    ui->pushButton_rectify->setEnabled(m_nPicIndex - 1 >= FEWEST_PICTURES);
    ui->pushButton_nextPic->setEnabled(false);
    m_bCalibSuccess = ReadProgressInt("CALIBSUCCESS", 0) != 0;
}

QString CalibrateWdg::OutputFolder() const
{
    return GetCalibrationRootPath() + Wording("/Vision/calib/Camera_Two/Output/");
}

QString CalibrateWdg::ImageFolder(int nStep) const
{
    return OutputFolder() + (nStep == 1 ? Wording("L_images/") : Wording("R_images/"));
}
