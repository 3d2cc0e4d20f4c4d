// What "check" says of its findings.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "check/findings.h"

namespace prodsweep {

struct CheckReport
{
    std::vector<Finding> findings; // in order
    std::size_t files = 0;         // that were looked at

    std::size_t Count(Severity severity) const;
};

std::string CheckAsText(const CheckReport& report);
std::string CheckAsJson(const CheckReport& report);
// currentFolder: absolute; what lies in it is told relative to it.
std::string CheckAsSarif(const CheckReport& report, const std::wstring& currentFolder);

std::string RulesAsText();
std::string RulesAsJson();

// A path as a URI, relative when it lies below the folder.
std::string UriOf(const std::wstring& path, const std::wstring& currentFolder);

} // namespace prodsweep
