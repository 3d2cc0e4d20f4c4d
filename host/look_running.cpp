#include "look.h"

#include <algorithm>

#include <windows.h>

#include <shlwapi.h>

#include "common/unique_handle.h"
#include "common/unique_reg_key.h"
#include "entry_fault.h"
#include "forbidden_places.h"
#include "interpreter/entry_composer.h"
#include "interpreter/os_condition.h"
#include "module_path.h"
#include "on_disk.h"
#include "running_programs.h"
#include "text.h"

namespace prodsweep {

namespace {

struct ServiceCloser
{
    void operator()(SC_HANDLE handle) const noexcept { CloseServiceHandle(handle); }
};
using UniqueService = std::unique_ptr<SC_HANDLE__, ServiceCloser>;

bool HasKey(const std::wstring& service)
{
    HKEY opened = nullptr;
    const std::wstring path = L"SYSTEM\\CurrentControlSet\\Services\\" + service;
    const bool found = RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &opened) == ERROR_SUCCESS;
    const UniqueRegKey key(opened);
    return found;
}

const char* StateOf(DWORD state)
{
    switch (state)
    {
    case SERVICE_STOPPED:
        return "it is stopped";
    case SERVICE_RUNNING:
        return "it runs";
    default:
        return "it is about to start, stop or pause";
    }
}

// Empty when the service manager does not know it. A program that runs for this service alone ends with it.
std::string AskManager(const std::wstring& service, CSweptPlaces& swept)
{
    const UniqueService manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    const UniqueService opened(manager == nullptr ? nullptr
                                                  : OpenServiceW(manager.get(), service.c_str(), SERVICE_QUERY_STATUS));
    SERVICE_STATUS_PROCESS status{};
    DWORD needed = 0;
    if (opened == nullptr || !QueryServiceStatusEx(opened.get(), SC_STATUS_PROCESS_INFO,
                                                   reinterpret_cast<BYTE*>(&status), sizeof(status), &needed))
        return {};
    if (status.dwServiceType == SERVICE_WIN32_OWN_PROCESS && status.dwProcessId != 0)
        swept.AddProgram(ImageOf(status.dwProcessId));
    return StateOf(status.dwCurrentState);
}

// True: nobody may touch it.
bool IsForbidden(const PlannedItem& item, const std::wstring& service, const LookContext& context)
{
    const ForbiddenPlace* const place = context.forbidden.OfService(service);
    if (place != nullptr)
        context.Endanger(item.name, "", *place);
    return place != nullptr;
}

// The removal would end itself half way.
bool IsThisProgram(const std::wstring& name)
{
    return _wcsicmp(PathFindFileNameW(ModulePath(nullptr).c_str()), name.c_str()) == 0;
}

void JudgeProcess(const PlannedItem& item, const std::wstring& name, const LookContext& context)
{
    const CriticalName* const critical = FindCriticalProcess(name);
    if (IsThisProgram(name))
        context.Endanger(item.name, "", {item.name, "this program, which would end half way"});
    else if (critical != nullptr && critical->judgement == CriticalName::Judgement::Refused)
        context.Endanger(item.name, "", {item.name, std::string("a process that must run on: ") + critical->reason});
    else if (critical != nullptr)
        context.Warn(item.name, std::string("This process is critical: ") + critical->reason + ".");
}

// What a program or a DLL is looked for by; a name without extension gets this one.
bool IsFound(const std::wstring& path, const wchar_t* extension)
{
    return IsFile(path) || (*PathFindExtensionW(path.c_str()) == L'\0' && IsFile(path + extension));
}

// A program or DLL is needed at a stage before any file of its own product goes, but may go with an earlier product.
void LookAtModule(PlannedItem& item, const std::wstring& path, const wchar_t* extension, const LookContext& context)
{
    if (!IsFound(path, extension))
    {
        item.state = ItemState::Fails;
        item.reason = "it is not there";
    }
    else if (const std::wstring by = context.swept.TakesPath(path); !by.empty())
    {
        item.state = ItemState::Fails;
        item.by = ToUtf8(by);
        item.reason = "an earlier product of this sweep takes it along";
        context.Warn(item.name, "It is deleted with \"" + item.by + "\" before it can run.");
    }
    else
    {
        item.mark = DigestOfFile(IsFile(path) ? path : path + extension);
    }
}

// A module without a folder is looked for in the library's.
std::wstring WithLibraryFolder(std::wstring path, const AttributeMap& attributes, const LookContext& context)
{
    const std::wstring* const module = FindFilledAttribute(attributes, L"module");
    if (module != nullptr && FindFilledAttribute(attributes, L"path") == nullptr && PathIsRelativeW(module->c_str()) &&
        path.starts_with(context.programFolder))
        path.replace(0, context.programFolder.size(), context.libraryFolder);
    return path;
}

} // namespace

void LookAtServiceToStop(PlannedItem& item, const std::wstring& name, const LookContext& context)
{
    item.kind = ItemKind::Service;
    if (IsForbidden(item, name, context))
        return;
    item.detail = AskManager(name, context.swept);
    if (!item.detail.empty())
        return;
    item.state = ItemState::Absent;
    item.reason = "there is no such service, which counts as a failure of the stage";
}

void LookAtServiceToDisable(PlannedItem& item, const std::wstring& name, const LookContext& context)
{
    item.kind = ItemKind::Service;
    if (IsForbidden(item, name, context))
        return;
    if (HasKey(name))
        return;
    item.state = ItemState::Absent;
    item.reason = "there is no such service, which counts as a failure of the stage";
}

void LookAtProcess(PlannedItem& item, const std::wstring& name, const LookContext& context)
{
    item.kind = ItemKind::Process;
    JudgeProcess(item, name, context);
    const std::vector<DWORD> processes = ProcessesNamed(name);
    for (const DWORD process : processes)
        context.swept.AddProgram(ImageOf(process));
    if (processes.empty())
        item.state = ItemState::Absent;
    else
        item.detail = processes.size() == 1 ? "1 runs" : std::to_string(processes.size()) + " run";
}

void LookAtTool(PlannedItem& item, const std::wstring& commandLine, const LookContext& context)
{
    item.kind = ItemKind::Tool;
    // The path stands between the first two quotation marks.
    const std::wstring path = commandLine.substr(1, commandLine.find(L'"', 1) - 1);
    LookAtModule(item, path, L".exe", context);
}

void LookAtDllMethod(PlannedItem& item, const CachedDllMethod& method, const LookContext& context)
{
    item.kind = ItemKind::DllFunction;
    const ToolEntry entry = ComposeDllMethod(method.attributes, method.appPath, EmptyModule::LeftOut);
    const std::wstring path = WithLibraryFolder(entry.path, method.attributes, context);
    item.name = ToUtf8(path + L' ' + entry.commandLine);
    if (CompareOs(method.attributes) != OsCondition::Met)
    {
        item.state = ItemState::Fails;
        item.reason = "it is meant for another kind of system, which counts as a failure of the stage";
    }
    else if (entry.fault != EntryFault::None)
    {
        item.state = ItemState::Fails;
        item.reason = FaultText(entry);
    }
    else if (item.user = context.users.OfTool(entry.path, entry.commandLine); !item.user.empty())
        item.state = ItemState::InUse;
    else
        LookAtModule(item, path, L".dll", context);
}

} // namespace prodsweep
