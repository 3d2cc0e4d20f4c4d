// The one way of this logger to say that something is wrong: to a debugger, if there is one.
#pragma once

#include <string>

#include <windows.h>

namespace prodsweep::logger {

void Note(const std::wstring& sentence);

// Adds the number of a Windows error.
void Note(const std::wstring& sentence, DWORD error);

} // namespace prodsweep::logger
