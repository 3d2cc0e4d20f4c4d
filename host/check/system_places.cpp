#include "check/system_places.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include <shlobj.h>
#include <shlwapi.h>

#include "check/known_names.h"
#include "common/path_join.h"
#include "environment/special_folder.h"
#include "forbidden_places.h"
#include "interpreter/attribute_map.h"
#include "key_name.h"
#include "registry/value_pattern.h"
#include "text.h"

namespace prodsweep {

namespace {

// One spelling for each path: in lower case, with single "\", without what Windows skips.
std::wstring PlainPath(std::wstring path)
{
    if (path.starts_with(LR"(\\?\)") || path.starts_with(LR"(\\.\)"))
        path.erase(0, 4);
    // A drive alone means its root to a removal, and its current folder to what comes next.
    if (path.size() == 2 && path[1] == L':')
        path += L'\\';
    std::wstring full(MAX_PATH, L'\0');
    const DWORD length = GetFullPathNameW(path.c_str(), MAX_PATH, full.data(), nullptr);
    if (length > 0 && length < MAX_PATH)
        path = full.substr(0, length);
    while (path.size() > 3 && path.ends_with(L'\\'))
        path.pop_back();
    return ToLower(path);
}

// Both texts as PlainPath or CanonicalKey has them.
bool IsAtOrAbove(const std::wstring& item, const std::wstring& place)
{
    return place.starts_with(item) &&
           (place.size() == item.size() || item.ends_with(L'\\') || place[item.size()] == L'\\');
}

std::wstring ShellFolder(int number)
{
    wchar_t path[MAX_PATH]{};
    return SHGetFolderPathW(nullptr, number, nullptr, SHGFP_TYPE_CURRENT, path) == S_OK ? path : L"";
}

// Empty when there is none.
std::wstring FolderAbove(const std::wstring& path)
{
    const std::size_t separator = path.find_last_of(L'\\');
    return separator == std::wstring::npos ? std::wstring() : path.substr(0, separator);
}

struct Place
{
    std::wstring path;
    const char* what;
};

std::vector<Place> ReadFolders()
{
    std::vector<Place> places{
        {FolderAbove(PlainPath(ShellFolder(CSIDL_PROFILE))), "the folder of all users' profiles"}};
    for (const ForbiddenFolder& row : ForbiddenFolders())
    {
        std::wstring path = row.shellFolder == noShellFolder ? std::wstring() : ShellFolder(row.shellFolder);
        if (row.shellFolder == noShellFolder)
        {
            wchar_t expanded[MAX_PATH]{};
            ExpandEnvironmentStringsW(row.below, expanded, MAX_PATH);
            path = expanded;
        }
        else if (!path.empty() && *row.below != L'\0')
            PathJoin(path, row.below);
        // A variable that is not set stays as it is.
        if (!path.empty() && !path.starts_with(L'%'))
            places.push_back({PlainPath(path), row.reason});
    }
    return places;
}

// Null when there is none.
const char* PlaceAtOrBelow(const std::wstring& item, const std::vector<Place>& places)
{
    // The place itself says better what it is than one that lies below it.
    auto found = std::find_if(places.begin(), places.end(), [&](const Place& place) { return place.path == item; });
    if (found == places.end())
        found = std::find_if(places.begin(), places.end(),
                             [&](const Place& place) { return IsAtOrAbove(item, place.path); });
    return found != places.end() ? found->what : nullptr;
}

// All users' profiles lie side by side; a user of that machine may be none of this one.
const char* ProfileFolder(const std::wstring& path)
{
    static const std::wstring profiles = FolderAbove(PlainPath(ShellFolder(CSIDL_PROFILE)));
    if (profiles.empty() || !IsAtOrAbove(profiles, path) || path.size() == profiles.size())
        return nullptr;
    const std::size_t user = path.find(L'\\', profiles.size() + 1);
    const std::wstring below = user == std::wstring::npos ? std::wstring() : path.substr(user + 1);
    for (const ForbiddenProfileFolder& row : ForbiddenProfileFolders())
    {
        if (below.empty() || IsAtOrAbove(below, ToLower(row.below)))
            return row.reason;
    }
    return nullptr;
}

} // namespace

const char* SystemFolder(const std::wstring& path)
{
    const std::wstring plain = PlainPath(path);
    if (PathIsRootW(plain.c_str()))
        return "a whole drive or share";
    static const std::vector<Place> folders = ReadFolders();
    const char* const what = PlaceAtOrBelow(plain, folders);
    return what != nullptr ? what : ProfileFolder(plain);
}

const char* SystemFile(const std::wstring& path)
{
    static const std::wstring folders[] = {PlainPath(ShellFolder(CSIDL_SYSTEM)),
                                           PlainPath(ShellFolder(CSIDL_SYSTEMX86))};
    const std::wstring plain = PlainPath(path);
    const std::wstring folder = FolderAbove(plain);
    if (std::find(std::begin(folders), std::end(folders), folder) == std::end(folders))
        return nullptr;
    const auto files = ForbiddenSystemFiles();
    const std::wstring name = plain.substr(folder.size() + 1);
    const bool found = std::any_of(files.begin(), files.end(), [&](const wchar_t* file) { return name == file; });
    return found ? "a file that Windows and most programs stand on" : nullptr;
}

const char* SystemKey(const KeyText& key)
{
    const std::wstring name = CanonicalKey(key.root, key.subkey);
    if (name.empty())
        return nullptr;
    static const std::vector<Place> keys = [] {
        std::vector<Place> places;
        for (const ForbiddenKey& row : ForbiddenKeys())
            places.push_back({CanonicalKey(row.hive, row.subkey), row.reason});
        return places;
    }();
    return PlaceAtOrBelow(name, keys);
}

const char* SystemValue(const KeyText& key, const std::wstring& pattern)
{
    const std::wstring name = CanonicalKey(key.root, key.subkey);
    const CValuePattern matching(pattern);
    const auto values = ForbiddenValues();
    const auto found = std::find_if(values.begin(), values.end(), [&](const ForbiddenValue& row) {
        return name == CanonicalKey(row.hive, row.subkey) &&
               (matching.IsPlain() ? ToLower(pattern) == ToLower(row.name) : matching.Matches(row.name));
    });
    return found != values.end() ? found->reason : nullptr;
}

const char* SystemProcess(const std::wstring& name)
{
    const CriticalName* process = FindCriticalProcess(name);
    return process != nullptr && process->judgement == CriticalName::Judgement::Refused ? process->reason : nullptr;
}

const char* SystemService(const std::wstring& name)
{
    const auto services = CriticalServices();
    const auto found = std::find_if(services.begin(), services.end(),
                                    [&](const CriticalName& row) { return EqualIgnoringCase(name, row.name); });
    return found != services.end() ? found->reason : nullptr;
}

bool IsOnEveryMachine(const std::wstring& folder)
{
    static const std::vector<std::wstring> known = [] {
        std::vector<std::wstring> folders;
        for (const std::wstring& keyword : FolderKeywords())
        {
            if (std::wstring path; keyword != L"app_path" && CSpecialFolder({}).Get(keyword, path))
                folders.push_back(PlainPath(path));
        }
        return folders;
    }();
    const std::wstring plain = PlainPath(folder);
    return std::any_of(known.begin(), known.end(), [&](const auto& place) { return IsAtOrAbove(plain, place); });
}

} // namespace prodsweep
