#include "planned_removal.h"

#include <algorithm>
#include <iterator>
#include <tuple>

#include <shlwapi.h>

#include "entry_fault.h"
#include "interpreter/entry_composer.h"
#include "interpreter/op_codes.h"
#include "interpreter/os_condition.h"
#include "text.h"

namespace prodsweep {

namespace {

std::string Describe(const AttributeMap& attributes)
{
    std::string text;
    for (const auto& [name, value] : attributes)
    {
        if (name != L"op_code")
            text += (text.empty() ? "" : " ") + ToUtf8(name) + "=\"" + ToUtf8(value) + '"';
    }
    return text.empty() ? "an entry without attributes" : text;
}

bool LiesBelow(const std::wstring& path, const std::wstring& folder)
{
    const auto isSeparator = [](wchar_t character) { return character == L'\\' || character == L'/'; };
    return path.size() == folder.size() ||
           (!folder.empty() && (isSeparator(folder.back()) || isSeparator(path[folder.size()])));
}

bool ItemsBefore(const CachedRegItem& left, const CachedRegItem& right)
{
    return std::tie(left.x32view, left.key, left.isValue) < std::tie(right.x32view, right.key, right.isValue);
}

} // namespace

CPlannedRemoval::CPlannedRemoval(const std::wstring& name, const std::wstring& descriptor, const CheckList& asked,
                                 const CUsers& askedUsers)
    : CProductUninstall(name.c_str(), descriptor, asked, nullptr), users(askedUsers)
{}

bool CPlannedRemoval::Record()
{
    if (!Process())
        return false;
    const WideStringList folders = cachedFolders;
    const std::vector<CachedRegItem> regItems = cachedRegItems;
    PrepareCachedOperations();
    NotePruned(folders, regItems);
    return true;
}

void CPlannedRemoval::NotePruned(const WideStringList& folders, const std::vector<CachedRegItem>& regItems)
{
    // Each was struck off by the last one before it, in the order of the list, that was not.
    const std::set<std::wstring> everyFolder(folders.begin(), folders.end());
    for (const std::wstring& folder : everyFolder)
    {
        const auto next = std::upper_bound(cachedFolders.begin(), cachedFolders.end(), folder);
        if (next != cachedFolders.begin() && *std::prev(next) != folder)
            prunedFolders.push_back({folder, L"", false, *std::prev(next), LiesBelow(folder, *std::prev(next))});
    }
    std::vector<CachedRegItem> everyItem = regItems;
    std::stable_sort(everyItem.begin(), everyItem.end(), ItemsBefore);
    everyItem.erase(std::unique(everyItem.begin(), everyItem.end()), everyItem.end());
    for (const CachedRegItem& item : everyItem)
    {
        if (std::find(cachedRegItems.begin(), cachedRegItems.end(), item) != cachedRegItems.end())
            continue;
        const auto next = std::upper_bound(cachedRegItems.begin(), cachedRegItems.end(), item, ItemsBefore);
        const std::wstring& by = std::prev(next)->key;
        prunedRegItems.push_back({item.key, item.valueName, item.isValue, by, LiesBelow(item.key, by)});
    }
}

WideStringList CPlannedRemoval::DisabledDrivers() const
{
    WideStringList names = cachedDisableDrivers;
    for (const CachedDriverStop& stop : cachedDriverStops)
        names.push_back(stop.driverName);
    return names;
}

PlannedItem& CPlannedRemoval::SetAside(int event, const AttributeMap& attributes, const std::string& reason)
{
    AsideEntry& entry = aside.emplace_back();
    entry.event = event;
    entry.item.name = Describe(attributes);
    entry.item.state = ItemState::Skipped;
    entry.item.reason = reason;
    return entry.item;
}

void CPlannedRemoval::SetAside(int event, const AttributeMap& attributes, const ComposedEntry& composed)
{
    if (composed.fault != EntryFault::None)
        SetAside(event, attributes, FaultText(composed));
}

bool CPlannedRemoval::ExecOperation(const AttributeMap& attributes, const std::wstring& appPath)
{
    const std::wstring* const text = FindAttribute(attributes, L"op_code");
    if (text != nullptr && FindOpCode(*text) == nullptr)
        unknownOpCodes.insert(*text);
    if (IsYes(attributes, L"restart_required"))
        restartEntries.push_back(Describe(attributes));
    return CProductUninstall::ExecOperation(attributes, appPath);
}

bool CPlannedRemoval::ProcessDelFile(const AttributeMap& attributes, const std::wstring& appPath)
{
    const bool recorded = CProductUninstall::ProcessDelFile(attributes, appPath);
    const FileEntry entry = ComposeFile(attributes, appPath);
    SetAside(PRODSWEEP_EVENT_FILES, attributes, entry);
    const WideStringList& marked = restartDeleteList;
    if (!recorded || !entry.marked || std::find(marked.begin(), marked.end(), entry.path) != marked.end())
        return recorded;
    PlannedItem& item = SetAside(0, attributes, "");
    item.kind = ItemKind::File;
    item.name = ToUtf8(entry.path);
    item.user = users.OfFile(entry.path);
    item.state = item.user.empty() ? ItemState::Absent : ItemState::InUse;
    return recorded;
}

bool CPlannedRemoval::ProcessDelFolder(const AttributeMap& attributes, const std::wstring& appPath)
{
    SetAside(PRODSWEEP_EVENT_FOLDERS, attributes, ComposeFolder(attributes, appPath));
    return CProductUninstall::ProcessDelFolder(attributes, appPath);
}

bool CPlannedRemoval::ProcessDelShortcut(const AttributeMap& attributes, const std::wstring& appPath)
{
    SetAside(PRODSWEEP_EVENT_SHORTCUTS, attributes, ComposeShortcut(attributes, appPath));
    return CProductUninstall::ProcessDelShortcut(attributes, appPath);
}

bool CPlannedRemoval::ProcessDelRegKey(const AttributeMap& attributes, const std::wstring& appPath)
{
    SetAside(PRODSWEEP_EVENT_REG_KEYS, attributes, ComposeRegKey(attributes, DataStrReading::Separator));
    return CProductUninstall::ProcessDelRegKey(attributes, appPath);
}

bool CPlannedRemoval::ProcessDelRegVal(const AttributeMap& attributes, const std::wstring& appPath)
{
    SetAside(PRODSWEEP_EVENT_REG_VALUES, attributes, ComposeRegValue(attributes, appPath));
    return CProductUninstall::ProcessDelRegVal(attributes, appPath);
}

bool CPlannedRemoval::ProcessKillProcess(const AttributeMap& attributes, const std::wstring& appPath)
{
    if (FindAttribute(attributes, L"target_name") == nullptr)
        SetAside(PRODSWEEP_EVENT_PROCESSES, attributes, "it has no target_name");
    return CProductUninstall::ProcessKillProcess(attributes, appPath);
}

bool CPlannedRemoval::ProcessExecTool(const AttributeMap& attributes, const std::wstring& appPath)
{
    const std::size_t before = cachedTools.size();
    const bool recorded = CProductUninstall::ProcessExecTool(attributes, appPath);
    // A DLL function is judged when its list is carried out.
    if (FindAttribute(attributes, L"module") != nullptr)
        return recorded;
    if (const OsCondition os = CompareOs(attributes); os != OsCondition::Met)
    {
        SetAside(PRODSWEEP_EVENT_TOOLS, attributes,
                 os == OsCondition::MeantFor32Bit ? "it is meant for 32-bit systems"
                                                  : "it is meant for 64-bit systems");
        return recorded;
    }
    const ToolEntry entry = ComposeTool(attributes, appPath);
    SetAside(PRODSWEEP_EVENT_TOOLS, attributes, entry);
    if (!recorded)
        return false;
    if (cachedTools.size() == before)
    {
        PlannedItem& item = SetAside(PRODSWEEP_EVENT_TOOLS, attributes, "");
        item.kind = ItemKind::Tool;
        item.name = ToUtf8(L'"' + entry.path + L"\" " + entry.commandLine);
        item.state = ItemState::InUse;
        item.user = users.OfTool(entry.path, entry.commandLine);
        return true;
    }
    const std::wstring* const tool = FindFilledAttribute(attributes, L"tool_name");
    if (FindFilledAttribute(attributes, L"path") == nullptr && (tool == nullptr || PathIsRelativeW(tool->c_str())))
        relativeTools.insert(cachedTools.back().commandLine);
    return true;
}

bool CPlannedRemoval::ProcessDisableDriver(const AttributeMap& attributes, const std::wstring& appPath)
{
    if (FindAttribute(attributes, L"name") == nullptr)
        SetAside(PRODSWEEP_EVENT_DISABLE_DRIVER, attributes, "it has no name");
    return CProductUninstall::ProcessDisableDriver(attributes, appPath);
}

bool CPlannedRemoval::ProcessDisableAndStopDriver(const AttributeMap& attributes, const std::wstring& appPath)
{
    if (FindAttribute(attributes, L"name") == nullptr)
        SetAside(PRODSWEEP_EVENT_STOP_DRIVER, attributes, "it has no name");
    return CProductUninstall::ProcessDisableAndStopDriver(attributes, appPath);
}

} // namespace prodsweep
