// Keys as the system itself knows them: under one name, from which all links are gone.
#pragma once

#include <string>

#include <windows.h>

namespace prodsweep {

// "\Registry\Machine\Software" of an open key. Empty when the system does not tell.
std::wstring NativeKeyName(HKEY key);

// The same for people: "HKEY_LOCAL_MACHINE\Software". What lies in no hive stays as it is.
std::wstring ReadableKeyName(const std::wstring& nativeName);

// Whether the last part of the subkey is a link, one that leads nowhere too. Links on the way are followed.
bool IsKeyLink(HKEY hive, const std::wstring& subkey);

} // namespace prodsweep
