#include "library_option.h"

#include "command_line.h"
#include "exit_codes.h"
#include "failure.h"

namespace prodsweep {

void AddLibraryOption(COptions& options, std::string& path)
{
    options.AddText("--library", path, "PATH", "The prodsweep.dll to use (default: the one beside this program)");
}

void CheckLibraryOption(const COptions& options, const std::string& path)
{
    if (options.IsGiven("--library") && path.empty())
        throw CFailure(exitBadArguments, "--library needs a path.");
}

} // namespace prodsweep
