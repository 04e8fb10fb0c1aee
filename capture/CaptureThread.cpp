#include "CaptureThread.h"

#include "CameraWorker.h"
#include "Log.h"

#include <QPointer>
#include <QThread>

#include <memory>

bool EndCapture(QThread* pThread, CameraWorker* pWorker, int nPatienceMs)
{
    const QPointer<CameraWorker> guarded(pWorker);
    if (pWorker) {
        pWorker->disconnect();
    }
    if (pThread && pThread->isRunning()) {
        if (pWorker) {
            // Deleted by its own thread as that ends.
            QObject::connect(pThread, &QThread::finished, pWorker, &QObject::deleteLater);
            pWorker->ResumeLoop();
            pWorker->StopLoop();
        }
        pThread->quit();
        if (!pThread->wait(QDeadlineTimer(nPatienceMs))) {
            ILog_WriteLog(1, "The capture thread does not end, its camera hangs; it is left to end by itself.");
            QObject::connect(pThread, &QThread::finished, pThread, &QObject::deleteLater);
            if (pThread->isFinished()) {
                pThread->deleteLater();
            }
            return false;
        }
    }
    delete guarded.data();
    delete pThread;
    return true;
}
