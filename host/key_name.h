// One name for each key of the registry, whichever way leads to it.
#pragma once

#include <string>

#include <windows.h>

namespace prodsweep {

// In lower case: "hklm" or "hkcu", or "hku" for the root of all users, and the subkey behind a separator. Every user's
// settings go by "hkcu", both views of the registry by the native one, each control set and each hardware profile by
// the current one. The two keys of the 32-bit view themselves keep their names. What only looks like a registry, the
// counters and the devices, goes by "hkpd" and "hkdd". Nothing is asked of the machine.
std::wstring CanonicalKey(HKEY hive, const std::wstring& subkey);

// The same of the key that is really opened by that name, which links may lead elsewhere; empty when there is none.
std::wstring CanonicalOpenedKey(HKEY hive, const std::wstring& subkey);

} // namespace prodsweep
