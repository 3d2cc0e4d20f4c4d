#pragma once

#include <windows.h>

#include <string>
#include <utility>
#include <vector>

namespace prodsweep::test {

// Entries in the machine's list of installed programs, in either registry view; removed when the
// object ends. Whoever reads the list counts through it, so it must not change under another test
// program: all of them that use this class take turns.
class UninstallEntries
{
public:
    // Where the list is, below HKEY_LOCAL_MACHINE.
    static constexpr const wchar_t* list = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";

    UninstallEntries();
    ~UninstallEntries();
    UninstallEntries(const UninstallEntries&) = delete;
    UninstallEntries& operator=(const UninstallEntries&) = delete;

    // The text with what makes it this program's own.
    [[nodiscard]] static std::wstring Unique(const std::wstring& text);
    [[nodiscard]] static std::wstring NewGuid();

    // view: KEY_WOW64_64KEY or KEY_WOW64_32KEY.
    void Add(const std::wstring& entry, REGSAM view = KEY_WOW64_64KEY);
    void Add(const std::wstring& entry, const std::wstring& displayName, REGSAM view = KEY_WOW64_64KEY);
    void AddData(const std::wstring& entry, const std::wstring& value, DWORD type, const void* data, std::size_t size,
                 REGSAM view = KEY_WOW64_64KEY);

    // "HKEY_LOCAL_MACHINE\...\Uninstall\" and the entry.
    [[nodiscard]] static std::wstring Path(const std::wstring& entry);

private:
    HANDLE turn;
    std::vector<std::pair<std::wstring, REGSAM>> entries;
};

} // namespace prodsweep::test
