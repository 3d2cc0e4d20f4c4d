// Guards what the threads of a process share, and gives up after a while: a thread that was ended while it held the
// lock, as all are when a process ends, must not keep the others waiting for ever.
#pragma once

#include <windows.h>

namespace prodsweep::logger {

class CBoundedLock
{
public:
    CBoundedLock() = default;
    CBoundedLock(const CBoundedLock&) = delete;
    CBoundedLock& operator=(const CBoundedLock&) = delete;

    [[nodiscard]] bool Acquire(DWORD milliseconds) noexcept
    {
        constexpr int hastyTries = 100;
        const ULONGLONG end = GetTickCount64() + milliseconds;
        for (int tries = 0; TryAcquireSRWLockExclusive(&lock) == FALSE; ++tries)
        {
            if (GetTickCount64() >= end)
                return false;
            Sleep(tries < hastyTries ? 0 : 1);
        }
        return true;
    }
    void Release() noexcept { ReleaseSRWLockExclusive(&lock); }

private:
    SRWLOCK lock = SRWLOCK_INIT;
};

class CBoundedGuard
{
public:
    CBoundedGuard(CBoundedLock& guarded, DWORD milliseconds) noexcept
        : lock(guarded), isOurs(lock.Acquire(milliseconds))
    {}
    ~CBoundedGuard()
    {
        if (isOurs)
            lock.Release();
    }
    CBoundedGuard(const CBoundedGuard&) = delete;
    CBoundedGuard& operator=(const CBoundedGuard&) = delete;

    [[nodiscard]] bool IsOurs() const noexcept { return isOurs; }

private:
    CBoundedLock& lock;
    bool isOurs;
};

} // namespace prodsweep::logger
