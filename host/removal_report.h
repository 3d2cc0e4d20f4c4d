// What came of a removal, and how it reads: for people, and for scripts.
#pragma once

#include <string>
#include <vector>

#include "product.h"
#include "removal.h"

namespace prodsweep {

struct Plan;

// What a second look says, whatever the library returned.
enum class Outcome
{
    Gone,
    GoneAfterRestart, // not found any more, or only by what waits for the restart
    Remains,
    NotInstalled // it was not there, and nothing was done
};

// Something that was left alone for the sake of a product that stays.
struct StayedItem
{
    std::string kind; // "folder"
    std::string name;
    std::string user;
};

struct ProductOutcome
{
    std::string name;
    int kind = 0; // PRODSWEEP_KIND_...
    Outcome outcome = Outcome::Gone;
    std::string reason; // of Remains and GoneAfterRestart; a sentence
    std::vector<StageReport> stages;
    std::vector<StayedItem> stayed;
};

struct RemovalReport
{
    std::string library;
    std::vector<ProductOutcome> products;
    bool failed = false;  // the library said so, or something remains
    bool restart = false; // a restart of the machine is needed to finish
    double seconds = 0;
    std::vector<std::string> lifted; // what would have kept the removal from being started, and was allowed
};

// Judges one product by its state after the removal: null when it is not found any more.
ProductOutcome JudgeRemoval(const Product& before, const Product* after, const RemovalResult& result);

// Tells of each product what the plan left alone.
void AddStayed(RemovalReport& report, const Plan& plan);

// 0, 3010 or 1603.
int ExitCodeOf(const RemovalReport& report);

std::string RemovalAsText(const RemovalReport& report);
std::string RemovalAsJson(const RemovalReport& report);

} // namespace prodsweep
