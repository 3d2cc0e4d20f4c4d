// What can be set, and its form in a file.
#pragma once

#include <string>
#include <string_view>

#include "prodsweep/log.h"

namespace prodsweep::logger {

constexpr int mostKept = 99;

// A log.dll without settings is silent.
struct Settings
{
    bool enabled = false;
    int levels = LOG_LEVEL_ERROR | LOG_LEVEL_TOLERATED | LOG_LEVEL_SKIPPED;
    std::wstring path; // full, or empty: nothing is written
    int type = LOG_TYPE_TEXT;
    int mode = LOG_MODE_APPEND;
    unsigned maxSize = 10 * 1024; // KiB; 0: no limit
    int depth = 3;
};

// Where a log goes that is turned on without being told a path.
Settings DefaultSettings();

// The text of a settings file. folder: what relative paths are below, with the backslash at its end. A line that can't
// be understood is noted and changes nothing.
Settings ParseSettings(std::wstring_view text, const std::wstring& folder);

} // namespace prodsweep::logger
