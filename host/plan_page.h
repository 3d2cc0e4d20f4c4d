// A plan as a page to pass on: one HTML file that needs nothing else, neither files nor network nor, to be read,
// scripts.
#pragma once

#include <string>

#include "plan.h"

namespace prodsweep {

// UTF-8. Whatever a name or path holds is text in it, never markup.
std::string PlanAsPage(const Plan& plan);

// Its tree: products, their stages, the stages' items, what would go with an item.
std::string PlanTree(const Plan& plan);

} // namespace prodsweep
