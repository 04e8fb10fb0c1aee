#include "WorkbenchWindow.h"

#include "AreaView.h"
#include "DataFolder.h"
#include "Failure.h"
#include "FolderRoom.h"
#include "LanguageBox.h"
#include "LivePicture.h"
#include "Log.h"
#include "LogPane.h"
#include "MachineDock.h"
#include "MachinePanel.h"
#include "PictureMaker.h"
#include "Texts.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QDockWidget>
#include <QGroupBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QStatusBar>
#include <QVBoxLayout>
#include <QWindow>

namespace Workbench
{

WorkbenchWindow::WorkbenchWindow(HostSession& session, const QString& strPlugin)
    : m_session(session), m_strPlugin(strPlugin), m_pView(new AreaView), m_pPicture(new LivePicture(this)),
      m_pMachine(new MachinePanel(session.Device(), session.Cameras() == CameraOwner::SimulatedMachine)),
      m_pLog(new LogPane), m_pLanguage(new LanguageBox), m_pNotice(new QLabel), m_pCoordinates(new QLabel),
      m_pStage(new QLabel), m_pProgress(new QProgressBar)
{
    setObjectName("WorkbenchWindow");
    m_pNotice->setObjectName("label_notice");
    m_pNotice->setWordWrap(true);
    m_pNotice->setMargin(6);
    m_pNotice->hide();
    m_pView->setObjectName("areaView");
    auto* const pCentre = new QWidget;
    auto* const pLayout = new QVBoxLayout(pCentre);
    pLayout->setContentsMargins(0, 0, 0, 0);
    pLayout->setSpacing(0);
    pLayout->addWidget(m_pNotice);
    pLayout->addWidget(m_pView, 1);
    setCentralWidget(pCentre);
    BuildDocks();
    BuildStatusBar();
    Retranslate();
    Connect();
    resize(QSize(1280, 860).boundedTo(screen()->availableSize() * 0.95));
}

WorkbenchWindow::~WorkbenchWindow()
{
    // The wizard and its pages use the session's device.
    delete m_pRun;
}

QWidget* WorkbenchWindow::BuildControls()
{
    auto* const pControls = new QWidget;
    auto* const pLayout = new QVBoxLayout(pControls);

    m_pWizardBox = new QGroupBox;
    auto* const pWizard = new QVBoxLayout(m_pWizardBox);
    const char* const names[] = {"pushButton_calibration", "pushButton_coordinate", "pushButton_fusion"};
    for (std::size_t i = 0; i < m_openings.size(); ++i) {
        m_openings[i] = new QPushButton;
        m_openings[i]->setObjectName(names[i]);
        pWizard->addWidget(m_openings[i]);
    }
    pLayout->addWidget(m_pWizardBox);

    m_pPictureBox = new QGroupBox;
    auto* const pPicture = new QVBoxLayout(m_pPictureBox);
    m_pLive = new QCheckBox;
    m_pLive->setObjectName("checkBox_live");
    m_pLive->setChecked(true);
    m_pRefresh = new QPushButton;
    m_pRefresh->setObjectName("pushButton_refresh");
    m_pFit = new QPushButton;
    m_pFit->setObjectName("pushButton_fit");
    m_pClearMarks = new QPushButton;
    m_pClearMarks->setObjectName("pushButton_clearMarks");
    for (QWidget* const pWidget : std::initializer_list<QWidget*>{m_pLive, m_pRefresh, m_pFit, m_pClearMarks}) {
        pPicture->addWidget(pWidget);
    }
    pLayout->addWidget(m_pPictureBox);

    m_pLanguagePlace = new QVBoxLayout;
    m_pLanguagePlace->addWidget(m_pLanguage);
    pLayout->addLayout(m_pLanguagePlace);
    pLayout->addStretch();
    return pControls;
}

void WorkbenchWindow::BuildDocks()
{
    const auto add = [this](const char* pName, QWidget* pContent, Qt::DockWidgetArea area) {
        auto* const pDock = new QDockWidget;
        pDock->setObjectName(pName);
        pDock->setFeatures(QDockWidget::NoDockWidgetFeatures);
        pDock->setWidget(pContent);
        addDockWidget(area, pDock);
        return pDock;
    };
    m_pControlDock = add("dock_controls", BuildControls(), Qt::RightDockWidgetArea);
    m_pMachineDock = new MachineDock(m_pMachine);
    addDockWidget(Qt::RightDockWidgetArea, m_pMachineDock);
    m_pLogDock = add("dock_log", m_pLog, Qt::BottomDockWidgetArea);
    // The groups and the log name themselves.
    for (QDockWidget* const pDock : {m_pControlDock, m_pLogDock}) {
        pDock->setTitleBarWidget(new QWidget(pDock));
    }
    setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
    resizeDocks({m_pLogDock}, {160}, Qt::Vertical);
}

void WorkbenchWindow::BuildStatusBar()
{
    m_pCoordinates->setObjectName("label_coordinates");
    m_pStage->setObjectName("label_stage");
    m_pProgress->setObjectName("progressBar");
    m_pProgress->setRange(0, 0);
    m_pProgress->setMaximumWidth(160);
    m_pProgress->setTextVisible(false);
    m_pProgress->hide();
    statusBar()->addWidget(m_pCoordinates, 1);
    statusBar()->addPermanentWidget(m_pStage);
    statusBar()->addPermanentWidget(m_pProgress);
}

void WorkbenchWindow::Connect()
{
    for (std::size_t i = 0; i < m_openings.size(); ++i) {
        connect(m_openings[i], &QPushButton::clicked, this, [this, i] { OpenWizard(static_cast<Opening>(i)); });
    }
    connect(m_pLive, &QCheckBox::toggled, m_pPicture, &LivePicture::SetLive);
    connect(m_pRefresh, &QPushButton::clicked, m_pPicture, &LivePicture::RequestSlot);
    connect(m_pFit, &QPushButton::clicked, m_pView, &AreaView::FitSlot);
    connect(m_pClearMarks, &QPushButton::clicked, m_pView, &AreaView::ClearMarks);

    connect(m_pView, &AreaView::HoveredSignal, this,
            [this](const QPointF& pixel) { m_pCoordinates->setText(PointText(pixel)); });
    connect(m_pView, &AreaView::LeftSignal, m_pCoordinates, &QLabel::clear);
    connect(m_pView, &AreaView::ClickedSignal, this, [this](const QPointF& pixel) {
        m_pView->AddMark(pixel, PointText(pixel));
        ILog_WriteLogF(1, "Marked: %s", qPrintable(m_pView->LastMarkText()));
    });

    connect(m_pPicture, &LivePicture::StageSignal, this, [this](const QString& strStage) {
        m_strStage = strStage;
        ShowBusy();
    });
    connect(m_pPicture, &LivePicture::PictureSignal, this, [this](const AreaPicturePointer& pPicture, double) {
        m_pView->SetPicture(pPicture);
        m_strFailure.clear();
        if (m_bProblem) {
            Notice(nullptr, false);
        }
    });
    connect(m_pPicture, &LivePicture::FailedSignal, this, [this](const QString& strSentence, const QString& strWorded) {
        // A live view fails again and again.
        if (strSentence != m_strFailure) {
            ILog_WriteLogF(2, "No work area picture: %s", qPrintable(strSentence));
            m_strFailure = strSentence;
        }
        Notice([strWorded] { return strWorded; }, true);
    });
    connect(m_pPicture, &LivePicture::StoppedSignal, this, &WorkbenchWindow::BeginRun);
    connect(m_pMachine, &MachinePanel::BedChangedSignal, this, [this] {
        // A picture that is not live is not taken behind the operator's back.
        if (m_pPicture->IsLive()) {
            m_pPicture->RequestSlot();
        }
    });
    connect(m_pMachine, &MachinePanel::BusySignal, this, &WorkbenchWindow::ShowBusy);
}

void WorkbenchWindow::Start()
{
    ShowOpenings();
    m_pPicture->SetLive(m_pLive->isChecked());
    StartPicture();
}

void WorkbenchWindow::StartPicture()
{
    m_bCalibrated = false;
    try {
        const InstanceSetup setup = m_session.Setup();
        m_pPoints = std::make_unique<PluginHost>(setup, m_strPlugin);
        const auto pMaker = std::make_shared<PictureMaker>(m_session.Modules(), setup, m_strPlugin);
        RequireCalibration(CalibrationUse::Pictures);
        m_bCalibrated = true;
        m_pPicture->Start([pMaker](const StageTeller& tell) { return pMaker->Make(tell); });
    } catch (const Failure& failure) {
        ILog_WriteLogF(1, "No work area picture: %s", failure.what());
        m_pView->SetPicture(nullptr);
    }
    m_pView->SetPlaceholder(Placeholder());
}

QString WorkbenchWindow::Placeholder() const
{
    if (m_bCalibrated || m_pRun) {
        return {};
    }
    return Wording("This machine is not calibrated yet. Open the calibration wizard: its result is what the work area "
                   "picture is made with.");
}

QString WorkbenchWindow::PointText(const QPointF& pixel)
{
    double dX = 0.0;
    double dY = 0.0;
    m_pPoints->Calibrate().PixelToWorld(pixel.x(), pixel.y(), &dX, &dY, false);
    return QString("X %1   Y %2 mm").arg(dX, 0, 'f', 2).arg(dY, 0, 'f', 2);
}

void WorkbenchWindow::OpenWizard(Opening opening)
{
    if (m_bOpening || m_pRun) {
        return;
    }
    m_bOpening = true;
    m_opening = opening;
    Notice(nullptr, false);
    ShowOpenings();
    ShowBusy();
    m_pPicture->StopSlot();
}

void WorkbenchWindow::BeginRun()
{
    if (!m_bOpening) {
        return;
    }
    m_pPoints.reset();
    m_pView->ClearMarks();
    m_pView->SetPicture(nullptr);
    try {
        m_session.PrepareRun(m_opening);
        m_pRun = new WizardRun(m_session.Setup(), this, m_strPlugin);
        connect(m_pRun, &WizardRun::EndedSignal, this, &WorkbenchWindow::ConcludeRun);
        if (!m_pRun->Open(m_opening)) {
            throw Failure("The plug-in has opened no wizard window.");
        }
    } catch (const Failure& failure) {
        GiveUpRun(failure);
        return;
    }
    m_bOpening = false;
    m_pView->SetPlaceholder(Placeholder());
    ShowOpenings();
    ShowBusy();
    m_pMachineDock->StandBeside(m_pRun->Window(), m_pLanguage);
    emit WizardOpenedSignal();
}

void WorkbenchWindow::GiveUpRun(const Failure& failure)
{
    if (m_pRun) {
        m_pRun->deleteLater();
        m_pRun.clear();
    }
    m_bOpening = false;
    ILog_WriteLogF(2, "The wizard was not opened: %s", failure.what());
    m_session.Files().Conclude(false);
    ShowOpenings();
    ShowBusy();
    StartPicture();
    Notice([failure] { return Wording(failure); }, true);
}

void WorkbenchWindow::ConcludeRun(bool bFinished)
{
    m_pMachineDock->windowHandle()->setTransientParent(windowHandle());
    m_pLanguagePlace->addWidget(m_pLanguage);
    m_pMachineDock->StandInside();
    m_pRun->deleteLater();
    m_pRun.clear();
    const bool bKept = m_session.Files().Conclude(bFinished);
    std::optional<Failure> problem = m_session.Files().Why();
    if (problem) {
        try {
            RequireRoom(DataRoot());
        } catch (const Failure& noRoom) {
            problem = noRoom; // why something is missing
        }
    }
    ShowOpenings();
    ShowBusy();
    StartPicture();
    Notice(
        [bKept, problem] {
            if (problem) {
                const Failure& failure = *problem;
                return Wording("The run has left no whole calibration; the machine is calibrated as it was before.") +
                       "\n" + Wording(failure);
            }
            return bKept ? Wording("The calibration is finished; the picture is made with it from now on.")
                         : Wording("The wizard was left before its end; the machine is calibrated as it was before.");
        },
        problem.has_value());
    emit RunConcludedSignal(bKept);
}

void WorkbenchWindow::ShowOpenings()
{
    for (std::size_t i = 0; i < m_openings.size(); ++i) {
        const QString strReason = m_session.Files().ReasonAgainst(static_cast<Opening>(i));
        m_openings[i]->setEnabled(strReason.isEmpty() && !m_bOpening && !m_pRun);
        m_openings[i]->setToolTip(strReason.isEmpty() ? QString() : Wording(qPrintable(strReason)));
    }
}

void WorkbenchWindow::ShowBusy()
{
    QString strText;
    if (m_bOpening) {
        strText = Wording("Waiting for the last picture before the wizard opens");
    } else if (m_pMachine->IsBusy()) {
        strText = Wording("The machine is working");
    } else if (!m_strStage.isEmpty()) {
        strText = Wording(qPrintable(m_strStage));
    }
    m_pStage->setText(strText);
    m_pProgress->setVisible(!strText.isEmpty());
}

void WorkbenchWindow::Notice(std::function<QString()> text, bool bProblem)
{
    m_notice = std::move(text);
    m_bProblem = bProblem;
    m_pNotice->setText(m_notice ? m_notice() : QString());
    m_pNotice->setStyleSheet(bProblem ? "background: #8c2f2f; color: white;" : "background: #2f5d3a; color: white;");
    m_pNotice->setVisible(m_notice != nullptr);
}

void WorkbenchWindow::Retranslate()
{
    setWindowTitle(Wording("Workbench"));
    m_pWizardBox->setTitle(Wording("Camera calibration"));
    m_openings[0]->setText(Wording("Whole calibration"));
    m_openings[1]->setText(Wording("Coordinates only"));
    m_openings[2]->setText(Wording("Fusion only"));
    m_pPictureBox->setTitle(Wording("Work area picture"));
    m_pLive->setText(Wording("Live"));
    m_pRefresh->setText(Wording("Take a new picture"));
    m_pFit->setText(Wording("Show all of it"));
    m_pClearMarks->setText(Wording("Remove the marks"));
    m_pView->SetPlaceholder(Placeholder());
    Notice(m_notice, m_bProblem);
    ShowOpenings();
    ShowBusy();
}

void WorkbenchWindow::changeEvent(QEvent* pEvent)
{
    QMainWindow::changeEvent(pEvent);
    if (pEvent->type() == QEvent::LanguageChange) {
        Retranslate();
    }
}

void WorkbenchWindow::closeEvent(QCloseEvent* pEvent)
{
    // The wizard's own buttons are the way out of it.
    pEvent->setAccepted(!m_pRun && !m_bOpening);
}

} // namespace Workbench
