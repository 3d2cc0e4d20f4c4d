#pragma once

#include <string>

namespace prodsweep::logger {

// Puts the file aside as FILE.1, what was FILE.1 as FILE.2 and so on up to depth; the oldest goes. With depth 0 the
// file is emptied. False when it can't be moved, with the file as it was.
bool PutAside(const std::wstring& file, int depth);

} // namespace prodsweep::logger
