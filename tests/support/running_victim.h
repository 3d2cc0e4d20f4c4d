#pragma once

#include <windows.h>

#include <string>

namespace prodsweep::test {

// A copy of the victim under a name of choice, running until somebody ends it.
class RunningVictim
{
public:
    // path: of the copy, which is made here; its folder must be there.
    explicit RunningVictim(const std::wstring& path);
    ~RunningVictim();
    RunningVictim(const RunningVictim&) = delete;
    RunningVictim& operator=(const RunningVictim&) = delete;

    [[nodiscard]] DWORD Id() const { return id; }
    [[nodiscard]] bool Runs() const;
    // Waits for the end, which must be near.
    [[nodiscard]] DWORD ExitCode() const;

private:
    HANDLE process = nullptr;
    DWORD id = 0;
};

} // namespace prodsweep::test
