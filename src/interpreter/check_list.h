#pragma once

#include "interpreter/product_check_use.h"

#include <vector>

namespace prodsweep {

// The products that stay while others are removed. Each removal of a run gets the same list.
using CheckList = std::vector<CProductCheckUse>;

} // namespace prodsweep
