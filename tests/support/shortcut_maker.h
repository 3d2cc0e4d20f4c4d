#pragma once

#include <string>

namespace prodsweep::test {

// Writes a link file by the shell's own link object. COM must be initialised on the thread. The
// target need not exist; an empty one makes a link that points at nothing.
void MakeShortcut(const std::wstring& link, const std::wstring& target);

} // namespace prodsweep::test
