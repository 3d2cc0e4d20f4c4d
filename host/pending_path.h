// Paths as the system's list has them and as people type them, in one spelling, to be compared as Windows does.
#pragma once

#include <string>

namespace prodsweep {

// A path of the list as a program would write it: without the system's prefix and trailing separators.
std::wstring PathOfEntry(const std::wstring& entry);

// What was typed as a full path, without trailing separators. Relative paths are completed by the current folder.
std::wstring FullPathOf(const std::wstring& typed);

// Each short name ("PROGRA~1") of a path on a drive replaced by the long one, as far as the path exists.
std::wstring WithLongNames(const std::wstring& path);

// In any case, by whole names.
bool IsSamePath(const std::wstring& left, const std::wstring& right);
bool IsBelow(const std::wstring& folder, const std::wstring& path);

} // namespace prodsweep
