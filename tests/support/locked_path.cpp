#include "support/locked_path.h"

#include "support/process.h"

#include <gtest/gtest.h>

namespace prodsweep::test {

// The other process inherits the only handle, so it holds the lock from the moment it exists.
LockedPath::LockedPath(const std::wstring& path, DWORD share)
{
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    const HANDLE handle = CreateFileW(path.c_str(), GENERIC_READ, share, &inheritable, OPEN_EXISTING,
                                      FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, handle) << "can't be locked: " << GetLastError();
    std::wstring holder = L"\"" + ThisProgramsFolder() + L"victim.exe\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION made{};
    EXPECT_TRUE(CreateProcessW(nullptr, holder.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr, nullptr,
                               &startup, &made));
    CloseHandle(handle);
    CloseHandle(made.hThread);
    process = made.hProcess;
}

LockedPath::~LockedPath()
{
    TerminateProcess(process, 0);
    WaitForSingleObject(process, 10000);
    CloseHandle(process);
}

} // namespace prodsweep::test
