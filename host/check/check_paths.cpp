#include "check/checks.h"

#include <algorithm>
#include <cwctype>

#include "check/known_names.h"
#include "environment/special_folder.h"
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

bool IsFileOrFolder(const EntryPlace& place)
{
    return place.section.Is(L"del_file") || place.section.Is(L"del_folder");
}

// With a drive and its root, or a share. "C:x" and "\x" depend on the current folder, too.
bool IsWhole(const std::wstring& path)
{
    return path.starts_with(L"\\\\") || (path.find(L':') == 1 && path.find_first_of(L"\\/") == 2);
}

void CheckWholePath(const EntryPlace& place, const CFileReport& report)
{
    const std::wstring* name = place.entry.Find(L"name");
    if (name == nullptr || name->empty() || FindFilledAttribute(place.entry.attributes, L"path") ||
        !IsFileOrFolder(place))
        return;
    const Position at = place.entry.At(L"name");
    if (place.section.Is(L"del_file") && name->starts_with(L"#####"))
        report.Add("marker-without-path", at, Quoted(*name) + R"( is the file's whole name without a "path".)");
    else if (!IsWhole(*name))
        report.Add("relative-path", at, Quoted(*name) + " is not a whole path, and there is no \"path\" beside it.");
}

std::wstring WithoutSeparator(std::wstring path)
{
    while (!path.empty() && (path.back() == L'\\' || path.back() == L'/'))
        path.pop_back();
    return path;
}

// All that the keywords stand for, and what lies around it.
const std::vector<std::wstring>& SystemFolders()
{
    static const std::vector<std::wstring> folders = [] {
        std::vector<std::wstring> all;
        for (const std::wstring& keyword : FolderKeywords())
        {
            if (std::wstring folder; keyword != L"app_path" && CSpecialFolder({}).Get(keyword, folder))
                all.push_back(WithoutSeparator(folder));
        }
        return all;
    }();
    return folders;
}

// The folder itself or one around it.
bool HoldsSystemFolder(const std::wstring& path)
{
    return std::any_of(SystemFolders().begin(), SystemFolders().end(), [&](const std::wstring& folder) {
        return folder.size() >= path.size() && EqualIgnoringCase(folder.substr(0, path.size()), path.c_str()) &&
               (folder.size() == path.size() || folder[path.size()] == L'\\');
    });
}

void CheckDangerous(const EntryPlace& place, const CFileReport& report)
{
    if (!place.section.Is(L"del_folder"))
        return;
    const FolderEntry folder = ComposeFolder(place.entry.attributes, place.version.appPath);
    const std::wstring path = WithoutSeparator(folder.path);
    const bool isDrive = path.size() == 2 && path[1] == L':';
    if (folder.fault == EntryFault::None && !path.empty() && (isDrive || HoldsSystemFolder(path)))
        report.Add("dangerous-folder", place.entry.node->at, "The entry means the whole of " + Quoted(path) + '.');
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
        HoldsSystemFolder(WithoutSeparator(shortcut.shortcut)) && !shortcut.shortcut.empty())
        report.Add("shortcut-always-found", place.entry.At(L"path"),
                   Quoted(shortcut.shortcut) + " is there on every machine.");
}

constexpr EntryCheck entryChecks[] = {&CheckKeywords, &CheckWholePath, &CheckDangerous, &CheckShortcut};

} // namespace

void CheckPaths(const DescriptorModel& model, const CFileReport& report) { RunEntryChecks(entryChecks, model, report); }

} // namespace prodsweep
