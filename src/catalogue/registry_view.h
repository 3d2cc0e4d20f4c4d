#pragma once

#include <windows.h>

namespace prodsweep {

// Access masks by the registry view that they lead to.
constexpr REGSAM viewOfProcess = KEY_READ; // redirected, in a 32-bit process on a 64-bit system
constexpr REGSAM view64 = KEY_READ | KEY_WOW64_64KEY;
constexpr REGSAM view32 = KEY_READ | KEY_WOW64_32KEY;

} // namespace prodsweep
