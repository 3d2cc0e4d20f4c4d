#include "guard_rails.h"

#include <algorithm>

#include <shlwapi.h>

#include "common/path_join.h"
#include "common/unique_reg_key.h"
#include "forbidden_names.h"
#include "forbidden_places.h"
#include "key_name.h"
#include "profile_list.h"
#include "real_path.h"
#include "registry/split_key_path.h"
#include "registry/value_pattern.h"
#include "text.h"

namespace prodsweep {

namespace {

std::wstring FolderAbove(const std::wstring& path)
{
    const std::size_t separator = path.find_last_of(L'\\');
    return separator == std::wstring::npos ? L"" : path.substr(0, separator < 3 ? 3 : separator);
}

bool IsRoot(const std::wstring& path)
{
    const bool isVolume = ToLower(path).starts_with(L"volume{") && path.find_first_of(L'\\') + 1 >= path.size();
    return isVolume || PathIsRootW(path.c_str()) || (path.size() == 2 && path[1] == L':');
}

} // namespace

CGuardRails::CGuardRails(const std::wstring& libraryFolder)
{
    for (const ForbiddenPath& path : ForbiddenPaths())
        AddPath(path.path, path.reason);
    AddProfiles();
    for (const ForbiddenFile& file : ForbiddenFilesOfLibrary())
        AddPath(libraryFolder + file.name, file.reason);
    AddKeys();
    AddValues();
}

// Whether their users are logged on or not: those that the system knows, and what else lies beside them.
void CGuardRails::AddProfiles()
{
    for (const std::wstring& root : ReadProfileList().roots)
        AddProfile(root);
    for (const std::wstring& folder : ProfilesFolders())
        AddProfilesIn(folder);
}

void CGuardRails::AddProfilesIn(const std::wstring& folder)
{
    WIN32_FIND_DATAW entry{};
    auto* const find = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (find == INVALID_HANDLE_VALUE)
        return;
    do
    {
        const std::wstring name = entry.cFileName;
        if (name != L"." && name != L".." && (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
            AddProfile(folder + L'\\' + name);
    } while (FindNextFileW(find, &entry));
    FindClose(find);
}

void CGuardRails::AddProfile(const std::wstring& root)
{
    if (!profiles.insert(ToLower(root)).second)
        return;
    for (const ForbiddenPath& path : ForbiddenPathsOfProfile(root))
        AddPath(path.path, path.reason);
}

void CGuardRails::AddKeys()
{
    for (const ForbiddenKeyName& key : ForbiddenKeyNames())
        keys.push_back({key.canonical, {ToUtf8(key.name), key.reason}});
}

void CGuardRails::AddValues()
{
    for (const ForbiddenValue& value : ForbiddenValues())
    {
        std::wstring name = HiveName(value.hive);
        PathJoin(name, value.subkey);
        PathJoin(name, *value.name == L'\0' ? L"(default)" : value.name);
        values.push_back({CanonicalKey(value.hive, value.subkey), value.name, {ToUtf8(name), value.reason}});
    }
}

void CGuardRails::AddPath(const std::wstring& path, const char* reason)
{
    if (path.empty())
        return;
    const std::wstring spelt = path.size() > 3 && path.back() == L'\\' ? path.substr(0, path.size() - 1) : path;
    const ForbiddenPlace place{ToUtf8(spelt), reason};
    AddSpelling(spelt, place);
    // The place itself may be a link.
    if (const std::wstring real = RealPath(spelt); ToLower(real) != ToLower(spelt))
        AddSpelling(real, place);
}

void CGuardRails::AddSpelling(const std::wstring& path, const ForbiddenPlace& place)
{
    Path& added = paths.emplace_back();
    added.lower = ToLower(path);
    added.place = place;
    for (std::wstring folder = path; !folder.empty();)
    {
        const auto [known, isNew] = asked.try_emplace(ToLower(folder));
        if (isNew)
            known->second = IdentityOf(folder);
        if (const std::optional<FolderIdentity>& reached = known->second; reached)
            added.identities.insert(*reached);
        const std::wstring above = FolderAbove(folder);
        folder = above == folder || above.size() >= folder.size() ? L"" : above;
    }
}

const ForbiddenPlace* CGuardRails::OfText(const std::wstring& path) const
{
    if (IsRoot(path))
        return &driveRoot;
    const std::wstring lower = ToLower(path);
    const auto reachedBy = [&](bool (*reaches)(const std::wstring&, const std::wstring&)) {
        return std::find_if(paths.begin(), paths.end(),
                            [&](const Path& candidate) { return reaches(lower, candidate.lower); });
    };
    // The place itself says better what it is than one that lies below it.
    auto found = reachedBy([](const std::wstring& item, const std::wstring& place) { return item == place; });
    if (found == paths.end())
        found = reachedBy(IsAtOrAbove);
    return found == paths.end() ? nullptr : &found->place;
}

const ForbiddenPlace* CGuardRails::OfIdentity(const std::wstring& path) const
{
    const std::optional<FolderIdentity> identity = IdentityOf(path);
    if (!identity)
        return nullptr;
    const auto found = std::find_if(paths.begin(), paths.end(),
                                    [&](const Path& candidate) { return candidate.identities.contains(*identity); });
    return found == paths.end() ? nullptr : &found->place;
}

const ForbiddenPlace* CGuardRails::OfPath(const std::wstring& path) const
{
    if (path.empty())
        return nullptr;
    const std::wstring real = RealPath(path);
    for (const std::wstring& text : {real, path})
    {
        if (const ForbiddenPlace* const place = OfText(text))
            return place;
    }
    if (const ForbiddenPlace* const place = OfIdentity(path))
        return place;
    return real == path ? nullptr : OfIdentity(real);
}

const ForbiddenPlace* CGuardRails::OfKey(HKEY hive, const std::wstring& subkey) const
{
    for (const std::wstring& name : {CanonicalKey(hive, subkey), CanonicalOpenedKey(hive, subkey)})
    {
        if (name.empty())
            continue;
        auto found =
            std::find_if(keys.begin(), keys.end(), [&](const Key& candidate) { return name == candidate.canonical; });
        if (found == keys.end())
            found = std::find_if(keys.begin(), keys.end(),
                                 [&](const Key& candidate) { return IsAtOrAbove(name, candidate.canonical); });
        if (found != keys.end())
            return &found->place;
    }
    return nullptr;
}

const ForbiddenPlace* CGuardRails::OfValue(HKEY hive, const std::wstring& subkey, const std::wstring& pattern) const
{
    const CValuePattern matching(pattern);
    const auto names = {CanonicalKey(hive, subkey), CanonicalOpenedKey(hive, subkey)};
    const auto found = std::find_if(values.begin(), values.end(), [&](const Value& value) {
        return std::find(names.begin(), names.end(), value.canonicalKey) != names.end() &&
               (matching.IsPlain() ? ToLower(pattern) == ToLower(value.name) : matching.Matches(value.name));
    });
    return found == values.end() ? nullptr : &found->place;
}

const ForbiddenPlace* CGuardRails::OfService(const std::wstring& name) const
{
    return OfKey(HKEY_LOCAL_MACHINE, keyOfServices + name);
}

} // namespace prodsweep
