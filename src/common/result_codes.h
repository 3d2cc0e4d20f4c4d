#pragma once

namespace prodsweep {

// What every primitive operation returns.
constexpr int _ERROR_SUCCESS = 0;   // done; for a check: present
constexpr int _ERROR_NOT_FOUND = 1; // not there, or a failure that merely looks like it
constexpr int _ERROR_FAILED = 2;    // there, and the operation did not succeed
constexpr int _ERROR_UNKNOWN = 3;   // the operation could not find out

// The code's name for log lines; "ERROR_UNDEF", which has no leading underscore, for any other number.
[[nodiscard]] const wchar_t* ResultCodeName(int code) noexcept;

} // namespace prodsweep
