// A plan in a file, and whether the machine is still as it says.
#pragma once

#include <memory>
#include <string>

#include "json.h"
#include "plan.h"

namespace prodsweep {

struct SavedPlan
{
    PlanSelection selection;
    std::shared_ptr<const Json> json; // null: there is none
};

// path is UTF-8. Both throw CFailure.
void SavePlan(const Plan& plan, const std::string& path);
SavedPlan ReadSavedPlan(const std::string& path);

// What differs first between the plan as it was saved and the plan of this moment, as a clause: "the folder is absent
// and was present". Empty: nothing that matters. Whether a program runs, or has a file open, does not matter.
std::string FindDrift(const Json& saved, const Json& now);
// saved holds a plan.
std::string FindDrift(const SavedPlan& saved, const Plan& now);

} // namespace prodsweep
