#include "operations/operations.h"

#include "common/unique_handle.h"
#include "environment/log.h"

#include <tlhelp32.h>

#include <cwchar>

namespace prodsweep {
namespace {

// The exit codes tell afterwards which way a process was ended.
constexpr UINT plainExitCode = 0;
constexpr UINT privilegedExitCode = 0xFFFFFFFF;

// The room for one privilege, in the new state as in the old.
constexpr DWORD onePrivilege = sizeof(TOKEN_PRIVILEGES);

enum class TokenAnswer
{
    Opened,
    ThreadTokenFailed,
    ProcessTokenFailed
};

// The token that counts for this thread: its own when it impersonates, else the process's.
TokenAnswer OpenToken(UniqueHandle& token, DWORD& error)
{
    constexpr DWORD access = TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY;
    HANDLE opened = nullptr;
    if (!OpenThreadToken(GetCurrentThread(), access, FALSE, &opened))
    {
        error = GetLastError();
        if (error != ERROR_NO_TOKEN)
            return TokenAnswer::ThreadTokenFailed;
        if (!OpenProcessToken(GetCurrentProcess(), access, &opened))
        {
            error = GetLastError();
            return TokenAnswer::ProcessTokenFailed;
        }
    }
    token.reset(opened);
    return TokenAnswer::Opened;
}

bool EnableDebugPrivilege(HANDLE token, TOKEN_PRIVILEGES& old, DWORD& error)
{
    TOKEN_PRIVILEGES wanted{};
    wanted.PrivilegeCount = 1;
    // Without an answer the identifier stays zero; no token has that privilege, and the next call says so.
    LookupPrivilegeValueW(nullptr, L"SeDebugPrivilege", &wanted.Privileges[0].Luid);
    wanted.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    DWORD oldSize = onePrivilege;
    const BOOL adjusted = AdjustTokenPrivileges(token, FALSE, &wanted, onePrivilege, &old, &oldSize);
    // A token without the privilege shows only in the last error: the call itself succeeds.
    error = GetLastError();
    return adjusted && error != ERROR_NOT_ALL_ASSIGNED;
}

UniqueHandle OpenToTerminate(DWORD processId, DWORD& error)
{
    UniqueHandle process(OpenProcess(PROCESS_TERMINATE, FALSE, processId));
    error = GetLastError();
    return process;
}

bool Terminate(const UniqueHandle& process, UINT exitCode, DWORD& error)
{
    const BOOL ended = TerminateProcess(process.get(), exitCode);
    error = GetLastError();
    return ended;
}

} // namespace

int COperations::KillProcess(const wchar_t* name)
{
    LOG(LogTrace, L"-> Process : \"%s\"", name);
    const HANDLE opened = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (opened == INVALID_HANDLE_VALUE)
    {
        const DWORD error = GetLastError();
        LOG(LogError, L"failed CreateToolhelp32Snapshot 0x%x", error);
        LOG(LogTrace, L"<- %s", ResultCodeName(_ERROR_UNKNOWN));
        return _ERROR_UNKNOWN;
    }
    UniqueHandle snapshot(opened);
    // Deliberate: a process that was ended leaves no mark, so that "all ended" and "none there" give
    // the same answer. _ERROR_SUCCESS is never returned; _ERROR_NOT_FOUND is the best answer.
    int result = _ERROR_NOT_FOUND;
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL more = Process32FirstW(opened, &entry); more; more = Process32NextW(opened, &entry))
    {
        if (_wcsicmp(entry.szExeFile, name) != 0)
            continue;
        LOG(LogTrace, L"try Kill process \"%s\" %d", entry.szExeFile, entry.th32ProcessID);
        if (KillProcess_(entry.th32ProcessID))
        {
            LOG(LogTrace, L"success Kill process \"%s\" %d", entry.szExeFile, entry.th32ProcessID);
            continue;
        }
        LOG(LogError, L"failed Kill process \"%s\" %d", entry.szExeFile, entry.th32ProcessID);
        result = _ERROR_FAILED;
    }
    snapshot.reset();
    LOG(LogTrace, L"<- %s", ResultCodeName(result));
    return result;
}

bool COperations::KillProcess_(DWORD processId)
{
    DWORD error = ERROR_SUCCESS;
    if (const UniqueHandle process = OpenToTerminate(processId, error); process == nullptr)
        LOG(LogWarning, L"OpenProcess 1 failed 0x%x", error);
    else if (Terminate(process, plainExitCode, error))
        return true;
    else
        LOG(LogError, L"TerminateProcess 1 failed 0x%x", error);

    LOG(LogTrace, L"Try another way ... AdjustTokenPrivileges");
    UniqueHandle token;
    if (const TokenAnswer answer = OpenToken(token, error); answer != TokenAnswer::Opened)
    {
        if (answer == TokenAnswer::ProcessTokenFailed)
            LOG(LogError, L"OpenProcessToken failed 0x%x", error);
        else
            LOG(LogError, L"OpenThreadToken failed 0x%x", error);
        return false;
    }
    TOKEN_PRIVILEGES old{};
    if (!EnableDebugPrivilege(token.get(), old, error))
    {
        token.reset();
        LOG(LogError, L"AdjustTokenPrivileges failed 0x%x", error);
        return false;
    }
    const UniqueHandle process = OpenToTerminate(processId, error);
    // The privilege is needed for the opening alone. If it can't be given back, nothing here changes.
    AdjustTokenPrivileges(token.get(), FALSE, &old, onePrivilege, nullptr, nullptr);
    token.reset();
    if (process == nullptr)
    {
        LOG(LogError, L"OpenProcess 2 failed 0x%x", error);
        return false;
    }
    if (!Terminate(process, privilegedExitCode, error))
    {
        LOG(LogError, L"TerminateProcess 2 failed 0x%x", error);
        return false;
    }
    return true;
}

} // namespace prodsweep
