#include "removal_report.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

RemovalResult Returned(bool success, bool restart) { return {success, restart, {}, true}; }

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
    const ProductOutcome outcome = JudgeRemoval(still, &still, Returned(true, false));
    EXPECT_EQ(Outcome::Remains, outcome.outcome);
    EXPECT_EQ("the registry key of its version {1} still stands", outcome.reason);
}

TEST(JudgeRemovalTest, WhatIsNotFoundAndNeedsNoRestartIsGone)
{
    EXPECT_EQ(Outcome::Gone, JudgeRemoval(Found("{1}"), nullptr, Returned(true, false)).outcome);
    EXPECT_EQ(Outcome::GoneAfterRestart, JudgeRemoval(Found("{1}"), nullptr, Returned(true, true)).outcome);
}

TEST(JudgeRemovalTest, ScoreMayWaitForTheRestartAndARegistryKeyMayNot)
{
    const Product byScore = Found(nullptr);
    EXPECT_EQ(Outcome::GoneAfterRestart, JudgeRemoval(byScore, &byScore, Returned(true, true)).outcome);
    EXPECT_EQ(Outcome::Remains, JudgeRemoval(byScore, &byScore, Returned(false, true)).outcome);
    const Product byKey = Found("{1}");
    EXPECT_EQ(Outcome::Remains, JudgeRemoval(byKey, &byKey, Returned(true, true)).outcome);
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

} // namespace
} // namespace prodsweep
