#pragma once

#include "system/library.h"

#include <gtest/gtest.h>

namespace prodsweep::test {

// One of the four removal exports, for tests that hold for all of them. Those that take names take "A".
struct Removal
{
    const char* name; // also in log records
    bool (*call)(const Library& library, int kind, bool* restart, UninstallCallback callback);
    bool reportsRestart;
};
inline constexpr int removalCount = 4;
extern const Removal removals[removalCount];

// For a test's name.
[[nodiscard]] inline std::string RemovalName(const testing::TestParamInfo<Removal>& row) { return row.param.name; }

} // namespace prodsweep::test
