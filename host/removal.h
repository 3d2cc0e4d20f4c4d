// A removal through the library, and what it told meanwhile.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "prodsweep/prodsweep.h"

namespace prodsweep {

// One stage that the library reported.
struct StageReport
{
    std::string stage; // "folders"; see StageName
    bool done = true;  // false: something in it failed
};

// What was told between the beginning of one product and that of the next.
struct ProductRun
{
    std::string product;
    std::vector<StageReport> stages;
    bool descriptorRead = false; // its descriptor was walked
};

struct RemovalResult
{
    bool success = false; // what the library returned; no proof that the product is gone
    bool restart = false;
    // In their order. One removal may run the descriptors of several products: those of a whole catalogue, or of all
    // others when the last of a kind goes.
    std::vector<ProductRun> runs;
};

// A stage's name for people; null for an event that reports no stage.
const char* StageName(int event);

// Follows a removal while it runs, to show how far it has come.
class IRemovalWatcher
{
public:
    IRemovalWatcher() = default;
    IRemovalWatcher(const IRemovalWatcher&) = delete;
    IRemovalWatcher& operator=(const IRemovalWatcher&) = delete;
    virtual ~IRemovalWatcher() = default;

    // On the thread of the removal: a product begins, a stage of it is over.
    virtual void ProductBegins(const std::string& product) = 0;
    virtual void StageEnds(const StageReport& stage) = 0;
};

// Calls one of the library's removal exports, given as a function of restart and callback, and
// collects its events. One at a time in a process. watcher may be null.
using RemovalCall = std::function<bool(bool* restart, UninstallCallback callback)>;
RemovalResult RunRemoval(const RemovalCall& removal, IRemovalWatcher* watcher);

} // namespace prodsweep
