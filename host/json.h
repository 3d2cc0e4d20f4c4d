// What all JSON reports of the host have in common.
#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace prodsweep {

// Keeps the order in which members were added.
using Json = nlohmann::ordered_json;

// An object with the number of the format, to which a command adds its members.
Json NewReport();

// Most texts are empty, and say nothing then.
Json TextOrNull(const std::string& text);

// The text that goes to standard output.
std::string ReportText(const Json& report);

std::string FailureAsJson(int code, const std::string& message);

} // namespace prodsweep
