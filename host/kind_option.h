// The option --kind, which several commands have.
#pragma once

#include <string>

namespace prodsweep {

class COptions;

// kind: "own", "other" or "all"; what it holds beforehand is the default.
void AddKindOption(COptions& options, std::string& kind);

bool IsKindName(const std::string& kind);

// PRODSWEEP_LIST_...; for a single kind also its PRODSWEEP_KIND_... number. 0, which lists nothing, for any other name.
int FlagsOfKind(const std::string& kind);

} // namespace prodsweep
