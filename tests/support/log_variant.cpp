// A "log.dll" that tells the program when and how it is called, and that has as many of the entry
// points as the build asks for (see CMakeLists.txt): LOG_VARIANT_INIT, _DEINIT, _WRITE, _DESK_METRICS,
// _SETTINGS. It tells by calling LogVariantSink, if the program exports such a function.
#include <windows.h>

#include <cstdarg>
#include <cstdio>

namespace {

void Tell(const char* event)
{
    using Sink = void (*)(const char* event);
    const auto sink =
        reinterpret_cast<Sink>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(nullptr), "LogVariantSink")));
    if (sink != nullptr)
        sink(event);
}

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*)
{
    if (reason == DLL_PROCESS_ATTACH)
        Tell("attach");
    if (reason == DLL_PROCESS_DETACH)
        Tell("detach");
    return TRUE;
}

extern "C"
{
#ifdef LOG_VARIANT_INIT
    __declspec(dllexport) void LogInit() { Tell("LogInit"); }
#endif
#ifdef LOG_VARIANT_DEINIT
    __declspec(dllexport) void LogDeinit() { Tell("LogDeinit"); }
#endif
#ifdef LOG_VARIANT_DESK_METRICS
    __declspec(dllexport) void LogUninitDeskMetrics() { Tell("LogUninitDeskMetrics"); }
#endif
#ifdef LOG_VARIANT_WRITE
    __declspec(dllexport) int LogWrite(unsigned short reserved, const int* level, const char* function,
                                       const wchar_t* functionWide, const wchar_t* format, va_list arguments)
    {
        wchar_t text[512] = {};
        _vsnwprintf(text, 511, format, arguments);
        char event[1024] = {};
        _snprintf(event, 1023, "LogWrite %u 0x%x %s %ls: %ls", reserved, static_cast<unsigned>(*level), function,
                  functionWide, text);
        Tell(event);
        return E_FAIL; // to nobody's notice
    }
#endif
#ifdef LOG_VARIANT_SETTINGS
#define NEVER_CALLED(name)                                                                                             \
    __declspec(dllexport) void name() { Tell(#name " was called"); }
    NEVER_CALLED(LogApplySettings)
    NEVER_CALLED(LogSetSettingsFile)
    NEVER_CALLED(LogEnable)
    NEVER_CALLED(LogSetLevel)
    NEVER_CALLED(LogSetPath)
    NEVER_CALLED(LogSetType)
    NEVER_CALLED(LogSetMode)
    NEVER_CALLED(LogSetMaxSize)
    NEVER_CALLED(LogSetDepth)
    NEVER_CALLED(LogIsEnabled)
    NEVER_CALLED(LogTrackEvent)
    NEVER_CALLED(LogTrackEventData)
#endif
}
