#include "check/checks.h"

#include <algorithm>
#include <map>

#include <windows.h>

#include <shlwapi.h>

#include "check/known_names.h"
#include "check/system_places.h"
#include "interpreter/entry_composer.h"

namespace prodsweep {

namespace {

void CheckPlace(const EntryPlace& place, const CFileReport& report)
{
    if (!place.section.Is(L"exec_tool") || FindFilledAttribute(place.entry.attributes, L"path"))
        return;
    const wchar_t* attribute = place.entry.Find(L"module") ? L"module" : L"tool_name";
    const std::wstring* name = FindFilledAttribute(place.entry.attributes, attribute);
    // A name with a variable is a whole path once it is expanded, mostly.
    if (name != nullptr && PathIsRelativeW(name->c_str()) && name->find(L'%') == std::wstring::npos)
        report.Add("tool-without-path", place.entry.At(attribute),
                   Quoted(*name) + R"( is not a whole path, and there is no "path" beside it.)");
}

// The files and folders that the descriptor deletes, by their paths in lower case. What one version deletes goes behind
// the tools of all.
using Deletions = std::map<std::wstring, const EntryModel*>;

Deletions DeletionsOf(const DescriptorModel& model)
{
    Deletions deletions;
    for (const auto& [all, version, section, entry] : ListedEntriesOf(model))
    {
        std::wstring path;
        if (section.Is(L"del_file"))
            path = ComposeFile(entry.attributes, version.appPath).path;
        if (section.Is(L"del_folder"))
            path = ComposeFolder(entry.attributes, version.appPath).path;
        while (path.ends_with(L'\\'))
            path.pop_back();
        if (!path.empty())
            deletions.emplace(Lowered(path), &entry);
    }
    return deletions;
}

// Null unless the path or a folder around it is deleted.
const EntryModel* DeletionOf(std::wstring path, const Deletions& deletions)
{
    for (path = Lowered(path); !path.empty(); path.erase(std::min(path.size(), path.find_last_of(L'\\'))))
    {
        if (const auto found = deletions.find(path); found != deletions.end())
            return found->second;
        if (path.find(L'\\') == std::wstring::npos)
            break;
    }
    return nullptr;
}

void CheckWaiting(const EntryPlace& place, const Deletions& deletions, const CFileReport& report)
{
    if (!place.section.Is(L"exec_tool") || place.entry.Find(L"module") || IsYes(place.entry.attributes, L"wait"))
        return;
    const ToolEntry tool = ComposeTool(place.entry.attributes, place.version.appPath);
    const EntryModel* deletion = tool.fault == EntryFault::None ? DeletionOf(tool.path, deletions) : nullptr;
    if (deletion != nullptr)
        report.Add("tool-not-waited-for", place.entry.node->at,
                   "The entry in line " + std::to_string(deletion->node->at.line) +
                       " deletes the tool, which may still be running.");
}

void CheckProcess(const EntryPlace& place, const CFileReport& report)
{
    const std::wstring* name = place.section.Is(L"kill_process") ? place.entry.Find(L"target_name") : nullptr;
    const bool isFile = name != nullptr && name->find_first_of(L"\\/*?") == std::wstring::npos &&
                        (name->find(L'.') != std::wstring::npos || SystemProcess(*name) != nullptr);
    if (name != nullptr && !name->empty() && !isFile)
        report.Add("process-name", place.entry.At(L"target_name"),
                   Quoted(*name) + " is not the bare name of a program's file.");
    if (const char* const why = name != nullptr ? SystemProcess(*name) : nullptr)
        report.Add("dangerous-process", place.entry.At(L"target_name"), Quoted(*name) + " must run on: " + why + '.');
}

void CheckServices(const EntryPlace& place, const CFileReport& report)
{
    const bool isService = place.section.Is(L"disable_driver") || place.section.Is(L"disable_service") ||
                           place.section.Is(L"disableandstop_driver") || place.section.Is(L"disableandstop_service");
    const std::wstring* name = isService ? place.entry.Find(L"name") : nullptr;
    if (const char* const why = name != nullptr ? SystemService(*name) : nullptr)
        report.Add("dangerous-service", place.entry.At(L"name"), Quoted(*name) + " must run on: " + why + '.');
}

constexpr EntryCheck entryChecks[] = {&CheckPlace, &CheckProcess, &CheckServices};

} // namespace

void CheckTools(const DescriptorModel& model, const CFileReport& report)
{
    RunEntryChecks(entryChecks, model, report);
    const Deletions deletions = DeletionsOf(model);
    for (const EntryPlace& place : ListedEntriesOf(model))
        CheckWaiting(place, deletions, report);
}

} // namespace prodsweep
