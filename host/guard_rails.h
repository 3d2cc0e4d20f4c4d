// Judges whether an item is a forbidden place, or lies above one.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <windows.h>

#include "operations/folder_identity.h"

namespace prodsweep {

struct ForbiddenPlace
{
    std::string name;   // a path or a key
    std::string reason; // what it is: "the folder of Windows"
};

class CGuardRails
{
public:
    // Asks the system where the forbidden places lie. libraryFolder: with its separator at the end.
    explicit CGuardRails(const std::wstring& libraryFolder);

    // Judges by where the path leads: by its text with links followed, and by what lies there, however it is spelt.
    // Null: nothing forbids it.
    const ForbiddenPlace* OfPath(const std::wstring& path) const;

    // Judges by all names that lead to the key.
    const ForbiddenPlace* OfKey(HKEY hive, const std::wstring& subkey) const;

    // The pattern may be a plain name.
    const ForbiddenPlace* OfValue(HKEY hive, const std::wstring& subkey, const std::wstring& pattern) const;

    // A service is named by what follows the key of all services.
    const ForbiddenPlace* OfService(const std::wstring& name) const;

private:
    struct Path
    {
        std::wstring lower;
        std::set<FolderIdentity> identities; // its own, and those of all folders above it
        ForbiddenPlace place;
    };
    struct Key
    {
        std::wstring canonical;
        ForbiddenPlace place;
    };

    struct Value
    {
        std::wstring canonicalKey;
        std::wstring name;
        ForbiddenPlace place;
    };

    void AddPath(const std::wstring& path, const char* reason);
    void AddSpelling(const std::wstring& path, const ForbiddenPlace& place);
    void AddProfiles();
    void AddProfilesIn(const std::wstring& folder);
    void AddProfile(const std::wstring& root);
    void AddKeys();
    void AddValues();
    const ForbiddenPlace* OfText(const std::wstring& path) const;
    const ForbiddenPlace* OfIdentity(const std::wstring& path) const;

    std::map<std::wstring, std::optional<FolderIdentity>> asked; // folders above the places, in lower case
    std::set<std::wstring> profiles;                             // that were added, in lower case
    std::vector<Path> paths;
    std::vector<Key> keys;
    std::vector<Value> values;
    ForbiddenPlace driveRoot{"a drive", "the root of a drive"};
};

} // namespace prodsweep
