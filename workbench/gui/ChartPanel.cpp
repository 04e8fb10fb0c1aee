#include "ChartPanel.h"

#include "PanelScroll.h"
#include "SimulatedDevice.h"
#include "Texts.h"

#include <QCheckBox>
#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>

namespace Workbench
{

using Simulator::ChartPose;
using Simulator::Side;

ChartPanel::ChartPanel(SimulatedDevice& device, QWidget* pParent)
    : QWidget(pParent), m_device(device), m_pState(new QLabel), m_pLeft(new QPushButton), m_pRight(new QPushButton),
      m_pTilt(new QPushButton), m_pTurn(new QPushButton), m_pOutOfView(new QCheckBox),
      m_pAway(new QPushButton), m_vecHeldOnly{m_pTilt, m_pTurn, m_pOutOfView, m_pAway}
{
    Build();
    Retranslate();
}

void ChartPanel::Build()
{
    m_pState->setObjectName("label_chartState");
    WrapIntoPanel(*m_pState);
    // A window of its own is no higher than it began; a longer text must not take the buttons' room.
    m_pState->setMinimumHeight(2 * fontMetrics().lineSpacing());
    m_pLeft->setObjectName("pushButton_chartLeft");
    m_pRight->setObjectName("pushButton_chartRight");
    m_pTilt->setObjectName("pushButton_chartTilt");
    m_pTurn->setObjectName("pushButton_chartTurn");
    m_pOutOfView->setObjectName("checkBox_chartOutOfView");
    m_pAway->setObjectName("pushButton_chartAway");

    auto* const pLayout = new QGridLayout(this);
    pLayout->setContentsMargins(0, 0, 0, 0);
    pLayout->addWidget(m_pState, 0, 0, 1, 2);
    pLayout->addWidget(m_pLeft, 1, 0, 1, 2);
    pLayout->addWidget(m_pRight, 2, 0, 1, 2);
    pLayout->addWidget(m_pTilt, 3, 0);
    pLayout->addWidget(m_pTurn, 3, 1);
    pLayout->addWidget(m_pOutOfView, 4, 0, 1, 2);
    pLayout->addWidget(m_pAway, 5, 0, 1, 2);

    connect(m_pLeft, &QPushButton::clicked, this, [this] { NextPose(Side::Left); });
    connect(m_pRight, &QPushButton::clicked, this, [this] { NextPose(Side::Right); });
    connect(m_pTilt, &QPushButton::clicked, this, [this] {
        if (auto pose = m_device.GetState().chart) {
            ++pose->nTilt;
            Hold(*pose);
        }
    });
    connect(m_pTurn, &QPushButton::clicked, this, [this] {
        if (auto pose = m_device.GetState().chart) {
            pose->nTurns = (pose->nTurns + 1) % 4;
            Hold(*pose);
        }
    });
    connect(m_pOutOfView, &QCheckBox::toggled, this, [this](bool bOn) {
        if (auto pose = m_device.GetState().chart) {
            pose->bOutOfView = bOn;
            Hold(*pose);
        }
    });
    connect(m_pAway, &QPushButton::clicked, this, [this] {
        m_device.TakeChartAway();
        ShowState();
        emit ChartChangedSignal();
    });
}

void ChartPanel::NextPose(Side side)
{
    const std::optional<ChartPose> held = m_device.GetState().chart;
    ChartPose next;
    next.side = side;
    next.nPose = held && held->side == side ? held->nPose + 1 : 0;
    Hold(next);
}

void ChartPanel::Hold(const ChartPose& pose)
{
    m_device.HoldChart(pose);
    ShowState();
    emit ChartChangedSignal();
}

QString ChartPanel::StateText() const
{
    const std::optional<ChartPose> held = m_device.GetState().chart;
    if (!held) {
        return Wording("Nobody holds the calibration chart.");
    }
    const QString strText = held->side == Side::Left ? Wording("The chart is held under the left camera, pose %1.")
                                                     : Wording("The chart is held under the right camera, pose %1.");
    return strText.arg(held->nPose + 1);
}

void ChartPanel::ShowState()
{
    const std::optional<ChartPose> held = m_device.GetState().chart;
    m_pState->setText(StateText());
    for (QWidget* const pWidget : m_vecHeldOnly) {
        pWidget->setEnabled(held.has_value());
    }
    const QSignalBlocker quiet(m_pOutOfView);
    m_pOutOfView->setChecked(held && held->bOutOfView);
}

void ChartPanel::Retranslate()
{
    m_pLeft->setText(Wording("Chart: next pose, left camera"));
    m_pRight->setText(Wording("Chart: next pose, right camera"));
    m_pTilt->setText(Wording("Tilt it"));
    m_pTurn->setText(Wording("Turn it by 90°"));
    m_pOutOfView->setText(Wording("Partly out of view"));
    m_pAway->setText(Wording("Take the chart away"));
    ShowState();
}

void ChartPanel::changeEvent(QEvent* pEvent)
{
    QWidget::changeEvent(pEvent);
    if (pEvent->type() == QEvent::LanguageChange) {
        Retranslate();
    }
}

} // namespace Workbench
