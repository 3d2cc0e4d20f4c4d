// How a plan reads: for people, and for scripts.
#pragma once

#include <string>

#include "json.h"
#include "plan.h"

namespace prodsweep {

std::string PlanAsText(const Plan& plan);

// With the product and the item that it is about.
std::string WarningSentence(const PlanWarning& warning);

// The object of --json, which is also what --save writes.
Json PlanAsJson(const Plan& plan);

// That object as it is written.
std::string PlanJsonText(const Plan& plan);

} // namespace prodsweep
