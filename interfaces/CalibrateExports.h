#pragma once

// The two exports of the plug-in. A host resolves them by these undecorated names after loading the shared library.

#include "ICalibrate.h"
#include "ModuleExport.h"

/// A new calibration object; the caller gives it back through `ReleaseInterface`.
extern "C" MODULE_EXPORT Vision::ICalibrate* NewInterface();
/// Deletes an object that `NewInterface` returned. Null is ignored.
extern "C" MODULE_EXPORT void ReleaseInterface(Vision::ICalibrate* pInstance);
