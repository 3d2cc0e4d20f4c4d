#include "check/checks.h"

#include <algorithm>

#include "check/key_text.h"
#include "check/system_places.h"
#include "interpreter/entry_composer.h"
#include "registry/value_pattern.h"

namespace prodsweep {

namespace {

void CheckKeyText(const std::wstring& text, Position at, const CFileReport& report)
{
    const KeyText key = SplitKeyText(text);
    if (!key.hiveKnown)
        report.Add("unknown-hive", at, HiveFault(text));
    else if (HasOddSeparator(key.subkey))
        report.Add("key-separator", at, Quoted(text) + R"( is not parted by single "\".)");
}

void CheckKey(const EntryPlace& place, const CFileReport& report)
{
    const bool isKey = place.section.Is(L"del_regkey");
    const wchar_t* name = isKey ? L"name" : L"key_path";
    const std::wstring* text = place.entry.Find(name);
    if (text == nullptr || !(isKey || place.section.Is(L"del_regvalue")))
        return;
    CheckKeyText(*text, place.entry.At(name), report);
    const KeyText key = SplitKeyText(*text);
    if (!isKey || !key.hiveKnown || place.entry.Find(L"data_str"))
        return;
    if (const char* const what = SystemKey(key))
        report.Add("dangerous-key", place.entry.At(name),
                   "The entry means the whole of " + Quoted(*text) + ", " + what + '.');
}

void CheckSearch(const EntryPlace& place, const CFileReport& report)
{
    const std::wstring* dataStr = place.entry.Find(L"data_str");
    if (dataStr == nullptr || !place.section.Is(L"del_regkey"))
        return;
    const Position at = place.entry.At(L"data_str");
    const WideStringList removed = SplitDataStr(*dataStr, DataStrReading::Separator);
    if (std::find(removed.begin(), removed.end(), std::wstring()) != removed.end())
        report.Add("search-for-anything", at, "One of the texts in " + Quoted(*dataStr) + " is empty for a removal.");
    if (!place.model.Counts(place.entry))
        return;
    report.Add("search-always-found", at, "The entry counts, and is found whether or not the text is.");
    if (removed != SplitDataStr(*dataStr, DataStrReading::Terminator))
        report.Add("data-str-terminator", at,
                   "Detection leaves out what stands behind the last \";\" of " + Quoted(*dataStr) + '.');
}

// The name as the passes compose it: with rel_name it is a path.
void CheckValueName(const EntryPlace& place, const CFileReport& report)
{
    const RegValueEntry entry = place.section.Is(L"del_regvalue")
                                    ? ComposeRegValue(place.entry.attributes, place.version.appPath)
                                    : RegValueEntry();
    if (entry.key.empty() || entry.fault != EntryFault::None)
        return;
    const std::wstring& name = entry.valueName;
    const Position at = place.entry.At(L"name");
    const KeyText key = SplitKeyText(entry.key);
    const CValuePattern pattern(name);
    const bool takesAll = !pattern.IsPlain() && pattern.Matches(L"");
    const char* const value = key.hiveKnown && !pattern.IsRefused() ? SystemValue(key, name) : nullptr;
    const char* const whole = key.hiveKnown && takesAll ? SystemKey(key) : nullptr;
    if (const char* const what = whole != nullptr ? whole : value)
        report.Add("dangerous-value", at, "The entry means " + std::string(what) + '.');
    if (pattern.IsPlain())
        return;
    if (takesAll)
        report.Add("every-value", at, Quoted(name) + " matches every value of the key.");
    else if (pattern.IsRefused() || name.find(L'*', 1) < name.size() - 1)
        report.Add("star-inside", at, Quoted(name) + " has a star that is neither its first nor its last character.");
    else if (name.front() == L'*' && name.back() == L'*' && place.model.Counts(place.entry))
        report.Add("pattern-both-ends", at,
                   "Detection wants something on both sides of " + Quoted(name.substr(1, name.size() - 2)) + '.');
}

constexpr EntryCheck entryChecks[] = {&CheckKey, &CheckSearch, &CheckValueName};

// Plain keys and values of any listed version make the stage run, and with it the searches of all.
void CheckCompanyOfSearches(const DescriptorModel& model, const CFileReport& report)
{
    bool company = false;
    std::vector<const EntryModel*> searches;
    for (const auto& [all, version, section, entry] : ListedEntriesOf(model))
    {
        const bool isSearch = section.Is(L"del_regkey") && entry.Find(L"data_str");
        if (isSearch)
            searches.push_back(&entry);
        company = company || (!isSearch && (section.Is(L"del_regkey") || section.Is(L"del_regvalue")));
    }
    for (const EntryModel* search : searches)
    {
        if (!company)
            report.Add("search-never-runs", search->node->at,
                       "The descriptor has no plain key and no value beside this search.");
    }
}

void CheckAppPath(const VersionModel& version, const CFileReport& report)
{
    const XmlNode* appPath = version.node->Child(L"app_path");
    const XmlAttribute* key = appPath != nullptr ? appPath->Find(L"key") : nullptr;
    if (key != nullptr)
        CheckKeyText(key->value, key->at, report);
}

} // namespace

void CheckRegistry(const DescriptorModel& model, const CFileReport& report)
{
    for (const VersionModel& version : model.versions)
        CheckAppPath(version, report);
    RunEntryChecks(entryChecks, model, report);
    CheckCompanyOfSearches(model, report);
}

} // namespace prodsweep
