#include "support/key_link.h"

#include <gtest/gtest.h>
#include <winternl.h>

#include <cstddef>

namespace prodsweep::test {
namespace {

template <class Function>
Function* Native(const char* name)
{
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
}

// The path by which the kernel knows a key, which is what a link holds.
std::wstring NativePath(HKEY hive, const std::wstring& subkey)
{
    struct KeyName
    {
        ULONG bytes;
        wchar_t text[1024];
    };
    constexpr int keyNameInformation = 3;
    HKEY opened = nullptr;
    EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(hive, subkey.c_str(), 0, KEY_QUERY_VALUE, &opened));
    const UniqueRegKey key(opened);
    KeyName name{};
    ULONG needed = 0;
    const auto query = Native<NTSTATUS NTAPI(HANDLE, int, void*, ULONG, ULONG*)>("NtQueryKey");
    EXPECT_EQ(0, query(key.get(), keyNameInformation, &name, sizeof(name), &needed));
    return {name.text, name.bytes / sizeof(wchar_t)};
}

} // namespace

KeyLink::KeyLink(HKEY hive, const std::wstring& path, HKEY targetHive, const std::wstring& target)
{
    HKEY made = nullptr;
    EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExW(hive, path.c_str(), 0, nullptr, REG_OPTION_CREATE_LINK,
                                             KEY_ALL_ACCESS | KEY_CREATE_LINK, nullptr, &made, nullptr));
    link.reset(made);
    const std::wstring native = NativePath(targetHive, target);
    EXPECT_EQ(ERROR_SUCCESS,
              RegSetValueExW(made, L"SymbolicLinkValue", 0, REG_LINK, reinterpret_cast<const BYTE*>(native.data()),
                             static_cast<DWORD>(native.size() * sizeof(wchar_t))));
}

KeyLink::~KeyLink()
{
    // By the handle: whoever opens the link gets its target.
    EXPECT_EQ(0, Native<NTSTATUS NTAPI(HANDLE)>("NtDeleteKey")(link.get()));
}

} // namespace prodsweep::test
