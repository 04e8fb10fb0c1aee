#include "WaitDeviceWdg_DualCamera.h"

#include "ui_WaitDeviceWdg_DualCamera.h"

#include "PageParts.h"

#include <QEvent>

WaitDeviceWdg_DualCamera::WaitDeviceWdg_DualCamera(int kind, QWidget* parent)
    : QWidget(parent), ui(new Ui::WaitDeviceWdg_DualCamera), m_nWaitKind(kind)
{
    ui->setupUi(this);
    RetranslateTexts();
}

WaitDeviceWdg_DualCamera::~WaitDeviceWdg_DualCamera()
{
    delete ui;
}

void WaitDeviceWdg_DualCamera::on_pushButton_back_clicked()
{
    LogClicked("pushButton_back");
    emit backWdgSignal();
}

void WaitDeviceWdg_DualCamera::on_pushButton_next_clicked()
{
    LogClicked("pushButton_next");
    emit nextWdgSignal();
}

void WaitDeviceWdg_DualCamera::on_pushButton_cancel_clicked()
{
    LogClicked("pushButton_cancel");
    emit cancelWdgSignal();
}

void WaitDeviceWdg_DualCamera::SetCameraType(int iCameraType)
{
    m_nCameraType = iCameraType;
    const bool bManual = iCameraType == 0;
    SetStepEnable({ui->toolButton_Step1, ui->toolButton_Step2}, true);
    SetStepEnable({ui->label_Step2, ui->toolButton_Step3}, bManual);
    SetStepEnable({ui->label_Step3, ui->toolButton_Step4}, false);
    RetranslateSteps();
    if (bManual) {
        ui->label_Step3->show();
        ui->toolButton_Step4->show();
    } else {
        SetStepEnable({ui->label_Step1}, true);
        SetStepEnable({ui->label_Step4, ui->toolButton_Step5}, false);
        ui->pushButton_next->setText(Wording("Next step"));
    }
    Repolish({ui->toolButton_Step1, ui->label_Step1, ui->toolButton_Step2, ui->label_Step2, ui->toolButton_Step3,
              ui->label_Step3, ui->toolButton_Step4, ui->label_Step4, ui->toolButton_Step5});
}

void WaitDeviceWdg_DualCamera::showEvent(QShowEvent* /*event*/)
{
    FitButtonWidths(this);
    InitStepPicture();
}

void WaitDeviceWdg_DualCamera::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        RetranslateTexts();
        return;
    }
    QWidget::changeEvent(event);
}

void WaitDeviceWdg_DualCamera::RetranslateTexts()
{
    setWindowTitle(Wording("WaitDevice"));
    ui->label->setText(Wording("Pattern Engraving"));
    // Without the comma of the form's own text; this is meant.
    ui->plainTextEdit->setPlainText(Wording("Click the <Start> button on the machine and then click the <Next> button "
                                            "after the pattern engraving is completed."));
    ui->plainTextEdit->setReadOnly(true);
    ui->pushButton_back->setText(Wording("Previous step"));
    ui->pushButton_next->setText(Wording("Next step"));
    ui->pushButton_cancel->setText(Wording("Cancel"));
    RetranslateSteps();
}

// The manual flow has four steps; the fifth button keeps the form's text there, and this is meant.
void WaitDeviceWdg_DualCamera::RetranslateSteps()
{
    if (m_nCameraType == 0) {
        SetManualStepTexts({ui->toolButton_Step1, ui->toolButton_Step2, ui->toolButton_Step3, ui->toolButton_Step4});
        return;
    }
    SetAutomaticStepTexts(
        {ui->toolButton_Step1, ui->toolButton_Step2, ui->toolButton_Step3, ui->toolButton_Step4, ui->toolButton_Step5});
}

void WaitDeviceWdg_DualCamera::InitStepPicture()
{
    const bool bHandEye = m_nWaitKind != 0;
    // Worn by no widget: the theme picks the picture by the property "state". This is meant.
    static_cast<void>(StepPictureStyle("CoordinateStep3", bHandEye ? "Step6" : "Step3"));
    ui->label_calibratePicTwo->setProperty("state", bHandEye ? "HandEye" : "Fusion");
    Repolish(ui->label_calibratePicTwo);
}
