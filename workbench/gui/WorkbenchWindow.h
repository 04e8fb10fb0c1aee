#pragma once

// The host's main window: the live work area picture, the three wizard openings, the simulated machine and the log. It
// puts the parts together and decides when which of them may run: the picture stops before a wizard opens and begins
// anew, with instances of its own, when the wizard has ended. While a wizard is open, which blocks all other windows,
// the machine's panel, with the list of languages, stands beside it as a window that belongs to it: an operator goes
// back and forth between the two.

#include "HostSession.h"
#include "WizardRun.h"

#include <QMainWindow>

#include <array>
#include <functional>
#include <memory>

class QCheckBox;
class QDockWidget;
class QGroupBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QVBoxLayout;

namespace Workbench
{

class AreaView;
class Failure;
class LanguageBox;
class LivePicture;
class LogPane;
class MachineDock;
class MachinePanel;

class WorkbenchWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// @param session  must outlive the window
    /// @param strPlugin  another plug-in than the one beside the application, for tests of the window alone
    explicit WorkbenchWindow(HostSession& session, const QString& strPlugin = {});
    ~WorkbenchWindow() override;

    /// Begins with the live picture.
    void Start();
    /// The run that is open; null while there is none.
    WizardRun* Run() const { return m_pRun; }

public slots:
    /// Stops the picture, then opens the wizard. Nothing happens while one is open.
    void OpenWizard(Workbench::Opening opening);

signals:
    /// The wizard is on the screen.
    void WizardOpenedSignal();
    /// The run is over, its files are settled and the picture begins anew.
    void RunConcludedSignal(bool bKept);

protected:
    void changeEvent(QEvent* pEvent) override;
    void closeEvent(QCloseEvent* pEvent) override;

private:
    void BuildDocks();
    void BuildStatusBar();
    QWidget* BuildControls();
    void Connect();
    void Retranslate();
    void ShowOpenings();
    void ShowBusy();
    /// @param text  asked again when the language changes; null shows none
    void Notice(std::function<QString()> text, bool bProblem);
    QString PointText(const QPointF& pixel);
    QString Placeholder() const;

    void StartPicture();
    void BeginRun();
    void ConcludeRun(bool bFinished);
    void GiveUpRun(const Failure& failure);

    HostSession& m_session;
    const QString m_strPlugin;
    std::unique_ptr<PluginHost> m_pPoints; ///< the GUI thread's own instance, for points
    AreaView* m_pView;
    LivePicture* m_pPicture;
    MachinePanel* m_pMachine;
    LogPane* m_pLog;
    LanguageBox* m_pLanguage;
    QLabel* m_pNotice;
    QLabel* m_pCoordinates;
    QLabel* m_pStage;
    QProgressBar* m_pProgress;
    QDockWidget* m_pControlDock;
    MachineDock* m_pMachineDock;
    QDockWidget* m_pLogDock;
    QGroupBox* m_pWizardBox;
    QGroupBox* m_pPictureBox;
    std::array<QPushButton*, 3> m_openings; ///< in the order of `Opening`
    QCheckBox* m_pLive;
    QPushButton* m_pRefresh;
    QPushButton* m_pFit;
    QPushButton* m_pClearMarks;
    QVBoxLayout* m_pLanguagePlace;

    QString m_strStage; ///< of the picture, a wording key
    std::function<QString()> m_notice;
    QString m_strFailure; ///< of the live picture, as it was logged last
    bool m_bProblem = false;
    bool m_bCalibrated = false; ///< the picture can be made
    bool m_bOpening = false;    ///< the picture is being stopped for a wizard
    Opening m_opening = Opening::Calibration;
    QPointer<WizardRun> m_pRun;
};

} // namespace Workbench
