#pragma once

// The log of the whole system. Level 0 is for debug lines and button presses, 1 to 3 for progress and failures.
// Callable from any thread. Linked by the library name Log.

#include "ModuleExport.h"

/// One line of plain text, UTF-8.
MODULE_EXPORT void ILog_WriteLog(int nLevel, const char* pText);
/// One line in the manner of printf.
MODULE_EXPORT void ILog_WriteLogF(int nLevel, const char* pFormat, ...) __attribute__((format(printf, 2, 3)));
