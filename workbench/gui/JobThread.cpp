#include "JobThread.h"

namespace Workbench
{

JobThread::JobThread(const QString& strName)
{
    m_thread.setObjectName(strName);
    m_context.moveToThread(&m_thread);
    m_thread.start();
}

JobThread::~JobThread()
{
    m_bStop = true;
    m_thread.quit();
    m_thread.wait();
}

void JobThread::Post(std::function<void()> job)
{
    QMetaObject::invokeMethod(
        &m_context,
        [this, job = std::move(job)] {
            if (!m_bStop) {
                job();
            }
        },
        Qt::QueuedConnection);
}

} // namespace Workbench
