// The handlers of the walk: each resolves an entry and records it.
#include "interpreter/product_uninstall.h"

#include "environment/log.h"
#include "interpreter/entry_composer.h"
#include "interpreter/os_condition.h"

#include <windows.h>

namespace prodsweep {

bool CProductUninstall::ProcessDelFile(const AttributeMap& attributes, const std::wstring& appPath)
{
    const FileEntry entry = ComposeFile(attributes, appPath);
    switch (entry.fault)
    {
    case EntryFault::None:
        break;
    case EntryFault::NoName:
        LOG(LogError, L"no name");
        return false;
    default:
        LOG(LogError, L"failed get path for \"%s\"", entry.keyword.c_str());
        return false;
    }
    if (!entry.marked)
    {
        cachedFiles.push_back(entry.path);
        return true;
    }
    // A marked file is never tried at once: it is one that can only go at a restart.
    if (operations.CheckFile(entry.path.c_str()) == _ERROR_NOT_FOUND)
        LOG(LogTrace, L"##### \"%s\" ERROR_NOT_FOUND", entry.path.c_str());
    else if (IsUsedFile(entry.path.c_str()))
        LOG(LogTrace, L"in use");
    else
        AddRestartDel(entry.path);
    return true;
}

bool CProductUninstall::ProcessDelFolder(const AttributeMap& attributes, const std::wstring& appPath)
{
    FolderEntry entry = ComposeFolder(attributes, appPath);
    switch (entry.fault)
    {
    case EntryFault::None:
        break;
    case EntryFault::NoNameNoPath:
        LOG(LogError, L"no name, no path");
        return false;
    default:
        LOG(LogError, L"failed get path for \"%s\"", entry.keyword.c_str());
        return false;
    }
    cachedFolders.push_back(std::move(entry.path));
    return true;
}

bool CProductUninstall::ProcessDelShortcut(const AttributeMap& attributes, const std::wstring& appPath)
{
    ShortcutEntry entry = ComposeShortcut(attributes, appPath);
    switch (entry.fault)
    {
    case EntryFault::None:
        break;
    case EntryFault::NoPath:
        LOG(LogError, L"no path");
        return false;
    case EntryFault::NoTarget:
        // Without a target nothing says which shortcuts are meant, so none are.
        return false;
    default:
        LOG(LogError, L"failed get path for \"%s\"", entry.keyword.c_str());
        return false;
    }
    cachedShortcuts.push_back({std::move(entry.shortcut), std::move(entry.target), entry.targetIsPath});
    return true;
}

bool CProductUninstall::ProcessDelRegKey(const AttributeMap& attributes, const std::wstring&)
{
    RegKeyEntry entry = ComposeRegKey(attributes, DataStrReading::Separator);
    if (entry.fault != EntryFault::None)
    {
        LOG(LogError, L"failed no name");
        return false;
    }
    if (entry.search)
        cachedRegKeySearches.push_back({std::move(entry.key), std::move(entry.data), entry.complete, entry.x32view});
    else
        cachedRegItems.push_back({std::move(entry.key), L"", entry.x32view, false});
    return true;
}

bool CProductUninstall::ProcessDelRegVal(const AttributeMap& attributes, const std::wstring& appPath)
{
    RegValueEntry entry = ComposeRegValue(attributes, appPath);
    if (entry.fault == EntryFault::NoName || entry.fault == EntryFault::NoNameNoKeyPath)
        LOG(LogError, L"no key value name");
    if (entry.fault == EntryFault::NoKeyPath || entry.fault == EntryFault::NoNameNoKeyPath)
        LOG(LogError, L"no key path");
    if (entry.fault == EntryFault::UnknownFolder)
        LOG(LogError, L"unknow special folder \"%s\"", entry.keyword.c_str());
    if (entry.fault != EntryFault::None)
        return false;
    cachedRegItems.push_back({std::move(entry.key), std::move(entry.valueName), entry.x32view, true});
    return true;
}

bool CProductUninstall::ProcessKillProcess(const AttributeMap& attributes, const std::wstring&)
{
    const std::wstring* target = FindAttribute(attributes, L"target_name");
    if (target == nullptr)
        return false;
    cachedKills.push_back(*target);
    return true;
}

bool CProductUninstall::ProcessExecTool(const AttributeMap& attributes, const std::wstring& appPath)
{
    // A DLL method is judged when its list is carried out, its "os" included.
    if (FindAttribute(attributes, L"module") != nullptr)
    {
        cachedDllMethods.push_back({attributes, appPath});
        return true;
    }
    switch (CompareOs(attributes))
    {
    case OsCondition::Met:
        break;
    case OsCondition::MeantFor32Bit:
        LOG(LogSkipped, L"Will not execute x32 operation on x64 OS! AppPath=%s", appPath.c_str());
        return false;
    case OsCondition::MeantFor64Bit:
        LOG(LogSkipped, L"Will not execute x64 operation on x32 OS! AppPath=%s", appPath.c_str());
        return false;
    }
    const ToolEntry entry = ComposeTool(attributes, appPath);
    if (entry.fault == EntryFault::UnknownFolder)
        LOG(LogError, L"unknown special folder \"%s\"", entry.keyword.c_str());
    if (entry.fault != EntryFault::None)
        return false;
    if (IsUsedTool(entry.path.c_str(), entry.commandLine.c_str()))
    {
        LOG(LogTrace, L"in use");
        return true;
    }
    // The blank stays when nothing follows it.
    cachedTools.push_back({L"\"" + entry.path + L"\" " + entry.commandLine, IsYes(attributes, L"wait"),
                           IsYes(attributes, L"show_window"), IsYes(attributes, L"disable_wow64_redir")});
    return true;
}

bool CProductUninstall::ProcessSleep(int milliseconds)
{
    LOG(LogTrace, L"SLEEP %d", milliseconds);
    // A negative number would be taken for endless.
    if (milliseconds > 0)
        Sleep(static_cast<DWORD>(milliseconds));
    return true;
}

bool CProductUninstall::ProcessDisableDriver(const AttributeMap& attributes, const std::wstring&)
{
    const std::wstring* name = FindAttribute(attributes, L"name");
    if (name == nullptr)
    {
        LOG(LogError, L"name attributte is missing");
        return false;
    }
    cachedDisableDrivers.push_back(*name);
    return true;
}

bool CProductUninstall::ProcessDisableService(const AttributeMap& attributes, const std::wstring& appPath)
{
    return ProcessDisableDriver(attributes, appPath);
}

bool CProductUninstall::ProcessDisableAndStopDriver(const AttributeMap& attributes, const std::wstring&)
{
    const std::wstring* name = FindAttribute(attributes, L"name");
    if (name == nullptr)
    {
        LOG(LogError, L"name attributte is missing");
        return false;
    }
    cachedDriverStops.push_back({attributes, *name});
    return true;
}

bool CProductUninstall::ProcessDisableAndStopService(const AttributeMap& attributes, const std::wstring& appPath)
{
    return ProcessDisableAndStopDriver(attributes, appPath);
}

} // namespace prodsweep
