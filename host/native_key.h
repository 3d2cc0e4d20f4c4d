// Keys as the system itself knows them: under one name, from which all links are gone.
#pragma once

#include <string>

#include <windows.h>

namespace prodsweep {

// A key's native name for people: "HKEY_LOCAL_MACHINE\Software". What lies in no hive stays as it is.
std::wstring ReadableKeyName(const std::wstring& nativeName);

// Whether the last part of the subkey is a link, one that leads nowhere too. Links on the way are followed.
bool IsKeyLink(HKEY hive, const std::wstring& subkey);

} // namespace prodsweep
