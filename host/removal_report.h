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

// A product whose descriptor was run with the last of its kind, to clear away what it may have left. Nobody chose it.
struct CleanedUp
{
    std::string name;
    int kind = 0; // PRODSWEEP_KIND_...
    std::vector<StageReport> stages;
    bool descriptorRead = false;
};

struct RemovalReport
{
    std::string library;
    std::vector<ProductOutcome> products;
    std::vector<CleanedUp> cleanedUp; // in the order in which they were run
    bool failed = false;              // the library said so, or something remains
    bool restart = false;             // a restart of the machine is needed to finish
    double seconds = 0;
    std::vector<std::string> lifted; // what would have kept the removal from being started, and was allowed
};

// Takes the product's own run out of what its removal told; empty when it was not reached.
ProductRun TakeRun(RemovalResult& result, const Product& product);

// Judges one product by its state after the removal: null when it is not found any more. result: of the call that
// removed it; run: its own part of that.
ProductOutcome JudgeRemoval(const Product& before, const Product* after, const RemovalResult& result,
                            const ProductRun& run);

// Tells of the runs that no chosen product has taken.
void AddCleanedUp(RemovalReport& report, const std::vector<ProductRun>& runs, int kind);

// Tells of each product what the plan left alone.
void AddStayed(RemovalReport& report, const Plan& plan);

// 0, 3010 or 1603.
int ExitCodeOf(const RemovalReport& report);

std::string RemovalAsText(const RemovalReport& report);
std::string RemovalAsJson(const RemovalReport& report);

} // namespace prodsweep
