// unprivileged.exe PROGRAM ARGUMENTS...: runs a program as somebody who is no administrator, by a token in
// which the group counts for denial only. Ends as the program does.
#include <windows.h>

#include <shlwapi.h>

#include <memory>

namespace {

struct HandleCloser
{
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

UniqueHandle OwnToken()
{
    HANDLE token = nullptr;
    OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &token);
    return UniqueHandle(token);
}

UniqueHandle WithoutAdministrators(HANDLE token)
{
    alignas(DWORD) BYTE administrators[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof(administrators);
    CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators, &size);
    SID_AND_ATTRIBUTES denied{administrators, 0};
    HANDLE restricted = nullptr;
    CreateRestrictedToken(token, DISABLE_MAX_PRIVILEGE, 1, &denied, 0, nullptr, 0, nullptr, &restricted);
    return UniqueHandle(restricted);
}

} // namespace

int main()
{
    const UniqueHandle token = WithoutAdministrators(OwnToken().get());
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION made{};
    if (!CreateProcessAsUserW(token.get(), nullptr, PathGetArgsW(GetCommandLineW()), nullptr, nullptr, TRUE, 0, nullptr,
                              nullptr, &startup, &made))
        return static_cast<int>(GetLastError());
    const UniqueHandle process(made.hProcess);
    const UniqueHandle thread(made.hThread);
    WaitForSingleObject(process.get(), INFINITE);
    DWORD exitCode = 0;
    GetExitCodeProcess(process.get(), &exitCode);
    return static_cast<int>(exitCode);
}
