// What belongs to the system or to all products, by the texts with which a descriptor names it: the places that the
// guard rails of a removal refuse, too. What the machine has there, such as links, is not asked.
#pragma once

#include <string>

#include "check/key_text.h"

namespace prodsweep {

// What the place is, as in "the folder of Windows"; null for one that a product may have for itself.
// A folder that is such a place, or lies around one.
const char* SystemFolder(const std::wstring& path);
const char* SystemFile(const std::wstring& path);
// A key that is such a place, or lies above one.
const char* SystemKey(const KeyText& key);
// pattern: a value's name, with stars or without.
const char* SystemValue(const KeyText& key, const std::wstring& pattern);
// Why the machine can't do without it.
const char* SystemProcess(const std::wstring& name);
const char* SystemService(const std::wstring& name);

// A folder that each machine has: one that a keyword stands for, or one around it.
bool IsOnEveryMachine(const std::wstring& folder);

} // namespace prodsweep
