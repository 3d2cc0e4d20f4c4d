// A plan in a file, and whether the machine is still as it says.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "json.h"
#include "plan.h"

namespace prodsweep {

struct SavedPlan
{
    PlanSelection selection;
    Json json;
};

// path is UTF-8. Both throw CFailure.
void SavePlan(const Plan& plan, const std::string& path);
SavedPlan ReadSavedPlan(const std::string& path);

// What differs first between the plan as it was saved and the plan of this moment, as a clause: "the folder is absent
// and was present". Empty: nothing that matters. Whether a program runs, or has a file open, does not matter.
std::string FindDrift(const Json& saved, const Json& now);

} // namespace prodsweep
