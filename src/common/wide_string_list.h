#pragma once

#include <string>
#include <vector>

namespace prodsweep {

// Paths, names and search texts, in the order in which they were found.
using WideStringList = std::vector<std::wstring>;

} // namespace prodsweep
