#include "check/checks.h"

#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "check/key_text.h"
#include "check/known_names.h"
#include "interpreter/entry_composer.h"

namespace prodsweep {

namespace {

enum class ThingKind
{
    Path,
    Key,
    Value,
    Service
};

// Something that an entry names, as the library compares it and as Windows does. The library knows each hive by its
// long name there, whichever was written.
struct Thing
{
    ThingKind kind;
    std::wstring spelled;
    std::wstring folded;
    const SourceFile* file;
    Position at;
};

std::wstring WithLongHive(const std::wstring& text)
{
    const KeyText key = SplitKeyText(text);
    return key.hiveKnown ? key.hive + L'\\' + key.subkey : text;
}

// The app path of a version is known on the machine only, and differs from product to product.
bool LiesInAppPath(const EntryModel& entry, const wchar_t* attribute = L"path")
{
    const std::wstring* keyword = entry.Find(attribute);
    return keyword != nullptr && *keyword == L"app_path";
}

void AddPath(const EntryPlace& place, std::vector<Thing>& things)
{
    const bool isFile = place.section.Is(L"del_file");
    if ((!isFile && !place.section.Is(L"del_folder")) || LiesInAppPath(place.entry))
        return;
    const FileEntry file = isFile ? ComposeFile(place.entry.attributes, {}) : FileEntry();
    const FolderEntry folder = isFile ? FolderEntry() : ComposeFolder(place.entry.attributes, {});
    const std::wstring& path = isFile ? file.path : folder.path;
    if (!path.empty())
        things.push_back({ThingKind::Path, path, Lowered(path), place.model.file, place.entry.node->at});
}

void AddKeyOrValue(const EntryPlace& place, std::vector<Thing>& things)
{
    const auto add = [&](ThingKind kind, const std::wstring& text) {
        things.push_back({kind, text, Lowered(text), place.model.file, place.entry.node->at});
    };
    const std::wstring* name = place.entry.Find(L"name");
    if (place.section.Is(L"del_regkey") && name != nullptr && !place.entry.Find(L"data_str"))
        add(ThingKind::Key, WithLongHive(*name));
    if (!place.section.Is(L"del_regvalue") || LiesInAppPath(place.entry, L"rel_name"))
        return;
    const RegValueEntry value = ComposeRegValue(place.entry.attributes, {});
    if (value.fault == EntryFault::None)
        add(ThingKind::Value, WithLongHive(value.key) + L'\\' + value.valueName);
}

void AddService(const EntryPlace& place, std::vector<Thing>& things)
{
    const bool isService = place.section.Is(L"disable_driver") || place.section.Is(L"disable_service") ||
                           place.section.Is(L"disableandstop_driver") || place.section.Is(L"disableandstop_service");
    if (const std::wstring* name = place.entry.Find(L"name"); isService && name != nullptr)
        things.push_back({ThingKind::Service, *name, Lowered(*name), place.model.file, place.entry.node->at});
}

std::vector<Thing> ThingsOf(const DescriptorModel& model)
{
    std::vector<Thing> things;
    for (const EntryPlace& place : ListedEntriesOf(model))
    {
        AddPath(place, things);
        AddKeyOrValue(place, things);
        AddService(place, things);
    }
    return things;
}

// What two things that Windows takes for one break; empty when they do no harm to each other.
std::string_view RuleFor(const Thing& thing, const Thing& other)
{
    if (thing.file == other.file)
        return {};
    // Only the family protects, and only its own.
    if (thing.file->owner != Owner::Own || other.file->owner != Owner::Own)
        return "shared-unprotected";
    if (thing.kind == ThingKind::Service)
        return "shared-service";
    return thing.spelled != other.spelled ? "shared-spelling" : "";
}

void Report(const Thing& thing, const Thing& other, std::string_view rule, CFindings& findings)
{
    const std::string where = " in " + other.file->shown + ", line " + std::to_string(other.at.line);
    const std::string what = rule == "shared-spelling"
                                 ? Quoted(thing.spelled) + " is " + Quoted(other.spelled) + where + '.'
                                 : Quoted(thing.spelled) + " is named" + where + ", too.";
    CFileReport(findings, thing.file->shown).Add(rule, thing.at, what);
}

// Each rule once: the first other thing is as good as all.
void Compare(const Thing& thing, const std::vector<Thing>& things, CFindings& findings)
{
    std::set<std::string_view> told;
    for (const Thing& other : things)
    {
        const std::string_view rule = RuleFor(thing, other);
        if (!rule.empty() && told.insert(rule).second)
            Report(thing, other, rule, findings);
    }
}

} // namespace

void CheckShared(std::span<const DescriptorModel> models, CFindings& findings)
{
    std::map<std::pair<ThingKind, std::wstring>, std::vector<Thing>> byThing;
    for (const DescriptorModel& model : models)
    {
        // Once for each spelling in a file.
        std::set<std::pair<ThingKind, std::wstring>> spellings;
        for (Thing& thing : ThingsOf(model))
        {
            if (spellings.emplace(thing.kind, thing.spelled).second)
                byThing[{thing.kind, thing.folded}].push_back(std::move(thing));
        }
    }
    for (const auto& [key, things] : byThing)
    {
        for (const Thing& thing : things)
            Compare(thing, things, findings);
    }
}

} // namespace prodsweep
