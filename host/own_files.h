// Files that a command is told to write: which one a path means, and that it is none of prodsweep's own.
#pragma once

#include <string>
#include <vector>

#include "command.h"

namespace prodsweep {

// Both throw CFailure, also for a path that names nothing.

// For two that are the same, however they are spelt, and through whatever links they lead.
void RefuseSharedFiles(const std::vector<NamedFile>& files);

// For a file of prodsweep in that folder, or in one of its folders of descriptors, whether it is there or not. folder:
// with the backslash at its end.
void RefuseOwnFile(const NamedFile& file, const std::wstring& folder);

} // namespace prodsweep
