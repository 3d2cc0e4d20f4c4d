#pragma once

#include <windows.h>

#include <string>

namespace prodsweep {

// The system's own name of an open key, from which all links are gone: "\Registry\Machine\Software". Empty when the
// system does not tell (NtQueryKey, KeyNameInformation).
[[nodiscard]] std::wstring NativeKeyName(HKEY key);

} // namespace prodsweep
