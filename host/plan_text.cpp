#include "plan_report.h"

#include <cstdint>
#include <map>
#include <set>
#include <string_view>
#include <vector>

#include "product.h"
#include "removal.h"
#include "removal_guard.h"
#include "text.h"

namespace prodsweep {

namespace {

std::string Line(std::size_t depth, std::string_view text)
{
    return std::string(depth * 2, ' ') + Printable(text) + '\n';
}

std::string Count(std::uint64_t number, const char* one, const char* many)
{
    return std::to_string(number) + ' ' + (number == 1 ? one : many);
}

// What would go with it, in words; empty when that is just the thing itself.
std::string ContentsText(const PlannedContents& contents)
{
    std::string text;
    const auto add = [&](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
    if (contents.folders != 0)
        add(Count(contents.folders, "folder", "folders"));
    if (contents.files != 0)
        add(Count(contents.files, "file", "files") + " of " + Count(contents.bytes, "byte", "bytes"));
    if (contents.keys != 0)
        add(Count(contents.keys, "key", "keys"));
    if (contents.values != 0)
        add(Count(contents.values, "value", "values"));
    if (contents.links != 0)
        add(Count(contents.links, "link", "links") + " walked through");
    if (contents.inUse != 0)
        add(Count(contents.inUse, "stays", "stay") + " in use");
    if (contents.atRestart != 0)
        add(Count(contents.atRestart, "waits", "wait") + " for the restart");
    return text + (contents.complete ? "" : text.empty() ? "not counted" : ", and more");
}

std::string StateText(const PlannedItem& item)
{
    std::string text = StateWord(item.state);
    if (!item.by.empty())
        text += " \"" + item.by + '"';
    if (item.state == ItemState::InUse)
        text += " by " + item.user;
    if (!item.reason.empty())
        text += ": " + item.reason;
    // The reason of an item that must not go says already that it was not looked into.
    const bool isToldWhy = item.state == ItemState::Present && !item.reason.empty() && !item.contents.complete;
    const std::string contents = isToldWhy ? "" : ContentsText(item.contents);
    return text + (contents.empty() ? "" : " (" + contents + ')');
}

std::string PartText(const PlannedPart& part)
{
    std::string text = std::string(KindWord(part.kind)) + ' ' + part.name;
    if (part.kind == PlannedPart::Kind::Link)
        return text + " leads to " + part.leadsTo;
    if (!part.leadsTo.empty())
        text += " (leads to " + part.leadsTo + ')';
    return text + ": " + StateWord(part.state) + (part.user.empty() ? "" : " by " + part.user);
}

std::string ItemText(const PlannedItem& item)
{
    std::string name = item.name;
    if (item.kind == ItemKind::Value)
        name += " \"" + item.valueName + '"';
    if (!item.detail.empty())
        name += " (" + item.detail + ')';
    std::string text = Line(2, name);
    if (!item.leadsTo.empty())
        text += Line(3, "leads to " + item.leadsTo);
    text += Line(3, StateText(item));
    for (const PlannedPart& part : item.parts)
        text += Line(4, PartText(part));
    if (item.partsLeftOut != 0)
        text += Line(4, "and " + std::to_string(item.partsLeftOut) + " more");
    return text;
}

std::string ProductText(const PlannedProduct& product)
{
    std::string text = Line(0, product.name + " (kind " + KindName(product.kind) + ')' +
                                   (product.why == PlannedProduct::Why::CleanUp ? ", to clean up" : "") +
                                   (product.installed ? "" : ", not installed"));
    if (!product.fault.empty())
        text += Line(1, "descriptor " + product.descriptor + ": " + product.fault);
    for (const AskedProduct& other : product.asked)
        text += Line(1, other.name + " stays" +
                            (other.read ? " and is asked what it uses" : ", but its descriptor cannot be read"));
    for (const PlannedStage& stage : product.stages)
    {
        text += Line(1, stage.name);
        for (const PlannedItem& item : stage.items)
            text += ItemText(item);
    }
    return text + '\n';
}

// The names of what each stage would deal with, in lower case, as often as they stand there. Functions of DLLs are
// apart from the tools of their stage.
using NamesByStage = std::map<std::string, std::vector<std::wstring>>;
constexpr const char* functionsOfDlls = "functions";

NamesByStage PresentNames(const Plan& plan)
{
    NamesByStage stages;
    for (const PlannedProduct& product : plan.products)
    {
        for (const PlannedStage& stage : product.stages)
        {
            for (const PlannedItem& item : stage.items)
            {
                if (item.state == ItemState::Present)
                    stages[item.kind == ItemKind::DllFunction ? functionsOfDlls : stage.name].push_back(
                        ToLower(ToWide(item.name)));
            }
        }
    }
    return stages;
}

// What would be done without anything being deleted by it.
std::string ActionsText(const Plan& plan)
{
    NamesByStage stages = PresentNames(plan);
    std::string text;
    const auto add = [&](std::size_t number, const char* one, const char* many, const char* verb) {
        if (number != 0)
            text += (text.empty() ? "" : ", ") + Count(number, one, many) + " would be " + verb;
    };
    // Several products may name one service or program, which is one thing; a tool is run for each.
    const auto different = [&](int event) {
        const std::vector<std::wstring>& names = stages[StageName(event)];
        return std::set<std::wstring>(names.begin(), names.end()).size();
    };
    add(different(PRODSWEEP_EVENT_STOP_DRIVER), "service", "services", "stopped");
    add(different(PRODSWEEP_EVENT_DISABLE_DRIVER), "service", "services", "disabled");
    add(stages[functionsOfDlls].size(), "function", "functions", "called");
    add(stages[StageName(PRODSWEEP_EVENT_TOOLS)].size(), "tool", "tools", "run");
    add(different(PRODSWEEP_EVENT_PROCESSES), "program", "programs", "ended");
    return text;
}

std::string TotalText(const Plan& plan)
{
    const std::string contents = ContentsText(plan.total);
    const std::string actions = ActionsText(plan);
    if (actions.empty())
        return contents.empty() ? "nothing would go" : contents;
    return (contents.empty() ? "nothing would be deleted" : contents) + "; " + actions;
}

std::string RestartText(const Plan& plan)
{
    if (!plan.restart)
        return {};
    std::string text = "A restart of the machine would be needed to finish, for:\n";
    for (const PlannedProduct& product : plan.products)
    {
        for (const std::string& cause : product.restartFor)
            text += Line(1, product.name + ": " + cause);
    }
    return text;
}

} // namespace

std::string WarningSentence(const PlanWarning& warning)
{
    return (warning.product.empty() ? "" : warning.product + ": ") + (warning.item.empty() ? "" : warning.item + ": ") +
           warning.text;
}

std::string PlanAsText(const Plan& plan)
{
    std::string text;
    for (const PlannedProduct& product : plan.products)
        text += ProductText(product);
    for (const std::string& name : plan.notInstalled)
        text += Line(0, name + ": not installed, and left alone");
    for (const PlanWarning& warning : plan.warnings)
        text += Line(0, "warning: " + WarningSentence(warning));
    for (const PlanDanger& danger : plan.dangers)
        text += Line(0, "DANGER: " + DangerClause(danger));
    return text + Line(0, "In all: " + TotalText(plan) + '.') + RestartText(plan);
}

} // namespace prodsweep
