#include "HandEyePicSetWdg.h"

#include "ui_HandEyePicSetWdg.h"

#include "DeviceTypes.h"
#include "FileStore.h"
#include "IDeviceHost.h"
#include "IErrCodeMgr.h"
#include "LibraryLoader.h"
#include "Log.h"
#include "MicroLineBuilder.h"
#include "Notice.h"
#include "PageParts.h"
#include "PatternGrid.h"

#include <QEvent>
#include <QListView>
#include <QPointer>
#include <QSignalBlocker>
#include <QStandardItem>
#include <QStandardItemModel>

namespace
{

constexpr int UPLOADED = 1011;
constexpr int NO_MACHINE = 1001;
constexpr int NOT_ACCEPTED = 1016;
/// A machine of this kind refuses what is larger than its canvas.
constexpr int KIND_WITH_CANVAS = 2;
/// What this page stores as the last step reached.
constexpr int PROGRESS_OF_PAGE = 3;

constexpr const char* FIRST_INSTRUCTION =
    "1.Place the engraving material in the center of the machine's working area.\n"
    "2.Refer to the diagram on the left, measure the corresponding dimensional data and input the data below.";

// With no-break spaces around most of the marks.
constexpr const char* SECOND_INSTRUCTION =
    "1.Place the material at the center of the device's working area.\n"
    "2.If your device type is not listed, select <Material size>.Refer to the schematic diagram below to measure the "
    "dimensions and input them on the right(where\u00a0<L>\u00a0in the diagram indicates material length, "
    "and\u00a0<W>\u00a0indicates material width).\n"
    "3.After uploading the file, perform frame tracing on the device to check if the pattern is undersized / oversized "
    "/ offset.If adjustments are needed, modify the data and click the\u00a0<Upload>\u00a0button again.";

int ReadProgressInt(const char* pKey, int nDefault)
{
    return ReadIniInt(g_pProgressSection, pKey, nDefault, ProgressFile());
}

void WriteProgressInt(const char* pKey, int nValue)
{
    WriteIniInt(g_pProgressSection, pKey, nValue, ProgressFile());
}

/// The first so many of the points that were stored.
QList<QPointF> StoredPoints(long long nCount)
{
    QList<QPointF> points;
    if (nCount > g_nMaxGridPoints) {
        ILog_WriteLogF(2, "%s, %s asks for %lld points, which no pattern has", "HandEyePicSetWdg::LoadProgress",
                       ProgressFile().toUtf8().constData(), nCount);
        return points;
    }
    const auto coordinate = [](const char* pKey, int nIndex) {
        return ReadIniDouble(g_pProgressSection, QString(pKey).arg(nIndex), 0.0, ProgressFile());
    };
    for (int i = 0; i < nCount; ++i) {
        points.append(QPointF(coordinate("X%1", i), coordinate("Y%1", i)));
    }
    return points;
}

} // namespace

HandEyePicSetWdg::HandEyePicSetWdg(QWidget* parent, IDeviceHost* pDeviceHost)
    : QWidget(parent), ui(new Ui::HandEyePicSetWdg), m_pDeviceHost(pDeviceHost)
{
    ui->setupUi(this);
    RetranslateTexts();
    ui->comboBox_models->setView(new QListView(ui->comboBox_models));
    ui->comboBox_subModels->setView(new QListView(ui->comboBox_subModels));
    ui->pushButton_confirm->setEnabled(false);
    // Never given back: what is loaded here lives to the end of the process.
    m_pErrCodeMgr = static_cast<IErrCodeMgr*>(LoadModule("ErrCodeMgr", true, nullptr));
    ui->widget_meterialSize->hide();
    InitCombobox();
    ui->label_calibratePic->setProperty("Mode", "Default");
}

HandEyePicSetWdg::~HandEyePicSetWdg()
{
    delete ui;
}

void HandEyePicSetWdg::SetCameraType(int nType)
{
    m_nCameraType = nType;
    const bool bManual = nType == 0;
    SetStepEnable({ui->toolButton_Step1}, true);
    SetStepEnable({ui->label_Step1}, bManual);
    SetStepEnable({ui->toolButton_Step2}, bManual);
    SetStepEnable({ui->label_Step2, ui->toolButton_Step3, ui->label_Step3, ui->toolButton_Step4}, false);
    ui->pushButton_back->setVisible(bManual);
    if (bManual) {
        SetManualStepTexts({ui->toolButton_Step1, ui->toolButton_Step2, ui->toolButton_Step3, ui->toolButton_Step4});
        ui->toolButton_Step4->show();
        ui->label->setText(Wording("Coordinate calibration"));
        ui->plainTextEdit_2->setPlainText(Wording(FIRST_INSTRUCTION));
    } else {
        SetStepEnable({ui->label_Step4, ui->toolButton_Step5}, false);
        SetAutomaticStepTexts({ui->toolButton_Step1, ui->toolButton_Step2, ui->toolButton_Step3, ui->toolButton_Step4,
                               ui->toolButton_Step5});
        ui->pushButton_confirm->setText(Wording("Next step"));
        ui->label->setText(Wording("Instructions"));
        ui->plainTextEdit_2->setPlainText(Wording(SECOND_INSTRUCTION));
        ui->radioButton_meterialSize->hide();
        m_flagSize = QSizeF(40.0, 40.0);
    }
    Repolish({ui->toolButton_Step1, ui->label_Step1, ui->toolButton_Step2, ui->label_Step2, ui->toolButton_Step3,
              ui->label_Step3, ui->toolButton_Step4, ui->label_Step4, ui->toolButton_Step5});
}

int HandEyePicSetWdg::ThreadDialog_ThreadRun(int nTask, void* /*pData*/)
{
    return nTask == 0 ? SendFileToDevices() : 1;
}

int HandEyePicSetWdg::Reserved2(int /*nFirst*/)
{
    return -1;
}

int HandEyePicSetWdg::Reserved3(int /*nFirst*/, void* /*pSecond*/, void* /*pThird*/)
{
    return -1;
}

double HandEyePicSetWdg::Reserved4(int /*nFirst*/)
{
    return 0.0;
}

int HandEyePicSetWdg::SendFileToDevices()
{
    MicroLineDocument document;
    if (!FillMicroLine(document, m_listPt, m_flagSize.width())) {
        return NOT_ACCEPTED;
    }
    ILog_WriteLog(1, "[Upload calibratePic]SendFileToDevices start!");
    IDeviceChannel* const pChannel = m_pDeviceHost ? m_pDeviceHost->GetChannel() : nullptr;
    if (!pChannel || pChannel->GetBusy() != 0) {
        DeleteMicroLine(document);
        return NO_MACHINE;
    }
    // All below the document is the host's from here on.
    m_pDeviceHost->PutMicroLine(0, &document, "TwoCalib.kv");
    return m_pDeviceHost->RunCommand("SendCalibrateFile", QVariant());
}

void HandEyePicSetWdg::showEvent(QShowEvent* event)
{
    ui->pushButton_back->setEnabled(!m_bLockBack);
    LoadProgress();
    SaveProgress();
    FitButtonWidths(this);
    QWidget::showEvent(event);
}

void HandEyePicSetWdg::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        RetranslateTexts();
        return;
    }
    QWidget::changeEvent(event);
}

// In camera type 1 the step bar keeps its texts, the instruction is the first one and the button reads "Ok" again; this
// is meant.
void HandEyePicSetWdg::RetranslateTexts()
{
    ui->label->setText(Wording("Coordinate calibration"));
    ui->plainTextEdit_2->setPlainText(Wording(FIRST_INSTRUCTION));
    ui->radioButton_workingFormat->setText(Wording("Working Format"));
    ui->label_4->setText(Wording("Device Type"));
    ui->label_8->setText(Wording("Start pos X:   "));
    ui->label_12->setText(Wording("Start pos Y: "));
    ui->label_2->setText(Wording("Material length:"));
    ui->label_3->setText(Wording("Material width:"));
    ui->pushButton_upload->setText(Wording("Upload"));
    ui->pushButton_back->setText(Wording("Previous step"));
    ui->pushButton_cancel->setText(Wording("Cancel"));
    if (m_nCameraType == 1) {
        ui->pushButton_confirm->setText(Wording("Ok"));
        return;
    }
    ui->radioButton_meterialSize->setText(Wording("Meterial Size"));
    ui->pushButton_confirm->setText(Wording("Next step"));
    SetAutomaticStepTexts(
        {ui->toolButton_Step1, ui->toolButton_Step2, ui->toolButton_Step3, ui->toolButton_Step4, ui->toolButton_Step5});
}

void HandEyePicSetWdg::InitCombobox()
{
    {
        const QSignalBlocker blockModels(ui->comboBox_models);
        const QSignalBlocker blockSubModels(ui->comboBox_subModels);
        ui->comboBox_models->clear();
        ui->comboBox_subModels->clear();
    }
    if (!ReadDeviceTypes(GetInstallResourcePath() + "/Vision/calib/DeviceType.json", m_mapSubModel, m_mapModel)) {
        return;
    }
    ui->comboBox_models->addItems(m_mapModel.keys());
    if (ui->comboBox_models->count() > 0) {
        ui->comboBox_models->setCurrentIndex(0);
    }
    InitStepPicture();
}

void HandEyePicSetWdg::on_comboBox_models_currentIndexChanged(int index)
{
    ILog_WriteLog(0, "comboBox_models was changed.");
    auto* const pModel = qobject_cast<QStandardItemModel*>(ui->comboBox_subModels->model());
    pModel->clear();
    const QStringList subModels = m_mapModel.value(m_mapModel.keys().value(index));
    for (const QString& strSubModel : subModels) {
        pModel->appendRow(new QStandardItem(strSubModel));
    }
    ui->comboBox_subModels->setCurrentIndex(0);
}

void HandEyePicSetWdg::InitStepPicture()
{
    // Worn by no widget: the theme picks the picture by the property "Mode". This is meant.
    static_cast<void>(StepPictureStyle("CoordinateStep1", "Step5"));
}

void HandEyePicSetWdg::on_radioButton_workingFormat_clicked(bool /*checked*/)
{
    LogClicked("radioButton_workingFormat");
    ShowMode(true);
}

void HandEyePicSetWdg::on_radioButton_meterialSize_clicked(bool /*checked*/)
{
    LogClicked("radioButton_meterialSize");
    ShowMode(false);
}

void HandEyePicSetWdg::ShowMode(bool bWorkingFormat)
{
    ui->label_calibratePic->setProperty("Mode", bWorkingFormat ? "Default" : "Custom");
    Repolish(ui->label_calibratePic);
    ui->widget_workingFormat->setVisible(bWorkingFormat);
    ui->widget_meterialSize->setVisible(!bWorkingFormat);
}

QStringList HandEyePicSetWdg::CurrentSubModel() const
{
    return m_mapSubModel.value(ui->comboBox_subModels->currentText());
}

bool HandEyePicSetWdg::FitsCanvas(QSize canvasMm, QSize materialMm) const
{
    // Without a host there is nothing to compare with, and sending answers that no machine is there.
    if (!m_pDeviceHost || m_pDeviceHost->GetDeviceKind() != KIND_WITH_CANVAS ||
        (canvasMm.width() >= materialMm.width() && canvasMm.height() >= materialMm.height())) {
        return true;
    }
    ShowNoticeText(Wording("The current working area of the device(%1, %2) is smaller than the material size. Please "
                           "re-enter the appropriate material size or modify the working area of the device within the "
                           "manufacturer's parameters.")
                       .arg(canvasMm.width())
                       .arg(canvasMm.height()));
    return false;
}

QList<QPointF> HandEyePicSetWdg::ChosenGrid() const
{
    const bool bWorkingFormat = ui->radioButton_workingFormat->isChecked();
    const QSize canvasMm = CanvasMm();
    const QStringList subModel = CurrentSubModel();
    if (bWorkingFormat && subModel.isEmpty()) {
        ShowNotice("Please select a device type first!");
        return {};
    }
    const QSize materialMm = bWorkingFormat ? QSize(DeviceNumber(subModel, DEVICE_X), DeviceNumber(subModel, DEVICE_Y))
                                            : QSize(ui->spinBox_width->value(), ui->spinBox_height->value());
    if (!FitsCanvas(canvasMm, materialMm)) {
        return {};
    }
    QList<QPointF> points = GridPoints(bWorkingFormat ? MachineGrid(subModel) : MaterialGrid(canvasMm, materialMm));
    if (points.isEmpty()) {
        ShowNotice("The selected device type has no valid pattern!");
    }
    return points;
}

void HandEyePicSetWdg::on_pushButton_upload_clicked()
{
    LogClicked("pushButton_upload");
    ui->pushButton_upload->setEnabled(false);
    ui->pushButton_confirm->setEnabled(false);
    ILog_WriteLog(1, "[Upload calibratePic]Upload calibratePic file start!");
    m_listPt.clear();

    // Whoever closes the host while a notice or the dialog stands takes this page along.
    const QPointer<HandEyePicSetWdg> pAlive(this);
    const QList<QPointF> points = ChosenGrid();
    if (!pAlive) {
        return;
    }
    if (points.isEmpty()) {
        ui->pushButton_upload->setEnabled(true);
        return;
    }
    m_listPt = points;
    ILog_WriteLog(1, "[Upload calibratePic]SendListPtSignal start!");
    emit SendListPtSignal(m_listPt);
    ILog_WriteLog(1, "[Upload calibratePic]SendFlagSizeSignal start!");
    emit SendFlagSizeSignal(m_flagSize);
    ILog_WriteLog(1, "[Upload calibratePic]CreateMicroLine start!");
    // Not worded here; this is meant.
    const int nStatus = ThreadDialogRun(this, 0, nullptr, 0, "Processing...");
    if (pAlive && m_pErrCodeMgr) {
        m_pErrCodeMgr->ShowStatus(nStatus, 0);
    }
    if (!pAlive) {
        return;
    }
    ui->pushButton_upload->setEnabled(true);
    if (nStatus == UPLOADED) {
        ui->pushButton_confirm->setEnabled(true);
        m_bUploaded = true;
        SaveProgress();
    }
}

void HandEyePicSetWdg::on_pushButton_back_clicked()
{
    LogClicked("pushButton_back");
    emit backWdgSignal();
}

void HandEyePicSetWdg::on_pushButton_confirm_clicked()
{
    LogClicked("pushButton_confirm");
    emit nextWdgSignal();
}

void HandEyePicSetWdg::on_pushButton_cancel_clicked()
{
    LogClicked("pushButton_cancel");
    emit cancelWdgSignal();
}

void HandEyePicSetWdg::on_spinBox_width_editingFinished()
{
    ILog_WriteLog(0, "spinBox_width was editing finished.");
    SaveProgress();
}

void HandEyePicSetWdg::on_spinBox_height_editingFinished()
{
    ILog_WriteLog(0, "spinBox_height was editing finished.");
    SaveProgress();
}

void HandEyePicSetWdg::SaveProgress()
{
    const ProgressBatch batch;
    WriteProgressInt("PROGRESS", PROGRESS_OF_PAGE);
    WriteProgressInt("UPLOADSUCCESS", m_bUploaded ? 1 : 0);
    WriteProgressInt("WIDTH", ui->spinBox_width->value());
    WriteProgressInt("HEIGHT", ui->spinBox_height->value());
    if (!m_bUploaded) {
        return;
    }
    WriteIniDouble(g_pProgressSection, "sizeW", m_flagSize.width(), ProgressFile());
    WriteIniDouble(g_pProgressSection, "sizeH", m_flagSize.height(), ProgressFile());
    WriteProgressInt("STEPINDEX", PROGRESS_OF_PAGE);
    SaveGridNumbers();
    for (int i = 0; i < m_listPt.size(); ++i) {
        WriteIniDouble(g_pProgressSection, QString("X%1").arg(i), m_listPt[i].x(), ProgressFile());
        WriteIniDouble(g_pProgressSection, QString("Y%1").arg(i), m_listPt[i].y(), ProgressFile());
    }
}

// From the list also where the material's size gave the grid; this is meant.
void HandEyePicSetWdg::SaveGridNumbers()
{
    const QStringList subModel = CurrentSubModel();
    int nRows = DeviceNumber(subModel, DEVICE_ROW);
    int nCols = DeviceNumber(subModel, DEVICE_COL);
    if (subModel.isEmpty()) {
        if (ui->radioButton_workingFormat->isChecked()) {
            ILog_WriteLogF(2, "%s, no device type is selected, the stored rows and columns stay",
                           "HandEyePicSetWdg::SaveProgress");
            return;
        }
        nRows = g_nMaterialRows;
        nCols = g_nMaterialCols;
    }
    const bool bSingle = m_nCameraType == 1 && !subModel.isEmpty();
    WriteProgressInt("Row", nRows);
    WriteProgressInt("Col", nCols);
    WriteProgressInt("RowForSingleCamera", bSingle ? DeviceNumber(subModel, DEVICE_ROW_SINGLE) : nRows);
    WriteProgressInt("ColForSingleCamera", bSingle ? DeviceNumber(subModel, DEVICE_COL_SINGLE) : nCols);
}

void HandEyePicSetWdg::LoadProgress()
{
    const ProgressBatch batch;
    if (ReadProgressInt("PROGRESS", 0) == 0) {
        return;
    }
    m_bUploaded = ReadProgressInt("UPLOADSUCCESS", 0) != 0;
    if (m_bUploaded) {
        // What one camera sees, not the whole grid; this is meant.
        m_listPt = StoredPoints(static_cast<long long>(ReadProgressInt("RowForSingleCamera", -1)) *
                                ReadProgressInt("ColForSingleCamera", -1));
        emit SendListPtSignal(m_listPt);
        emit SendFlagSizeSignal(m_flagSize);
        ui->pushButton_confirm->setEnabled(true);
    }
    ui->spinBox_width->setValue(ReadProgressInt("WIDTH", 0));
    ui->spinBox_height->setValue(ReadProgressInt("HEIGHT", 0));
}
