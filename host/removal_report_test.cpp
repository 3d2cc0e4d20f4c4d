#include "removal_report.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

ProductOutcome Judged(const Product& before, const Product* after, bool success, bool restart)
{
    return JudgeRemoval(before, after, {success, restart, {}}, {before.name, {}, true});
}

Product Found(const char* guid)
{
    Product product{"Anvil", "", PRODSWEEP_KIND_OTHER, true, {}};
    if (guid != nullptr)
        product.versions.push_back({guid, {}});
    return product;
}

TEST(JudgeRemovalTest, SuccessIsNotTakenFromTheReturnValue)
{
    const Product still = Found("{1}");
    const ProductOutcome outcome = Judged(still, &still, true, false);
    EXPECT_EQ(Outcome::Remains, outcome.outcome);
    EXPECT_EQ("the registry key of its version {1} still stands", outcome.reason);
}

TEST(JudgeRemovalTest, WhatIsNotFoundAndNeedsNoRestartIsGone)
{
    EXPECT_EQ(Outcome::Gone, Judged(Found("{1}"), nullptr, true, false).outcome);
    EXPECT_EQ(Outcome::GoneAfterRestart, Judged(Found("{1}"), nullptr, true, true).outcome);
}

TEST(JudgeRemovalTest, ScoreMayWaitForTheRestartAndARegistryKeyMayNot)
{
    const Product byScore = Found(nullptr);
    EXPECT_EQ(Outcome::GoneAfterRestart, Judged(byScore, &byScore, true, true).outcome);
    EXPECT_EQ(Outcome::Remains, Judged(byScore, &byScore, false, true).outcome);
    const Product byKey = Found("{1}");
    EXPECT_EQ(Outcome::Remains, Judged(byKey, &byKey, true, true).outcome);
}

TEST(JudgeRemovalTest, FailureOutweighsTheRestartInTheExitCode)
{
    RemovalReport report;
    EXPECT_EQ(0, ExitCodeOf(report));
    report.restart = true;
    EXPECT_EQ(3010, ExitCodeOf(report));
    report.failed = true;
    EXPECT_EQ(1603, ExitCodeOf(report));
}

TEST(TakeRunTest, WhatNoProductTakesWasCleanedUp)
{
    RemovalResult result{true,
                         false,
                         {{"Anvil", {{"folders", true}}, true},
                          {"Bellows", {{"files", false}}, true},
                          {"Anvil", {{"tools", true}}, true}}};
    EXPECT_EQ("folders", TakeRun(result, Found("{1}")).stages.at(0).stage);
    RemovalReport report;
    AddCleanedUp(report, result.runs, PRODSWEEP_KIND_OTHER);
    ASSERT_EQ(2u, report.cleanedUp.size());
    EXPECT_EQ("Bellows", report.cleanedUp[0].name);
    EXPECT_FALSE(report.cleanedUp[0].stages.at(0).done);
    EXPECT_EQ("tools", report.cleanedUp[1].stages.at(0).stage);
}

TEST(TakeRunTest, ProductThatWasNotReachedHasNoStages)
{
    RemovalResult result;
    const ProductRun run = TakeRun(result, Found("{1}"));
    EXPECT_TRUE(run.stages.empty());
    EXPECT_FALSE(run.descriptorRead);
}

} // namespace
} // namespace prodsweep
