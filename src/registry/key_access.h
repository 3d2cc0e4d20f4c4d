#pragma once

#include "common/unique_reg_key.h"

#include <windows.h>

#include <string>

namespace prodsweep {

// The access mask of every open of an operation. The view of the registry is named only in a 32-bit
// process on a 64-bit system; anywhere else x32view does not reach the mask.
[[nodiscard]] REGSAM ViewMask(bool x32view);

// Opens with exactly this mask. The platform's error code; key stays empty unless that is 0.
[[nodiscard]] LSTATUS OpenKey(HKEY hive, const std::wstring& subkey, REGSAM access, UniqueRegKey& key);

// The error codes that mean that a key or value, or a part of its path, does not exist.
[[nodiscard]] bool IsAbsent(LSTATUS status);

// Long hive name and subkey as one text.
[[nodiscard]] std::wstring FullPath(const wchar_t* hiveName, const std::wstring& subkey);

// A key's number for log lines, which show its lower 32 bits.
[[nodiscard]] unsigned KeyNumber(HKEY key);

} // namespace prodsweep
