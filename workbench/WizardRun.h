#pragma once

// One run of the wizard, from its opening to what became of it: an instance of the plug-in of its own and the
// disposable parent of the wizard's window. Make one for each run, connect `EndedSignal`, `Open`, and delete it later,
// after the signal; never inside of it all at once, for the wizard's own code is on the stack when it closes. GUI
// thread.

#include "PluginHost.h"
#include "RunFiles.h"

#include <QPointer>
#include <QWidget>

#include <memory>

namespace Workbench
{

class WizardRun : public QWidget
{
    Q_OBJECT

public:
    /// Throws `Failure` when the plug-in cannot be loaded.
    /// @param pOver  a window that the wizard stays above; may be null
    WizardRun(const InstanceSetup& setup, QWidget* pOver, const QString& strPlugin = {});
    /// Deletes the wizard's window, then gives the instance back.
    ~WizardRun() override;

    /// False, with a log line, where the plug-in showed no window.
    bool Open(Opening opening);
    /// The wizard's window; null before the opening and once it is gone.
    QWidget* Window() const { return m_pWindow; }

public slots:
    /// Called by the wizard as it closes. Only remembers; what follows is done from the event loop.
    void CloseWizardSlot();

signals:
    /// Once, from the event loop.
    /// @param bFinished  the operator went to the end; false after the question whether to leave was answered by yes
    void EndedSignal(bool bFinished);

protected:
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;

private:
    std::unique_ptr<PluginHost> m_pHost;
    QPointer<QWidget> m_pWindow;
    bool m_bLastDialogAsked = false;
    bool m_bEnded = false;
};

} // namespace Workbench
