#pragma once

#include "common/unique_reg_key.h"

#include <windows.h>

#include <string>

namespace prodsweep {

// Access masks by the registry view that they lead to.
constexpr REGSAM viewOfProcess = KEY_READ; // redirected, in a 32-bit process on a 64-bit system
constexpr REGSAM view64 = KEY_READ | KEY_WOW64_64KEY;
constexpr REGSAM view32 = KEY_READ | KEY_WOW64_32KEY;

// The platform's error code; key is only set on ERROR_SUCCESS.
[[nodiscard]] inline LSTATUS OpenKey(HKEY hive, const std::wstring& subkey, REGSAM access, UniqueRegKey& key)
{
    HKEY opened = nullptr;
    const LSTATUS status = RegOpenKeyExW(hive, subkey.c_str(), 0, access, &opened);
    if (status == ERROR_SUCCESS)
        key.reset(opened);
    return status;
}

} // namespace prodsweep
