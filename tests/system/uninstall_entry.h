#pragma once

#include "support/uninstall_entries.h"

#include <string>

namespace prodsweep::test {

// One entry in the machine's list of installed programs, under a name of its own.
class UninstallEntry
{
public:
    // view: KEY_WOW64_64KEY or KEY_WOW64_32KEY.
    explicit UninstallEntry(REGSAM view = KEY_WOW64_64KEY);

    // The entry's name, by which a catalogue finds it.
    [[nodiscard]] const std::wstring& Id() const { return id; }

private:
    UninstallEntries entries;
    std::wstring id;
};

} // namespace prodsweep::test
