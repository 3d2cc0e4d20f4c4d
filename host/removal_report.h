// What came of a removal, and how it reads: for people, and for scripts.
#pragma once

#include <string>
#include <vector>

#include "product.h"
#include "removal.h"

namespace prodsweep {

// What a second look says, whatever the library returned.
enum class Outcome
{
    Gone,
    GoneAfterRestart, // not found any more, or only by what waits for the restart
    Remains,
    NotInstalled // it was not there, and nothing was done
};

struct ProductOutcome
{
    std::string name;
    int kind = 0; // PRODSWEEP_KIND_...
    Outcome outcome = Outcome::Gone;
    std::string reason; // of Remains and GoneAfterRestart; a sentence
    std::vector<StageReport> stages;
};

struct RemovalReport
{
    std::string library;
    std::vector<ProductOutcome> products;
    bool failed = false;  // the library said so, or something remains
    bool restart = false; // a restart of the machine is needed to finish
    double seconds = 0;
};

// Judges one product by its state after the removal: null when it is not found any more.
ProductOutcome JudgeRemoval(const Product& before, const Product* after, const RemovalResult& result);

// 0, 3010 or 1603.
int ExitCodeOf(const RemovalReport& report);

std::string RemovalAsText(const RemovalReport& report);
std::string RemovalAsJson(const RemovalReport& report);

} // namespace prodsweep
