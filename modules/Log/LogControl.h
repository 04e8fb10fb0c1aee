#pragma once

// What a host may set about the log, beside the two operations that everybody writes through.

#include "ModuleExport.h"

#include <string>

/// Lines of this level and above also go to standard error; default 2. A level above 3 silences it.
MODULE_EXPORT void ILog_SetStandardErrorLevel(int nLevel);
/// Writes to `strFile` from now on; an empty name stops writing to a file. Default: `calibrate-two-camera.log` in
/// $XDG_STATE_HOME, or ~/.local/state where that is not set. The file is kept below 1 MiB; four older ones are kept
/// beside it with the endings .1 to .4. A file that cannot be written is told once on standard error and then left
/// alone.
MODULE_EXPORT void ILog_SetFile(const std::string& strFile);

/// Gets every line as it stands in the file, without its line end.
using LogListener = void (*)(int nLevel, const char* pLine, void* pContext);
/// From now on `pfnListener` is called for each line, on the thread that writes it and by one thread at a time; null
/// stops it. When this returns, the former listener is not called any more. A listener is quick and writes no log.
MODULE_EXPORT void ILog_SetListener(LogListener pfnListener, void* pContext);
