#include "bench/benches.h"
#include "environment/log.h"

namespace prodsweep::bench {
namespace {

constexpr int statements = 1'000'000;

void Nothing(const wchar_t*) {}
void (*volatile nothing)(const wchar_t*) = Nothing;

void Log()
{
    for (int i = 0; i < statements; ++i)
        LOG(LogTrace, L"\"%s\"", L"text");
}

void CallNothing()
{
    for (int i = 0; i < statements; ++i)
        nothing(L"text");
}

Pair PerStatement(const Pair& pair) { return {pair.ours / statements, pair.peer / statements}; }

} // namespace

void BenchLog(Report& report)
{
    report.Compare("log statement", "no binding", PerStatement(SideBySide(21, Log, CallNothing)),
                   "empty indirect call");
    LogAcquire();
    report.Compare("log statement", "binding without log.dll", PerStatement(SideBySide(21, Log, CallNothing)),
                   "empty indirect call");
    LogRelease();
}

} // namespace prodsweep::bench
