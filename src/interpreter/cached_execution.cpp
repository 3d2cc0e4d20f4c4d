// Carries out what the walk recorded: the order of the kinds, and what their operations' results mean.
#include "interpreter/product_uninstall.h"

#include "environment/log.h"
#include "operations/redirection_bracket.h"
#include "registry/reg_key_helper.h"

#include <windows.h>

namespace prodsweep {
namespace {

// What an operation adds to the progress when it is done.
constexpr std::uint32_t weightRunning = 100; // services, tools, DLL methods, processes
constexpr std::uint32_t weightFiles = 10;    // folders, files, shortcuts
constexpr std::uint32_t weightRegistry = 1;  // keys, values, key searches

// For the kinds of which it is fine that a thing is not there.
bool FailsStage(int result) { return result != _ERROR_SUCCESS && result != _ERROR_NOT_FOUND; }

template <class List>
std::uint32_t Count(const List& list)
{
    return static_cast<std::uint32_t>(list.size());
}

} // namespace

// A stage runs when its list is not empty, and then reports its status in its event.
struct CProductUninstall::Stage
{
    bool (*guard)(const CProductUninstall&);
    int (CProductUninstall::*run)();
    std::int32_t event;
};

const CProductUninstall::Stage CProductUninstall::stages[] = {
    {[](const CProductUninstall& u) { return !u.cachedDriverStops.empty(); },
     &CProductUninstall::ExecuteCachedOp_DisableAndStopDriver, PRODSWEEP_EVENT_STOP_DRIVER},
    // Sees the names that the stage before it has just added.
    {[](const CProductUninstall& u) { return !u.cachedDisableDrivers.empty(); },
     &CProductUninstall::ExecuteCachedOp_DisableDriver, PRODSWEEP_EVENT_DISABLE_DRIVER},
    {[](const CProductUninstall& u) { return !u.cachedDllMethods.empty() || !u.cachedTools.empty(); },
     &CProductUninstall::ExecuteDllMethodsAndTools, PRODSWEEP_EVENT_TOOLS},
    {[](const CProductUninstall& u) { return !u.cachedKills.empty(); }, &CProductUninstall::ExecuteCachedOp_KillProcess,
     PRODSWEEP_EVENT_PROCESSES},
    {[](const CProductUninstall& u) { return !u.cachedFolders.empty(); }, &CProductUninstall::ExecuteCachedOp_DelFolder,
     PRODSWEEP_EVENT_FOLDERS},
    {[](const CProductUninstall& u) { return !u.cachedFiles.empty(); }, &CProductUninstall::ExecuteCachedOp_DelFile,
     PRODSWEEP_EVENT_FILES},
    {[](const CProductUninstall& u) { return !u.cachedShortcuts.empty(); },
     &CProductUninstall::ExecuteCachedOp_DelShortcut, PRODSWEEP_EVENT_SHORTCUTS},
    // Deliberate: the guard is the list of plain items. A product that has key searches and no plain
    // key or value has its searches skipped.
    {[](const CProductUninstall& u) { return !u.cachedRegItems.empty(); },
     &CProductUninstall::ExecuteCachedOp_DelRegKeys, PRODSWEEP_EVENT_REG_KEYS},
    {[](const CProductUninstall& u) { return !u.cachedRegItems.empty(); },
     &CProductUninstall::ExecuteCachedOp_DelRegValues, PRODSWEEP_EVENT_REG_VALUES},
};

std::uint32_t CProductUninstall::TotalWeight() const
{
    // Deliberate: neither the key searches nor the second handling of stopped drivers is in the total,
    // so the progress can pass 100.
    return weightRegistry * Count(cachedRegItems) +
           weightFiles * (Count(cachedShortcuts) + Count(cachedFiles) + Count(cachedFolders)) +
           weightRunning * (Count(cachedDllMethods) + Count(cachedTools) + Count(cachedDisableDrivers) +
                            Count(cachedDriverStops) + Count(cachedKills));
}

bool CProductUninstall::ExecuteCachedOperations()
{
    progressDone = 0;
    progressTotal = TotalWeight();
    for (const Stage& stage : stages)
    {
        if (stage.guard(*this))
            Notify(stage.event, (this->*stage.run)());
    }
    return true;
}

int CProductUninstall::ExecuteCachedOp_DisableAndStopDriver()
{
    int status = StatusDone;
    for (const CachedDriverStop& stop : cachedDriverStops)
    {
        // Only records the name: the service is stopped first and disabled in the next stage.
        if (!ProcessDisableDriver(stop.attributes, stop.driverName))
            LOG(LogWarning, L"failed ProcessDisableDriver for %s", stop.driverName.c_str());
        if (const int result = operations.StopService(stop.driverName.c_str()); result != _ERROR_SUCCESS)
        {
            LOG(LogWarning, L"failed %d", result);
            status = StatusFailed;
        }
        Advance(weightRunning);
    }
    return status;
}

int CProductUninstall::ExecuteCachedOp_DisableDriver()
{
    int status = StatusDone;
    for (const std::wstring& name : cachedDisableDrivers)
    {
        if (const int result = operations.DisableService(name.c_str()); result != _ERROR_SUCCESS)
        {
            LOG(LogWarning, L"failed %s, \"%s\"", ResultCodeName(result), name.c_str());
            status = StatusFailed;
        }
        Advance(weightRunning);
    }
    return status;
}

int CProductUninstall::ExecuteDllMethodsAndTools()
{
    const int methods = ExecuteCachedOp_ExecDllMethod();
    const int tools = ExecuteCachedOp_ExecTool();
    return methods == StatusFailed ? StatusFailed : tools;
}

int CProductUninstall::ExecuteCachedOp_ExecDllMethod()
{
    int status = StatusDone;
    for (const CachedDllMethod& method : cachedDllMethods)
    {
        if (!ProcessExecDllMethod(method.attributes, method.appPath))
            status = StatusFailed;
        Advance(weightRunning);
    }
    return status;
}

int CProductUninstall::ExecuteCachedOp_ExecTool()
{
    int status = StatusDone;
    for (const CachedTool& tool : cachedTools)
    {
        CRedirectionBracket bracket;
        if (tool.disableWow64Redir && !bracket.Open())
            LOG(LogWarning, L"Wow64DisableWow64FsRedirection failed 0x%x", bracket.Error());
        const int result = operations.ExecTool(tool.commandLine.c_str(), tool.wait, tool.showWindow);
        if (result != _ERROR_SUCCESS)
        {
            LOG(LogWarning, L"failed %s, \"%s\"", ResultCodeName(result), tool.commandLine.c_str());
            status = StatusFailed;
        }
        if (tool.disableWow64Redir && !bracket.Close())
            LOG(LogWarning, L"Wow64RevertWow64FsRedirection failed 0x%x", bracket.Error());
        Advance(weightRunning);
    }
    return status;
}

int CProductUninstall::ExecuteCachedOp_KillProcess()
{
    int status = StatusDone;
    for (const std::wstring& target : cachedKills)
    {
        const int result = operations.KillProcess(target.c_str());
        // That nothing of the name runs (any more) is fine; it is the best that comes back.
        if (result != _ERROR_SUCCESS)
            LOG(LogWarning, L"failed %s, \"%s\"", ResultCodeName(result), target.c_str());
        if (FailsStage(result))
            status = StatusFailed;
        Advance(weightRunning);
    }
    return status;
}

int CProductUninstall::ExecuteCachedOp_DelFolder()
{
    int status = StatusDone;
    for (const std::wstring& path : cachedFolders)
    {
        const int result = operations.DelFolder(path.c_str(), this);
        switch (result)
        {
        case _ERROR_SUCCESS:
            break;
        case _ERROR_FAILED:
            LOG(LogTrace, L"failed %s delete folder \"%s\", add to restart", ResultCodeName(result), path.c_str());
            AddRestartDel(path);
            break;
        case _ERROR_NOT_FOUND:
            LOG(LogTrace, L"failed %s delete folder \"%s\"", ResultCodeName(result), path.c_str());
            break;
        default:
            LOG(LogError, L"failed %s delete folder \"%s\"", ResultCodeName(result), path.c_str());
            status = StatusFailed;
            break;
        }
        Advance(weightFiles);
    }
    return status;
}

int CProductUninstall::ExecuteCachedOp_DelFile()
{
    int status = StatusDone;
    for (const std::wstring& path : cachedFiles)
    {
        const int result = operations.DelFile(path.c_str(), this, nullptr);
        switch (result)
        {
        case _ERROR_SUCCESS:
            break;
        case _ERROR_FAILED:
            // Put off, and so no failure of the stage.
            LOG(LogTrace, L"failed %s delete file \"%s\"", ResultCodeName(result), path.c_str());
            AddRestartDel(path);
            break;
        case _ERROR_NOT_FOUND:
            LOG(LogTrace, L"failed %s delete file \"%s\"", ResultCodeName(result), path.c_str());
            break;
        default:
            LOG(LogError, L"failed %s delete file \"%s\"", ResultCodeName(result), path.c_str());
            status = StatusFailed;
            break;
        }
        Advance(weightFiles);
    }
    return status;
}

int CProductUninstall::ExecuteCachedOp_DelShortcut()
{
    int status = StatusDone;
    for (const CachedShortcut& item : cachedShortcuts)
    {
        const int result = operations.DelShortcut(item.shortcut.c_str(), item.target.c_str(), item.targetIsPath, this);
        if (result != _ERROR_SUCCESS)
        {
            LOG(LogTrace, L"COperations DelShortcut failed %s", ResultCodeName(result));
            status = StatusFailed;
        }
        Advance(weightFiles);
    }
    return status;
}

int CProductUninstall::ExecuteCachedOp_DelRegKeys()
{
    int status = StatusDone;
    for (const CachedRegKeySearch& search : cachedRegKeySearches)
    {
        const int result =
            CRegKeyHelper::DelKeySearch(search.key.c_str(), search.data, search.complete, search.x32view, this);
        if (result != _ERROR_SUCCESS)
            LOG(LogError, L"failed %s delete key \"%s\"", ResultCodeName(result), search.key.c_str());
        if (FailsStage(result))
            status = StatusFailed;
        Advance(weightRegistry);
    }
    for (const CachedRegItem& item : cachedRegItems)
    {
        if (item.isValue)
            continue;
        const int result = CRegKeyHelper::DeleteKey(item.key.c_str(), item.x32view, this);
        if (result != _ERROR_SUCCESS)
            LOG(LogError, L"failed %s delete key \"%s\"", ResultCodeName(result), item.key.c_str());
        if (FailsStage(result))
            status = StatusFailed;
        Advance(weightRegistry);
    }
    return status;
}

int CProductUninstall::ExecuteCachedOp_DelRegValues()
{
    int status = StatusDone;
    for (const CachedRegItem& item : cachedRegItems)
    {
        if (!item.isValue)
            continue;
        const int result = CRegKeyHelper::DeleteValue(item.key.c_str(), item.valueName.c_str(), item.x32view, this);
        // The line says "key" for values too.
        if (result != _ERROR_SUCCESS)
            LOG(LogError, L"failed %s delete key \"%s\"", ResultCodeName(result), item.key.c_str());
        if (FailsStage(result))
            status = StatusFailed;
        Advance(weightRegistry);
    }
    return status;
}

} // namespace prodsweep
