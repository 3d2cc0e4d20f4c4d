// What was wrong with a command line, in this program's own words.
#pragma once

#include <string>

namespace CLI {
class App;
class ParseError;
} // namespace CLI

namespace prodsweep {

// A clause without full stop. app is the parser that met it.
std::string ParseFault(const CLI::App& app, const CLI::ParseError& error);

// The command line that shows what would have been right, as "prodsweep check --help".
std::string HelpFor(const CLI::App& app, const CLI::ParseError& error);

} // namespace prodsweep
