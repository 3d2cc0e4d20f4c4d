// What runs now, by name and by file.
#pragma once

#include <string>
#include <vector>

#include <windows.h>

namespace prodsweep {

// The ids of all processes of a program, whose file name is compared ignoring case.
std::vector<DWORD> ProcessesNamed(const std::wstring& program);

// Full path of a process's program; empty when it can't be asked for.
std::wstring ImageOf(DWORD process);

} // namespace prodsweep
