#pragma once

// A thread that does one job after the other, in the order in which they were handed over, so that the window is free
// meanwhile. The destructor waits for the job that runs and drops those that wait; a job must therefore hold what it
// works on, or belong to an owner who destroys this first.

#include <QObject>
#include <QThread>

#include <atomic>
#include <functional>

namespace Workbench
{

class JobThread
{
public:
    explicit JobThread(const QString& strName);
    ~JobThread();
    JobThread(const JobThread&) = delete;
    JobThread& operator=(const JobThread&) = delete;

    void Post(std::function<void()> job);

private:
    QThread m_thread;
    QObject m_context; ///< lives on the thread
    std::atomic<bool> m_bStop = false;
};

} // namespace Workbench
