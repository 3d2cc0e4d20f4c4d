// The users' profiles, as the system keeps them in the registry.
#pragma once

#include <string>
#include <vector>

#include <windows.h>

namespace prodsweep {

struct ProfileList
{
    std::wstring folder;             // in which new profiles are made; empty when it is not told
    std::vector<std::wstring> roots; // each profile's own folder, on whatever drive
};

// Of this machine, whoever asks, and whether the users are logged on or not.
ProfileList ReadProfileList();

// list: the open key that holds it.
ProfileList ReadProfileList(HKEY list);

} // namespace prodsweep
