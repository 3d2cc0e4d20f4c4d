#include "json.h"

#include <nlohmann/json.hpp>

namespace prodsweep {

namespace {

// Raised when a script that reads the reports would have to change; new members do not count.
constexpr int formatNumber = 1;

} // namespace

Json NewReport() { return {{"format", formatNumber}}; }

Json TextOrNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

std::string ReportText(const Json& report) { return report.dump(2) + '\n'; }

std::string FailureAsJson(int code, const std::string& message)
{
    Json report = NewReport();
    report["error"] = {{"code", code}, {"message", message}};
    return ReportText(report);
}

} // namespace prodsweep
