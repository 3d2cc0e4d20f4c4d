#pragma once

#include <windows.h>

#include <atomic>

namespace prodsweep {

// Holds a spin flag for as long as it lives. Who finds it taken sleeps a moment and tries again.
class SpinGuard
{
public:
    // A process that ends has stopped all of its threads but one, wherever they were. A flag that one of them held
    // stays taken for ever, and what is left of the process goes on without it.
    static inline constinit std::atomic<bool> ownersAreGone{false};

    explicit SpinGuard(std::atomic<int>& taken) noexcept : flag(taken)
    {
        while (flag.exchange(1) != 0 && !ownersAreGone)
            Sleep(1);
    }
    ~SpinGuard() { flag.exchange(0); }
    SpinGuard(const SpinGuard&) = delete;
    SpinGuard& operator=(const SpinGuard&) = delete;

private:
    std::atomic<int>& flag;
};

} // namespace prodsweep
