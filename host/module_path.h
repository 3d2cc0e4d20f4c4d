// Paths of modules and files, of any length.
#pragma once

#include <string>

#include <windows.h>

namespace prodsweep {

// Full path of a loaded module; null: of the program. Throws CFailure.
std::wstring ModulePath(HMODULE module);

// The folder of a full path, with the backslash at its end.
std::wstring FolderOf(const std::wstring& path);

// Throws CFailure for a path that names nothing.
std::wstring FullPath(const std::wstring& path);

} // namespace prodsweep
