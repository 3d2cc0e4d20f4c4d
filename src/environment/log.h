#pragma once

#include <atomic>
#include <cstddef>
#include <string_view>

// What the compilers call differently. Inlined without a choice: a build for size would call.
#if defined(_MSC_VER) && !defined(__clang__)
#define PRODSWEEP_FUNCTION __FUNCTION__
#define PRODSWEEP_INLINE __forceinline
#else
#define PRODSWEEP_FUNCTION __PRETTY_FUNCTION__
#define PRODSWEEP_INLINE [[gnu::always_inline]] inline
#endif

namespace prodsweep {

// Levels of the log records. The writer decides which of them it lets through.
constexpr int LogError = 4;      // something failed that decides the operation
constexpr int LogWarning = 8;    // tolerated, or a step that may fail by design
constexpr int LogTrace = 0x10;   // entry and exit, names being handled, probes for what is absent
constexpr int LogSkipped = 0x20; // an operation meant for the other kind of operating system

// The binding to "log.dll", made on demand and shared by all threads.
struct LogBinding;

// Takes a reference, and makes the binding when there is none. Null when memory is short.
LogBinding* LogAcquire() noexcept;
void LogRelease() noexcept;

// Hands one record to the bound writer. reserved is always 0. The format is the wide one of the
// platform's C runtime: %s takes a wide string.
void LogMessage(LogBinding* binding, unsigned short reserved, const int* level, const char* function,
                const wchar_t* functionWide, const wchar_t* format, ...) noexcept;

// Defined here and not in the source file, so that the test in LogIsBound is two plain loads: names
// from elsewhere are reached through a pointer, since they might come from another module.
namespace log_state {
inline constinit std::atomic<int> references{0};
// A second kind of reference, which nothing raises; it is looked at beside the first everywhere.
inline constinit std::atomic<int> secondReferences{0};
} // namespace log_state

// The cheap filter in front of every statement: no call, no lock. The two counts may be read at
// slightly different moments; a statement that slips through just takes its own reference.
PRODSWEEP_INLINE bool LogIsBound() noexcept
{
    return log_state::references.load(std::memory_order_relaxed) +
               log_state::secondReferences.load(std::memory_order_relaxed) !=
           0;
}

// The reference that one log statement holds on its stack.
class LogRefScope
{
public:
    LogRefScope() noexcept;
    ~LogRefScope();
    LogRefScope(const LogRefScope&) = delete;
    LogRefScope& operator=(const LogRefScope&) = delete;

    [[nodiscard]] LogBinding* Binding() const noexcept { return binding; }

private:
    void Acquire() noexcept;

    LogBinding* binding = nullptr;
    std::atomic<int> acquisitions{0};
};

// The part of the compiler's function text that a log record carries: "CProducts::Load" of
// "bool prodsweep::CProducts::Load(const wchar_t*, int)". A lambda goes by the function around it.
consteval std::string_view CutFunctionName(std::string_view text)
{
    std::size_t end = text.find('(');
    while (end != std::string_view::npos && text.substr(end).starts_with("(anonymous namespace)"))
        end = text.find('(', end + 1);
    text = text.substr(0, end);
    text = text.substr(0, text.find("::<lambda"));
    for (constexpr std::string_view unnamed[] = {"{anonymous}::", "(anonymous namespace)::", "`anonymous-namespace'::"};
         const std::string_view scope : unnamed)
    {
        if (const std::size_t place = text.rfind(scope); place != std::string_view::npos)
            text.remove_prefix(place + scope.size());
    }
    if (const std::size_t blank = text.find_last_of(" *&"); blank != std::string_view::npos)
        text.remove_prefix(blank + 1);
    if (constexpr std::string_view ours = "prodsweep::"; text.starts_with(ours))
        text.remove_prefix(ours.size());
    return text;
}

// The name in both forms. A template only for its size: each statement has one of these.
template <std::size_t Size>
struct FunctionName
{
    char narrow[Size + 1] = {};
    wchar_t wide[Size + 1] = {};

    consteval explicit FunctionName(std::string_view name)
    {
        for (std::size_t i = 0; i < Size; ++i)
        {
            narrow[i] = name[i];
            wide[i] = static_cast<wchar_t>(name[i]);
        }
    }
};

} // namespace prodsweep

// LOG(level, L"format", arguments...): one record under the name of the function that it stands in.
// Arguments are evaluated only when a binding exists.
#define LOG(level, ...)                                                                                                \
    do                                                                                                                 \
    {                                                                                                                  \
        if (::prodsweep::LogIsBound())                                                                                 \
        {                                                                                                              \
            static constexpr ::prodsweep::FunctionName<::prodsweep::CutFunctionName(PRODSWEEP_FUNCTION).size()>        \
                logFunction(::prodsweep::CutFunctionName(PRODSWEEP_FUNCTION));                                         \
            const int logLevel = (level);                                                                              \
            const ::prodsweep::LogRefScope logScope;                                                                   \
            ::prodsweep::LogMessage(logScope.Binding(), 0, &logLevel, logFunction.narrow, logFunction.wide,            \
                                    __VA_ARGS__);                                                                      \
        }                                                                                                              \
    } while (false)
