#include "operations/operations.h"

#include "environment/log.h"

#include <memory>
#include <string>

namespace prodsweep {
namespace {

// Five minutes for a tool; a slower one goes on by itself.
constexpr DWORD toolWait = 300000;

struct ModuleCloser
{
    using pointer = HMODULE;
    void operator()(HMODULE module) const noexcept { FreeLibrary(module); }
};
using UniqueModule = std::unique_ptr<HMODULE, ModuleCloser>;

// Exported names are narrow, in the code page of whoever wrote them down; the calling thread's stands
// for it. A name that can't be turned comes out empty, which no module exports.
std::string NarrowName(const wchar_t* name)
{
    const int size = WideCharToMultiByte(CP_THREAD_ACP, 0, name, -1, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_THREAD_ACP, 0, name, -1, narrow.data(), size, nullptr, nullptr);
    return narrow;
}

} // namespace

int COperations::ExecTool(const wchar_t* commandLine, bool wait, bool showWindow)
{
    LOG(LogTrace, L"->CmdLine = \"%s\"", commandLine);
    int result = _ERROR_SUCCESS;
    // CreateProcessW may write into what it gets.
    std::wstring buffer = commandLine;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = showWindow ? SW_SHOW : SW_HIDE;
    PROCESS_INFORMATION info{};
    if (!CreateProcessW(nullptr, buffer.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info))
    {
        const DWORD error = GetLastError();
        LOG(LogError, L"CreateProcess \"%s\" failed with 0x%x", commandLine, error);
        result = _ERROR_UNKNOWN;
    }
    else if (wait && info.hProcess != INVALID_HANDLE_VALUE)
    {
        if (WaitForSingleObject(info.hProcess, toolWait) == WAIT_OBJECT_0)
        {
            CloseHandle(info.hThread);
            CloseHandle(info.hProcess);
        }
        else
            LOG(LogWarning, L"\"%s\" wait timeout", commandLine);
    }
    // Deliberate: the handles of a tool that may still be running stay open, so that its process id is
    // not given to another process while the removal goes on. A tool counts as done once it started.
    LOG(LogTrace, L"<-\"%s\", err = %s", commandLine, ResultCodeName(result));
    return result;
}

int COperations::ExecDllMethod(const wchar_t* module, const wchar_t* method)
{
    // Two blanks after the comma, here and below.
    LOG(LogTrace, L"->ModuleName = \"%s\",  MethodName = \"%s\"", module, method);
    const UniqueModule library(LoadLibraryW(module));
    if (library == nullptr)
    {
        const DWORD error = GetLastError();
        LOG(LogError, L"LoadLibrary \"%s\" failed 0x%x", module, error);
        return _ERROR_NOT_FOUND;
    }
    const std::string narrow = NarrowName(method);
    void* const entry = reinterpret_cast<void*>(GetProcAddress(library.get(), narrow.c_str()));
    if (entry == nullptr)
    {
        const DWORD error = GetLastError();
        LOG(LogError, L"GetProcAddress \"%s\" failed 0x%x", method, error);
        return _ERROR_NOT_FOUND;
    }
    const auto call = reinterpret_cast<int(WINAPI*)()>(entry);
    // What the method returns is for the log only: called is done.
    const int answer = call();
    LOG(LogTrace, L"ModuleName = \"%s\",  MethodName = \"%s\", return = 0x%x", module, method, answer);
    return _ERROR_SUCCESS;
}

} // namespace prodsweep
