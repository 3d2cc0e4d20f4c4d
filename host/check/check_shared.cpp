#include "check/checks.h"

#include <algorithm>
#include <map>
#include <set>
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

// Something that an entry names, as the library compares it and as Windows does.
struct Thing
{
    ThingKind kind;
    std::wstring spelled;
    std::wstring folded;
    const SourceFile* file;
    Position at;
};

std::wstring LoweredKey(const std::wstring& text)
{
    const KeyText key = SplitKeyText(text);
    return key.hiveKnown ? Lowered(key.hive + L'\\' + key.subkey) : Lowered(text);
}

// The app path of a version is known on the machine only, and differs from product to product.
bool LiesInAppPath(const EntryModel& entry)
{
    const std::wstring* keyword = entry.Find(L"path");
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
    const std::wstring* name = place.entry.Find(L"name");
    if (place.section.Is(L"del_regkey") && name != nullptr && !place.entry.Find(L"data_str"))
        things.push_back({ThingKind::Key, *name, LoweredKey(*name), place.model.file, place.entry.node->at});
    const std::wstring* key = place.entry.Find(L"key_path");
    if (place.section.Is(L"del_regvalue") && name != nullptr && key != nullptr)
        things.push_back({ThingKind::Value, *key + L'\\' + *name, LoweredKey(*key) + L'\\' + Lowered(*name),
                          place.model.file, place.entry.node->at});
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

void Compare(const Thing& thing, const Thing& other, CFindings& findings)
{
    const CFileReport report(findings, thing.file->shown);
    const std::string where = " in " + other.file->shown + ", line " + std::to_string(other.at.line);
    const bool own = thing.file->owner == Owner::Own;
    if (own && thing.kind == ThingKind::Service)
        report.Add("shared-service", thing.at, Quoted(thing.spelled) + " is named" + where + ", too.");
    else if (own && thing.spelled != other.spelled)
        report.Add("shared-spelling", thing.at, Quoted(thing.spelled) + " is " + Quoted(other.spelled) + where + '.');
    else if (!own)
        report.Add("shared-unprotected", thing.at, Quoted(thing.spelled) + " is named" + where + ", too.");
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
        {
            const auto other = std::find_if(things.begin(), things.end(), [&](const Thing& candidate) {
                return candidate.file != thing.file && candidate.file->owner == thing.file->owner &&
                       (thing.kind == ThingKind::Service || thing.file->owner != Owner::Own ||
                        candidate.spelled != thing.spelled);
            });
            if (other != things.end())
                Compare(thing, *other, findings);
        }
    }
}

} // namespace prodsweep
