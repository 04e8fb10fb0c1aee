#pragma once

// Loads modules by name at run time ("Camera", "ErrCodeMgr", "DriverRD.dll") and keeps a process-wide registry of them.
// A module exports `NewInterface` and `ReleaseInterface`; the caller casts what it gets to the interface that it knows
// and must test it for null. Nothing is shared by name: each load is a record of its own. What is never given back
// lives until the process ends.

#include <QString>

#include <vector>

class QLibrary;

struct LibraryRecord {
    QLibrary* pLibrary = nullptr;
    void* (*pfnNewInterface)() = nullptr;
    void (*pfnReleaseInterface)(void*) = nullptr;
    void* pInstance = nullptr;
};

/// Never destroyed: a window that goes as the process ends may still give a module back.
extern std::vector<LibraryRecord*>& g_listLoadedModules;

/// Loads the module `strName` and makes an instance of its interface. QLibrary adds the platform's prefix and suffix.
/// @param bShowError  on failure show a message box, on the GUI thread of a program with widgets only, and
///                    write a log line
/// @param pList  takes the record in place of the registry
/// @return the module's instance; null when the module cannot be loaded, lacks an export, or gave none itself
void* LoadModule(QString strName, bool bShowError, std::vector<LibraryRecord*>* pList);
/// Gives back the instance that was loaded last among those equal to `pInstance`. Always true, also for an unknown one.
bool ReleaseModule(void* pInstance);
/// Gives back every module of the registry, the newest first.
void ReleaseAllModules();
