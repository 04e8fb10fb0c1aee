#include "HandEyeAdjustWdg.h"

#include "ui_HandEyeAdjustWdg.h"

#include "CalibGlobalParam.h"
#include "CalibrateTwoCameraIns.h"
#include "FileStore.h"
#include "ImageConversion.h"
#include "Log.h"
#include "Notice.h"
#include "PageParts.h"
#include "Snapshot.h"

#include <QEvent>
#include <QPointer>
#include <QTimer>

namespace
{

/// What this page stores as the last step reached.
constexpr int g_nProgressOfPage = 5;

constexpr const char* g_pTakePic = "HandEyeAdjustWdg::on_pushButton_takePic_clicked";

// Of the photo button, shared by all objects of the class; this is meant.
int s_nPhotoCountdown = g_nCountdownStart;

} // namespace

HandEyeAdjustWdg::HandEyeAdjustWdg(QWidget* parent)
    : QWidget(parent), ui(std::make_unique<Ui::HandEyeAdjustWdg>()), m_pTimer(new QTimer(this))
{
    ui->setupUi(this);
    RetranslateTexts();
    m_pCamera = LoadCamera();
    m_pTimer->setInterval(1000);
    connect(m_pTimer, &QTimer::timeout, this, &HandEyeAdjustWdg::TimeOutSlot);
    ui->graphicsView->setMouseTracking(true);
    ui->graphicsView->viewport()->installEventFilter(this);
    ui->pushButton_confirm->setEnabled(false);
}

HandEyeAdjustWdg::~HandEyeAdjustWdg()
{
    m_pTimer->stop();
}

void HandEyeAdjustWdg::SetListPt(QList<QPointF> listPt)
{
    m_listPt = std::move(listPt);
}

void HandEyeAdjustWdg::SetCameraType(int nType)
{
    m_nCameraType = nType;
}

// ---- The page ----

void HandEyeAdjustWdg::RetranslateTexts()
{
    ui->label_coorAlignment->setText(Wording("Coordinate calibration"));
    ui->label_Coord->setText(Wording("Coordinates:(0,0)"));
    ui->label_tips->setText(Wording("Tips"));
    ui->plainTextEdit->setPlainText(
        Wording("Please click the <Take a picture> button to get the photo.Complete eighteen coordinate records in the "
                "order shown in the picture above.Double-click to add cross positioning, hold down and drag to "
                "fine-tune the position.Click the <+> button to record and click the <-> button to delete the latest "
                "record.After completing all records, click the <Confirm> button to coordinate calibration."));
    const QString strZoom =
        Wording("Turn the mouse wheel to zoom. Hold the right button down and drag to move the picture.");
    ui->label->setToolTip(strZoom);
    ui->plainTextEdit->setToolTip(strZoom);
    ui->pushButton_takePic->setText(Wording("Photo"));
    ui->pushButton_back->setText(Wording("Previous step"));
    ui->pushButton_confirm->setText(Wording("Ok"));
    ui->pushButton_cancel->setText(Wording("Cancel"));
}

void HandEyeAdjustWdg::changeEvent(QEvent* pEvent)
{
    if (pEvent->type() != QEvent::LanguageChange) {
        QWidget::changeEvent(pEvent);
        return;
    }
    RetranslateTexts();
    RefreshCoordList();
    if (!ui->graphicsView->HasPicture()) {
        ui->graphicsView->UpdateHintText("Photo");
    }
}

void HandEyeAdjustWdg::showEvent(QShowEvent* pEvent)
{
    m_pCalibrate.reset();
    LoadProgress();
    WriteIniInt(g_pProgressSection, "PROGRESS", g_nProgressOfPage, ProgressFile());
    FitButtonWidths(this);
    InitStepPicture();
    QWidget::showEvent(pEvent);
}

void HandEyeAdjustWdg::LoadProgress()
{
    const QString strFile = ProgressFile();
    if (ReadIniInt(g_pProgressSection, "PROGRESS", 0, strFile) != g_nProgressOfPage) {
        return;
    }
    const auto read = [&](const QString& strKey, double dDefault) {
        return ReadIniDouble(g_pProgressSection, strKey, dDefault, strFile);
    };
    QList<QPointF> points;
    for (int i = 0; i < g_nHandEyeMarks; ++i) {
        for (const char* const pKey : {"X%1", "Y%1"}) {
            const QString strKey = QString(pKey).arg(i);
            if (ReadIniString(g_pProgressSection, strKey, "", strFile).isEmpty()) {
                ILog_WriteLogF(2, "HandEyeAdjustWdg::LoadProgress, %s of %s is missing, the cross counts as lying at 0",
                               QStringToUtf8(strKey).constData(), QStringToUtf8(strFile).constData());
            }
        }
        points << QPointF(read(QString("X%1").arg(i), 0.0), read(QString("Y%1").arg(i), 0.0));
    }
    emit SendListPtSignal(points);
    emit SendFlagSizeSignal(QSizeF(read("sizeW", 30.0), read("sizeH", 30.0)));
}

void HandEyeAdjustWdg::InitStepPicture()
{
    ui->label_hintBar->setStyleSheet(StepPictureStyle("CoordinateStep4", "Step7"));
}

bool HandEyeAdjustWdg::eventFilter(QObject* pWatched, QEvent* pEvent)
{
    if (pWatched == ui->graphicsView->viewport() && pEvent->type() == QEvent::MouseMove) {
        ShowLastCrossPos(*ui->graphicsView, *ui->label_Coord);
    }
    return QWidget::eventFilter(pWatched, pEvent);
}

void HandEyeAdjustWdg::on_pushButton_back_clicked()
{
    LogClicked("pushButton_back");
    emit backWdgSignal();
}

void HandEyeAdjustWdg::on_pushButton_cancel_clicked()
{
    LogClicked("pushButton_cancel");
    emit CloseWindowSignal();
}

// ---- The picture ----

cv::Mat HandEyeAdjustWdg::SnapOne(const QString& strCameraName)
{
    return ::SnapOne(m_pCamera, strCameraName, g_handEyeSnapshot, *this);
}

void HandEyeAdjustWdg::on_pushButton_takePic_clicked()
{
    LogClicked("pushButton_takePic");
    ui->pushButton_takePic->setEnabled(false);
    // Whoever closes the host while a notice stands takes this page along.
    const QPointer<HandEyeAdjustWdg> pAlive(this);
    const auto giveUp = [&](const char* pNotice) {
        ShowNotice(pNotice);
        if (pAlive) {
            ui->pushButton_takePic->setEnabled(true);
        }
    };
    const cv::Mat left = SnapOne(g_calibGlobalParam.strLeftCameraName);
    if (!pAlive) {
        return;
    }
    if (left.empty()) {
        giveUp("Camera-Left grab failed!");
        return;
    }
    const cv::Mat right = SnapOne(g_calibGlobalParam.strRightCameraName);
    if (!pAlive) {
        return;
    }
    if (right.empty()) {
        giveUp("Camera-Right grab failed!");
        return;
    }
    if (!m_pCalibrate) {
        m_pCalibrate = std::make_unique<CalibrateTwoCameraIns>();
    }
    cv::Mat fused;
    if (m_pCalibrate->CalibAndFusionImage(left, right, fused, true) != 0) {
        giveUp("Fusion images failed!");
        ILog_WriteLogF(1, "%s, Failed to CalibFusionImage.", g_pTakePic);
        return;
    }
    if (fused.empty()) {
        giveUp("The fusion image is empty!");
        ILog_WriteLogF(1, "%s, The fusion image is empty.", g_pTakePic);
        return;
    }
    const bool bFirst = !ui->graphicsView->HasPicture();
    m_pixmap = QPixmap::fromImage(Vision::MatToQImage(fused));
    ui->graphicsView->SetPicture(m_pixmap);
    if (bFirst) {
        ShowWholePicture(*ui->graphicsView, m_pixmap.size());
    }
    m_pTimer->start();
}

void HandEyeAdjustWdg::TimeOutSlot()
{
    CountDown(s_nPhotoCountdown, *m_pTimer, *ui->pushButton_takePic, "Photo");
}

// ---- The marks ----

void HandEyeAdjustWdg::on_pushButton_AddCoord_clicked()
{
    LogClicked("pushButton_AddCoord");
    if (m_listCoord.size() == g_nHandEyeMarks) {
        ShowNotice("Coordinate selection reaches the upper limit.");
        return;
    }
    if (!ui->graphicsView->HasPicture()) {
        ShowNotice("Please obtain picture first!");
        return;
    }
    if (!ui->graphicsView->HasPendingCross()) {
        ShowNotice("Please double-click on the image to add coordinates.");
        return;
    }
    const QPoint position = ui->graphicsView->GetLastCrossPos();
    if (IsOutside(position, m_pixmap.size())) {
        ShowNotice("Selected coordinates exceed the range.");
        return;
    }
    m_listCoord << position;
    ui->graphicsView->SetLastCrossMovable(false);
    ui->graphicsView->RemoveHintPicture();
    RefreshCoordList();
}

void HandEyeAdjustWdg::on_pushButton_RemoveCoord_clicked()
{
    LogClicked("pushButton_RemoveCoord");
    if (m_listCoord.isEmpty()) {
        // A pending cross stays then; this is meant.
        return;
    }
    if (TakeNewestCrossBack(*ui->graphicsView)) {
        m_listCoord.removeLast();
    }
    RefreshCoordList();
}

void HandEyeAdjustWdg::RefreshCoordList()
{
    ui->listWidget_Coord->clear();
    for (int i = 0; i < m_listCoord.size(); ++i) {
        ui->listWidget_Coord->addItem(Wording("Coordinate") +
                                      QString("%1: %2,%3").arg(i + 1).arg(m_listCoord[i].x()).arg(m_listCoord[i].y()));
        ui->listWidget_Coord->scrollToBottom();
    }
    // Nothing here disables it when the number falls; this is meant.
    if (m_listCoord.size() >= g_nHandEyeMarks) {
        ui->pushButton_confirm->setEnabled(true);
    }
}

void HandEyeAdjustWdg::on_listWidget_Coord_itemDoubleClicked(QListWidgetItem* item)
{
    ILog_WriteLog(0, "listWidget_Coord item was double clicked.");
    ShowMarkOfRow(*ui->graphicsView, *ui->listWidget_Coord, *item);
}
