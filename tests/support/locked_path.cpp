#include "support/locked_path.h"

#include "support/process.h"

#include <gtest/gtest.h>

#include <utility>

namespace prodsweep::test {
namespace {

bool IsLocked(const std::wstring& path)
{
    const HANDLE handle =
        CreateFileW(path.c_str(), DELETE, 0, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_SHARING_VIOLATION;
    CloseHandle(handle);
    return false;
}

} // namespace

// The other process inherits the only handle, so it holds the lock from the moment it exists. It is
// detached, since the host of a console would inherit the handle from it, and may outlive it.
LockedPath::LockedPath(std::wstring locked, DWORD share) : path(std::move(locked))
{
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    const HANDLE handle = CreateFileW(path.c_str(), GENERIC_READ, share, &inheritable, OPEN_EXISTING,
                                      FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, handle) << "can't be locked: " << GetLastError();
    std::wstring holder = L"\"" + ThisProgramsFolder() + L"victim.exe\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION made{};
    EXPECT_TRUE(CreateProcessW(nullptr, holder.data(), nullptr, nullptr, TRUE, DETACHED_PROCESS, nullptr, nullptr,
                               &startup, &made))
        << "nobody can hold it: " << GetLastError();
    CloseHandle(handle);
    CloseHandle(made.hThread);
    process = made.hProcess;
}

LockedPath::~LockedPath()
{
    EXPECT_TRUE(TerminateProcess(process, 0));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(process, 60000));
    CloseHandle(process);
    EXPECT_FALSE(IsLocked(path)) << "the lock outlives its test";
}

} // namespace prodsweep::test
