#pragma once

#include <windows.h>

#include <map>
#include <string>

namespace prodsweep {

// Turns the text of a key path, "HKLM\SOFTWARE\Something", into a root key and a subkey. Making an
// object fills the process-wide tables, which HiveName needs too.
class CSplitKeyPath
{
public:
    CSplitKeyPath();

    // Splits at the first "\" or "/", whichever stands earlier. Hive names are matched exactly as
    // written, in upper case. False (logged) for anything else; hive and subkey are untouched then.
    [[nodiscard]] bool Split(const wchar_t* path, HKEY& hive, std::wstring& subkey) const;

protected:
    friend const wchar_t* HiveName(HKEY hive);

    static std::map<std::wstring, HKEY> hives;
    static std::map<HKEY, std::wstring> names;
};

// The long name of a root key; null for any other key, and for every key before the first
// CSplitKeyPath of the process was made.
[[nodiscard]] const wchar_t* HiveName(HKEY hive);

} // namespace prodsweep
