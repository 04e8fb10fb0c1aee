// A module whose exports a test chooses. It counts its calls.

#include "ModuleExport.h"

#include <cstdio>

namespace
{
int g_nNewCalls = 0;
int g_nReleaseCalls = 0;
int g_instance = 0;
} // namespace

extern "C" {

MODULE_EXPORT int NewCalls()
{
    return g_nNewCalls;
}

MODULE_EXPORT int ReleaseCalls()
{
    return g_nReleaseCalls;
}

#ifndef KIND_NO_NEW
MODULE_EXPORT void* NewInterface()
{
    ++g_nNewCalls;
#ifdef KIND_NULL_INSTANCE
    return nullptr;
#else
    return &g_instance;
#endif
}
#endif

#ifndef KIND_NO_RELEASE
MODULE_EXPORT void ReleaseInterface(void* pInstance)
{
    g_nReleaseCalls += pInstance == &g_instance ? 1 : 100;
#ifdef KIND_LOUD
    std::fputs("released\n", stderr);
#endif
}
#endif
}
