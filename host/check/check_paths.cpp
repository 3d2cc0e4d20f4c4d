#include "check/checks.h"

#include <algorithm>
#include <string_view>

#include "check/known_names.h"
#include "check/system_places.h"
#include "interpreter/entry_composer.h"

namespace prodsweep {

namespace {

struct KeywordAttribute
{
    const wchar_t* opCode;
    const wchar_t* name;
    bool emptyIsAbsent;
};

constexpr KeywordAttribute keywordAttributes[] = {
    {L"del_file", L"path", true},
    {L"del_folder", L"path", true},
    {L"del_shortcut", L"rel_shortcut", true},
    {L"del_shortcut", L"rel_target", false},
    {L"del_regvalue", L"rel_name", true},
    {L"exec_tool", L"path", true},
};

// Which the library resolves in a 32-bit process alone.
constexpr std::wstring_view narrowSuffix = L"_x86";

void CheckKeyword(const std::wstring& keyword, Position at, const CFileReport& report)
{
    const std::vector<std::wstring>& keywords = FolderKeywords();
    const auto isKeyword = [&](const std::wstring& candidate) { return EqualIgnoringCase(candidate, keyword.c_str()); };
    const auto known = std::find_if(keywords.begin(), keywords.end(), isKeyword);
    if (known == keywords.end())
    {
        const std::vector<std::wstring_view> names(keywords.begin(), keywords.end());
        report.Add("unknown-keyword", at, Quoted(keyword) + " names no folder." + Suggestion(keyword, names));
    }
    else if (*known == L"app_path" && keyword != *known)
        report.Add("app-path-case", at, Quoted(keyword) + R"( is not spelled "app_path".)");
    else if (known->starts_with(L"windows_system_drivers") && keyword != *known)
        report.Add("drivers-case", at, Quoted(keyword) + " is not spelled " + Quoted(*known) + '.');
    if (known != keywords.end() && known->ends_with(narrowSuffix))
        report.Add("keyword-x86", at,
                   Quoted(keyword) + " is the same folder as " +
                       Quoted(known->substr(0, known->size() - narrowSuffix.size())) + '.');
}

void CheckKeywords(const EntryPlace& place, const CFileReport& report)
{
    for (const KeywordAttribute& row : keywordAttributes)
    {
        const std::wstring* keyword = place.entry.Find(row.name);
        if (keyword != nullptr && place.section.Is(row.opCode) && !(row.emptyIsAbsent && keyword->empty()))
            CheckKeyword(*keyword, place.entry.At(row.name), report);
    }
}

constexpr std::wstring_view restartMarker = L"#####";

struct NameAttribute
{
    const wchar_t* opCode;
    const wchar_t* name;
    const wchar_t* keyword;
};

// What is joined to the folder of a keyword, or is a whole path by itself.
constexpr NameAttribute nameAttributes[] = {
    {L"del_file", L"name", L"path"},
    {L"del_folder", L"name", L"path"},
    {L"del_shortcut", L"path", L"rel_shortcut"},
    {L"exec_tool", L"tool_name", L"path"},
    {L"exec_tool", L"module", L"path"},
};

// With a drive and its root, or a share. "C:x" and "\x" depend on the current folder, too.
bool IsWhole(const std::wstring& path)
{
    return path.starts_with(L"\\\\") || (path.find(L':') == 1 && path.find_first_of(L"\\/") == 2);
}

void CheckWholePath(const EntryPlace& place, const CFileReport& report)
{
    for (const NameAttribute& row : nameAttributes)
    {
        const std::wstring* name = FindFilledAttribute(place.entry.attributes, row.name);
        // Where tools are looked for is told elsewhere.
        if (name == nullptr || !place.section.Is(row.opCode) || place.section.Is(L"exec_tool") ||
            FindFilledAttribute(place.entry.attributes, row.keyword))
            continue;
        const Position at = place.entry.At(row.name);
        const bool isMarked = place.section.Is(L"del_file") && name->starts_with(restartMarker);
        if (!isMarked && !IsWhole(*name))
            report.Add("relative-path", at,
                       Quoted(*name) + " is not a whole path, and there is no " + Quoted(row.keyword) + " beside it.");
    }
}

void CheckMarker(const EntryPlace& place, const CFileReport& report)
{
    const bool isFolder = place.section.Is(L"del_folder");
    const std::wstring* name = place.entry.Find(L"name");
    if (name == nullptr || !name->starts_with(restartMarker) || !(isFolder || place.section.Is(L"del_file")))
        return;
    if (isFolder)
        report.Add("marker-without-path", place.entry.At(L"name"), Quoted(*name) + " is a folder's name as it stands.");
    else if (!FindFilledAttribute(place.entry.attributes, L"path"))
        report.Add("marker-without-path", place.entry.At(L"name"),
                   Quoted(*name) + R"( is the file's whole name without a "path".)");
}

// A star or another character that no name has, or a drive behind the beginning.
bool IsImpossible(std::wstring_view path)
{
    if (path.starts_with(LR"(\\?\)"))
        path.remove_prefix(4);
    return path.find_first_of(L"*?\"<>|") != std::wstring_view::npos ||
           path.find(L":\\", 2) != std::wstring_view::npos || path.find(L":/", 2) != std::wstring_view::npos;
}

void CheckNames(const EntryPlace& place, const CFileReport& report)
{
    for (const NameAttribute& row : nameAttributes)
    {
        const std::wstring* name = place.entry.Find(row.name);
        if (name == nullptr || !place.section.Is(row.opCode))
            continue;
        const bool below = FindFilledAttribute(place.entry.attributes, row.keyword) != nullptr;
        // The marker has a rule of its own where it is none.
        if (!below && name->starts_with(restartMarker))
            continue;
        if (IsImpossible(below ? L"x\\" + *name : *name))
            report.Add("impossible-path", place.entry.At(row.name), Quoted(*name) + " can name nothing here.");
    }
}

void CheckDangerousFolder(const EntryPlace& place, const CFileReport& report)
{
    if (!place.section.Is(L"del_folder"))
        return;
    const FolderEntry folder = ComposeFolder(place.entry.attributes, place.version.appPath);
    if (folder.fault != EntryFault::None || !(IsWhole(folder.path) || folder.path.ends_with(L':')))
        return;
    const char* const what = SystemFolder(folder.path);
    const std::wstring* keyword = place.entry.Find(L"path");
    if (what != nullptr && keyword != nullptr && *keyword == L"app_path" && !place.version.install)
        report.Add("dangerous-folder", place.entry.node->at, "The entry means a folder around that of app_path.");
    else if (what != nullptr)
        report.Add("dangerous-folder", place.entry.node->at,
                   "The entry means the whole of " + Quoted(folder.path) + ", " + what + '.');
}

void CheckDangerousFile(const EntryPlace& place, const CFileReport& report)
{
    if (!place.section.Is(L"del_file"))
        return;
    const FileEntry file = ComposeFile(place.entry.attributes, place.version.appPath);
    if (file.fault != EntryFault::None || !IsWhole(file.path))
        return;
    if (const char* const what = SystemFile(file.path))
        report.Add("dangerous-file", place.entry.node->at, Quoted(file.path) + " is " + what + '.');
}

void CheckShortcut(const EntryPlace& place, const CFileReport& report)
{
    if (!place.section.Is(L"del_shortcut"))
        return;
    const std::wstring* target = place.entry.Find(L"target_name");
    if (target != nullptr && !place.entry.Find(L"rel_target") && target->find_first_of(L"\\/") != std::wstring::npos)
        report.Add("shortcut-target-path", place.entry.At(L"target_name"),
                   Quoted(*target) + " is a path, and there is no \"rel_target\" beside it.");
    const std::wstring* path = place.entry.Find(L"path");
    const ShortcutEntry shortcut = ComposeShortcut(place.entry.attributes, place.version.appPath);
    if (place.model.Counts(place.entry) && path != nullptr && shortcut.fault == EntryFault::None &&
        IsWhole(shortcut.shortcut) && IsOnEveryMachine(shortcut.shortcut))
        report.Add("shortcut-always-found", place.entry.At(L"path"),
                   Quoted(shortcut.shortcut) + " is there on every machine.");
}

constexpr EntryCheck entryChecks[] = {&CheckKeywords,        &CheckWholePath,     &CheckMarker,  &CheckNames,
                                      &CheckDangerousFolder, &CheckDangerousFile, &CheckShortcut};

} // namespace

void CheckPaths(const DescriptorModel& model, const CFileReport& report)
{
    RunEntryChecks(entryChecks, model, report);
    for (const VersionModel& version : model.versions)
    {
        const XmlNode* folder = version.node->Child(L"install_folder");
        const XmlAttribute* name = folder != nullptr ? folder->Find(L"name") : nullptr;
        if (name != nullptr && IsImpossible(L"x\\" + name->value))
            report.Add("impossible-path", name->at, Quoted(name->value) + " can name nothing here.");
    }
}

} // namespace prodsweep
