// What keeps a planned removal from being started.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "plan.h"

namespace prodsweep {

struct GuardLimits
{
    std::optional<std::uint64_t> maxFiles;
    std::optional<std::uint64_t> maxKeys;
};

// "\"C:\\x\" of \"Anvil\" is the folder of Windows"
std::string DangerClause(const PlanDanger& danger);

// Each as a clause, the dangers in the order of the sweep: '"C:\x" of "Anvil" is the folder of Windows'. Empty:
// nothing.
std::vector<std::string> FindObjections(const Plan& plan, const GuardLimits& limits);

} // namespace prodsweep
