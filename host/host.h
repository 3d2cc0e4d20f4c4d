// The program, from its arguments to its exit code.
#pragma once

#include <string>
#include <vector>

namespace prodsweep {

class COutput;

// arguments: UTF-8, without the program's name.
int RunHost(std::vector<std::string> arguments, const COutput& out, const COutput& err);

} // namespace prodsweep
