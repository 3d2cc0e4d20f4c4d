// What a descriptor names on the machine, as far as a text can tell.
#pragma once

#include <string>
#include <vector>

#include "check/checks.h"

namespace prodsweep {

struct NamedThing
{
    enum class Kind
    {
        Path,
        Key,
        Value,
        Service
    };
    Kind kind = Kind::Path;
    bool holdsOthers = false; // a folder or a key: all that lies in it is meant, too
    bool x32view = false;     // of a key or a value
    std::wstring spelled;     // as the library compares it, without a separator at its end
    std::wstring plain;       // as Windows does: one text for each thing
    std::size_t parent = 0;   // the length in plain of the folder or key that it lies in; 0 for none
    const SourceFile* file = nullptr;
    Position at;
};

// All but what searches of keys would find, and what lies in an app path that only the machine knows.
std::vector<NamedThing> ThingsOf(const DescriptorModel& model);

// The plain texts of all folders or keys around the thing, the nearest first.
std::vector<std::wstring> PlacesAround(const NamedThing& thing);

} // namespace prodsweep
