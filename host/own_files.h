// Files that a command is told to write: which one a path means, and that it is none of prodsweep's own.
#pragma once

#include <string>

namespace prodsweep {

// Both take UTF-8, as typed, and throw CFailure for a path that names nothing.

// However they are spelt, and through whatever links they lead.
bool IsSameFile(const std::string& path, const std::string& other);

// Throws CFailure for a file of prodsweep in that folder, or in one of its folders of descriptors, whether it is there
// or not. option: "--save", for the sentence; folder: with the backslash at its end.
void RefuseOwnFile(const std::string& option, const std::string& path, const std::wstring& folder);

} // namespace prodsweep
