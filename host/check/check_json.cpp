#include "check/check_report.h"

#include <nlohmann/json.hpp>

#include "json.h"

namespace prodsweep {

std::string CheckAsJson(const CheckReport& report)
{
    Json document = NewReport();
    document["files"] = report.files;
    document["errors"] = report.Count(Severity::Error);
    document["warnings"] = report.Count(Severity::Warning);
    document["notes"] = report.Count(Severity::Note);
    document["findings"] = Json::array();
    for (const Finding& finding : report.findings)
        document["findings"].push_back({{"file", finding.file},
                                        {"line", finding.at.line},
                                        {"column", finding.at.column},
                                        {"rule", finding.rule->name},
                                        {"severity", SeverityName(finding.rule->severity)},
                                        {"message", finding.what},
                                        {"consequence", finding.rule->consequence},
                                        {"remedy", finding.rule->remedy}});
    return ReportText(document);
}

std::string RulesAsJson()
{
    Json document = NewReport();
    document["rules"] = Json::array();
    for (const Rule& rule : Rules())
        document["rules"].push_back({{"name", rule.name},
                                     {"severity", SeverityName(rule.severity)},
                                     {"summary", rule.summary},
                                     {"consequence", rule.consequence},
                                     {"remedy", rule.remedy}});
    return ReportText(document);
}

} // namespace prodsweep
