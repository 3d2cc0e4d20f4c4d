#pragma once

#include <windows.h>

namespace prodsweep {

// Holds a slim lock for as long as it lives.
class SrwGuard
{
public:
    explicit SrwGuard(SRWLOCK& taken) noexcept : lock(taken) { AcquireSRWLockExclusive(&lock); }
    ~SrwGuard() { ReleaseSRWLockExclusive(&lock); }
    SrwGuard(const SrwGuard&) = delete;
    SrwGuard& operator=(const SrwGuard&) = delete;

private:
    SRWLOCK& lock;
};

} // namespace prodsweep
