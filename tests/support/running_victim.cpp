#include "support/running_victim.h"

#include "support/process.h"

#include <gtest/gtest.h>

namespace prodsweep::test {
namespace {

constexpr DWORD endWait = 10000;

} // namespace

RunningVictim::RunningVictim(const std::wstring& path)
{
    EXPECT_TRUE(CopyFileW((ThisProgramsFolder() + L"victim.exe").c_str(), path.c_str(), FALSE)) << GetLastError();
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION info{};
    if (!CreateProcessW(path.c_str(), nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info))
    {
        ADD_FAILURE() << "the victim does not start: " << GetLastError();
        return;
    }
    CloseHandle(info.hThread);
    process = info.hProcess;
    id = info.dwProcessId;
}

RunningVictim::~RunningVictim()
{
    if (process == nullptr)
        return;
    TerminateProcess(process, 1);
    // Its file can't be removed before.
    WaitForSingleObject(process, endWait);
    CloseHandle(process);
}

bool RunningVictim::Runs() const { return WaitForSingleObject(process, 0) == WAIT_TIMEOUT; }

DWORD RunningVictim::ExitCode() const
{
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(process, endWait)) << "the victim still runs";
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeProcess(process, &code));
    return code;
}

} // namespace prodsweep::test
