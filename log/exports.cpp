#include "prodsweep/log.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "debug_note.h"
#include "instance.h"
#include "line.h"
#include "paths.h"
#include "text.h"
#include "writer.h"

namespace {

using namespace prodsweep::logger;

// The body of an export: nothing is thrown at the caller.
template <class Body>
void Guarded(const Body& body) noexcept
{
    try
    {
        if (CWriter* const writer = Instance())
            body(*writer);
    }
    catch (...)
    {
        OutputDebugStringW(L"log.dll: memory is short\n");
    }
}

template <class Change>
void Set(const Change& change) noexcept
{
    Guarded([&](CWriter& writer) { writer.Set(change); });
}

std::wstring FunctionName(const char* narrow, const wchar_t* wide)
{
    if (wide != nullptr)
        return wide;
    return narrow != nullptr ? std::wstring(narrow, narrow + std::strlen(narrow)) : L"(null)";
}

DWORD WriteRecord(CWriter& writer, int level, const std::wstring& function, const wchar_t* format, va_list arguments)
{
    Record record{};
    GetSystemTime(&record.time);
    record.process = GetCurrentProcessId();
    record.thread = GetCurrentThreadId();
    record.level = level;
    record.function = function;
    const std::wstring text = FormatText(format, arguments);
    record.text = text;
    return writer.Write(ComposeLine(record, writer.Type()), level);
}

// Keeps the caller's last error, which it may still have to read.
class CLastError
{
public:
    CLastError() noexcept : error(GetLastError()) {}
    ~CLastError() { SetLastError(error); }
    CLastError(const CLastError&) = delete;
    CLastError& operator=(const CLastError&) = delete;

private:
    DWORD error;
};

} // namespace

extern "C"
{
    void LogInit()
    {
        Guarded([](CWriter& writer) { writer.ReadSettingsOnce(); });
    }

    void LogDeinit()
    {
        Guarded([](CWriter& writer) { writer.Close(); });
    }

    int LogWrite(unsigned short, const int* level, const char* function, const wchar_t* functionWide,
                 const wchar_t* format, va_list arguments)
    {
        DWORD result = ERROR_OUTOFMEMORY;
        Guarded([&](CWriter& writer) {
            result = ERROR_SUCCESS;
            if (level == nullptr || !writer.Wants(*level))
                return;
            const CLastError keeper;
            result = ERROR_OUTOFMEMORY;
            result = WriteRecord(writer, *level, FunctionName(function, functionWide), format, arguments);
        });
        return static_cast<int>(result);
    }

    void LogApplySettings()
    {
        Guarded([](CWriter& writer) { writer.ReadSettingsAgain(); });
    }

    void LogSetSettingsFile(const wchar_t* path)
    {
        Guarded([&](CWriter& writer) { writer.ReadSettingsFrom(FullPathBelow({}, path != nullptr ? path : L"")); });
    }

    void LogEnable(BOOL enable)
    {
        Set([&](Settings& settings) { settings.enabled = enable != FALSE; });
    }

    BOOL LogIsEnabled()
    {
        BOOL enabled = FALSE;
        Guarded([&](CWriter& writer) { enabled = writer.IsEnabled() ? TRUE : FALSE; });
        return enabled;
    }

    void LogSetLevel(int levels)
    {
        Set([&](Settings& settings) { settings.levels = levels; });
    }

    void LogSetPath(const wchar_t* path)
    {
        Set([&](Settings& settings) { settings.path = FullPathBelow({}, path != nullptr ? path : L""); });
    }

    void LogSetType(int type)
    {
        if (type == LOG_TYPE_TEXT || type == LOG_TYPE_JSON)
            Set([&](Settings& settings) { settings.type = type; });
    }

    void LogSetMode(int mode)
    {
        if (mode == LOG_MODE_APPEND || mode == LOG_MODE_OVERWRITE)
            Set([&](Settings& settings) { settings.mode = mode; });
    }

    void LogSetMaxSize(unsigned int size)
    {
        Set([&](Settings& settings) { settings.maxSize = size; });
    }

    void LogSetDepth(int depth)
    {
        Set([&](Settings& settings) { settings.depth = std::clamp(depth, 0, mostKept); });
    }

    void LogUninitDeskMetrics() {}

    void LogTrackEvent(const wchar_t*, const wchar_t*) {}

    void LogTrackEventData(const wchar_t*, const wchar_t*, const wchar_t*) {}

} // extern "C"
