// What the forbidden places are called on this machine.
#pragma once

#include <string>
#include <vector>

namespace prodsweep {

struct ForbiddenPath
{
    std::wstring path; // as the system tells it, without a separator at its end
    const char* reason;
};
// Of the system and this user; the folders of all profiles with them, but not what lies in them.
std::vector<ForbiddenPath> ForbiddenPaths();

// The folders in which users' profiles lie side by side: the system's own, and the one around this user's profile.
std::vector<std::wstring> ProfilesFolders();

// Of one profile, and what lies in it. root: its folder, without a separator at its end.
std::vector<ForbiddenPath> ForbiddenPathsOfProfile(const std::wstring& root);

struct ForbiddenKeyName
{
    std::wstring canonical; // as CanonicalKey has it
    std::wstring name;      // with the long name of the hive; of a service its own
    std::string reason;
};
// With those of the services that must stay.
std::vector<ForbiddenKeyName> ForbiddenKeyNames();

// The key of all services, with a separator at its end.
constexpr const wchar_t* keyOfServices = L"SYSTEM\\CurrentControlSet\\Services\\";

// Of two paths, or keys, in lower case.
bool IsAtOrAbove(const std::wstring& item, const std::wstring& place);

} // namespace prodsweep
