// The option --library, which most commands have.
#pragma once

#include <string>

namespace prodsweep {

class COptions;

void AddLibraryOption(COptions& options, std::string& path);

// Throws CFailure for an empty path: it would mean the library beside this program, and nobody types that.
void CheckLibraryOption(const COptions& options, const std::string& path);

} // namespace prodsweep
