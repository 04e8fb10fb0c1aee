#pragma once

// The chart of discs in a person's hand, for a simulated machine of the manual flow: each press holds it otherwise, and
// the next picture of the cameras shows it. Part of the machine's panel. GUI thread.

#include <QWidget>

#include <vector>

class QCheckBox;
class QLabel;
class QPushButton;

namespace Simulator
{
enum class Side;
struct ChartPose;
} // namespace Simulator

namespace Workbench
{

class SimulatedDevice;

class ChartPanel : public QWidget
{
    Q_OBJECT

public:
    /// @param device  must outlive the panel
    explicit ChartPanel(SimulatedDevice& device, QWidget* pParent = nullptr);

    /// What the device says of the chart; to be called when its state has changed.
    void ShowState();

signals:
    /// The cameras see something else now.
    void ChartChangedSignal();

protected:
    void changeEvent(QEvent* pEvent) override;

private:
    void Build();
    void Retranslate();
    void NextPose(Simulator::Side side);
    void Hold(const Simulator::ChartPose& pose);
    QString StateText() const;

    SimulatedDevice& m_device;
    QLabel* m_pState;
    QPushButton* m_pLeft;
    QPushButton* m_pRight;
    QPushButton* m_pTilt;
    QPushButton* m_pTurn;
    QCheckBox* m_pOutOfView;
    QPushButton* m_pAway;
    std::vector<QWidget*> m_vecHeldOnly; ///< make sense while the chart is held
};

} // namespace Workbench
