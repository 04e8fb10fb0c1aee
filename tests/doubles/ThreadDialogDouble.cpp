// In place of the module ThreadDialog: no dialog, but a thread of the task's own as the real one has it, so that the
// sanitizers see a task that touches what is not its own. The call stands in the journal of ModuleDoubles.h.

#include "ModuleDoubles.h"
#include "ThreadDialog.h"

#include <thread>

int ThreadDialogRun(IThreadDialogOwner* pOwner, int nTask, void* pData, int nFlags, const QString& strText)
{
    Doubles::The().journal.push_back("ThreadDialogRun(" + std::to_string(nTask) + ", " + (pData ? "data" : "null") +
                                     ", " + std::to_string(nFlags) + ", " + strText.toStdString() + ")");
    int nResult = -1;
    std::thread worker([&] { nResult = pOwner->ThreadDialog_ThreadRun(nTask, pData); });
    worker.join();
    return nResult;
}
