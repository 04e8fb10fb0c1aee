// A module that is loaded by name, in tests: hands out what the test process makes. Built once for each name. See
// RecordingCamera.h and RecordingErrCode.h.

#include "ModuleExport.h"

namespace
{
void* (*g_pfnNew)() = nullptr;
void (*g_pfnRelease)(void*) = nullptr;
} // namespace

extern "C" {

MODULE_EXPORT void ConnectDouble(void* (*pfnNew)(), void (*pfnRelease)(void*))
{
    g_pfnNew = pfnNew;
    g_pfnRelease = pfnRelease;
}

MODULE_EXPORT void* NewInterface()
{
    return g_pfnNew ? g_pfnNew() : nullptr;
}

MODULE_EXPORT void ReleaseInterface(void* pInstance)
{
    if (g_pfnRelease) {
        g_pfnRelease(pInstance);
    }
}
}
