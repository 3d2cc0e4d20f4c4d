#include <new>

#include <windows.h>

#include "instance.h"
#include "paths.h"
#include "writer.h"

namespace prodsweep::logger {

namespace {

// A plain pointer, which nothing takes down by itself: when a process ends, this DLL is told so before those that
// loaded it, and they still call.
constinit CWriter* instance = nullptr;

std::wstring SettingsBeside(HMODULE module)
{
    std::wstring path(longestPath, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), longestPath));
    return FolderOf(path) + L"log.ini";
}

void MakeInstance(HMODULE module) noexcept
{
    try
    {
        instance = new CWriter(SettingsBeside(module));
    }
    catch (const std::bad_alloc&)
    {
        instance = nullptr;
    }
}

} // namespace

CWriter* Instance() noexcept { return instance; }

} // namespace prodsweep::logger

// reserved: not null when the process ends. Then other threads may have been stopped anywhere, and all goes anyhow.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* reserved)
{
    using namespace prodsweep::logger;
    if (reason == DLL_PROCESS_ATTACH)
    {
        DisableThreadLibraryCalls(module);
        MakeInstance(module);
    }
    else if (reason == DLL_PROCESS_DETACH && reserved == nullptr)
    {
        delete instance;
        instance = nullptr;
    }
    return TRUE;
}
