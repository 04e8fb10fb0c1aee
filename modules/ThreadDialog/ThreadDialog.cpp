#include "ThreadDialog.h"

#include "ProgressDialog.h"

#include "Log.h"

#include <QApplication>
#include <QEventLoop>
#include <QThread>
#include <QWindow>

#include <atomic>
#include <exception>
#include <system_error>
#include <thread>

namespace
{

constexpr int FAILED = -1;

/// One task at a time in the whole process: owners are pages, and no page expects another's task meanwhile.
class OnlyTask
{
public:
    OnlyTask() : m_bMine(!s_bRunning.exchange(true)) {}
    ~OnlyTask()
    {
        if (m_bMine) {
            s_bRunning = false;
        }
    }
    OnlyTask(const OnlyTask&) = delete;
    OnlyTask& operator=(const OnlyTask&) = delete;

    bool IsMine() const { return m_bMine; }

private:
    static inline std::atomic<bool> s_bRunning{false};
    const bool m_bMine;
};

int RunTask(IThreadDialogOwner& owner, int nTask, void* pData)
{
    try {
        return owner.ThreadDialog_ThreadRun(nTask, pData);
    } catch (const std::exception& error) {
        ILog_WriteLogF(3, "ThreadDialogRun: the task %d ended with an exception: %s", nTask, error.what());
    } catch (...) {
        ILog_WriteLogF(3, "ThreadDialogRun: the task %d ended with an exception that tells nothing of itself", nTask);
    }
    return FAILED;
}

bool OnGuiThread()
{
    const auto* const pApplication = qobject_cast<QApplication*>(QCoreApplication::instance());
    return pApplication && pApplication->thread() == QThread::currentThread();
}

/// Keeps the dialog in front of the window that the operator works in, without belonging to it: a page may go while
/// the dialog stands on our stack.
void PutInFrontOf(const QWidget* pWindow, QDialog& dialog)
{
    if (pWindow && pWindow->windowHandle()) {
        dialog.winId();
        dialog.windowHandle()->setTransientParent(pWindow->windowHandle());
        dialog.adjustSize();
        dialog.move(pWindow->frameGeometry().center() - dialog.rect().center());
    }
}

int RunBehindDialog(IThreadDialogOwner& owner, int nTask, void* pData, const QString& strText)
{
    int nResult = FAILED;
    ProgressDialog dialog(strText);
    PutInFrontOf(QApplication::activeWindow(), dialog);
    // Goes before the dialog does, and so never speaks to a dead one.
    std::jthread worker;
    try {
        worker = std::jthread([&] {
            nResult = RunTask(owner, nTask, pData);
            dialog.Finish();
        });
    } catch (const std::system_error& error) {
        ILog_WriteLogF(3, "ThreadDialogRun: no thread for the task %d: %s", nTask, error.what());
        return FAILED;
    }
    dialog.exec();
    // A host that ends its event loops ends that one too. The task still works on what its owner holds, and may be
    // waiting for this thread.
    while (!dialog.IsFinished()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    worker.join();
    return nResult;
}

} // namespace

int ThreadDialogRun(IThreadDialogOwner* pOwner, int nTask, void* pData, int /*nFlags*/, const QString& strText)
{
    if (!pOwner) {
        ILog_WriteLogF(2, "ThreadDialogRun: nobody owns the task %d", nTask);
        return FAILED;
    }
    const OnlyTask task;
    if (!task.IsMine()) {
        ILog_WriteLogF(2, "ThreadDialogRun: the task %d is refused, another one is still running", nTask);
        return FAILED;
    }
    return OnGuiThread() ? RunBehindDialog(*pOwner, nTask, pData, strText) : RunTask(*pOwner, nTask, pData);
}
