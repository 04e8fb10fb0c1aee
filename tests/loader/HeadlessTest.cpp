// A program without widgets, which a message box would end.

#include "LibraryLoader.h"

#include "ModuleDoubles.h"

#include <gmock/gmock.h>

#include <QCoreApplication>

namespace
{

using testing::ElementsAre;
using testing::Pair;

void ExpectOnlyALogLine()
{
    Doubles::Reset();
    EXPECT_EQ(LoadModule("NoSuchModule", true, nullptr), nullptr);
    EXPECT_THAT(Doubles::The().logLines, ElementsAre(Pair(1, "")));
}

TEST(LibraryLoaderHeadless, WithoutAnApplicationObjectAMissingModuleIsOnlyLogged)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    ExpectOnlyALogLine();
}

TEST(LibraryLoaderHeadless, InAnApplicationWithoutWidgetsAMissingModuleIsOnlyLogged)
{
    int argc = 1;
    char szName[] = "headless";
    char* argv[] = {szName, nullptr};
    const QCoreApplication application(argc, argv);
    ExpectOnlyALogLine();
}

} // namespace
