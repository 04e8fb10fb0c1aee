#include "FolderLock.h"

#include "Failure.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include <future>
#include <optional>

using namespace Workbench;

TEST(FolderLock, AFolderThatIsHeldIsRefusedInTheEnd)
{
    const QTemporaryDir folder;
    const FolderLock held(folder.path());
    try {
        const FolderLock second(folder.path(), std::chrono::milliseconds(30));
        FAIL() << "both were let in";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.Code(), Failed);
        EXPECT_TRUE(QString(failure.what()).contains(folder.path()));
    }
}

TEST(FolderLock, TheSecondComesInOnceTheFirstIsDone)
{
    const QTemporaryDir folder;
    std::optional<FolderLock> first(std::in_place, folder.path());
    auto second = std::async(std::launch::async, [&] { const FolderLock lock(folder.path()); });
    EXPECT_EQ(second.wait_for(std::chrono::milliseconds(60)), std::future_status::timeout);
    first.reset();
    EXPECT_NO_THROW(second.get());
}

TEST(FolderLock, WhatCannotBeOpenedIsNotLockedAndNothingStaysBehind)
{
    const QTemporaryDir folder;
    EXPECT_NO_THROW(FolderLock(folder.filePath("none")));
    {
        const FolderLock lock(folder.path());
    }
    EXPECT_TRUE(QDir(folder.path()).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden));
}
