// A service to be stopped. Its command line names the service and what it does when it is told to
// stop:
//   stops     is stopped at once
//   hangs     stays in stop-pending and never moves its check point
//   advances  moves its check point each time somebody sets its step event, and answers with its
//             stepped event; after the third step it is stopped
//   refuses   does not take the control
// It ends by itself after a while, so that no test can leave it behind.
#include "support/test_service.h"

#include <windows.h>

#include <shellapi.h>

#include <string>

namespace {

std::wstring name;
std::wstring mode;
SERVICE_STATUS_HANDLE handle = nullptr;
HANDLE finish = nullptr;
HANDLE step = nullptr;
HANDLE stepped = nullptr;

void Report(DWORD state, DWORD checkPoint)
{
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = mode == L"refuses" ? 0 : SERVICE_ACCEPT_STOP;
    status.dwCheckPoint = checkPoint;
    // Also while it runs: who has told it to stop may ask before it has taken that in, and waits so long.
    status.dwWaitHint = state == SERVICE_STOP_PENDING ? TestServiceWaitHint(checkPoint) : testServiceRunningHint;
    SetServiceStatus(handle, &status);
}

DWORD WINAPI Advance(void*)
{
    for (DWORD checkPoint = 2; checkPoint <= testServiceSteps; ++checkPoint)
    {
        WaitForSingleObject(step, INFINITE);
        Report(SERVICE_STOP_PENDING, checkPoint);
        SetEvent(stepped);
    }
    WaitForSingleObject(step, INFINITE);
    Report(SERVICE_STOPPED, 0);
    SetEvent(stepped);
    SetEvent(finish);
    return 0;
}

void WINAPI Control(DWORD control)
{
    if (control != SERVICE_CONTROL_STOP)
        return;
    if (mode == L"stops")
    {
        Report(SERVICE_STOPPED, 0);
        SetEvent(finish);
        return;
    }
    Report(SERVICE_STOP_PENDING, 1);
    if (mode == L"advances")
        CloseHandle(CreateThread(nullptr, 0, Advance, nullptr, 0, nullptr));
}

void WINAPI Run(DWORD, wchar_t**)
{
    handle = RegisterServiceCtrlHandlerW(name.c_str(), Control);
    Report(SERVICE_RUNNING, 0);
}

} // namespace

int main()
{
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (count != 3)
        return 2;
    name = arguments[1];
    mode = arguments[2];
    finish = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    step = CreateEventW(nullptr, FALSE, FALSE, TestServiceStepEvent(name).c_str());
    stepped = CreateEventW(nullptr, FALSE, FALSE, TestServiceSteppedEvent(name).c_str());
    // The dispatcher returns when the service is stopped; the hanging one is waited for here.
    const SERVICE_TABLE_ENTRYW table[] = {{name.data(), Run}, {nullptr, nullptr}};
    const HANDLE end = CreateThread(
        nullptr, 0,
        [](void*) -> DWORD {
            constexpr DWORD longerThanAnyTest = 60000;
            WaitForSingleObject(finish, longerThanAnyTest);
            // Time for the dispatcher to go by itself.
            Sleep(1000);
            ExitProcess(0);
        },
        nullptr, 0, nullptr);
    if (end == nullptr)
        return 3;
    return StartServiceCtrlDispatcherW(table) ? 0 : 1;
}
