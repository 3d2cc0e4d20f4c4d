#include "common/spin_guard.h"
#include "environment/log.h"

#include <windows.h>

// One reference keeps "log.dll" loaded for the life of the process. reserved is not null when the process ends.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* reserved)
{
    if (reason == DLL_PROCESS_ATTACH)
    {
        prodsweep::LogAcquire();
    }
    else if (reason == DLL_PROCESS_DETACH)
    {
        prodsweep::SpinGuard::ownersAreGone = reserved != nullptr;
        prodsweep::LogRelease();
    }
    return 1;
}
