#pragma once

#include "interpreter/attribute_map.h"

namespace prodsweep {

// Whether an entry's "os" lets it run on this system.
enum class OsCondition
{
    Met,
    MeantFor32Bit,
    MeantFor64Bit
};
// "x32" and "x64" are compared exactly; any other text, or none, fits every system.
[[nodiscard]] OsCondition CompareOs(const AttributeMap& attributes);

} // namespace prodsweep
