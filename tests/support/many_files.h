#pragma once

#include <string>
#include <vector>

namespace prodsweep::test {

// Makes empty files below an existing folder, and the folders on their way. Names are relative, such as
// "a.txt" or "folder\a.txt". On Wine the host makes them, which is a hundred times faster at it.
[[nodiscard]] bool MakeManyFiles(const std::wstring& folder, const std::vector<std::wstring>& names);

} // namespace prodsweep::test
