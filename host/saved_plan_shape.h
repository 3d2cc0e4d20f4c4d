// Whether a file holds a plan as this program writes it: it may be damaged, or somebody has edited it.
#pragma once

#include "json.h"

namespace prodsweep {

// True: each member of a plan is there and of its type, and what was chosen could have been chosen on a command line.
// Members that are not known do no harm.
bool HasPlanShape(const Json& plan);

} // namespace prodsweep
