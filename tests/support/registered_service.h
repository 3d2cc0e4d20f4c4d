#pragma once

#include "support/import_patch.h"

#include <windows.h>

#include <string>

namespace prodsweep::test {

// The test service, registered with the service control manager under a name of its own, beside a
// canary: a service whose name begins like its own. Both are deleted when the object ends, and the
// service's process with them.
class RegisteredService
{
public:
    // behaviour: what the service does when it is told to stop, "stops", "hangs", "advances" or "refuses".
    explicit RegisteredService(const std::wstring& behaviour);
    ~RegisteredService();
    RegisteredService(const RegisteredService&) = delete;
    RegisteredService& operator=(const RegisteredService&) = delete;

    // Starts the service and waits until it runs.
    void Start();

    [[nodiscard]] const std::wstring& Name() const { return name; }
    // SERVICE_RUNNING and so on; 0 when the service control manager doesn't know it.
    [[nodiscard]] DWORD State() const;
    // "SYSTEM\CurrentControlSet\Services\<name>", below HKEY_LOCAL_MACHINE.
    [[nodiscard]] std::wstring Subkey() const;
    // The start type as the registry tells it, and its value's type. The canary's stays SERVICE_DEMAND_START.
    [[nodiscard]] DWORD StartType(DWORD* valueType = nullptr) const;
    [[nodiscard]] bool CanaryIntact() const;

private:
    std::wstring name;
    SC_HANDLE manager;
    SC_HANDLE service;
    SC_HANDLE canary;
};

// Lets the test program's waits last until the service has stopped, for as long as it lives. Without
// it a busy machine may ask a service twice before that has got anywhere, which counts as hanging.
class SleepUntilStopped
{
public:
    explicit SleepUntilStopped(const RegisteredService& service);
    ~SleepUntilStopped();
    SleepUntilStopped(const SleepUntilStopped&) = delete;
    SleepUntilStopped& operator=(const SleepUntilStopped&) = delete;

private:
    static void WINAPI Wait(DWORD milliseconds);

    static const RegisteredService* waitedFor;
    ImportPatch patch;
};

} // namespace prodsweep::test
