#include "forbidden_names.h"

#include <windows.h>

#include <shlobj.h>

#include "common/path_join.h"
#include "forbidden_places.h"
#include "key_name.h"
#include "profile_list.h"
#include "registry/split_key_path.h"

namespace prodsweep {

namespace {

// Empty when the system knows no such folder.
std::wstring ShellFolder(int number)
{
    wchar_t path[MAX_PATH]{};
    return SHGetFolderPathW(nullptr, number, nullptr, SHGFP_TYPE_CURRENT, path) == S_OK ? path : L"";
}

std::wstring Joined(std::wstring folder, const wchar_t* below)
{
    return folder.empty() || *below == L'\0' ? folder : PathJoin(folder, below);
}

// Empty when a variable in it is not set.
std::wstring Expanded(const wchar_t* path)
{
    wchar_t expanded[MAX_PATH]{};
    const DWORD length = ExpandEnvironmentStringsW(path, expanded, MAX_PATH);
    return length == 0 || length > MAX_PATH || expanded[0] == L'%' ? L"" : expanded;
}

void Add(std::vector<ForbiddenPath>& paths, std::wstring path, const char* reason)
{
    while (path.size() > 3 && path.ends_with(L'\\'))
        path.pop_back();
    if (!path.empty())
        paths.push_back({std::move(path), reason});
}

} // namespace

std::vector<ForbiddenPath> ForbiddenPaths()
{
    std::vector<ForbiddenPath> paths;
    for (const ForbiddenFolder& folder : ForbiddenFolders())
    {
        const bool isOfShell = folder.shellFolder != noShellFolder;
        Add(paths, isOfShell ? Joined(ShellFolder(folder.shellFolder), folder.below) : Expanded(folder.below),
            folder.reason);
    }
    for (const int number : {CSIDL_SYSTEM, CSIDL_SYSTEMX86})
    {
        const std::wstring folder = ShellFolder(number);
        for (const wchar_t* const file : ForbiddenSystemFiles())
            Add(paths, Joined(folder, file), "a file that Windows and most programs stand on");
    }
    for (const std::wstring& folder : ProfilesFolders())
        Add(paths, folder, "the folder of all users' profiles");
    return paths;
}

std::vector<std::wstring> ProfilesFolders()
{
    std::vector<std::wstring> folders;
    if (std::wstring folder = ReadProfileList().folder; !folder.empty())
        folders.push_back(std::move(folder));
    const std::wstring profile = ShellFolder(CSIDL_PROFILE);
    const std::size_t separator = profile.find_last_of(L'\\');
    // The root of a drive is no such folder.
    if (separator != std::wstring::npos && separator >= 3)
        folders.push_back(profile.substr(0, separator));
    return folders;
}

std::vector<ForbiddenPath> ForbiddenPathsOfProfile(const std::wstring& root)
{
    std::vector<ForbiddenPath> paths;
    for (const ForbiddenProfilePlace& place : ForbiddenProfilePlaces())
        Add(paths, Joined(root, place.below), place.reason);
    return paths;
}

std::vector<ForbiddenKeyName> ForbiddenKeyNames()
{
    const CSplitKeyPath hiveNames;
    std::vector<ForbiddenKeyName> keys;
    for (const ForbiddenKey& key : ForbiddenKeys())
        keys.push_back({CanonicalKey(key.hive, key.subkey), Joined(HiveName(key.hive), key.subkey), key.reason});
    for (const CriticalName& service : CriticalServices())
        keys.push_back({CanonicalKey(HKEY_LOCAL_MACHINE, std::wstring(keyOfServices) + service.name), service.name,
                        std::string("a service that must stay: ") + service.reason});
    return keys;
}

bool IsAtOrAbove(const std::wstring& item, const std::wstring& place)
{
    return place.starts_with(item) &&
           (place.size() == item.size() || item.ends_with(L'\\') || place[item.size()] == L'\\');
}

} // namespace prodsweep
