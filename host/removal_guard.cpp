#include "removal_guard.h"

namespace prodsweep {

namespace {

void AddObjection(std::vector<std::string>& objections, std::optional<std::uint64_t> most, std::uint64_t count,
                  bool complete, const char* what, const char* option)
{
    if (!most)
        return;
    const std::string allowed = std::string(option) + " allows " + std::to_string(*most);
    if (count > *most)
        objections.push_back("it would take " + std::to_string(count) + ' ' + what +
                             (count == 1 ? ", and " : "s, and ") + allowed);
    else if (!complete)
        objections.push_back(std::string("it would take more ") + what + "s than were counted, and " + allowed);
}

} // namespace

std::string DangerClause(const PlanDanger& danger)
{
    const bool isPlace = danger.place == danger.item || danger.place == danger.leadsTo;
    std::string text = '"' + danger.item + "\" of \"" + danger.product + '"';
    if (!danger.leadsTo.empty() && danger.leadsTo != danger.item)
        text += " leads to \"" + danger.leadsTo + "\", which";
    return text + (isPlace ? " is " : " is or holds \"" + danger.place + "\", ") + danger.reason;
}

std::vector<std::string> FindObjections(const Plan& plan, const GuardLimits& limits)
{
    std::vector<std::string> objections;
    objections.reserve(plan.dangers.size());
    for (const PlanDanger& danger : plan.dangers)
        objections.push_back(DangerClause(danger));
    AddObjection(objections, limits.maxFiles, plan.total.files, plan.total.complete, "file", "--max-files");
    AddObjection(objections, limits.maxKeys, plan.total.keys, plan.total.complete, "key", "--max-keys");
    return objections;
}

} // namespace prodsweep
