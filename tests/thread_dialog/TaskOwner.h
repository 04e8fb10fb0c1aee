#pragma once

// An owner whose task is what a test says.

#include "ThreadDialog.h"

#include <functional>
#include <utility>

class TaskOwner : public IThreadDialogOwner
{
public:
    explicit TaskOwner(std::function<int(int nTask, void* pData)> task) : m_task(std::move(task)) {}

    int ThreadDialog_ThreadRun(int nTask, void* pData) override
    {
        ++nRuns;
        return m_task(nTask, pData);
    }
    int Reserved2(int) override { return -1; }
    int Reserved3(int, void*, void*) override { return -1; }
    double Reserved4(int) override { return 0.0; }

    int nRuns = 0;

private:
    std::function<int(int, void*)> m_task;
};
