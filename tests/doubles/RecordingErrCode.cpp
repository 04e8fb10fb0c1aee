#include "RecordingErrCode.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace Doubles
{

namespace
{

ErrCodeModule* g_pModule = nullptr;

} // namespace

ErrCodeModule::ErrCodeModule()
{
    // Kept loaded, so that the bare name meets it.
    static void* const pLibrary = dlopen(CTC_ERRCODE_DOUBLE, RTLD_NOW | RTLD_LOCAL);
    using Connect = void (*)(void* (*)(), void (*)(void*));
    const auto pfnConnect = pLibrary ? reinterpret_cast<Connect>(dlsym(pLibrary, "ConnectDouble")) : nullptr;
    if (!pfnConnect) {
        std::fprintf(stderr, "The double of the error code module cannot be loaded: %s\n", dlerror());
        std::abort();
    }
    pfnConnect(&ErrCodeModule::New, nullptr);
    g_pModule = this;
}

ErrCodeModule::~ErrCodeModule()
{
    g_pModule = nullptr;
}

void ErrCodeModule::ShowStatus(int nStatus, int nZero)
{
    statuses.emplace_back(nStatus, nZero);
    if (onStatus) {
        onStatus();
    }
}

void* ErrCodeModule::New()
{
    if (!g_pModule || g_pModule->bGiveNull) {
        return nullptr;
    }
    ++g_pModule->nHandedOut;
    // As the interface's own address, which is what the holder casts to.
    return static_cast<IErrCodeMgr*>(g_pModule);
}

} // namespace Doubles
