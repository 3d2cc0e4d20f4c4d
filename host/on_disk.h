// What lies at a path. It is taken as it is spelt: a long one must be marked as such.
#pragma once

#include <string>

namespace prodsweep {

// A file or a folder.
bool PathExists(const std::wstring& path);

// A file, and no folder.
bool IsFile(const std::wstring& path);

} // namespace prodsweep
