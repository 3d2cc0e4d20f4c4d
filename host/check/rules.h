// What "prodsweep check" looks for.
#pragma once

#include <span>
#include <string_view>

namespace prodsweep {

enum class Severity
{
    Note,    // odd, and may be meant
    Warning, // does something else than it says
    Error    // is not read, does nothing, or does harm
};

// "note", "warning", "error"; the words of SARIF, too.
const char* SeverityName(Severity severity);

struct Rule
{
    std::string_view name; // kebab-case, for good: people filter by it
    Severity severity;
    std::string_view summary;     // what it finds, one line
    std::string_view consequence; // what comes of it at run time
    std::string_view remedy;
};

// All of them, by theme.
std::span<const Rule> Rules();

// Throws std::out_of_range for a name that no rule has.
const Rule& RuleNamed(std::string_view name);

} // namespace prodsweep
