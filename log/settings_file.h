#pragma once

#include <string>

#include "settings.h"

namespace prodsweep::logger {

// Defaults when there is no such file, or it can't be read: then nothing is logged. UTF-8 with or without its mark, or
// UTF-16 with it.
Settings ReadSettings(const std::wstring& file);

} // namespace prodsweep::logger
