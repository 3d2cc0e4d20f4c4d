// What was found, and where.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "check/rules.h"
#include "check/xml_text.h"

namespace prodsweep {

struct Finding
{
    const Rule* rule = nullptr;
    std::string file; // as it was given, or below the folder that was
    Position at;
    std::string what; // one sentence about this place
};

class CFindings
{
public:
    void Add(std::string_view rule, const std::string& file, Position at, std::string what);

    // By file, place, rule and text, each once.
    const std::vector<Finding>& Sorted();

private:
    std::vector<Finding> findings;
};

// The findings of one file.
class CFileReport
{
public:
    CFileReport(CFindings& all, const std::string& fileName) : findings(all), file(fileName) {}

    void Add(std::string_view rule, Position at, std::string what) const
    {
        findings.Add(rule, file, at, std::move(what));
    }

private:
    CFindings& findings;
    const std::string& file;
};

// A text out of a file, in double quotes, for a sentence.
std::string Quoted(std::wstring_view text);

} // namespace prodsweep
