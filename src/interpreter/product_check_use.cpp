#include "interpreter/product_check_use.h"

#include "common/path_join.h"
#include "environment/log.h"
#include "interpreter/entry_composer.h"
#include "operations/operations.h"

#include <algorithm>
#include <cwctype>
#include <functional>
#include <string_view>
#include <tuple>
#include <utility>

namespace prodsweep {
namespace {

bool Before(const UsedRegItem& left, const UsedRegItem& right)
{
    return std::tie(left.path, left.x32view) < std::tie(right.path, right.x32view);
}

bool Same(const UsedRegItem& left, const UsedRegItem& right)
{
    return left.x32view == right.x32view && left.path == right.path;
}

// So many characters begin every text of the list, which holds at least one.
std::size_t CommonLength(const WideStringList& list)
{
    std::wstring_view common = list.front();
    for (const std::wstring& text : list)
    {
        while (!text.starts_with(common))
            common.remove_suffix(1);
    }
    return common.size();
}

// Paths of a tree are long and begin alike, which makes each comparison dear. Folders mostly yield their
// entries in order, so that one look at each and its neighbour may do; else no comparison goes the common
// way again, and the stable sort makes the fewest.
void SortUnique(WideStringList& list)
{
    if (std::adjacent_find(list.begin(), list.end(), std::greater_equal<>()) == list.end())
        return;
    std::stable_sort(list.begin(), list.end(),
                     [common = CommonLength(list)](const std::wstring_view left, const std::wstring_view right) {
                         return left.substr(common) < right.substr(common);
                     });
    list.erase(std::unique(list.begin(), list.end()), list.end());
}

void SortUnique(UsedRegItemList& list)
{
    std::sort(list.begin(), list.end(), Before);
    list.erase(std::unique(list.begin(), list.end(), Same), list.end());
}

void SortUnique(std::vector<UsedTool>& list)
{
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
}

bool HoldsItem(const UsedRegItemList& list, const UsedRegItem& item)
{
    return std::any_of(list.begin(), list.end(), [&item](const UsedRegItem& used) { return Same(used, item); });
}

void Lower(std::wstring& text)
{
    for (wchar_t& character : text)
        character = static_cast<wchar_t>(std::towlower(character));
}

// The path keeps its blanks; the command line loses them, and only blanks.
UsedTool Normalised(std::wstring tool, std::wstring commandLine)
{
    Lower(tool);
    std::erase(commandLine, L' ');
    Lower(commandLine);
    return {std::move(tool), std::move(commandLine)};
}

} // namespace

CProductCheckUse::CProductCheckUse(std::wstring descriptor, FolderLook look)
    : CProductConfig(std::move(descriptor)), folderLook(look)
{
    if (!CProductConfig::Process())
    {
        LOG(LogError, L"CProductConfig::Process failed");
        return;
    }
    SortLists();
}

void CProductCheckUse::SortLists()
{
    for (WideStringList* list : {&usedFiles, &usedFolders, &usedDrivers})
        SortUnique(*list);
    SortUnique(usedRegKeys);
    SortUnique(usedRegValues);
    SortUnique(usedTools);
}

bool CProductCheckUse::IsFileUsed(const wchar_t* path) const { return Holds(usedFiles, path); }

bool CProductCheckUse::IsFolderUsed(const wchar_t* path) const { return Holds(usedFolders, path); }

bool CProductCheckUse::IsRegKeyUsed(const wchar_t* key, bool x32view) const
{
    return HoldsItem(usedRegKeys, {key, x32view});
}

bool CProductCheckUse::IsRegValueUsed(const wchar_t* key, const wchar_t* value, bool x32view) const
{
    std::wstring path = key;
    return HoldsItem(usedRegValues, {PathJoin(path, value), x32view});
}

bool CProductCheckUse::IsToolUsed(const wchar_t* tool, const wchar_t* commandLine) const
{
    return std::find(usedTools.begin(), usedTools.end(), Normalised(tool, commandLine)) != usedTools.end();
}

bool CProductCheckUse::ProcessDelFile(const AttributeMap& attributes, const std::wstring& appPath)
{
    FileEntry entry = ComposeFile(attributes, appPath);
    if (entry.fault == EntryFault::NoName)
        LOG(LogError, L"no name");
    if (entry.fault == EntryFault::UnknownFolder)
        LOG(LogError, L"failed get path for \"%s\"", entry.keyword.c_str());
    if (entry.fault != EntryFault::None)
        return false;
    usedFiles.push_back(std::move(entry.path));
    return true;
}

bool CProductCheckUse::ProcessDelFolder(const AttributeMap& attributes, const std::wstring& appPath)
{
    const FolderEntry entry = ComposeFolder(attributes, appPath);
    if (entry.fault == EntryFault::NoNameNoPath)
        LOG(LogError, L"no name, no path");
    if (entry.fault == EntryFault::UnknownFolder)
        LOG(LogError, L"failed get path for \"%s\"", entry.keyword.c_str());
    if (entry.fault != EntryFault::None)
        return false;
    // A folder that is not there needs no protection.
    COperations machine;
    (void)(folderLook == FolderLook::ResetsAttributes
               ? machine.ExpandFolder(entry.path.c_str(), usedFolders, usedFiles)
               : machine.ExpandFolderRec(entry.path.c_str(), usedFolders, usedFiles));
    return true;
}

bool CProductCheckUse::ProcessDelShortcut(const AttributeMap& attributes, const std::wstring& appPath)
{
    const ShortcutEntry entry = ComposeShortcut(attributes, appPath);
    if (entry.fault == EntryFault::NoPath)
        LOG(LogError, L"no path");
    if (entry.fault == EntryFault::UnknownFolder)
        LOG(LogError, L"failed get path for \"%s\"", entry.keyword.c_str());
    if (entry.fault != EntryFault::None)
        return false;
    // The shortcuts found are all that matters.
    (void)COperations().ExpandShortcut(entry.shortcut.c_str(), entry.target.c_str(), entry.targetIsPath, usedFiles);
    return true;
}

bool CProductCheckUse::ProcessDelRegKey(const AttributeMap& attributes, const std::wstring& /*appPath*/)
{
    const RegKeyEntry entry = ComposeRegKey(attributes, DataStrReading::Separator);
    if (entry.fault != EntryFault::None)
    {
        LOG(LogError, L"failed no name");
        return false;
    }
    const int result = entry.search
                           ? CRegKeyHelper::ExpandKeySearch(entry.key.c_str(), entry.data, entry.complete,
                                                            entry.x32view, usedRegKeys, usedRegValues)
                           : CRegKeyHelper::ExpandKey(entry.key.c_str(), entry.x32view, usedRegKeys, usedRegValues);
    // What was listed before a failure is in use all the same.
    if (result != _ERROR_SUCCESS)
        LOG(LogError, L"failed %s \"%s\"", ResultCodeName(result), entry.key.c_str());
    return true;
}

bool CProductCheckUse::ProcessDelRegVal(const AttributeMap& attributes, const std::wstring& appPath)
{
    const RegValueEntry entry = ComposeRegValue(attributes, appPath);
    if (entry.fault == EntryFault::NoName || entry.fault == EntryFault::NoNameNoKeyPath)
        LOG(LogError, L"no key value name");
    if (entry.fault == EntryFault::NoKeyPath || entry.fault == EntryFault::NoNameNoKeyPath)
        LOG(LogError, L"no key path");
    if (entry.fault == EntryFault::UnknownFolder)
        LOG(LogError, L"unknown special folder %s", entry.keyword.c_str());
    if (entry.fault != EntryFault::None)
        return false;
    const int result =
        CRegKeyHelper::ExpandValue(entry.key.c_str(), entry.valueName.c_str(), entry.x32view, usedRegValues);
    if (result != _ERROR_SUCCESS)
        LOG(LogError, L"failed %s \"%s\" from \"%s\"", ResultCodeName(result), entry.valueName.c_str(),
            entry.key.c_str());
    return true;
}

bool CProductCheckUse::ProcessExecTool(const AttributeMap& attributes, const std::wstring& appPath)
{
    if (FindAttribute(attributes, L"module") != nullptr)
        return ProcessExecDllMethod(attributes, appPath);
    // Deliberate: os is not asked. A tool for the other kind of system counts as used all the same.
    ToolEntry entry = ComposeTool(attributes, appPath);
    if (entry.fault == EntryFault::UnknownFolder)
        LOG(LogError, L"unknown special folder \"%s\"", entry.keyword.c_str());
    if (entry.fault != EntryFault::None)
        return false;
    usedTools.push_back(Normalised(std::move(entry.path), std::move(entry.commandLine)));
    return true;
}

bool CProductCheckUse::ProcessExecDllMethod(const AttributeMap& attributes, const std::wstring& appPath)
{
    ToolEntry entry = ComposeDllMethod(attributes, appPath, EmptyModule::Joined);
    if (entry.fault == EntryFault::NoModule)
        LOG(LogError, L"module attributte is missing");
    if (entry.fault == EntryFault::NoMethodName)
        LOG(LogError, L"method_name attributte is missing");
    if (entry.fault == EntryFault::UnknownFolder)
        LOG(LogError, L"unknown special folder \"%s\"", entry.keyword.c_str());
    if (entry.fault != EntryFault::None)
        return false;
    usedTools.push_back(Normalised(std::move(entry.path), std::move(entry.commandLine)));
    return true;
}

bool CProductCheckUse::ProcessDisableDriver(const AttributeMap& attributes, const std::wstring& /*appPath*/)
{
    const std::wstring* name = FindAttribute(attributes, L"name");
    if (name == nullptr)
    {
        LOG(LogError, L"no driver name");
        return false;
    }
    usedDrivers.push_back(*name);
    return true;
}

bool CProductCheckUse::ProcessDisableService(const AttributeMap& attributes, const std::wstring& appPath)
{
    return ProcessDisableDriver(attributes, appPath);
}

} // namespace prodsweep
