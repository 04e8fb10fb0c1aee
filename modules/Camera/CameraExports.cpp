// The two exports by which the module is loaded by name.

#include "CameraDevice.h"
#include "ModuleExport.h"

#include <new>

extern "C" {

/// The caller casts it to ICameraDevice; null when there is no memory.
MODULE_EXPORT void* NewInterface()
{
    ICameraDevice* const pDevice = new (std::nothrow) Camera::CameraDevice;
    return pDevice;
}

/// Null is allowed.
MODULE_EXPORT void ReleaseInterface(void* pInstance)
{
    delete static_cast<ICameraDevice*>(pInstance);
}
}
