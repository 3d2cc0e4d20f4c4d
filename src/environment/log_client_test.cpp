#include "environment/log.h"

#include "support/import_patch.h"
#include "support/process.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdarg>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace prodsweep {
namespace {

using Events = std::vector<std::string>;

std::mutex eventsGuard;
Events events;
std::wstring variant; // folder of the log.dll that the client gets; empty for none
void (*duringLoad)() = nullptr;
void (*duringWrite)() = nullptr;

constexpr std::size_t bindingSize = 15 * sizeof(void*);

int CountOf(const std::string& event)
{
    const std::lock_guard lock(eventsGuard);
    int count = 0;
    for (const std::string& one : events)
        count += one == event;
    return count;
}

} // namespace

// Where the log.dll variants tell what happens to them.
extern "C" __declspec(dllexport) void LogVariantSink(const char* event)
{
    {
        const std::lock_guard lock(eventsGuard);
        events.emplace_back(event);
    }
    if (duringWrite != nullptr && std::string(event).starts_with("LogWrite"))
        duringWrite();
}

namespace {

HMODULE WINAPI LoadVariant(const wchar_t* name)
{
    EXPECT_STREQ(L"log.dll", name);
    if (duringLoad != nullptr)
        duringLoad();
    const std::wstring folder = variant.empty() ? L"no such folder" : variant;
    return LoadLibraryExW((test::ThisProgramsFolder() + folder + L"\\log.dll").c_str(), nullptr, 0);
}

struct CProbe
{
    static void Log(int& evaluated) { LOG(LogTrace, L"->\"%s\" %d 0x%x", L"name", ++evaluated, E_FAIL); }
};
constexpr char probeLine[] = "LogWrite 0 0x10 CProbe::Log CProbe::Log: ->\"name\" 1 0x80004005";

// Without the reference that the test program holds, so that each test starts where a process does.
class LogClientTest : public testing::Test
{
public:
    LogClientTest()
    {
        LogRelease();
        EXPECT_FALSE(LogIsBound());
        events.clear();
        variant.clear();
    }
    ~LogClientTest() override
    {
        duringLoad = duringWrite = nullptr;
        EXPECT_EQ(0, log_state::references);
        EXPECT_EQ(0, log_state::secondReferences);
        // What one test leaves behind must not fail the next.
        log_state::secondReferences = 0;
        while (LogIsBound())
            LogRelease();
        loading.reset();
        LogAcquire();
    }

protected:
    int evaluated = 0;

private:
    std::unique_ptr<test::ImportPatch> loading =
        std::make_unique<test::ImportPatch>(nullptr, "LoadLibraryW", LoadVariant);
};

TEST_F(LogClientTest, LibraryIsInitialisedAndWrittenToAndTakenDownInOrder)
{
    variant = L"log_complete";

    EXPECT_NE(nullptr, LogAcquire());
    CProbe::Log(evaluated);
    LogRelease();

    EXPECT_EQ((Events{"attach", "LogInit", probeLine, "LogDeinit", "LogUninitDeskMetrics", "detach"}), events);
}

TEST_F(LogClientTest, BindingThatNobodyCountsAnyMoreIsTakenDownBeforeTheNext)
{
    variant = L"log_complete";
    LogAcquire();
    log_state::references = 0;

    LogAcquire();
    EXPECT_EQ((Events{"attach", "LogInit", "LogDeinit", "LogUninitDeskMetrics", "detach", "attach", "LogInit"}),
              events);

    LogRelease();
}

TEST_F(LogClientTest, LibraryWithoutDeinitIsUnloadedWithoutIt)
{
    variant = L"log_without_deinit";

    LogAcquire();
    CProbe::Log(evaluated);
    LogRelease();

    EXPECT_EQ((Events{"attach", "LogInit", probeLine, "detach"}), events);
}

TEST_F(LogClientTest, LibraryWithoutInitIsUsedWithoutIt)
{
    variant = L"log_only_write";

    LogAcquire();
    CProbe::Log(evaluated);
    LogRelease();

    EXPECT_EQ((Events{"attach", probeLine, "detach"}), events);
}

// The binding is the module's handle followed by the entry points; the writer is the tenth of them.
using StandBy = int (*)(unsigned short, const int*, const char*, const wchar_t*, const wchar_t*, va_list);
constexpr std::size_t writerSlot = 10;

TEST_F(LogClientTest, LibraryWithoutWriterStaysLoadedWithTheStandByWriter)
{
    variant = L"log_without_write";

    void** const binding = reinterpret_cast<void**>(LogAcquire());
    CProbe::Log(evaluated);
    EXPECT_NE(nullptr, binding[0]);
    EXPECT_EQ(E_NOINTERFACE, reinterpret_cast<StandBy>(binding[writerSlot])(0, nullptr, "", L"", L"", nullptr));
    EXPECT_EQ((Events{"attach", "LogInit"}), events);
    LogRelease();

    EXPECT_EQ((Events{"attach", "LogInit", "LogDeinit", "LogUninitDeskMetrics", "detach"}), events);
}

int freed = 0;
BOOL WINAPI CountFree(HMODULE)
{
    ++freed;
    return TRUE;
}

TEST_F(LogClientTest, MissingLibraryLeavesTheStandByWriterAndNothingToFree)
{
    const test::ImportPatch freeing(nullptr, "FreeLibrary", CountFree);
    freed = 0;

    void** const binding = reinterpret_cast<void**>(LogAcquire());
    CProbe::Log(evaluated);
    EXPECT_EQ(nullptr, binding[0]);
    EXPECT_EQ(E_NOINTERFACE, reinterpret_cast<StandBy>(binding[writerSlot])(0, nullptr, "", L"", L"", nullptr));
    LogRelease();

    EXPECT_EQ(1, evaluated) << "a binding without a library is a binding";
    EXPECT_EQ(0, freed);
}

TEST_F(LogClientTest, MissingEntryPointsStayNullAndPresentOnesAreBound)
{
    for (const wchar_t* folder : {L"log_only_write", L"log_complete"})
    {
        variant = folder;
        void** const binding = reinterpret_cast<void**>(LogAcquire());
        for (std::size_t slot = 1; slot < 15; ++slot)
            EXPECT_EQ(variant == L"log_complete" || slot == writerSlot, binding[slot] != nullptr) << slot;
        LogRelease();
    }
}

Events entryPoints;
FARPROC WINAPI RecordLookUp(HMODULE module, const char* name)
{
    entryPoints.emplace_back(name);
    // By hand, as the import is what is patched.
    static const auto real = reinterpret_cast<decltype(&GetProcAddress)>(
        reinterpret_cast<void*>(::GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetProcAddress")));
    return real(module, name);
}

TEST_F(LogClientTest, EntryPointsAreLookedUpInTheirOrderOnceEach)
{
    variant = L"log_complete";
    entryPoints.clear();
    (void)RecordLookUp(GetModuleHandleW(L"kernel32.dll"), "GetProcAddress");
    entryPoints.clear();
    const test::ImportPatch patch(nullptr, "GetProcAddress", RecordLookUp);

    LogAcquire();
    CProbe::Log(evaluated);
    LogRelease();

    EXPECT_EQ((Events{"LogInit", "LogApplySettings", "LogSetSettingsFile", "LogEnable", "LogSetLevel", "LogSetPath",
                      "LogSetType", "LogSetMode", "LogSetMaxSize", "LogSetDepth", "LogWrite", "LogIsEnabled",
                      "LogUninitDeskMetrics", "LogTrackEvent", "LogTrackEventData", "LogDeinit"}),
              entryPoints);
}

TEST_F(LogClientTest, BindingIsSharedAndGoesWithTheLastReference)
{
    variant = L"log_complete";

    LogBinding* const first = LogAcquire();
    EXPECT_EQ(first, LogAcquire());
    EXPECT_EQ(2, log_state::references);
    LogRelease();
    EXPECT_EQ(0, CountOf("detach"));
    LogRelease();

    EXPECT_EQ(1, CountOf("attach"));
    EXPECT_EQ(1, CountOf("detach"));
    EXPECT_EQ(nullptr, GetModuleHandleW(L"log.dll"));
}

TEST_F(LogClientTest, BindingIsMadeAnewAfterItWasDestroyed)
{
    variant = L"log_complete";
    for (int round = 1; round <= 3; ++round)
    {
        LogAcquire();
        EXPECT_EQ(round, CountOf("attach"));
        LogRelease();
        EXPECT_EQ(round, CountOf("detach"));
    }
}

TEST_F(LogClientTest, ReleaseWithoutReferenceChangesNothing)
{
    LogRelease();
    EXPECT_EQ(0, log_state::references);
    EXPECT_TRUE(events.empty());
}

TEST_F(LogClientTest, SecondCountKeepsTheBindingAndIsClearedByTheReleaseAtZero)
{
    variant = L"log_complete";
    LogBinding* const binding = LogAcquire();
    log_state::secondReferences = 5;

    LogRelease();
    EXPECT_EQ(5, log_state::secondReferences) << "cleared only when the first count is at zero";
    EXPECT_EQ(0, CountOf("detach"));
    EXPECT_EQ(binding, LogAcquire()) << "not made anew while the second count stands";
    LogRelease();
    CProbe::Log(evaluated);
    EXPECT_EQ(1, evaluated);
    LogRelease();

    EXPECT_EQ(0, log_state::secondReferences);
    EXPECT_EQ(1, CountOf("detach"));
}

TEST_F(LogClientTest, StatementWithoutReferenceEvaluatesNoArgumentAndLoadsNothing)
{
    variant = L"log_complete";
    CProbe::Log(evaluated);
    EXPECT_EQ(0, evaluated);
    EXPECT_TRUE(events.empty());
}

TEST_F(LogClientTest, StatementHoldsOneReferenceWhileItLasts)
{
    variant = L"log_complete";
    LogAcquire();
    {
        const LogRefScope scope;
        EXPECT_NE(nullptr, scope.Binding());
        EXPECT_EQ(2, log_state::references);
    }
    EXPECT_EQ(1, log_state::references);
    LogRelease();
}

int allocations = 0;
void* (*realMalloc)(std::size_t) = nullptr;
void* RefuseBindings(std::size_t size)
{
    if (size != bindingSize)
        return realMalloc(size);
    ++allocations;
    return nullptr;
}

TEST_F(LogClientTest, ShortageOfMemoryLeavesNoBindingUntilTheCountsAreBackAtZero)
{
    variant = L"log_complete";
    allocations = 0;
    {
        const test::ImportPatch patch(nullptr, "malloc", RefuseBindings);
        realMalloc = patch.Original<void*(std::size_t)>();
        EXPECT_EQ(nullptr, LogAcquire());
    }
    EXPECT_EQ(1, allocations);
    EXPECT_EQ(1, log_state::references) << "counted all the same";
    EXPECT_EQ(nullptr, LogAcquire()) << "no second try while a count stands";
    LogRelease();
    EXPECT_TRUE(events.empty());
    LogRelease();

    EXPECT_NE(nullptr, LogAcquire());
    LogRelease();
    EXPECT_EQ(1, CountOf("attach"));
}

TEST_F(LogClientTest, StatementWithoutBindingAsksTwiceGivesBothBackAndGoesOn)
{
    {
        const test::ImportPatch patch(nullptr, "malloc", RefuseBindings);
        realMalloc = patch.Original<void*(std::size_t)>();
        LogAcquire();
    }
    {
        const LogRefScope scope;
        EXPECT_EQ(nullptr, scope.Binding());
        EXPECT_EQ(3, log_state::references);
    }
    EXPECT_EQ(1, log_state::references);
    CProbe::Log(evaluated);
    EXPECT_EQ(1, evaluated);
    EXPECT_EQ(1, log_state::references);
    LogRelease();
}

// The lock: a second caller waits, a millisecond at a time, while the library is being loaded.
HANDLE loadMayEnd = nullptr;
std::atomic<int> waitsForTheLock{0};

void WINAPI LetTheLoadEnd(DWORD milliseconds)
{
    if (milliseconds == 1) // the thread library sleeps too, but not for that long
    {
        ++waitsForTheLock;
        SetEvent(loadMayEnd);
    }
    SwitchToThread();
}

TEST_F(LogClientTest, SecondCallerWaitsWhileTheLibraryIsBeingLoaded)
{
    variant = L"log_complete";
    static HANDLE loadHasBegun = nullptr;
    loadHasBegun = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    loadMayEnd = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    waitsForTheLock = 0;
    duringLoad = [] {
        SetEvent(loadHasBegun);
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(loadMayEnd, 20000)) << "nobody waited for the lock";
    };
    const test::ImportPatch patch(nullptr, "Sleep", LetTheLoadEnd);
    LogBinding* other = nullptr;
    std::thread first([&] { other = LogAcquire(); });
    WaitForSingleObject(loadHasBegun, 20000);

    EXPECT_NE(nullptr, LogAcquire());
    first.join();

    EXPECT_GT(waitsForTheLock, 0);
    EXPECT_EQ(1, CountOf("attach"));
    EXPECT_EQ(2, log_state::references);
    LogRelease();
    LogRelease();
    CloseHandle(loadHasBegun);
    CloseHandle(loadMayEnd);
}

TEST_F(LogClientTest, LockIsFreeWhileTheWriterRuns)
{
    variant = L"log_complete";
    static HANDLE passed = nullptr;
    static std::thread other;
    passed = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    duringWrite = [] {
        other = std::thread([] {
            LogAcquire();
            LogRelease();
            SetEvent(passed);
        });
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(passed, 20000));
    };
    LogAcquire();

    CProbe::Log(evaluated);

    ASSERT_TRUE(other.joinable()) << "nothing was written";
    other.join();
    LogRelease();
    CloseHandle(passed);
}

TEST_F(LogClientTest, ThreadsThatBindAndUnbindAtOnceLeaveNothingBehind)
{
    variant = L"log_complete";
    constexpr int threadCount = 16;
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int i = 0; i < threadCount; ++i)
    {
        threads.emplace_back([] {
            for (int round = 0; round < 50; ++round)
            {
                LogAcquire();
                int ignored = 0;
                CProbe::Log(ignored);
                LogRelease();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(16 * 50, CountOf(probeLine));
    EXPECT_EQ(CountOf("attach"), CountOf("detach"));
    EXPECT_EQ(CountOf("LogInit"), CountOf("LogDeinit"));
}

} // namespace
} // namespace prodsweep
