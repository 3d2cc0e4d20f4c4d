#include "check/findings.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "text.h"

namespace prodsweep {

void CFindings::Add(std::string_view rule, const std::string& file, Position at, std::string what)
{
    findings.push_back({&RuleNamed(rule), file, at, std::move(what)});
}

const std::vector<Finding>& CFindings::Sorted()
{
    const auto order = [](const Finding& finding) {
        return std::tie(finding.file, finding.at, finding.rule->name, finding.what);
    };
    std::sort(findings.begin(), findings.end(),
              [&](const Finding& left, const Finding& right) { return order(left) < order(right); });
    const auto same = [&](const Finding& left, const Finding& right) { return order(left) == order(right); };
    findings.erase(std::unique(findings.begin(), findings.end(), same), findings.end());
    return findings;
}

std::string Quoted(std::wstring_view text) { return '"' + Printable(ToUtf8(text)) + '"'; }

} // namespace prodsweep
