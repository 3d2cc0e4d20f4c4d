#include "support/uninstall_entries.h"

#include "common/unique_reg_key.h"

#include <gtest/gtest.h>
#include <objbase.h>

namespace prodsweep::test {
namespace {

std::wstring Subkey(const std::wstring& entry) { return std::wstring(UninstallEntries::list) + L"\\" + entry; }

} // namespace

UninstallEntries::UninstallEntries() : turn(CreateMutexW(nullptr, FALSE, L"prodsweep-tests-uninstall-entries"))
{
    // An abandoned mutex is had as well.
    EXPECT_NE(WAIT_FAILED, WaitForSingleObject(turn, INFINITE));
}

UninstallEntries::~UninstallEntries()
{
    for (const auto& [entry, view] : entries)
        RegDeleteKeyExW(HKEY_LOCAL_MACHINE, Subkey(entry).c_str(), view, 0);
    ReleaseMutex(turn);
    CloseHandle(turn);
}

std::wstring UninstallEntries::Unique(const std::wstring& text)
{
    return text + L"-" + std::to_wstring(GetCurrentProcessId());
}

std::wstring UninstallEntries::NewGuid()
{
    GUID guid{};
    EXPECT_EQ(S_OK, CoCreateGuid(&guid));
    wchar_t text[40] = {};
    StringFromGUID2(guid, text, 40);
    return text;
}

void UninstallEntries::Add(const std::wstring& entry, REGSAM view)
{
    HKEY made = nullptr;
    const LSTATUS status = RegCreateKeyExW(HKEY_LOCAL_MACHINE, Subkey(entry).c_str(), 0, nullptr, 0, KEY_WRITE | view,
                                           nullptr, &made, nullptr);
    const UniqueRegKey key(made);
    EXPECT_EQ(ERROR_SUCCESS, status);
    entries.emplace_back(entry, view);
}

void UninstallEntries::Add(const std::wstring& entry, const std::wstring& displayName, REGSAM view)
{
    AddData(entry, L"DisplayName", REG_SZ, displayName.c_str(), (displayName.size() + 1) * sizeof(wchar_t), view);
}

void UninstallEntries::AddData(const std::wstring& entry, const std::wstring& value, DWORD type, const void* data,
                               std::size_t size, REGSAM view)
{
    Add(entry, view);
    HKEY opened = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, Subkey(entry).c_str(), 0, KEY_WRITE | view, &opened);
    const UniqueRegKey key(opened);
    EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(key.get(), value.c_str(), 0, type, static_cast<const BYTE*>(data),
                                            static_cast<DWORD>(size)));
}

std::wstring UninstallEntries::Path(const std::wstring& entry) { return L"HKEY_LOCAL_MACHINE\\" + Subkey(entry); }

} // namespace prodsweep::test
