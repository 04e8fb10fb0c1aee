#pragma once

// The two exports of the module "ErrCodeMgr", resolved by these undecorated names after it is loaded. Its object tells
// the operator in a modal notice what a status means and what to do about it. Success (1011) is quiet. Off the GUI
// thread, and where there is no GUI, a status is only logged.

#include "IErrCodeMgr.h"
#include "ModuleExport.h"

/// The caller gives it back through `ReleaseInterface`.
extern "C" MODULE_EXPORT IErrCodeMgr* NewInterface();
/// Deletes an object that `NewInterface` returned. Null is ignored.
extern "C" MODULE_EXPORT void ReleaseInterface(IErrCodeMgr* pInstance);
