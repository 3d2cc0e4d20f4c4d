#pragma once

#include "support/com_scope.h"

namespace prodsweep::test {

// For tables of the calls that must leave COM on the thread of their caller as it was.

struct ComThread
{
    const char* label;
    ComState before;
    int uninitialised; // CoUninitialize calls of the export
};
inline constexpr ComThread comThreads[] = {{"WithoutCom", ComState::None, 1},
                                           {"SingleThreaded", ComState::SingleThreaded, 0},
                                           {"MultiThreaded", ComState::MultiThreaded, 0}};

// The ways that a call can end.
enum class End
{
    Success,
    NoCatalogue,
    NoFolder,
    NoArray,
    Exception
};
struct EndRow
{
    const char* label;
    End end;
};

} // namespace prodsweep::test
