#include "Failure.h"

#include <gtest/gtest.h>

using Workbench::Failure;

TEST(Failure, TheSentenceHasItsArgumentsInPlace)
{
    const Failure failure("%2 lies in %1.", {"here", "this"});
    EXPECT_STREQ(failure.what(), "this lies in here.");
    EXPECT_EQ(failure.Key(), "%2 lies in %1.");
    EXPECT_EQ(failure.Code(), Workbench::Failed);
}

TEST(Failure, AnArgumentThatLooksLikeAPlaceholderStaysAsItIs)
{
    EXPECT_EQ(Workbench::WithArguments("%1 and %2", {"/tmp/%2", "b%1"}), "/tmp/%2 and b%1");
}

TEST(Failure, APlaceholderWithoutAnArgumentStays)
{
    EXPECT_EQ(Workbench::WithArguments("50 % of %1, %2%", {"a"}), "50 % of a, %2%");
    EXPECT_STREQ(Failure("no %1").what(), "no %1");
}
