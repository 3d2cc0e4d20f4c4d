// How an explanation reads: for people, and for scripts.
#pragma once

#include <string>

#include "explanation.h"

namespace prodsweep {

// Indented, one line for each thing that was looked for; the last line is the answer and the rule behind it.
std::string ExplanationAsText(const Explanation& explanation);

std::string ExplanationAsJson(const std::string& library, const Explanation& explanation);

} // namespace prodsweep
