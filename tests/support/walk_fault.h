#pragma once

#include "support/dom_fault.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace prodsweep::test {

// A row of a table of faults that MSXML does not give on demand: where the fault is, and what the walk
// says of it.
struct WalkFault
{
    const char* name;
    DomMethod method;
    HRESULT answer;
    int call; // the how-manieth of the walk
    const char* function;
    const wchar_t* text;
    bool result;      // of Process
    std::string rest; // what the walk did all the same
};

// For a test's name.
[[nodiscard]] inline std::string WalkFaultName(const testing::TestParamInfo<WalkFault>& row) { return row.param.name; }

inline void PrintTo(const WalkFault& row, std::ostream* out) { *out << row.name; }

} // namespace prodsweep::test
