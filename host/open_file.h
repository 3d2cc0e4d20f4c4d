// Is a file open in a program, so that it can't be deleted at this moment?
#pragma once

#include <string>

namespace prodsweep {

// As far as a look tells that leaves no trace: the file is opened for a moment as a deletion would, and closed.
// Why it can't be deleted, as a clause; empty: nothing is in the way.
std::string KeepsFromDeleting(const std::wstring& path);

} // namespace prodsweep
