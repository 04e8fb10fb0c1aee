#pragma once

// The sound end of a worker and its thread. A page's destructor calls it in place of deleting the two: a running
// QThread must not be destroyed, and a device that hangs in a snap keeps its thread running.

class CameraWorker;
class QThread;

/// Cuts the worker's connections, stops its loop, a parked one too, and waits for the thread. Deletes both, at once
/// where the thread has ended in time, else when it ends. Call it on the thread that made the QThread; either may be
/// null.
/// @param pWorker  moved to `pThread`, or not moved yet
/// @param nPatienceMs  -1 waits as long as it takes
/// @return whether both are gone already
bool EndCapture(QThread* pThread, CameraWorker* pWorker, int nPatienceMs = 2000);
