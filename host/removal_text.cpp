#include "removal_report.h"

#include "text.h"

namespace prodsweep {

namespace {

const char* OutcomeText(Outcome outcome)
{
    switch (outcome)
    {
    case Outcome::Gone:
        return "gone";
    case Outcome::GoneAfterRestart:
        return "gone after the restart";
    case Outcome::Remains:
        return "remains";
    case Outcome::NotInstalled:
        break;
    }
    return "was not installed";
}

std::string StagesText(const std::vector<StageReport>& stages)
{
    std::string text;
    for (const StageReport& stage : stages)
        text += "  " + stage.stage + std::string(20 - stage.stage.size(), ' ') +
                (stage.done ? "done" : "something failed; the log tells what") + "\n";
    return text;
}

std::string CleanedUpText(const CleanedUp& product)
{
    return Printable(product.name) + ": cleaned up with the last of kind " + KindName(product.kind) +
           (product.descriptorRead ? "" : " (its descriptor cannot be read; nothing was done)") + "\n" +
           StagesText(product.stages);
}

std::string ProductText(const ProductOutcome& product)
{
    std::string text = Printable(product.name) + ": " + OutcomeText(product.outcome);
    if (!product.reason.empty())
        text += " (" + Printable(product.reason) + ")";
    text += "\n" + StagesText(product.stages);
    for (const StayedItem& item : product.stayed)
        text += "  stays, in use by " + Printable(item.user + ": " + item.kind + ' ' + item.name) + "\n";
    return text;
}

} // namespace

std::string RemovalAsText(const RemovalReport& report)
{
    std::string text;
    for (const ProductOutcome& product : report.products)
        text += ProductText(product);
    for (const CleanedUp& product : report.cleanedUp)
        text += CleanedUpText(product);
    if (report.products.empty())
        text += "Nothing was installed, and nothing was done.\n";
    if (report.restart)
        text += "\nA restart of the machine is needed to finish.\n";
    return text;
}

} // namespace prodsweep
