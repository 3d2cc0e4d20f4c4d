// What the levels are called, in the settings file and in the lines.
#pragma once

#include <string_view>

#include "prodsweep/log.h"

namespace prodsweep::logger {

struct Level
{
    int number;
    std::wstring_view name;
};

constexpr Level levels[] = {
    {LOG_LEVEL_ERROR, L"error"},
    {LOG_LEVEL_TOLERATED, L"tolerated"},
    {LOG_LEVEL_TRACE, L"trace"},
    {LOG_LEVEL_SKIPPED, L"skipped"},
};

} // namespace prodsweep::logger
