#include "removal_guard.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

TEST(FindObjectionsTest, NothingToObjectTo)
{
    Plan plan;
    plan.total.files = 3;
    EXPECT_TRUE(FindObjections(plan, {3, 0}).empty());
    EXPECT_TRUE(FindObjections(plan, {}).empty());
}

TEST(FindObjectionsTest, DangersAreToldWithWhereTheyLead)
{
    Plan plan;
    plan.dangers.push_back({"Anvil", "C:\\windows", "", "C:\\windows", "the folder of Windows"});
    plan.dangers.push_back({"Anvil", "C:\\link", "C:\\windows", "C:\\windows", "the folder of Windows"});
    plan.dangers.push_back({"Anvil", "C:\\users\\x", "", "C:\\users\\x\\Desktop", "a user's desktop"});
    const std::vector<std::string> objections = FindObjections(plan, {});
    ASSERT_EQ(3u, objections.size());
    EXPECT_EQ("\"C:\\windows\" of \"Anvil\" is the folder of Windows", objections[0]);
    EXPECT_EQ("\"C:\\link\" of \"Anvil\" leads to \"C:\\windows\", which is the folder of Windows", objections[1]);
    EXPECT_EQ("\"C:\\users\\x\" of \"Anvil\" is or holds \"C:\\users\\x\\Desktop\", a user's desktop", objections[2]);
}

TEST(FindObjectionsTest, WhatIsTooLargeToBeJudgedIsToldAsThat)
{
    Plan plan;
    plan.dangers.push_back({"Anvil", "C:\\x", "", "C:\\x", "too large to be judged"});
    EXPECT_EQ("\"C:\\x\" of \"Anvil\" is too large to be judged", FindObjections(plan, {}).at(0));
}

TEST(FindObjectionsTest, CountsBeyondTheLimitsAreToldAndSoIsWhatWasNotCounted)
{
    Plan plan;
    plan.total.files = 4;
    plan.total.keys = 2;
    EXPECT_EQ("it would take 4 files, and --max-files allows 3", FindObjections(plan, {3, {}}).at(0));
    EXPECT_EQ("it would take 2 keys, and --max-keys allows 1", FindObjections(plan, {{}, 1}).at(0));
    plan.total.complete = false;
    EXPECT_EQ("it would take more files than were counted, and --max-files allows 9",
              FindObjections(plan, {9, {}}).at(0));
}

} // namespace
} // namespace prodsweep
