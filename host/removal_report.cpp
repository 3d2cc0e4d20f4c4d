#include "removal_report.h"

#include <algorithm>
#include <utility>

#include "exit_codes.h"
#include "plan.h"

namespace prodsweep {

namespace {

// The mark by which the product is still found.
std::string MarkOf(const Product& product)
{
    if (product.versions.empty())
        return "its descriptor still reaches its score";
    const std::string guid = product.versions.front().guid.value_or("");
    return guid.empty() ? "one of its registry keys still stands"
                        : "the registry key of its version " + guid + " still stands";
}

void AddStayed(std::vector<StayedItem>& stayed, const PlannedItem& item)
{
    if (item.state == ItemState::InUse && item.parts.empty())
        stayed.push_back(
            {KindWord(item.kind), item.name + (item.valueName.empty() ? "" : " \"" + item.valueName + '"'), item.user});
    for (const PlannedPart& part : item.parts)
    {
        if (part.state == ItemState::InUse)
            stayed.push_back({KindWord(part.kind), part.name, part.user});
    }
}

} // namespace

ProductRun TakeRun(RemovalResult& result, const Product& product)
{
    const auto found = std::find_if(result.runs.begin(), result.runs.end(),
                                    [&](const ProductRun& run) { return run.product == product.name; });
    if (found == result.runs.end())
        return {product.name, {}, false};
    ProductRun run = std::move(*found);
    result.runs.erase(found);
    return run;
}

ProductOutcome JudgeRemoval(const Product& before, const Product* after, const RemovalResult& result,
                            const ProductRun& run)
{
    ProductOutcome outcome{before.name, before.kind, Outcome::Gone, {}, run.stages, {}};
    if (after == nullptr)
    {
        if (result.restart)
        {
            outcome.outcome = Outcome::GoneAfterRestart;
            outcome.reason = "its removal asks for a restart of the machine";
        }
        else if (!result.success)
        {
            outcome.reason = "it is not found any more, though its removal reported a failure";
        }
        return outcome;
    }
    // A registry key does not wait for a restart; files do, and a descriptor scores on them.
    if (result.restart && result.success && after->versions.empty())
    {
        outcome.outcome = Outcome::GoneAfterRestart;
        outcome.reason = MarkOf(*after) + " on what is deleted at the next restart";
        return outcome;
    }
    outcome.outcome = Outcome::Remains;
    outcome.reason = run.descriptorRead ? MarkOf(*after) : "its descriptor cannot be read; " + MarkOf(*after);
    return outcome;
}

void AddCleanedUp(RemovalReport& report, const std::vector<ProductRun>& runs, int kind)
{
    for (const ProductRun& run : runs)
        report.cleanedUp.push_back({run.product, kind, run.stages, run.descriptorRead});
}

void AddStayed(RemovalReport& report, const Plan& plan)
{
    for (const PlannedProduct& planned : plan.products)
    {
        const auto outcome = std::find_if(report.products.begin(), report.products.end(), [&](const auto& product) {
            return product.name == planned.name && product.kind == planned.kind;
        });
        if (outcome == report.products.end())
            continue;
        for (const PlannedStage& stage : planned.stages)
        {
            for (const PlannedItem& item : stage.items)
                AddStayed(outcome->stayed, item);
        }
    }
}

int ExitCodeOf(const RemovalReport& report)
{
    if (report.failed)
        return exitRemovalFailed;
    return report.restart ? exitRestartRequired : exitDone;
}

} // namespace prodsweep
