#include "support/com_scope.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

namespace prodsweep::test {
namespace {

TEST(ComScopeTest, FreshThreadStandsToComAsAsked)
{
    for (const ComState state : {ComState::None, ComState::SingleThreaded, ComState::MultiThreaded})
        OnFreshThread(state, [state] { EXPECT_EQ(state, CurrentComState()); });
}

TEST(ComScopeTest, AnotherThreadsMultiThreadedApartmentDoesNotCount)
{
    OnFreshThread(ComState::MultiThreaded,
                  [] { OnFreshThread(ComState::None, [] { EXPECT_EQ(ComState::None, CurrentComState()); }); });
}

TEST(ComScopeTest, ScopeWithinAnotherTellsHowItMet)
{
    OnFreshThread(ComState::SingleThreaded, [] {
        EXPECT_EQ(S_FALSE, ComScope().Result());
        EXPECT_EQ(RPC_E_CHANGED_MODE, ComScope(COINIT_MULTITHREADED).Result());
    });
}

TEST(ComScopeTest, ComLeftInitialisedIsAFailure)
{
    EXPECT_NONFATAL_FAILURE(OnFreshThread(ComState::None, [] { CoInitialize(nullptr); }), "COM is not left as it was");
}

} // namespace
} // namespace prodsweep::test
