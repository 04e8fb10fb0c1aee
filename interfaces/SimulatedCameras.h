#pragma once

// How a machine that exists only in the memory of a host lends its cameras to the module "Camera". The host loads the
// module, resolves `SetSimulatedCameras` in it and hands over an object; from then on a camera whose source is
// `sim:left` or `sim:right` takes its pictures there. Not for real cameras: those are the module's own matter.

#include "ModuleExport.h"

#include <opencv2/core/mat.hpp>

struct ISimulatedCameras {
    /// One frame of one side.
    /// @param szSide   "left" or "right"
    /// @param picture  empty when it comes in; 8-bit grey or BGR pixels are delivered as they are, others converted.
    ///                 The module copies them before this object is called again.
    /// @return 0 is success
    /// Called on the thread that snaps, never by two threads at once. It must not wait for a thread that may be inside
    /// `SetSimulatedCameras`, nor call that itself.
    virtual int Snap(const char* szSide, cv::Mat& picture) = 0;

protected:
    ~ISimulatedCameras() = default;
};

/// Offered by the module "Camera". The object must live until null or another one is set in its place; the call returns
/// when no snap of the former object runs any more, so that it may be deleted then. Callable from any thread.
extern "C" MODULE_EXPORT void SetSimulatedCameras(ISimulatedCameras* pCameras);

using SetSimulatedCamerasFunction = void (*)(ISimulatedCameras*);
