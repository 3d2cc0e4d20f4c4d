#include "support/host_program.h"

#include <windows.h>

namespace prodsweep::test {
namespace {

using UnixName = char*(CDECL*)(const wchar_t*);

UnixName UnixNameCall()
{
    return reinterpret_cast<UnixName>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
}

std::wstring FromUtf8(const std::string& narrow)
{
    std::wstring wide(narrow.size(), L'\0');
    wide.resize(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, narrow.data(), static_cast<int>(narrow.size()),
                                                             wide.data(), static_cast<int>(wide.size()))));
    return wide;
}

} // namespace

bool OnWine() { return UnixNameCall() != nullptr; }

std::wstring HostPath(const std::wstring& path)
{
    char* const name = UnixNameCall()(path.c_str());
    if (name == nullptr)
        return {};
    const std::string narrow = name;
    HeapFree(GetProcessHeap(), 0, name);
    return FromUtf8(narrow);
}

bool RunOnHost(const std::wstring& program, const std::wstring& arguments, const std::function<bool()>& done)
{
    std::wstring line = L"\\\\?\\unix\\bin\\" + program + L" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION made{};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &made))
        return false;
    // Of a program of the host Wine knows no process, and what it says of the thread is chance: closed, that
    // may be any handle of ours.
    if (made.hProcess != nullptr)
    {
        CloseHandle(made.hThread);
        CloseHandle(made.hProcess);
    }
    for (int i = 0; i < 6000 && !done(); ++i)
        Sleep(10);
    return done();
}

} // namespace prodsweep::test
