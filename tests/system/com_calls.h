#pragma once

#include "support/import_patch.h"

namespace prodsweep::test {

// Counts how a module initialises and uninitialises COM, and passes the calls on. One at a time.
class ComCalls
{
public:
    explicit ComCalls(HMODULE module);
    ~ComCalls();

    // How many CoInitialize calls came, and how many of them answered S_OK.
    [[nodiscard]] static int Initialised();
    [[nodiscard]] static int AnsweredOk();
    [[nodiscard]] static int Uninitialised();

private:
    ImportPatch initialise;
    ImportPatch uninitialise;
};

} // namespace prodsweep::test
