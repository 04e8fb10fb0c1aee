// The module "Camera" of tests: hands out what the test process makes. See RecordingCamera.h.

#include "ModuleExport.h"

namespace
{
void* (*g_pfnNew)() = nullptr;
void (*g_pfnRelease)(void*) = nullptr;
} // namespace

extern "C" {

MODULE_EXPORT void ConnectCameraDouble(void* (*pfnNew)(), void (*pfnRelease)(void*))
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
