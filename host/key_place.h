// A key as the operations take it apart, and how a look opens it.
#pragma once

#include <string>

#include <windows.h>

#include "common/unique_reg_key.h"

namespace prodsweep {

struct KeyPlace
{
    HKEY hive = nullptr;
    std::wstring subkey;
    std::wstring full; // with the long name of the hive, as IUsed sees it
};

// False when the hive is none.
bool SplitPlace(const std::wstring& key, KeyPlace& place);

// A removal asks for all access, and takes a refusal for absence. Looking needs less, and so tells the two apart.
LSTATUS OpenPlace(const KeyPlace& place, REGSAM access, UniqueRegKey& key);
bool MayBeDeleted(const KeyPlace& place);

// Where links lead that the key is, or lies behind; empty when there are none, or no such key.
std::wstring LeadsElsewhere(const KeyPlace& place);

} // namespace prodsweep
