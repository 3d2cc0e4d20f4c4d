// One line of the log.
#pragma once

#include <string>
#include <string_view>

#include <windows.h>

namespace prodsweep::logger {

struct Record
{
    SYSTEMTIME time; // UTC
    DWORD process;
    DWORD thread;
    int level;
    std::wstring_view function;
    std::wstring_view text;
};

// type: LOG_TYPE_... In UTF-8, with the end of the line.
std::string ComposeLine(const Record& record, int type);

} // namespace prodsweep::logger
