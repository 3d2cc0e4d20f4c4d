// The library's removal pass, which records and puts in order what it would do, and does nothing of it.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "interpreter/product_uninstall.h"
#include "plan.h"
#include "users.h"

namespace prodsweep {

// An entry that the preparing struck off for the sake of another.
struct PrunedEntry
{
    std::wstring name; // of the folder or key
    std::wstring valueName;
    bool isValue = false;
    std::wstring by;
    bool below = false; // it lies below that one, and so goes with it; else it just begins alike, and stays
};

// An entry that recorded nothing.
struct AsideEntry
{
    int event = 0; // of the stage that it was meant for: PRODSWEEP_EVENT_...
    PlannedItem item;
};

struct ComposedEntry;

class CPlannedRemoval : public CProductUninstall
{
public:
    // Nothing is owned. users: asks the products of checkList.
    CPlannedRemoval(const std::wstring& name, const std::wstring& descriptor, const CheckList& asked,
                    const CUsers& askedUsers);

    // The walk and the preparing, once. False when the descriptor can't be read.
    [[nodiscard]] bool Record();

    // After Record: what would be carried out, each list in its order.
    const std::vector<CachedDriverStop>& DriverStops() const { return cachedDriverStops; }
    // With those that are stopped first.
    WideStringList DisabledDrivers() const;
    const std::vector<CachedDllMethod>& DllMethods() const { return cachedDllMethods; }
    const std::vector<CachedTool>& Tools() const { return cachedTools; }
    // The tool's entry gave a path that is completed by the library's folder.
    bool IsRelative(const CachedTool& tool) const { return relativeTools.contains(tool.commandLine); }
    const WideStringList& Kills() const { return cachedKills; }
    const WideStringList& Folders() const { return cachedFolders; }
    const WideStringList& Files() const { return cachedFiles; }
    const std::vector<CachedShortcut>& Shortcuts() const { return cachedShortcuts; }
    const std::vector<CachedRegKeySearch>& KeySearches() const { return cachedRegKeySearches; }
    const std::vector<CachedRegItem>& RegItems() const { return cachedRegItems; }
    // Marked for the restart.
    const WideStringList& MarkedFiles() const { return restartDeleteList; }

    const std::vector<PrunedEntry>& PrunedFolders() const { return prunedFolders; }
    const std::vector<PrunedEntry>& PrunedRegItems() const { return prunedRegItems; }
    const std::vector<AsideEntry>& Aside() const { return aside; }
    // Texts of sections' op_codes that are none.
    const std::set<std::wstring>& UnknownOpCodes() const { return unknownOpCodes; }
    // The entries that demand a restart, described by their attributes.
    const std::vector<std::string>& RestartEntries() const { return restartEntries; }

    bool ExecOperation(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelFile(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelFolder(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelShortcut(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegKey(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegVal(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessKillProcess(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessExecTool(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDisableDriver(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDisableAndStopDriver(const AttributeMap& attributes, const std::wstring& appPath) override;

private:
    PlannedItem& SetAside(int event, const AttributeMap& attributes, const std::string& reason);
    void SetAside(int event, const AttributeMap& attributes, const ComposedEntry& composed);
    void NotePruned(const WideStringList& folders, const std::vector<CachedRegItem>& regItems);

    const CUsers& users;
    std::vector<PrunedEntry> prunedFolders;
    std::vector<PrunedEntry> prunedRegItems;
    std::vector<AsideEntry> aside;
    std::set<std::wstring> relativeTools;
    std::set<std::wstring> unknownOpCodes;
    std::vector<std::string> restartEntries;
};

} // namespace prodsweep
