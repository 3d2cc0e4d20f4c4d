/* The service of a sample product: it does nothing until it is told to stop. */
#include <windows.h>

static SERVICE_STATUS_HANDLE handle;
static HANDLE stop;

/* The hint counts while it runs, too: who has told it to stop may ask before it has taken that in, and
   then waits for so many milliseconds. */
static void Report(DWORD state)
{
    const DWORD hint = state == SERVICE_STOP_PENDING ? 500 : 2000;
    SERVICE_STATUS status = {.dwServiceType = SERVICE_WIN32_OWN_PROCESS,
                             .dwCurrentState = state,
                             .dwControlsAccepted = SERVICE_ACCEPT_STOP,
                             .dwWaitHint = hint};
    SetServiceStatus(handle, &status);
}

static void WINAPI Control(DWORD control)
{
    if (control != SERVICE_CONTROL_STOP)
        return;
    Report(SERVICE_STOP_PENDING);
    SetEvent(stop);
}

static void WINAPI Run(DWORD count, wchar_t** arguments)
{
    (void)count;
    (void)arguments;
    handle = RegisterServiceCtrlHandlerW(SAMPLE_SERVICE, Control);
    Report(SERVICE_RUNNING);
    WaitForSingleObject(stop, INFINITE);
    /* With its last word the process ends, and an answer to the control that is not written yet gets lost. */
    Sleep(100);
    Report(SERVICE_STOPPED);
}

int main(void)
{
    stop = CreateEventW(NULL, TRUE, FALSE, NULL);
    const SERVICE_TABLE_ENTRYW table[] = {{SAMPLE_SERVICE, Run}, {NULL, NULL}};
    return stop != NULL && StartServiceCtrlDispatcherW(table) ? 0 : 1;
}
