// The text of a registry key, as the library takes it apart.
#pragma once

#include <string>
#include <string_view>

#include <windows.h>

namespace prodsweep {

struct KeyText
{
    bool hiveKnown = false;
    HKEY root = nullptr;
    std::wstring hive;   // its long name, whichever stands in the text
    std::wstring subkey; // as it stands
};
KeyText SplitKeyText(const std::wstring& text);

// Why the hive is not known, in one sentence; with the one that was meant, if that can be told.
std::string HiveFault(const std::wstring& text);

// A separator that Windows does not take for one, or does not skip.
bool HasOddSeparator(std::wstring_view subkey);

} // namespace prodsweep
