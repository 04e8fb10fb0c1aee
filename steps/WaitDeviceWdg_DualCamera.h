#pragma once

// The page that waits while the machine engraves. It asks no machine: the operator's word is the only signal, and going
// on is always possible. Writes nothing.

#include <QWidget>

namespace Ui
{
class WaitDeviceWdg_DualCamera;
}

class WaitDeviceWdg_DualCamera : public QWidget
{
    Q_OBJECT

public:
    /// @param kind  0 waits for the fusion pattern, anything else for the pattern of crosses
    explicit WaitDeviceWdg_DualCamera(int kind, QWidget* parent = nullptr);
    ~WaitDeviceWdg_DualCamera() override;

signals:
    void backWdgSignal();
    void nextWdgSignal();
    void cancelWdgSignal();

public slots:
    void on_pushButton_back_clicked();
    void on_pushButton_next_clicked();
    void on_pushButton_cancel_clicked();
    /// 0 for the manual flow.
    void SetCameraType(int iCameraType);

protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void RetranslateTexts();
    void RetranslateSteps();
    void InitStepPicture();

    Ui::WaitDeviceWdg_DualCamera* ui;
    int m_nWaitKind;
    int m_nCameraType = 0;
};
