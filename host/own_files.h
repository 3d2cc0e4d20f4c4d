// Files that the options of a run name, and those of prodsweep itself.
#pragma once

#include <string>
#include <vector>

#include "command.h"

namespace prodsweep {

// Throws CFailure for a path that is empty or means nothing; for two that are the same, however they are spelt, and
// through whatever links they lead; and for one that would be written over a file of prodsweep, beside this program or
// beside the library (UTF-8, as typed; empty: also beside this program), whether that file is there or not.
void CheckNamedFiles(const std::vector<NamedFile>& files, const std::string& libraryPath);

} // namespace prodsweep
