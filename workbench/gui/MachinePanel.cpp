#include "MachinePanel.h"

#include "ChartPanel.h"
#include "PanelScroll.h"
#include "SimulatedDevice.h"
#include "Texts.h"

#include <QCheckBox>
#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>

#include <limits>

namespace Workbench
{

namespace
{

constexpr double g_dScalePitchMm = 100.0;
constexpr double g_dScaleArmMm = 5.0;

/// Crosses at every whole 100 mm, to hold the shown coordinates against.
std::vector<Simulator::EngravedLine> ScaleCrosses(const cv::Size2d& areaMm)
{
    std::vector<Simulator::EngravedLine> lines;
    for (int nRow = 1; nRow * g_dScalePitchMm < areaMm.height; ++nRow) {
        for (int nCol = 1; nCol * g_dScalePitchMm < areaMm.width; ++nCol) {
            const cv::Point2d p(nCol * g_dScalePitchMm, nRow * g_dScalePitchMm);
            lines.push_back({{p.x - g_dScaleArmMm, p.y}, {p.x + g_dScaleArmMm, p.y}});
            lines.push_back({{p.x, p.y - g_dScaleArmMm}, {p.x, p.y + g_dScaleArmMm}});
        }
    }
    return lines;
}

} // namespace

MachinePanel::MachinePanel(SimulatedDevice& device, bool bCamerasAreSimulated, QWidget* pParent)
    : QWidget(pParent), m_device(device), m_pState(new QLabel), m_pPlace(new QPushButton), m_pEngrave(new QPushButton),
      m_pScale(new QPushButton), m_pSeedLabel(new QLabel), m_pSeed(new QSpinBox), m_pSwap(new QPushButton),
      m_pLightLabel(new QLabel), m_pLight(new QSlider(Qt::Horizontal)), m_pLeftPlug(new QCheckBox),
      m_pRightPlug(new QCheckBox), m_bCamerasAreSimulated(bCamerasAreSimulated), m_jobs("Simulated machine")
{
    Build();
    Retranslate();
    // Told from any thread.
    connect(&m_device, &SimulatedDevice::StateChangedSignal, this, &MachinePanel::ShowState, Qt::QueuedConnection);
}

MachinePanel::~MachinePanel() = default;

void MachinePanel::Build()
{
    m_pState->setObjectName("label_machineState");
    WrapIntoPanel(*m_pState);
    m_pPlace->setObjectName("pushButton_placeMaterial");
    m_pEngrave->setObjectName("pushButton_startEngraving");
    m_pScale->setObjectName("pushButton_engraveScale");
    m_pSeed->setObjectName("spinBox_seed");
    m_pSeed->setRange(0, std::numeric_limits<int>::max());
    m_pSeed->setValue(static_cast<int>(std::min<std::uint64_t>(m_device.GetState().nSeed, m_pSeed->maximum())));
    m_pSwap->setObjectName("pushButton_swapMachine");
    m_pLight->setObjectName("slider_light");
    m_pLight->setRange(0, 150);
    m_pLight->setValue(100);
    m_pLeftPlug->setObjectName("checkBox_leftCamera");
    m_pRightPlug->setObjectName("checkBox_rightCamera");
    for (QCheckBox* const pPlug : {m_pLeftPlug, m_pRightPlug}) {
        pPlug->setChecked(true);
    }

    auto* const pLayout = new QGridLayout(this);
    pLayout->addWidget(m_pState, 0, 0, 1, 2);
    pLayout->addWidget(m_pPlace, 1, 0, 1, 2);
    pLayout->addWidget(m_pEngrave, 2, 0, 1, 2);
    pLayout->addWidget(m_pScale, 3, 0, 1, 2);
    pLayout->addWidget(m_pLightLabel, 4, 0);
    pLayout->addWidget(m_pLight, 4, 1);
    pLayout->addWidget(m_pLeftPlug, 5, 0, 1, 2);
    pLayout->addWidget(m_pRightPlug, 6, 0, 1, 2);
    pLayout->addWidget(m_pSeedLabel, 7, 0);
    pLayout->addWidget(m_pSeed, 7, 1);
    pLayout->addWidget(m_pSwap, 8, 0, 1, 2);
    if (m_bCamerasAreSimulated && m_device.Kind() == Simulator::Machine::Kind::Manual) {
        m_pChart = new ChartPanel(m_device);
        pLayout->addWidget(m_pChart, 9, 0, 1, 2);
        connect(m_pChart, &ChartPanel::ChartChangedSignal, this, &MachinePanel::BedChangedSignal);
    }
    pLayout->setRowStretch(10, 1);

    connect(m_pPlace, &QPushButton::clicked, this, [this] { Run([this] { m_device.PlaceMaterial(); }); });
    connect(m_pEngrave, &QPushButton::clicked, this, [this] {
        // Nobody holds a chart in the laser's way.
        m_device.TakeChartAway();
        Run([this] { m_device.StartEngraving(); });
    });
    connect(m_pScale, &QPushButton::clicked, this,
            [this] { Run([this] { m_device.EngraveLines(ScaleCrosses(m_device.WorkAreaMm())); }); });
    connect(m_pSwap, &QPushButton::clicked, this, [this] {
        Run([this, nSeed = static_cast<std::uint64_t>(m_pSeed->value())] { m_device.SwapMachine(nSeed); });
    });
    connect(m_pLight, &QSlider::valueChanged, this, [this](int nPercent) {
        m_device.SetLight(nPercent / 100.0);
        Retranslate();
        emit BedChangedSignal();
    });
    connect(m_pLeftPlug, &QCheckBox::toggled, this, [this](bool bOn) {
        m_device.SetPlugged(Simulator::Side::Left, bOn);
        emit BedChangedSignal();
    });
    connect(m_pRightPlug, &QCheckBox::toggled, this, [this](bool bOn) {
        m_device.SetPlugged(Simulator::Side::Right, bOn);
        emit BedChangedSignal();
    });
}

void MachinePanel::Run(std::function<void()> job)
{
    if (++m_nJobs == 1) {
        emit BusySignal(true);
    }
    ShowState();
    m_jobs.Post([this, job = std::move(job)] {
        job();
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (--m_nJobs == 0) {
                    emit BusySignal(false);
                }
                ShowState();
                emit BedChangedSignal();
            },
            Qt::QueuedConnection);
    });
}

void MachinePanel::ShowState()
{
    const SimulatedDevice::State state = m_device.GetState();
    QString strText;
    if (state.bBusy) {
        strText = Wording("Engraving");
    } else if (state.strPattern.isEmpty()) {
        strText = Wording("No pattern was sent to this machine yet.");
    } else if (state.bEngraved) {
        strText =
            Wording("%1: %2 of %3 lines are engraved.").arg(state.strPattern).arg(state.nEngraved).arg(state.nLines);
    } else {
        strText = Wording("%1: %2 lines wait for the start.").arg(state.strPattern).arg(state.nLines);
    }
    m_pState->setText(strText);
    const bool bFree = m_nJobs == 0 && !state.bBusy;
    m_pEngrave->setEnabled(bFree && !state.strPattern.isEmpty());
    m_pEngrave->setToolTip(state.strPattern.isEmpty() ? Wording("No pattern was sent to this machine yet.")
                                                      : QString());
    for (QPushButton* const pButton : {m_pPlace, m_pScale, m_pSwap}) {
        pButton->setEnabled(bFree);
    }
    if (m_pChart) {
        m_pChart->ShowState();
    }
    const QString strReason =
        m_bCamerasAreSimulated ? QString() : Wording("The cameras are your own: CameraSetting.ini names them.");
    for (QWidget* const pWidget : std::initializer_list<QWidget*>{m_pLight, m_pLeftPlug, m_pRightPlug}) {
        pWidget->setEnabled(m_bCamerasAreSimulated);
        pWidget->setToolTip(strReason);
    }
}

void MachinePanel::Retranslate()
{
    m_pPlace->setText(Wording("Place fresh material"));
    m_pEngrave->setText(Wording("Start engraving"));
    m_pScale->setText(Wording("Engrave a cross every 100 mm"));
    m_pSeedLabel->setText(Wording("Seed"));
    m_pSwap->setText(Wording("Swap the machine"));
    m_pLightLabel->setText(Wording("Light: %1 %").arg(m_pLight->value()));
    m_pLeftPlug->setText(Wording("Left camera is plugged in"));
    m_pRightPlug->setText(Wording("Right camera is plugged in"));
    ShowState();
}

void MachinePanel::changeEvent(QEvent* pEvent)
{
    QWidget::changeEvent(pEvent);
    if (pEvent->type() == QEvent::LanguageChange) {
        Retranslate();
    }
}

} // namespace Workbench
