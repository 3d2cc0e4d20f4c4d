#pragma once

#include <string>

#include <windows.h>

namespace prodsweep::logger {

// Windows' own limit for a path, with its terminating zero.
constexpr DWORD longestPath = 32768;

// Empty when the result would be too long.
std::wstring ExpandVariables(const std::wstring& text);

// folder: with the backslash at its end, or empty for the current one. Empty for what is no path.
std::wstring FullPathBelow(const std::wstring& folder, const std::wstring& path);

// With the backslash at its end.
std::wstring FolderOf(const std::wstring& path);

// One spelling for the paths of one file: folders by their long names, all in capitals.
std::wstring Canonical(const std::wstring& path);

} // namespace prodsweep::logger
