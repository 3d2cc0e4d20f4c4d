#pragma once

#include <windows.h>

#include <string>

namespace prodsweep {

// Whether an open key, which was reached by this subkey, also lies on the way to it: then a link leads back, and to go
// on would not end. False where the system does not tell.
[[nodiscard]] bool LeadsBack(HKEY key, HKEY hive, const std::wstring& subkey, bool x32view);

} // namespace prodsweep
