// What the host knows of a product, in plain values: the commands' reports are made from these.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace prodsweep {

struct FoundVersion
{
    std::optional<std::string> guid;                                        // last part of the version's registry key
    std::vector<std::pair<std::string, std::vector<std::string>>> children; // ascending by name
};

struct Product
{
    std::string name;
    std::string descriptor; // full path
    int kind = 0;           // PRODSWEEP_KIND_...
    bool installed = false;
    std::vector<FoundVersion> versions; // may be empty though installed: found by its descriptor alone
};

// "own" or "other", as the command line has it.
const char* KindName(int kind);

} // namespace prodsweep
