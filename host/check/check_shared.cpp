#include "check/checks.h"

#include <map>
#include <set>
#include <string_view>
#include <tuple>
#include <utility>

#include "check/named_things.h"

namespace prodsweep {

namespace {

using Kind = NamedThing::Kind;

// How one thing lies to the other.
enum class Relation
{
    Same,
    Within,
    Around
};

// The removal that comes to what lies in a folder or key spells it by that place's text, and by what the machine has
// behind it: single "\" in any case, and of letters no text can tell.
bool ComesToItAs(const NamedThing& outer, const NamedThing& inner)
{
    if (outer.x32view != inner.x32view || !inner.spelled.starts_with(outer.spelled + L'\\'))
        return false;
    const std::wstring_view rest = std::wstring_view(inner.spelled).substr(outer.spelled.size());
    return inner.kind != Kind::Path ||
           (rest.find(L'/') == std::wstring_view::npos && rest.find(L"\\\\") == std::wstring_view::npos);
}

// What one product uses, the other's removal knows by this very text.
bool AreSpelledAlike(const NamedThing& thing, const NamedThing& other, Relation relation)
{
    if (relation == Relation::Same)
        return thing.spelled == other.spelled && thing.x32view == other.x32view;
    return relation == Relation::Within ? ComesToItAs(other, thing) : ComesToItAs(thing, other);
}

// What two things that Windows takes for one, or for one in the other, break; empty when they do no harm to each other.
std::string_view RuleFor(const NamedThing& thing, const NamedThing& other, Relation relation)
{
    if (thing.file == other.file)
        return {};
    // Only the family protects, and only its own.
    if (thing.file->owner != Owner::Own || other.file->owner != Owner::Own)
        return "shared-unprotected";
    if (thing.kind == Kind::Service)
        return "shared-service";
    return AreSpelledAlike(thing, other, relation) ? "" : "shared-spelling";
}

std::string Told(const NamedThing& thing, const NamedThing& other, Relation relation, std::string_view rule)
{
    const std::string line = "line " + std::to_string(other.at.line);
    if (relation != Relation::Same)
        return Quoted(thing.spelled) + (relation == Relation::Within ? " lies in " : " holds ") +
               Quoted(other.spelled) + ", which " + other.file->shown + " names in " + line + '.';
    const std::string where = " in " + other.file->shown + ", " + line;
    if (rule != "shared-spelling")
        return Quoted(thing.spelled) + " is named" + where + ", too.";
    if (thing.spelled == other.spelled)
        return Quoted(thing.spelled) + " has another x32view" + where + '.';
    return Quoted(thing.spelled) + " is " + Quoted(other.spelled) + where + '.';
}

// Tells each rule once for each thing: the first other thing is as good as all.
class CSharedReport
{
public:
    explicit CSharedReport(CFindings& all) : findings(all) {}

    void Compare(const NamedThing& thing, const NamedThing& other, Relation relation)
    {
        const std::string_view rule = RuleFor(thing, other, relation);
        if (!rule.empty() && told.emplace(&thing, rule).second)
            CFileReport(findings, thing.file->shown).Add(rule, thing.at, Told(thing, other, relation, rule));
    }

private:
    CFindings& findings;
    std::set<std::pair<const NamedThing*, std::string_view>> told;
};

// Of each file once for each spelling.
std::vector<NamedThing> ThingsOf(std::span<const DescriptorModel> models)
{
    std::vector<NamedThing> things;
    for (const DescriptorModel& model : models)
    {
        std::set<std::tuple<Kind, bool, bool, std::wstring>> seen;
        for (NamedThing& thing : ThingsOf(model))
        {
            if (seen.emplace(thing.kind, thing.holdsOthers, thing.x32view, thing.spelled).second)
                things.push_back(std::move(thing));
        }
    }
    return things;
}

using ThingsByText = std::map<std::pair<Kind, std::wstring>, std::vector<const NamedThing*>>;

ThingsByText ByPlainText(const std::vector<NamedThing>& things)
{
    ThingsByText found;
    for (const NamedThing& thing : things)
        found[{thing.kind, thing.plain}].push_back(&thing);
    return found;
}

void CompareWithPlacesAround(const NamedThing& thing, const ThingsByText& byText, CSharedReport& report)
{
    const Kind kindOfPlaces = thing.kind == Kind::Value ? Kind::Key : thing.kind;
    for (const std::wstring& place : PlacesAround(thing))
    {
        const auto found = byText.find({kindOfPlaces, place});
        if (found == byText.end())
            continue;
        for (const NamedThing* other : found->second)
        {
            if (!other->holdsOthers)
                continue;
            report.Compare(thing, *other, Relation::Within);
            report.Compare(*other, thing, Relation::Around);
        }
    }
}

} // namespace

void CheckShared(std::span<const DescriptorModel> models, CFindings& findings)
{
    const std::vector<NamedThing> things = ThingsOf(models);
    const ThingsByText byText = ByPlainText(things);
    CSharedReport report(findings);
    for (const auto& [text, same] : byText)
    {
        for (const NamedThing* thing : same)
        {
            for (const NamedThing* other : same)
                report.Compare(*thing, *other, Relation::Same);
        }
    }
    for (const NamedThing& thing : things)
        CompareWithPlacesAround(thing, byText, report);
}

} // namespace prodsweep
