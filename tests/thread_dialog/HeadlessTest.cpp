#include "LogControl.h"
#include "TaskOwner.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <stdexcept>
#include <thread>

namespace
{

void ExpectPlainRuns()
{
    std::thread::id taskThread;
    TaskOwner good([&](int nTask, void*) {
        taskThread = std::this_thread::get_id();
        return nTask + 40;
    });
    EXPECT_EQ(ThreadDialogRun(&good, 2, nullptr, 0, "Processing..."), 42);
    EXPECT_EQ(taskThread, std::this_thread::get_id());

    TaskOwner bad([](int, void*) -> int { throw std::runtime_error("no"); });
    EXPECT_EQ(ThreadDialogRun(&bad, 0, nullptr, 0, "Processing..."), -1);
}

TEST(ThreadDialogHeadless, WithoutAnApplicationObjectTheTaskRunsWhereItIsAskedFor)
{
    ILog_SetStandardErrorLevel(4);
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    ExpectPlainRuns();
}

TEST(ThreadDialogHeadless, WithoutAWindowSystemTheTaskRunsWhereItIsAskedFor)
{
    ILog_SetStandardErrorLevel(4);
    int argc = 1;
    char szName[] = "headless";
    char* argv[] = {szName, nullptr};
    const QCoreApplication application(argc, argv);
    ExpectPlainRuns();
}

} // namespace
