#include "plan_page.h"

#include <algorithm>
#include <array>

#include "html_text.h"
#include "plan_page_words.h"
#include "text.h"

namespace prodsweep {

// From plan_page.html, plan_page.css and plan_page.js.
extern const std::string_view planPage;
extern const std::string_view planPageStyle;
extern const std::string_view planPageStyleHash;
extern const std::string_view planPageScript;
extern const std::string_view planPageScriptHash;

namespace {

constexpr std::size_t namesInHeading = 3;

constexpr std::array states = {ItemState::Present, ItemState::PartlyInUse, ItemState::AtRestart,
                               ItemState::InUse,   ItemState::GoesWith,    ItemState::Absent,
                               ItemState::Pruned,  ItemState::Skipped,     ItemState::Fails};

std::string Bold(const std::string& text) { return "<strong>" + HtmlContent(text) + "</strong>"; }
std::string Code(const std::string& text) { return "<code>" + HtmlContent(text) + "</code>"; }

// One stage of all products.
struct StageSum
{
    std::string name;
    std::array<std::uint64_t, states.size()> counts{}; // by state
    PlannedContents contents;

    std::uint64_t& CountOf(ItemState state) { return counts.at(static_cast<std::size_t>(state)); }
};

struct PlanSum
{
    std::vector<StageSum> stages;
    StageSum all;
};

// A stage that only some products have stands behind the one that it follows there.
StageSum& StageNamed(std::vector<StageSum>& stages, const std::string& name, std::size_t& behind)
{
    const auto found = std::find_if(stages.begin(), stages.end(), [&](const auto& sum) { return sum.name == name; });
    const auto place = found != stages.end() ? found
                                             : stages.insert(stages.begin() + static_cast<std::ptrdiff_t>(behind),
                                                             StageSum{name, {}, {}});
    behind = static_cast<std::size_t>(place - stages.begin()) + 1;
    return *place;
}

PlanSum SumOf(const Plan& plan)
{
    PlanSum sum;
    for (const PlannedProduct& product : plan.products)
    {
        std::size_t behind = 0;
        for (const PlannedStage& stage : product.stages)
        {
            StageSum& row = StageNamed(sum.stages, stage.name, behind);
            for (const PlannedItem& item : stage.items)
            {
                ++row.CountOf(item.state);
                ++sum.all.CountOf(item.state);
                AddContents(row.contents, item);
            }
        }
    }
    sum.all.contents = plan.total;
    return sum;
}

std::uint64_t ItemsOf(const StageSum& sum)
{
    std::uint64_t items = 0;
    for (const std::uint64_t count : sum.counts)
        items += count;
    return items;
}

std::uint64_t DealtWith(StageSum sum) { return sum.CountOf(ItemState::Present) + sum.CountOf(ItemState::PartlyInUse); }

std::string Heading(const Plan& plan, std::string (*shown)(std::string_view))
{
    std::vector<std::string> names;
    for (const PlannedProduct& product : plan.products)
    {
        const std::string name = shown(product.name);
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    if (names.empty())
        return "Nothing to remove";
    std::string heading;
    for (std::size_t i = 0; i < std::min(names.size(), namesInHeading); ++i)
        heading += (i == 0 ? "" : ", ") + names[i];
    return names.size() > namesInHeading ? heading + " and " + Counted(names.size() - namesInHeading, "other", "others")
                                         : heading;
}

// "2030-01-31T12:00:00Z" as people write it.
std::string Made(const Plan& plan)
{
    std::string time = plan.made;
    std::replace(time.begin(), time.end(), 'T', ' ');
    std::replace(time.begin(), time.end(), 'Z', ' ');
    return "Made on " + Bold(plan.machine) + ", <time datetime=\"" + HtmlText(plan.made) + "\">" + HtmlText(time) +
           "UTC</time>. Nothing has been changed.";
}

std::string Box(const char* kind, const char* id, const std::string& heading, const std::string& list)
{
    return std::string("<section class=\"box ") + kind + "\" aria-labelledby=\"" + id + "\"><h2 id=\"" + id + "\">" +
           heading + "</h2>" + (list.empty() ? "" : "<ul>" + list + "</ul>") + "</section>\n";
}

std::string Verdict(const Plan& plan)
{
    if (plan.dangers.empty())
        return Box("calm", "verdict", "No guard rail stands against it", {});
    std::string list;
    for (const PlanDanger& danger : plan.dangers)
    {
        const bool isPlace = danger.place == danger.item || danger.place == danger.leadsTo;
        list += "<li>" + Code(danger.item) +
                (danger.leadsTo.empty() ? "" : " leads to " + Code(danger.leadsTo) + ", which") +
                (isPlace ? " is " : " would take " + Code(danger.place) + ", ") + HtmlContent(danger.reason) +
                (danger.product.empty() ? "" : " <span class=\"where\">(" + HtmlContent(danger.product) + ")</span>") +
                "</li>\n";
    }
    return Box("refused", "verdict", "Refused: this must not be touched, and would be", list);
}

std::string Warnings(const Plan& plan)
{
    std::string list;
    for (const PlanWarning& warning : plan.warnings)
    {
        std::string where = warning.product.empty() ? "" : HtmlContent(warning.product);
        if (!warning.item.empty())
            where += (where.empty() ? "" : ": ") + Code(warning.item);
        list += "<li>" + (where.empty() ? "" : "<span class=\"where\">" + where + "</span><br>") +
                HtmlContent(warning.text) + "</li>\n";
    }
    return list.empty()
               ? ""
               : Box("warn", "warnings", "Worth a look: " + Counted(plan.warnings.size(), "warning", "warnings"), list);
}

std::string Figure(const std::string& number, const char* words)
{
    return "<li><b>" + number + "</b><span>" + words + "</span></li>\n";
}

std::string Figures(const Plan& plan, const StageSum& all)
{
    const PlannedContents& total = plan.total;
    const std::string more = total.complete ? "" : "+";
    std::string figures =
        Figure(Digits(plan.products.size()), plan.products.size() == 1 ? "product" : "products") +
        Figure(Digits(DealtWith(all)) + " <small>of " + Digits(ItemsOf(all)) + "</small>", "items dealt with") +
        Figure(Digits(total.files) + more, total.files == 1 ? "file" : "files") +
        Figure(SizeText(total.bytes) + more, "on the disk") +
        Figure(Digits(total.keys) + more, total.keys == 1 ? "registry key" : "registry keys");
    if (total.inUse != 0)
        figures += Figure(Digits(total.inUse), "stay, since they are in use");
    return figures + Figure(plan.restart ? "Restart" : "No restart",
                            plan.restart ? "needed to finish" : "needed, as far as can be seen");
}

std::string Cell(std::uint64_t number)
{
    return number == 0 ? "<td class=\"none\">0</td>" : "<td>" + Digits(number) + "</td>";
}

std::string StageRow(StageSum row)
{
    const std::uint64_t absent = row.CountOf(ItemState::Absent);
    const std::uint64_t items = ItemsOf(row);
    const std::uint64_t dealt = DealtWith(row);
    const std::uint64_t other =
        items - dealt - absent - row.CountOf(ItemState::AtRestart) - row.CountOf(ItemState::InUse);
    // What waits or stays may be one file in a folder that goes. A row that counted items alone would hide it.
    return "<tr><th scope=\"row\">" + HtmlContent(row.name) + "</th>" + Cell(items) + Cell(dealt) +
           Cell(row.contents.atRestart) + Cell(row.contents.inUse) + Cell(absent) + Cell(other) + "<td>" +
           GoingText(row.contents) + "</td></tr>\n";
}

std::string StageRows(const std::vector<StageSum>& stages)
{
    std::string rows;
    for (const StageSum& stage : stages)
        rows += StageRow(stage);
    return rows;
}

std::string StageOptions(const std::vector<StageSum>& stages)
{
    std::string options;
    for (const StageSum& stage : stages)
        options += "<option>" + HtmlText(stage.name) + "</option>";
    return options;
}

std::string StateChoices(StageSum all)
{
    std::string choices;
    for (const ItemState state : states)
    {
        if (const std::uint64_t count = all.CountOf(state); count != 0)
            choices += "<label class=\"choice\"><input type=\"checkbox\" value=\"" + StateClass(state) + "\"> " +
                       StateWord(state) + " <span class=\"soft\">" + Digits(count) + "</span></label>\n";
    }
    return choices;
}

std::string Fact(const char* name, const std::string& text)
{
    return std::string("<dt>") + name + "</dt><dd>" + text + "</dd>\n";
}

std::string Chosen(const PlanSelection& selection)
{
    std::string chosen;
    for (const std::string& name : selection.names)
        chosen += (chosen.empty() ? "" : ", ") + HtmlContent(name);
    if (selection.allInstalled)
        chosen = "every installed product";
    if (selection.forceAll)
        chosen = "every product, installed or not";
    if (selection.kind != "all")
        chosen += " (kind " + HtmlContent(selection.kind) + ")";
    return selection.force ? chosen + ", installed or not" : chosen;
}

std::string Closing(const Plan& plan, StageSum all)
{
    std::string words;
    for (const ItemState state : states)
    {
        if (all.CountOf(state) != 0)
            words += Fact(StateWord(state), StateMeaning(state));
    }
    std::string facts = Fact("Chosen", Chosen(plan.selection));
    if (!plan.notInstalled.empty())
    {
        std::string names;
        for (const std::string& name : plan.notInstalled)
            names += (names.empty() ? "" : ", ") + HtmlContent(name);
        facts += Fact("Left alone", names + ": not installed");
    }
    facts += Fact("Library", Code(plan.library)) + Fact("Catalogues", Code(plan.catalogues)) +
             Fact("Made by", "prodsweep " PRODSWEEP_VERSION);
    return (words.empty() ? "" : "<dl>" + words + "</dl>") + "<dl>" + facts + "</dl>";
}

} // namespace

std::string PlanAsPage(const Plan& plan)
{
    const PlanSum sum = SumOf(plan);
    return FillPage(planPage, {{"title", Heading(plan, HtmlText) + " - removal plan"},
                               {"heading", Heading(plan, HtmlContent)},
                               {"made", Made(plan)},
                               {"verdict", Verdict(plan)},
                               {"figures", Figures(plan, sum.all)},
                               {"warnings", Warnings(plan)},
                               {"stages", StageRows(sum.stages)},
                               {"stageOptions", StageOptions(sum.stages)},
                               {"stateChoices", StateChoices(sum.all)},
                               {"products", PlanTree(plan)},
                               {"closing", Closing(plan, sum.all)},
                               {"style", std::string(planPageStyle)},
                               {"styleHash", std::string(planPageStyleHash)},
                               {"script", std::string(planPageScript)},
                               {"scriptHash", std::string(planPageScriptHash)}});
}

} // namespace prodsweep
