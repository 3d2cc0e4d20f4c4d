#include "common/spin_guard.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace prodsweep {
namespace {

TEST(SpinGuardTest, FlagIsTakenForAsLongAsTheGuardLives)
{
    std::atomic<int> flag{0};
    {
        const SpinGuard guard(flag);
        EXPECT_EQ(1, flag);
    }
    EXPECT_EQ(0, flag);
}

TEST(SpinGuardTest, OneThreadIsInsideAtATime)
{
    std::atomic<int> flag{0};
    int counted = 0; // no atomic: the guard alone makes this right
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < 500; ++round)
            {
                const SpinGuard guard(flag);
                const int before = counted;
                SwitchToThread();
                counted = before + 1;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(2000, counted);
}

TEST(SpinGuardTest, FlagOfAThreadThatIsGoneIsNotWaitedFor)
{
    std::atomic<int> flag{1};
    SpinGuard::ownersAreGone = true;
    {
        const SpinGuard guard(flag);
    }
    SpinGuard::ownersAreGone = false;
    EXPECT_EQ(0, flag);
}

} // namespace
} // namespace prodsweep
