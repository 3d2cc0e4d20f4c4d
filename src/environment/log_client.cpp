#include "environment/log.h"

#include "common/spin_guard.h"

#include <windows.h>

#include <cstdarg>
#include <new>

namespace prodsweep {
namespace {

using UncalledEntry = FARPROC;
using Entry = void (*)();
using WriteEntry = int (*)(unsigned short reserved, const int* level, const char* function, const wchar_t* functionWide,
                           const wchar_t* format, va_list arguments);

// Guards the counts and the pointer, also while "log.dll" is being loaded and unloaded.
constinit std::atomic<int> lockWord{0};
constinit LogBinding* currentBinding = nullptr;

// Stands in for the writer when there is none, so that it is callable in every case.
int StandByWrite(unsigned short, const int*, const char*, const wchar_t*, const wchar_t*, va_list)
{
    return E_NOINTERFACE;
}

} // namespace

struct LogBinding
{
    HMODULE module = nullptr;
    // Bound, and left to others to call: level, path and format of the log are the writer's business.
    UncalledEntry LogApplySettings = nullptr;
    UncalledEntry LogSetSettingsFile = nullptr;
    UncalledEntry LogEnable = nullptr;
    UncalledEntry LogSetLevel = nullptr;
    UncalledEntry LogSetPath = nullptr;
    UncalledEntry LogSetType = nullptr;
    UncalledEntry LogSetMode = nullptr;
    UncalledEntry LogSetMaxSize = nullptr;
    UncalledEntry LogSetDepth = nullptr;
    WriteEntry LogWrite = nullptr;
    UncalledEntry LogIsEnabled = nullptr;
    Entry LogUninitDeskMetrics = nullptr;
    UncalledEntry LogTrackEvent = nullptr;
    UncalledEntry LogTrackEventData = nullptr;

    LogBinding() noexcept;
    ~LogBinding();
    LogBinding(const LogBinding&) = delete;
    LogBinding& operator=(const LogBinding&) = delete;

private:
    template <class Function>
    void Bind(Function& entry, const char* name) const noexcept
    {
        entry = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    }
    void BindAll() noexcept;
    void CallIfPresent(const char* name) const noexcept;
};

LogBinding::LogBinding() noexcept
{
    module = LoadLibraryW(L"log.dll");
    if (module != nullptr)
    {
        CallIfPresent("LogInit");
        BindAll();
    }
    if (LogWrite == nullptr)
        LogWrite = StandByWrite;
}

LogBinding::~LogBinding()
{
    if (module == nullptr)
        return;
    CallIfPresent("LogDeinit");
    if (LogUninitDeskMetrics != nullptr)
        LogUninitDeskMetrics();
    FreeLibrary(module);
}

void LogBinding::BindAll() noexcept
{
    Bind(LogApplySettings, "LogApplySettings");
    Bind(LogSetSettingsFile, "LogSetSettingsFile");
    Bind(LogEnable, "LogEnable");
    Bind(LogSetLevel, "LogSetLevel");
    Bind(LogSetPath, "LogSetPath");
    Bind(LogSetType, "LogSetType");
    Bind(LogSetMode, "LogSetMode");
    Bind(LogSetMaxSize, "LogSetMaxSize");
    Bind(LogSetDepth, "LogSetDepth");
    Bind(LogWrite, "LogWrite");
    Bind(LogIsEnabled, "LogIsEnabled");
    Bind(LogUninitDeskMetrics, "LogUninitDeskMetrics");
    Bind(LogTrackEvent, "LogTrackEvent");
    Bind(LogTrackEventData, "LogTrackEventData");
}

void LogBinding::CallIfPresent(const char* name) const noexcept
{
    Entry entry = nullptr;
    Bind(entry, name);
    if (entry != nullptr)
        entry();
}

LogBinding* LogAcquire() noexcept
{
    const SpinGuard guard(lockWord);
    if (!LogIsBound())
    {
        delete currentBinding;
        currentBinding = new (std::nothrow) LogBinding;
    }
    log_state::references.fetch_add(1);
    return currentBinding;
}

void LogRelease() noexcept
{
    const SpinGuard guard(lockWord);
    if (log_state::references.load() > 0)
        log_state::references.fetch_sub(1);
    else if (log_state::secondReferences.load() > 0)
        log_state::secondReferences.store(0);
    if (currentBinding != nullptr && !LogIsBound())
    {
        delete currentBinding;
        currentBinding = nullptr;
    }
}

void LogMessage(LogBinding* binding, unsigned short reserved, const int* level, const char* function,
                const wchar_t* functionWide, const wchar_t* format, ...) noexcept
{
    // Memory was too short for a binding; a lost record is all that may follow from that.
    if (binding == nullptr)
        return;
    va_list arguments;
    va_start(arguments, format);
    binding->LogWrite(reserved, level, function, functionWide, format, arguments);
    va_end(arguments);
}

LogRefScope::LogRefScope() noexcept
{
    Acquire();
    if (binding == nullptr)
        Acquire();
}

void LogRefScope::Acquire() noexcept
{
    binding = LogAcquire();
    acquisitions.fetch_add(1);
}

LogRefScope::~LogRefScope()
{
    binding = nullptr;
    while (acquisitions.fetch_sub(1) - 1 >= 0)
        LogRelease();
    acquisitions.fetch_add(1);
}

} // namespace prodsweep
