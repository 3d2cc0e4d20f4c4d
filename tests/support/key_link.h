#pragma once

#include "common/unique_reg_key.h"

#include <windows.h>

#include <string>

namespace prodsweep::test {

// A link between two keys, most often of one hive. It goes when the object ends, and has to be there still. One that
// leads round in a circle has to go before the sandbox around it does.
class KeyLink
{
public:
    KeyLink(HKEY hive, const std::wstring& path, const std::wstring& target) : KeyLink(hive, path, hive, target) {}
    KeyLink(HKEY hive, const std::wstring& path, HKEY targetHive, const std::wstring& target);
    ~KeyLink();
    KeyLink(const KeyLink&) = delete;
    KeyLink& operator=(const KeyLink&) = delete;

private:
    UniqueRegKey link;
};

} // namespace prodsweep::test
