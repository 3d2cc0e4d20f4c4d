#include "support/registered_service.h"

#include "support/process.h"
#include "support/test_service.h"

#include <gtest/gtest.h>

#include <atomic>

namespace prodsweep::test {
namespace {

constexpr wchar_t servicesKey[] = L"SYSTEM\\CurrentControlSet\\Services\\";

std::wstring NewName()
{
    // Process ids come again. The time keeps a service that a killed test left behind out of the way.
    static const std::wstring program =
        L"prodsweep-test-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(GetTickCount64()) + L"-";
    static std::atomic<int> next{0};
    return program + std::to_wstring(next.fetch_add(1));
}

SC_HANDLE Register(SC_HANDLE manager, const std::wstring& name, const std::wstring& commandLine)
{
    const SC_HANDLE service = CreateServiceW(manager, name.c_str(), name.c_str(), SERVICE_ALL_ACCESS,
                                             SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_IGNORE,
                                             commandLine.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_NE(nullptr, service) << "CreateService failed " << GetLastError();
    return service;
}

DWORD ReadStartType(const std::wstring& name, DWORD* valueType)
{
    DWORD start = 0;
    DWORD size = sizeof(start);
    EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(HKEY_LOCAL_MACHINE, (servicesKey + name).c_str(), L"Start", RRF_RT_ANY,
                                          valueType, &start, &size));
    return start;
}

// Null when the service is stopped: the system no longer knows its process then.
HANDLE OpenProcessOf(SC_HANDLE service)
{
    SERVICE_STATUS_PROCESS status{};
    DWORD needed = 0;
    if (!QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof(status),
                              &needed) ||
        status.dwProcessId == 0)
        return nullptr;
    return OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, status.dwProcessId);
}

// Lets the service's process end, or ends it when it doesn't. It is opened before it may end: afterwards
// its id may be another program's.
void EndProcess(SC_HANDLE service, const std::wstring& name)
{
    constexpr DWORD patience = 10000;
    const HANDLE process = OpenProcessOf(service);
    if (const HANDLE end = OpenEventW(EVENT_MODIFY_STATE, FALSE, TestServiceEndEvent(name).c_str()); end != nullptr)
    {
        SetEvent(end);
        CloseHandle(end);
    }
    if (process == nullptr)
        return;
    if (WaitForSingleObject(process, patience) != WAIT_OBJECT_0)
    {
        TerminateProcess(process, 0);
        WaitForSingleObject(process, patience);
    }
    CloseHandle(process);
}

void Unregister(SC_HANDLE service, const std::wstring& name)
{
    if (service == nullptr)
        return;
    EndProcess(service, name);
    EXPECT_TRUE(DeleteService(service)) << "DeleteService failed " << GetLastError();
    CloseServiceHandle(service);
    // Left over when the service control manager still waits for the process.
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, (servicesKey + name).c_str());
}

} // namespace

RegisteredService::RegisteredService(const std::wstring& behaviour)
    : name(NewName()), manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS))
{
    EXPECT_NE(nullptr, manager) << "OpenSCManager failed " << GetLastError();
    const std::wstring program = L"\"" + ThisProgramsFolder() + L"test_service.exe\" ";
    service = Register(manager, name, program + name + L" " + behaviour);
    canary = Register(manager, name + L"-canary", program + name + L"-canary stops");
}

RegisteredService::~RegisteredService()
{
    Unregister(service, name);
    Unregister(canary, name + L"-canary");
    CloseServiceHandle(manager);
}

void RegisteredService::Start()
{
    ASSERT_TRUE(StartServiceW(service, 0, nullptr)) << "StartService failed " << GetLastError();
    const ULONGLONG deadline = GetTickCount64() + 30000;
    while (State() != SERVICE_RUNNING && GetTickCount64() < deadline)
        Sleep(10);
    ASSERT_EQ(DWORD{SERVICE_RUNNING}, State());
}

DWORD RegisteredService::State() const
{
    SERVICE_STATUS status{};
    return QueryServiceStatus(service, &status) ? status.dwCurrentState : 0;
}

std::wstring RegisteredService::Subkey() const { return servicesKey + name; }

DWORD RegisteredService::StartType(DWORD* valueType) const { return ReadStartType(name, valueType); }

bool RegisteredService::CanaryIntact() const
{
    SERVICE_STATUS status{};
    return ReadStartType(name + L"-canary", nullptr) == SERVICE_DEMAND_START && QueryServiceStatus(canary, &status);
}

const RegisteredService* SleepUntilStopped::waitedFor = nullptr;

SleepUntilStopped::SleepUntilStopped(const RegisteredService& service) : patch(nullptr, "Sleep", Wait)
{
    waitedFor = &service;
}

SleepUntilStopped::~SleepUntilStopped() { waitedFor = nullptr; }

void WINAPI SleepUntilStopped::Wait(DWORD)
{
    constexpr int patience = 3000; // times 10 ms
    for (int i = 0; i < patience && waitedFor->State() != SERVICE_STOPPED; ++i)
        SleepEx(10, FALSE);
}

} // namespace prodsweep::test
