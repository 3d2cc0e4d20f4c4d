#include "support/registry_sandbox.h"

#include "common/unique_reg_key.h"

#include <gtest/gtest.h>

#include <atomic>

namespace prodsweep::test {
namespace {

std::wstring NewKey()
{
    static std::atomic<int> next{0};
    return L"Software\\prodsweep-tests\\" + std::to_wstring(GetCurrentProcessId()) + L"-" +
           std::to_wstring(next.fetch_add(1));
}

UniqueRegKey Make(HKEY hive, const std::wstring& subkey, REGSAM view)
{
    HKEY key = nullptr;
    EXPECT_EQ(ERROR_SUCCESS,
              RegCreateKeyExW(hive, subkey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | view, nullptr, &key, nullptr));
    return UniqueRegKey(key);
}

UniqueRegKey Open(HKEY hive, const std::wstring& subkey, REGSAM view)
{
    HKEY key = nullptr;
    RegOpenKeyExW(hive, subkey.c_str(), 0, KEY_ALL_ACCESS | view, &key);
    return UniqueRegKey(key);
}

} // namespace

RegistrySandbox::RegistrySandbox(HKEY root, REGSAM registryView)
    : hive(root), view(registryView), home(NewKey()), subkey(home + L"\\box")
{
    Plant();
}

RegistrySandbox::RegistrySandbox(const RegistrySandbox& twin, REGSAM registryView)
    : hive(twin.hive), view(registryView), home(twin.home), subkey(twin.subkey)
{
    Plant();
}

void RegistrySandbox::Plant() const
{
    Make(hive, subkey, view);
    Make(hive, home + L"\\box-canary", view);
    const UniqueRegKey key = Make(hive, home, view);
    RegSetValueExW(key.get(), L"box", 0, REG_SZ, reinterpret_cast<const BYTE*>(L"canary"), 7 * sizeof(wchar_t));
}

RegistrySandbox::~RegistrySandbox()
{
    const UniqueRegKey parent = Open(hive, home, view);
    if (parent != nullptr)
        RegDeleteTreeW(parent.get(), nullptr);
    RegDeleteKeyExW(hive, home.c_str(), view, 0);
}

std::wstring RegistrySandbox::Path() const
{
    return (hive == HKEY_LOCAL_MACHINE ? L"HKEY_LOCAL_MACHINE\\" : L"HKEY_CURRENT_USER\\") + subkey;
}

void RegistrySandbox::AddKey(const std::wstring& relative) const
{
    Make(hive, relative.empty() ? subkey : Subkey(relative), view);
}

void RegistrySandbox::AddText(const std::wstring& relative, const std::wstring& value, const std::wstring& data,
                              DWORD type) const
{
    AddData(relative, value, type, data.c_str(), (data.size() + 1) * sizeof(wchar_t));
}

void RegistrySandbox::AddData(const std::wstring& relative, const std::wstring& value, DWORD type, const void* data,
                              std::size_t size) const
{
    const UniqueRegKey key = Make(hive, relative.empty() ? subkey : Subkey(relative), view);
    EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(key.get(), value.c_str(), 0, type, static_cast<const BYTE*>(data),
                                            static_cast<DWORD>(size)));
}

bool RegistrySandbox::HasKey(const std::wstring& relative) const
{
    return Open(hive, relative.empty() ? subkey : Subkey(relative), view) != nullptr;
}

bool RegistrySandbox::HasValue(const std::wstring& relative, const std::wstring& value) const
{
    const UniqueRegKey key = Open(hive, relative.empty() ? subkey : Subkey(relative), view);
    return key != nullptr &&
           RegQueryValueExW(key.get(), value.c_str(), nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
}

bool RegistrySandbox::CanariesIntact() const
{
    const UniqueRegKey key = Open(hive, home, view);
    return Open(hive, home + L"\\box-canary", view) != nullptr && key != nullptr &&
           RegQueryValueExW(key.get(), L"box", nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
}

} // namespace prodsweep::test
