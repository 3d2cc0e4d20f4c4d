#include "plan_stages.h"

#include "removal.h"
#include "text.h"

namespace prodsweep {

namespace {

constexpr const char* restartStage = "restart";

// The stages of a product, in their order.
class CStages
{
public:
    CStages(const CPlannedRemoval& recorded, const LookContext& lookContext) : removal(recorded), context(lookContext)
    {}

    void AddAll();

private:
    void AddServices();
    void AddTools();
    void AddProcesses();
    void AddFolders();
    void AddFiles();
    void AddShortcuts();
    void AddKeys();
    void AddValues();
    void AddMarkedFiles();
    void AddPruned(int event, const std::vector<PrunedEntry>& entries, bool values);
    void AddAside(int event);

    PlannedItem& Add(int event, const std::wstring& name);
    PlannedStage& Stage(const char* name);
    // Key searches run in a stage that runs for the sake of other items only.
    bool RegistryIsSkipped() const { return removal.RegItems().empty(); }
    std::wstring WithLibraryFolder(const CachedTool& tool) const;

    const CPlannedRemoval& removal;
    const LookContext& context;
};

PlannedStage& CStages::Stage(const char* name)
{
    std::vector<PlannedStage>& stages = context.product.stages;
    if (stages.empty() || stages.back().name != name)
        stages.push_back({name, {}});
    return stages.back();
}

PlannedItem& CStages::Add(int event, const std::wstring& name)
{
    const char* const stage = StageName(event);
    PlannedItem& item = Stage(stage != nullptr ? stage : restartStage).items.emplace_back();
    item.name = ToUtf8(name);
    return item;
}

void CStages::AddAside(int event)
{
    for (const AsideEntry& entry : removal.Aside())
    {
        if (entry.event == event)
            Add(event, L"") = entry.item;
    }
}

void CStages::AddPruned(int event, const std::vector<PrunedEntry>& entries, bool values)
{
    for (const PrunedEntry& entry : entries)
    {
        if (entry.isValue != values)
            continue;
        PlannedItem& item = Add(event, entry.name);
        item.kind = event == PRODSWEEP_EVENT_FOLDERS ? ItemKind::Folder : values ? ItemKind::Value : ItemKind::Key;
        item.valueName = ToUtf8(entry.valueName);
        item.state = ItemState::Pruned;
        item.by = ToUtf8(entry.by);
        item.reason = entry.below ? "it lies below that one" : "its name just begins alike, so it stays";
        if (!entry.below)
            context.Warn(item.name, "It stays, though an entry names it: \"" + item.by +
                                        "\" takes its place, since the name begins alike.");
    }
}

void CStages::AddServices()
{
    for (const CachedDriverStop& stop : removal.DriverStops())
        LookAtServiceToStop(Add(PRODSWEEP_EVENT_STOP_DRIVER, stop.driverName), stop.driverName, context);
    AddAside(PRODSWEEP_EVENT_STOP_DRIVER);
    for (const std::wstring& name : removal.DisabledDrivers())
        LookAtServiceToDisable(Add(PRODSWEEP_EVENT_DISABLE_DRIVER, name), name, context);
    AddAside(PRODSWEEP_EVENT_DISABLE_DRIVER);
}

std::wstring CStages::WithLibraryFolder(const CachedTool& tool) const
{
    std::wstring commandLine = tool.commandLine;
    if (removal.IsRelative(tool) && commandLine.compare(1, context.programFolder.size(), context.programFolder) == 0)
        commandLine.replace(1, context.programFolder.size(), context.libraryFolder);
    return commandLine;
}

void CStages::AddTools()
{
    for (const CachedDllMethod& method : removal.DllMethods())
        LookAtDllMethod(Add(PRODSWEEP_EVENT_TOOLS, L""), method, context);
    for (const CachedTool& tool : removal.Tools())
    {
        const std::wstring commandLine = WithLibraryFolder(tool);
        PlannedItem& item = Add(PRODSWEEP_EVENT_TOOLS, commandLine);
        item.detail = tool.wait ? waitedFor : notWaitedFor;
        LookAtTool(item, commandLine, context);
    }
    AddAside(PRODSWEEP_EVENT_TOOLS);
}

void CStages::AddProcesses()
{
    for (const std::wstring& name : removal.Kills())
        LookAtProcess(Add(PRODSWEEP_EVENT_PROCESSES, name), name, context);
    AddAside(PRODSWEEP_EVENT_PROCESSES);
}

void CStages::AddFolders()
{
    for (const std::wstring& folder : removal.Folders())
        LookAtFolder(Add(PRODSWEEP_EVENT_FOLDERS, folder), folder, context);
    AddPruned(PRODSWEEP_EVENT_FOLDERS, removal.PrunedFolders(), false);
    AddAside(PRODSWEEP_EVENT_FOLDERS);
}

void CStages::AddFiles()
{
    for (const std::wstring& file : removal.Files())
        LookAtFile(Add(PRODSWEEP_EVENT_FILES, file), file, context);
    AddAside(PRODSWEEP_EVENT_FILES);
}

void CStages::AddShortcuts()
{
    for (const CachedShortcut& query : removal.Shortcuts())
        LookAtShortcuts(Add(PRODSWEEP_EVENT_SHORTCUTS, query.shortcut), query, context);
    AddAside(PRODSWEEP_EVENT_SHORTCUTS);
}

void CStages::AddKeys()
{
    for (const CachedRegKeySearch& search : removal.KeySearches())
    {
        PlannedItem& item = Add(PRODSWEEP_EVENT_REG_KEYS, search.key);
        if (!RegistryIsSkipped())
        {
            LookAtKeySearch(item, search, context);
            continue;
        }
        item.kind = ItemKind::KeySearch;
        item.state = ItemState::Skipped;
        item.reason = "key searches run only beside a plain key or value, and the descriptor names none";
        context.Warn(item.name, "This key search never runs: the descriptor names no plain key or value beside it.");
    }
    for (const CachedRegItem& key : removal.RegItems())
    {
        if (!key.isValue)
            LookAtKey(Add(PRODSWEEP_EVENT_REG_KEYS, key.key), key, context);
    }
    AddPruned(PRODSWEEP_EVENT_REG_KEYS, removal.PrunedRegItems(), false);
    AddAside(PRODSWEEP_EVENT_REG_KEYS);
}

void CStages::AddValues()
{
    for (const CachedRegItem& value : removal.RegItems())
    {
        if (value.isValue)
            LookAtValue(Add(PRODSWEEP_EVENT_REG_VALUES, value.key), value, context);
    }
    AddPruned(PRODSWEEP_EVENT_REG_VALUES, removal.PrunedRegItems(), true);
    AddAside(PRODSWEEP_EVENT_REG_VALUES);
}

void CStages::AddMarkedFiles()
{
    for (const std::wstring& file : removal.MarkedFiles())
        LookAtMarkedFile(Add(0, file), file, context);
    AddAside(0);
}

void CStages::AddAll()
{
    AddServices();
    AddTools();
    AddProcesses();
    AddFolders();
    AddFiles();
    AddShortcuts();
    AddKeys();
    AddValues();
    AddMarkedFiles();
}

} // namespace

void PlanStages(const CPlannedRemoval& removal, const LookContext& context) { CStages(removal, context).AddAll(); }

} // namespace prodsweep
