#include "check/check_report.h"

#include <algorithm>

#include "table.h"
#include "text.h"

namespace prodsweep {

namespace {

std::string Counted(std::size_t count, const std::string& thing)
{
    return std::to_string(count) + ' ' + thing + (count == 1 ? "" : "s");
}

std::string Shown(const Finding& finding)
{
    const Rule& rule = *finding.rule;
    return Printable(finding.file) + ':' + std::to_string(finding.at.line) + ':' + std::to_string(finding.at.column) +
           ": " + SeverityName(rule.severity) + ": " + finding.what + " [" + std::string(rule.name) + "]\n    " +
           std::string(rule.consequence) + "\n    To mend it: " + std::string(rule.remedy) + '\n';
}

} // namespace

std::size_t CheckReport::Count(Severity severity) const
{
    return static_cast<std::size_t>(std::count_if(
        findings.begin(), findings.end(), [=](const Finding& finding) { return finding.rule->severity == severity; }));
}

std::string CheckAsText(const CheckReport& report)
{
    std::string text;
    for (const Finding& finding : report.findings)
        text += Shown(finding);
    std::string counts;
    for (const Severity severity : {Severity::Error, Severity::Warning, Severity::Note})
    {
        if (const std::size_t count = report.Count(severity); count != 0)
            counts += (counts.empty() ? "" : ", ") + Counted(count, SeverityName(severity));
    }
    return text + (counts.empty() ? "Nothing found" : (text.empty() ? "" : "\n") + counts) + " in " +
           Counted(report.files, "file") + ".\n";
}

std::string RulesAsText()
{
    CTable table({"Rule", "Severity", "What it finds"});
    for (const Rule& rule : Rules())
        table.Add({std::string(rule.name), SeverityName(rule.severity), std::string(rule.summary)});
    return table.Text();
}

} // namespace prodsweep
