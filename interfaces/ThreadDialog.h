#pragma once

// A progress dialog that runs a task off the GUI thread while the GUI thread waits. Linked by the library name
// ThreadDialog.

#include "ModuleExport.h"

#include <QString>

/// Whoever gives `ThreadDialogRun` a task. The reserved operations hold their places in the table.
struct IThreadDialogOwner {
    virtual ~IThreadDialogOwner() = default;
    /// The task; runs on the dialog's thread and touches no widget.
    virtual int ThreadDialog_ThreadRun(int nTask, void* pData) = 0;
    virtual int Reserved2(int nFirst) = 0;
    virtual int Reserved3(int nFirst, void* pSecond, void* pThird) = 0;
    virtual double Reserved4(int nFirst) = 0;
};

/// Runs the task `nTask` of `pOwner` behind a modal dialog with `strText`; the result is the task's, -1 when it throws.
/// One task at a time: a call while another one runs answers -1 and runs nothing. Off the GUI thread there is no
/// dialog.
MODULE_EXPORT int ThreadDialogRun(IThreadDialogOwner* pOwner, int nTask, void* pData, int nFlags,
                                  const QString& strText);
