// A service to be stopped. Its command line names the service and what it does when it is told to
// stop:
//   stops     is stopped at once
//   hangs     stays in stop-pending and never moves its check point
//   advances  moves its check point each time somebody sets its step event, and answers with its
//             stepped event; after the third step it is stopped
//   refuses   does not take the control
// It stays when it is stopped: the state may be known before the control is answered, and the answer would get lost
// with the process. It ends when its end event is set, or by itself after a while, so that no test can leave it behind.
#include "support/test_service.h"

#include <windows.h>

#include <shellapi.h>

#include <string>

namespace {

std::wstring name;
std::wstring mode;
SERVICE_STATUS_HANDLE handle = nullptr;
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
    return 0;
}

void WINAPI Control(DWORD control)
{
    if (control != SERVICE_CONTROL_STOP)
        return;
    if (mode == L"stops")
        return Report(SERVICE_STOPPED, 0);
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
    const HANDLE end = CreateEventW(nullptr, TRUE, FALSE, TestServiceEndEvent(name).c_str());
    step = CreateEventW(nullptr, FALSE, FALSE, TestServiceStepEvent(name).c_str());
    stepped = CreateEventW(nullptr, FALSE, FALSE, TestServiceSteppedEvent(name).c_str());
    const SERVICE_TABLE_ENTRYW table[] = {{name.data(), Run}, {nullptr, nullptr}};
    // The dispatcher returns when the service is stopped, and with one that hangs never.
    const HANDLE dispatcher = CreateThread(
        nullptr, 0,
        [](void* services) -> DWORD {
            return StartServiceCtrlDispatcherW(static_cast<SERVICE_TABLE_ENTRYW*>(services)) ? 0 : 1;
        },
        const_cast<SERVICE_TABLE_ENTRYW*>(table), 0, nullptr);
    if (end == nullptr || dispatcher == nullptr)
        return 3;
    constexpr DWORD longerThanAnyTest = 60000;
    WaitForSingleObject(end, longerThanAnyTest);
    ExitProcess(0);
}
