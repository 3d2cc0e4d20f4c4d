#include "operations/operations.h"

#include "common/unique_reg_key.h"
#include "environment/log.h"
#include "registry/split_key_path.h"

#include <memory>
#include <string>

namespace prodsweep {
namespace {

constexpr wchar_t startValue[] = L"Start";

struct ServiceCloser
{
    using pointer = SC_HANDLE;
    void operator()(SC_HANDLE handle) const noexcept { CloseServiceHandle(handle); }
};
// Of a service as of the service control manager.
using UniqueService = std::unique_ptr<SC_HANDLE, ServiceCloser>;

std::wstring ServiceKey(const wchar_t* name) { return std::wstring(L"SYSTEM\\CurrentControlSet\\Services\\") + name; }

// No view flag: both views share this part of the registry.
LSTATUS OpenServiceKey(const std::wstring& subkey, UniqueRegKey& key)
{
    HKEY opened = nullptr;
    const LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, subkey.c_str(), 0, KEY_ALL_ACCESS, &opened);
    if (status == ERROR_SUCCESS)
        key.reset(opened);
    return status;
}

// Waits for as long as the service reports progress, and as it proposes: its wait hint is taken as it
// stands. There is no limit of our own, since a driver that saves its data may take its time.
bool WaitUntilStopped(SC_HANDLE service)
{
    SERVICE_STATUS last{};
    for (bool first = true;; first = false)
    {
        SERVICE_STATUS status{};
        if (!QueryServiceStatus(service, &status))
            return false;
        if (status.dwCurrentState == SERVICE_STOPPED)
            return true;
        const bool sameState = !first && status.dwCurrentState == last.dwCurrentState;
        if (sameState && status.dwCheckPoint <= last.dwCheckPoint)
            return false;
        last = status;
        Sleep(status.dwWaitHint);
    }
}

} // namespace

int COperations::DisableService(const wchar_t* name)
{
    const std::wstring subkey = ServiceKey(name);
    // Unknown until the first key path of the process was split.
    const wchar_t* const hive = HiveName(HKEY_LOCAL_MACHINE);
    UniqueRegKey key;
    if (const LSTATUS status = OpenServiceKey(subkey, key); status != ERROR_SUCCESS)
    {
        if (hive != nullptr)
            LOG(LogError, L"RegOpenKeyEx \"%s\\%s\" failed 0x%x", hive, subkey.c_str(), status);
        else
            LOG(LogError, L"RegOpenKeyEx \"%s\" failed 0x%x", subkey.c_str(), status);
        return _ERROR_NOT_FOUND;
    }
    constexpr DWORD disabled = SERVICE_DISABLED;
    const LSTATUS status =
        RegSetValueExW(key.get(), startValue, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&disabled), sizeof(disabled));
    if (status != ERROR_SUCCESS)
    {
        // Deliberate: without the hive the line names another call, at another level. Logs are searched for it.
        if (hive != nullptr)
            LOG(LogError, L"RegSetValueEx \"%s\\%s\" %s failed 0x%x", hive, subkey.c_str(), startValue, status);
        else
            LOG(LogWarning, L"RegOpenKeyEx \"%s %s\" failed 0x%x", subkey.c_str(), startValue, status);
        return _ERROR_FAILED;
    }
    return _ERROR_SUCCESS;
}

int COperations::CheckService(const wchar_t* name)
{
    const std::wstring subkey = ServiceKey(name);
    UniqueRegKey key;
    if (const LSTATUS status = OpenServiceKey(subkey, key); status != ERROR_SUCCESS)
    {
        if (const wchar_t* const hive = HiveName(HKEY_LOCAL_MACHINE); hive != nullptr)
            LOG(LogError, L"RegOpenKeyEx \"%s\\%s\" failed 0x%x", hive, subkey.c_str(), status);
        else
            LOG(LogError, L"RegOpenKeyEx \"%s\" failed 0x%x", subkey.c_str(), status);
        return _ERROR_NOT_FOUND;
    }
    // Its state is not looked at: a disabled or stopped service is there as well.
    return _ERROR_SUCCESS;
}

// Logs nothing: the caller knows what the failure means.
int COperations::StopService(const wchar_t* name)
{
    const UniqueService manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (manager == nullptr)
        return _ERROR_FAILED;
    const UniqueService service(OpenServiceW(manager.get(), name, SERVICE_STOP | SERVICE_QUERY_STATUS));
    if (service == nullptr)
        return _ERROR_FAILED;
    SERVICE_STATUS status{};
    // A service that isn't running is still asked for its state, as if the control had been sent.
    if (!ControlService(service.get(), SERVICE_CONTROL_STOP, &status) && GetLastError() != ERROR_SERVICE_NOT_ACTIVE)
        return _ERROR_FAILED;
    return WaitUntilStopped(service.get()) ? _ERROR_SUCCESS : _ERROR_FAILED;
}

} // namespace prodsweep
