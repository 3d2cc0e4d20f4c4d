#include "plan_page.h"

#include "html_text.h"
#include "plan_page_words.h"
#include "product.h"

namespace prodsweep {

namespace {

// From here on a page begins with its stages folded.
constexpr std::size_t manyItems = 400;

std::string Name(const std::string& text) { return "<span class=\"name\">" + HtmlContent(text) + "</span>"; }

std::string StateMark(ItemState state)
{
    return "<span class=\"state s-" + StateClass(state) + "\">" + StateWord(state) + "</span>";
}

std::string ItemName(const PlannedItem& item)
{
    std::string name = Name(item.name);
    if (item.kind == ItemKind::Value)
        name += " <span class=\"soft\">value</span> " + Name(item.valueName.empty() ? "(default)" : item.valueName);
    if (!item.detail.empty())
        name += " <span class=\"soft\">(" + HtmlContent(item.detail) + ")</span>";
    return name;
}

// Why it is in its state, and where it leads.
std::string Why(const PlannedItem& item)
{
    std::string why;
    const auto add = [&](const std::string& part) { why += (why.empty() ? "" : "; ") + part; };
    if (!item.user.empty())
        add("needed by " + HtmlContent(item.user));
    if (!item.by.empty())
        add((item.state == ItemState::GoesWith ? "with " : "for ") + Name(item.by));
    if (!item.reason.empty())
        add(HtmlContent(item.reason));
    if (!item.leadsTo.empty())
        add("leads to " + Name(item.leadsTo));
    return why.empty() ? "" : "<span class=\"why\">" + why + "</span>";
}

std::string Fact(const char* name, const std::string& text)
{
    return std::string("<dt>") + name + "</dt><dd>" + text + "</dd>";
}

// The row of an item that is a single thing says it all.
bool IsSingleThing(const PlannedContents& contents)
{
    return contents.folders + contents.files + contents.keys + contents.values <= 1 && contents.links == 0 &&
           contents.inUse == 0 && contents.atRestart == 0 && contents.complete;
}

std::string Numbers(const PlannedContents& contents)
{
    if (IsSingleThing(contents))
        return {};
    std::string facts;
    const auto add = [&](const char* name, std::uint64_t number, const char* behind = "") {
        if (number != 0)
            facts += Fact(name, Digits(number) + behind);
    };
    add("Folders", contents.folders);
    add("Files", contents.files);
    add("Size", contents.bytes, contents.bytes == 1 ? " byte" : " bytes");
    add("Keys", contents.keys);
    add("Values", contents.values);
    add("Links", contents.links, ", walked through; what lies behind them is counted as well");
    add("Stay in use", contents.inUse);
    add("Wait for the restart", contents.atRestart);
    if (!contents.complete)
        facts += Fact("Not all", "there is more than was counted");
    return "<dl>" + facts + "</dl>";
}

std::string Part(const PlannedPart& part)
{
    std::string text = StateMark(part.state) + ' ' + KindWord(part.kind) + ' ' + Name(part.name);
    if (!part.user.empty())
        text += " <span class=\"soft\">needed by " + HtmlContent(part.user) + "</span>";
    if (!part.leadsTo.empty())
        text += " <span class=\"soft\">leads to</span> " + Name(part.leadsTo);
    return "<li>" + text + "</li>\n";
}

std::string Parts(const PlannedItem& item)
{
    std::string parts;
    for (const PlannedPart& part : item.parts)
        parts += Part(part);
    if (item.partsLeftOut != 0)
        parts += "<li class=\"soft\">and " + Digits(item.partsLeftOut) + " more</li>\n";
    return parts.empty() ? "" : "<ul class=\"parts\">" + parts + "</ul>";
}

std::string Item(const PlannedItem& item)
{
    const std::string row = StateMark(item.state) + "<span class=\"what\">" + ItemName(item) + Why(item) +
                            "</span><span class=\"with\">" + GoingText(item.contents) + "</span>";
    const std::string data = " data-state=\"" + StateClass(item.state) + "\">";
    const std::string more = Numbers(item.contents) + Parts(item);
    if (more.empty())
        return "<div class=\"item row\"" + data + row + "</div>\n";
    return "<details class=\"item\"" + data + "<summary class=\"row\">" + row + "</summary><div class=\"more\">" +
           more + "</div></details>\n";
}

std::string Stage(const PlannedStage& stage, bool open)
{
    PlannedContents sum;
    std::string items;
    for (const PlannedItem& item : stage.items)
    {
        AddContents(sum, item);
        items += Item(item);
    }
    const std::string going = GoingText(sum);
    return "<details class=\"stage\" data-stage=\"" + HtmlText(stage.name) + (open ? "\" open>" : "\">") +
           "<summary><h3>" + HtmlContent(stage.name) + "</h3><span class=\"soft\">" +
           Counted(stage.items.size(), "item", "items") + (going.empty() ? "" : "; " + going) +
           "</span></summary>\n<div class=\"items\">\n" + items + "</div></details>\n";
}

std::string Facts(const PlannedProduct& product)
{
    std::string facts = "<p>Descriptor " + Name(product.descriptor) + "</p>";
    if (!product.fault.empty())
        facts += "<p class=\"bad\">The descriptor cannot be used: " + HtmlContent(product.fault) + ".</p>";
    std::string asked;
    std::string unread;
    for (const AskedProduct& other : product.asked)
    {
        std::string& names = other.read ? asked : unread;
        names += (names.empty() ? "" : ", ") + HtmlContent(other.name);
    }
    if (!asked.empty())
        facts += "<p>What these products use stays: " + asked + ".</p>";
    if (!unread.empty())
        facts +=
            "<p class=\"bad\">These stay as well, but nothing of theirs is protected, since their descriptors cannot "
            "be read: " +
            unread + ".</p>";
    return "<div class=\"facts\">" + facts + "</div>\n";
}

std::size_t ItemCount(const PlannedProduct& product)
{
    std::size_t count = 0;
    for (const PlannedStage& stage : product.stages)
        count += stage.items.size();
    return count;
}

std::string ProductElement(const PlannedProduct& product, bool open)
{
    std::string about =
        std::string("kind ") + KindName(product.kind) + ", " + Counted(ItemCount(product), "item", "items");
    if (product.why == PlannedProduct::Why::CleanUp)
        about += ", to clear away what it may have left";
    if (!product.installed)
        about += ", not installed";
    if (product.restart)
        about += ", needs a restart";
    std::string stages;
    for (const PlannedStage& stage : product.stages)
        stages += Stage(stage, open);
    return "<details class=\"product\" open><summary><h2>" + HtmlContent(product.name) + "</h2><span class=\"soft\">" +
           about + "</span></summary>\n" + Facts(product) + stages + "</details>\n";
}

} // namespace

std::string PlanTree(const Plan& plan)
{
    std::size_t items = 0;
    for (const PlannedProduct& product : plan.products)
        items += ItemCount(product);
    std::string tree;
    for (const PlannedProduct& product : plan.products)
        tree += ProductElement(product, items < manyItems);
    if (plan.products.empty())
        tree += "<p>Nothing would be removed.</p>\n";
    return tree;
}

} // namespace prodsweep
