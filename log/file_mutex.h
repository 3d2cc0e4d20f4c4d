// Lets one process at a time write to a file, or put it aside.
#pragma once

#include <string>

#include <windows.h>

#include "unique_handle.h"

namespace prodsweep::logger {

class CFileMutex
{
public:
    // All processes of the machine get the same mutex for the same file, whoever runs them. It is made when it is first
    // acquired.
    void GoFor(const std::wstring& file);

    // False when somebody keeps it for longer than a second, or there is none. After that it is not waited for
    // until it was free once: one that hangs must not slow down everybody's every line.
    [[nodiscard]] bool Acquire();
    void Release() noexcept;

private:
    void Make();

    std::wstring path;
    bool isMade = false;
    UniqueHandle mutex;
    bool isPatient = true;
};

class CFileMutexGuard
{
public:
    explicit CFileMutexGuard(CFileMutex& guarded) : mutex(guarded), isOurs(mutex.Acquire()) {}
    ~CFileMutexGuard()
    {
        if (isOurs)
            mutex.Release();
    }
    CFileMutexGuard(const CFileMutexGuard&) = delete;
    CFileMutexGuard& operator=(const CFileMutexGuard&) = delete;

    [[nodiscard]] bool IsOurs() const noexcept { return isOurs; }

private:
    CFileMutex& mutex;
    bool isOurs;
};

} // namespace prodsweep::logger
