#include "removal.h"

#include <algorithm>
#include <iterator>

#include "text.h"

namespace prodsweep {

namespace {

struct StageRow
{
    int event;
    const char* name;
};

constexpr StageRow stageRows[] = {
    {PRODSWEEP_EVENT_STOP_DRIVER, "stopping services"},
    {PRODSWEEP_EVENT_DISABLE_DRIVER, "disabling services"},
    {PRODSWEEP_EVENT_TOOLS, "tools"},
    {PRODSWEEP_EVENT_PROCESSES, "processes"},
    {PRODSWEEP_EVENT_FOLDERS, "folders"},
    {PRODSWEEP_EVENT_FILES, "files"},
    {PRODSWEEP_EVENT_SHORTCUTS, "shortcuts"},
    {PRODSWEEP_EVENT_REG_KEYS, "registry keys"},
    {PRODSWEEP_EVENT_REG_VALUES, "registry values"},
};

// The library's callback has no context, so the running removal is found here.
struct RunningRemoval
{
    RemovalResult* result = nullptr;
    IRemovalWatcher* watcher = nullptr;
};
RunningRemoval running;

void Hear(int32_t event, int32_t code, const void* value)
{
    std::vector<ProductRun>& runs = running.result->runs;
    if (event == PRODSWEEP_EVENT_PRODUCT && value != nullptr)
    {
        runs.push_back({ToUtf8(static_cast<const wchar_t*>(value)), {}, false});
        if (running.watcher != nullptr)
            running.watcher->ProductBegins(runs.back().product);
    }
    // What comes before the first product is about the catalogue.
    if (runs.empty())
        return;
    if (event == PRODSWEEP_EVENT_DESCRIPTOR && code == PRODSWEEP_LOAD_DONE)
        runs.back().descriptorRead = true;
    const char* const name = StageName(event);
    if (name == nullptr)
        return;
    runs.back().stages.push_back({name, code == 0});
    if (running.watcher != nullptr)
        running.watcher->StageEnds(runs.back().stages.back());
}

} // namespace

const char* StageName(int event)
{
    const auto* const row = std::find_if(std::begin(stageRows), std::end(stageRows),
                                         [&](const StageRow& candidate) { return candidate.event == event; });
    return row == std::end(stageRows) ? nullptr : row->name;
}

RemovalResult RunRemoval(const RemovalCall& removal, IRemovalWatcher* watcher)
{
    RemovalResult result;
    running = {&result, watcher};
    result.success = removal(&result.restart, Hear);
    running = {};
    return result;
}

} // namespace prodsweep
