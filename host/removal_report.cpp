#include "removal_report.h"

#include "exit_codes.h"

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

} // namespace

ProductOutcome JudgeRemoval(const Product& before, const Product* after, const RemovalResult& result)
{
    ProductOutcome outcome{before.name, before.kind, Outcome::Gone, {}, result.stages};
    if (after == nullptr)
    {
        if (result.restart)
        {
            outcome.outcome = Outcome::GoneAfterRestart;
            outcome.reason = "what could not be deleted now is deleted at the next restart";
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
    outcome.reason = result.descriptorRead ? MarkOf(*after) : "its descriptor cannot be read; " + MarkOf(*after);
    return outcome;
}

int ExitCodeOf(const RemovalReport& report)
{
    if (report.failed)
        return exitRemovalFailed;
    return report.restart ? exitRestartRequired : exitDone;
}

} // namespace prodsweep
