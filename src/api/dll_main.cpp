#include "environment/log.h"

#include <windows.h>

// One reference keeps "log.dll" loaded for the life of the process.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*)
{
    if (reason == DLL_PROCESS_ATTACH)
        prodsweep::LogAcquire();
    else if (reason == DLL_PROCESS_DETACH)
        prodsweep::LogRelease();
    return 1;
}
