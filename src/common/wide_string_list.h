#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace prodsweep {

// Paths, names and search texts, in the order in which they were found.
using WideStringList = std::vector<std::wstring>;

// By character value. Texts are compared from their ends: paths of one folder differ there, and begin alike.
[[nodiscard]] bool Holds(const WideStringList& list, std::wstring_view text);

} // namespace prodsweep
