// Why an entry of a descriptor names nothing.
#pragma once

#include <string>

namespace prodsweep {

struct ComposedEntry;

// A clause about the entry, "it has no name"; empty when nothing is at fault.
std::string FaultText(const ComposedEntry& composed);

} // namespace prodsweep
