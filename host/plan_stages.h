// The stages of one product's removal, from what the pass recorded and what the machine says.
#pragma once

#include <string>

#include "look.h"
#include "planned_removal.h"

namespace prodsweep {

// The details of tools.
constexpr const char* waitedFor = "waited for";
constexpr const char* notWaitedFor = "not waited for";

// Fills in the stages of context.product.
void PlanStages(const CPlannedRemoval& removal, const LookContext& context);

} // namespace prodsweep
