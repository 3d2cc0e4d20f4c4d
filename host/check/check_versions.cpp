#include "check/checks.h"

#include <set>

namespace prodsweep {

namespace {

void CheckList(const XmlNode& root, const XmlNode& list, const CFileReport& report)
{
    std::set<std::wstring_view> present;
    for (const XmlNode& child : root.children)
        present.insert(child.name);
    std::set<std::wstring_view> seen;
    for (const XmlNode& listed : list.children)
    {
        if (!listed.IsElement())
            continue;
        if (!present.contains(listed.name))
            report.Add("version-absent", listed.at, "There is no element " + Quoted(listed.name) + " beside the list.");
        if (!seen.insert(listed.name).second)
            report.Add("version-listed-twice", listed.at, Quoted(listed.name) + " is listed already.");
    }
    if (seen.empty())
        report.Add("version-list-empty", list.at, "No version is listed.");
}

// Only listed versions are looked at: what stands in the others matters to nobody.
void CheckVersion(const DescriptorModel& model, const VersionModel& version, const CFileReport& report)
{
    const XmlNode& node = *version.node;
    if (!version.listed)
    {
        report.Add("version-not-listed", node.at, Quoted(node.name) + " is not in version_list.");
        return;
    }
    const XmlNode* winNt = node.Child(L"win_nt");
    if (winNt == nullptr)
        report.Add("version-without-win-nt", node.at, Quoted(node.name) + " has no win_nt.");
    if (const XmlAttribute* mode = node.Find(L"mandatory_sections");
        model.IsScored() && mode != nullptr && mode->value != L"all" && mode->value != L"any")
        report.Add("mandatory-sections-value", mode->at, Quoted(mode->value) + R"( is neither "all" nor "any".)");
}

constexpr const wchar_t* keywordAttributes[] = {L"path", L"rel_shortcut", L"rel_target", L"rel_name"};

void CheckUseOfAppPath(const EntryPlace& place, const CFileReport& report)
{
    if (place.version.hasAppPath)
        return;
    for (const wchar_t* name : keywordAttributes)
    {
        const std::wstring* keyword = place.entry.Find(name);
        if (keyword != nullptr && *keyword == L"app_path" &&
            (name != keywordAttributes[0] || !place.section.Is(L"del_shortcut")))
            report.Add("app-path-unset", place.entry.At(name),
                       Quoted(place.version.node->name) + " says nowhere which folder app_path is.");
    }
}

constexpr EntryCheck entryChecks[] = {&CheckUseOfAppPath};

} // namespace

void CheckVersions(const DescriptorModel& model, const CFileReport& report)
{
    const XmlNode& root = model.file->root;
    const XmlNode* list = root.Child(L"version_list");
    if (list == nullptr)
    {
        report.Add("version-list-missing", root.at, "There is no version_list.");
        return;
    }
    CheckList(root, *list, report);
    for (const VersionModel& version : model.versions)
        CheckVersion(model, version, report);
    RunEntryChecks(entryChecks, model, report);
}

std::vector<EntryPlace> EntriesOf(const DescriptorModel& model)
{
    std::vector<EntryPlace> places;
    for (const VersionModel& version : model.versions)
    {
        for (const SectionModel& section : version.sections)
        {
            for (const EntryModel& entry : section.entries)
            {
                if (entry.removed)
                    places.push_back({model, version, section, entry});
            }
        }
    }
    return places;
}

std::vector<EntryPlace> ListedEntriesOf(const DescriptorModel& model)
{
    std::vector<EntryPlace> places;
    for (const EntryPlace& place : EntriesOf(model))
    {
        if (place.version.listed)
            places.push_back(place);
    }
    return places;
}

void RunEntryChecks(std::span<const EntryCheck> checks, const DescriptorModel& model, const CFileReport& report)
{
    for (const EntryPlace& place : EntriesOf(model))
    {
        for (const EntryCheck check : checks)
            check(place, report);
    }
}

} // namespace prodsweep
