#pragma once

// The page on which the operator says where the pattern goes, by a machine of the list or by the size of a piece of
// material, and sends it to the machine. Publishes the grid by signals before it is sent, keeps it in the progress
// file, and lets the operator go on once the machine has taken it. The upload task runs on the progress dialog's thread
// while the GUI thread waits, reads the grid, the size of a cross and the host, and touches no widget.

#include "ThreadDialog.h"

#include <QList>
#include <QMap>
#include <QPointF>
#include <QSizeF>
#include <QStringList>
#include <QWidget>

class IDeviceHost;
struct IErrCodeMgr;

namespace Ui
{
class HandEyePicSetWdg;
}

class HandEyePicSetWdg : public QWidget, public IThreadDialogOwner
{
    Q_OBJECT

public:
    /// @param pDeviceHost  not owned, may be null: nothing can be sent then
    explicit HandEyePicSetWdg(QWidget* parent = nullptr, IDeviceHost* pDeviceHost = nullptr);
    ~HandEyePicSetWdg() override;

    /// 0 for the manual flow.
    void SetCameraType(int nType);
    /// Keeps the back button disabled from the next show on.
    void SetBackLocked(bool bLocked) { m_bLockBack = bLocked; }

    /// Task 0 sends the pattern and answers the machine's status, 1011 for success; others answer 1 and do nothing.
    int ThreadDialog_ThreadRun(int nTask, void* pData) override;
    int Reserved2(int nFirst) override;
    int Reserved3(int nFirst, void* pSecond, void* pThird) override;
    double Reserved4(int nFirst) override;

signals:
    /// The grid, machine millimetres, row after row.
    void SendListPtSignal(QList<QPointF> listPt);
    /// Size of one cross, millimetres.
    void SendFlagSizeSignal(QSizeF flagSize);
    void cancelWdgSignal();
    void backWdgSignal();
    void nextWdgSignal();

protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private slots:
    void InitCombobox();
    void on_pushButton_upload_clicked();
    void on_pushButton_back_clicked();
    void on_pushButton_confirm_clicked();
    void on_pushButton_cancel_clicked();
    void on_spinBox_width_editingFinished();
    void on_spinBox_height_editingFinished();
    void on_radioButton_workingFormat_clicked(bool checked);
    void on_radioButton_meterialSize_clicked(bool checked);
    void on_comboBox_models_currentIndexChanged(int index);

private:
    void RetranslateTexts();
    void InitStepPicture();
    void ShowMode(bool bWorkingFormat);
    QStringList CurrentSubModel() const;
    /// Whether the machine can work on so large a piece; shows the notice where not.
    bool FitsCanvas(QSize canvasMm, QSize materialMm) const;
    /// The grid of the chosen mode; empty, after a notice, where it has none.
    QList<QPointF> ChosenGrid() const;
    int SendFileToDevices();
    void SaveProgress();
    void SaveGridNumbers();
    void LoadProgress();

    Ui::HandEyePicSetWdg* ui;
    QList<QPointF> m_listPt;
    QSizeF m_flagSize{30.0, 30.0};
    IErrCodeMgr* m_pErrCodeMgr = nullptr;
    bool m_bUploaded = false;
    QMap<QString, QStringList> m_mapSubModel;
    QMap<QString, QStringList> m_mapModel;
    IDeviceHost* m_pDeviceHost;
    bool m_bLockBack = false;
    int m_nCameraType = 0;
};
