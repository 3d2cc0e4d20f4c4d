#include "check/system_places.h"

#include <algorithm>
#include <optional>
#include <vector>

#include <shlwapi.h>

#include "check/known_names.h"
#include "environment/special_folder.h"
#include "forbidden_names.h"
#include "forbidden_places.h"
#include "interpreter/attribute_map.h"
#include "key_name.h"
#include "profile_list.h"
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

struct Place
{
    std::wstring text; // as PlainPath or CanonicalKey has it
    std::string what;
};

const std::vector<Place>& Paths()
{
    static const std::vector<Place> places = [] {
        std::vector<Place> all;
        for (const ForbiddenPath& path : ForbiddenPaths())
            all.push_back({PlainPath(path.path), path.reason});
        for (const std::wstring& root : ReadProfileList().roots)
        {
            for (const ForbiddenPath& path : ForbiddenPathsOfProfile(root))
                all.push_back({PlainPath(path.path), path.reason});
        }
        return all;
    }();
    return places;
}

// Null when there is none.
const char* PlaceAtOrBelow(const std::wstring& item, const std::vector<Place>& places)
{
    // The place itself says better what it is than one that lies below it.
    auto found = std::find_if(places.begin(), places.end(), [&](const Place& place) { return place.text == item; });
    if (found == places.end())
        found = std::find_if(places.begin(), places.end(),
                             [&](const Place& place) { return IsAtOrAbove(item, place.text); });
    return found != places.end() ? found->what.c_str() : nullptr;
}

bool IsSame(const std::wstring& item, const std::wstring& place) { return item == place; }

// What follows the user's name in a path within this folder of profiles. Nothing: it is no such path.
std::optional<std::wstring> BelowProfileIn(const std::wstring& profiles, const std::wstring& path)
{
    if (!IsAtOrAbove(profiles, path) || path.size() == profiles.size())
        return std::nullopt;
    const std::size_t user = path.find(L'\\', profiles.size() + 1);
    return user == std::wstring::npos ? std::wstring() : path.substr(user + 1);
}

// Profiles lie side by side; a user of that machine may be none of this one. The reason of the first place that
// is meant by what follows the user's name; else null.
const char* ProfilePlace(const std::wstring& path, bool (*isMeant)(const std::wstring&, const std::wstring&))
{
    static const std::vector<std::wstring> folders = [] {
        std::vector<std::wstring> all;
        for (const std::wstring& folder : ProfilesFolders())
            all.push_back(PlainPath(folder));
        return all;
    }();
    for (const std::wstring& folder : folders)
    {
        const std::optional<std::wstring> below = BelowProfileIn(folder, path);
        if (!below)
            continue;
        for (const ForbiddenProfilePlace& row : ForbiddenProfilePlaces())
        {
            if (isMeant(*below, ToLower(row.below)))
                return row.reason;
        }
    }
    return nullptr;
}

} // namespace

const char* SystemFolder(const std::wstring& path)
{
    const std::wstring plain = PlainPath(path);
    if (PathIsRootW(plain.c_str()))
        return "a whole drive or share";
    const char* const what = PlaceAtOrBelow(plain, Paths());
    return what != nullptr ? what : ProfilePlace(plain, IsAtOrAbove);
}

const char* SystemFile(const std::wstring& path)
{
    const std::wstring plain = PlainPath(path);
    const auto found =
        std::find_if(Paths().begin(), Paths().end(), [&](const Place& place) { return place.text == plain; });
    return found != Paths().end() ? found->what.c_str() : ProfilePlace(plain, IsSame);
}

const char* SystemKey(const KeyText& key)
{
    const std::wstring name = CanonicalKey(key.root, key.subkey);
    if (name.empty())
        return nullptr;
    static const std::vector<Place> keys = [] {
        std::vector<Place> places;
        for (const ForbiddenKeyName& row : ForbiddenKeyNames())
            places.push_back({row.canonical, row.reason});
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
