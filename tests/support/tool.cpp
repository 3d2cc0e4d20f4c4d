// A tool to be run. It writes how it was started to a file beside its own, "<tool>.started", and before
// it ends makes "<tool>.ended". The word "linger" on its command line keeps it until somebody ends it.
#include <windows.h>

#include <cwchar>
#include <string>

namespace {

void WriteBeside(const wchar_t* extension, const std::wstring& text)
{
    wchar_t path[1024] = {};
    GetModuleFileNameW(nullptr, path, 1024);
    const std::wstring name = std::wstring(path) + extension;
    const HANDLE file = CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size() * sizeof(wchar_t)), &written, nullptr);
    CloseHandle(file);
}

} // namespace

int main()
{
    const std::wstring commandLine = GetCommandLineW();
    STARTUPINFOW startup{};
    GetStartupInfoW(&startup);
    WriteBeside(L".started", commandLine + L"\nflags " + std::to_wstring(startup.dwFlags) + L" show " +
                                 std::to_wstring(startup.wShowWindow));
    constexpr DWORD shortWork = 50;
    constexpr DWORD longerThanAnyTest = 60000;
    Sleep(commandLine.find(L"linger") != std::wstring::npos ? longerThanAnyTest : shortWork);
    WriteBeside(L".ended", L"");
    // Nobody reads it.
    return 5;
}
