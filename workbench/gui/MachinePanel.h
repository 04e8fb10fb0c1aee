#pragma once

// The simulated machine's own front: what a person does at a machine, and what its display shows. All work goes to a
// thread of the panel's own, since the machine may be busy with a picture.

#include "JobThread.h"

#include <QWidget>

class QCheckBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QSlider;
class QSpinBox;

namespace Workbench
{

class ChartPanel;
class SimulatedDevice;

class MachinePanel : public QWidget
{
    Q_OBJECT

public:
    /// @param device  must outlive the panel
    /// @param bCamerasAreSimulated  else light and plugs are those of a person's own cameras and cannot be worked here
    MachinePanel(SimulatedDevice& device, bool bCamerasAreSimulated, QWidget* pParent = nullptr);
    ~MachinePanel() override;

    /// A job that the panel has started is not done yet.
    bool IsBusy() const { return m_nJobs > 0; }

signals:
    /// What the cameras see has changed.
    void BedChangedSignal();
    void BusySignal(bool bBusy);

protected:
    void changeEvent(QEvent* pEvent) override;

private:
    void Build();
    void Retranslate();
    void ShowState();
    void Run(std::function<void()> job);

    SimulatedDevice& m_device;
    QLabel* m_pState;
    QPushButton* m_pPlace;
    QPushButton* m_pEngrave;
    QPushButton* m_pScale;
    QLabel* m_pSeedLabel;
    QSpinBox* m_pSeed;
    QPushButton* m_pSwap;
    QLabel* m_pLightLabel;
    QSlider* m_pLight;
    QCheckBox* m_pLeftPlug;
    QCheckBox* m_pRightPlug;
    ChartPanel* m_pChart = nullptr; ///< manual machine with simulated cameras only
    const bool m_bCamerasAreSimulated;
    int m_nJobs = 0;
    JobThread m_jobs; ///< last: its end waits for a job that works on the machine
};

} // namespace Workbench
