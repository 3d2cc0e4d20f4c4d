// A process that ends while one of its threads is anywhere in the library.
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/process.h"
#include "system/library.h"

#include <gtest/gtest.h>

#include <atomic>

namespace prodsweep::test {
namespace {

constexpr int ended = 42;
constexpr int waitedInVain = 77;

std::atomic<bool> ending{false};
HANDLE somebodyWaits = nullptr;

// Stands in for Sleep in the library, which calls it when it finds its flag taken.
void WINAPI TellOfWaiting(DWORD milliseconds)
{
    // Nobody is left who could give the flag back.
    if (ending)
        TerminateProcess(GetCurrentProcess(), waitedInVain);
    SetEvent(somebodyWaits);
    SleepEx(milliseconds, FALSE);
}

// A call that does little else than log.
DWORD WINAPI CallThatLogs(void* library)
{
    bool restart = false;
    static_cast<const Library*>(library)->UninstallProducts(nullptr, &restart, nullptr);
    return 0;
}

DWORD WINAPI CallForEver(void* library)
{
    const ComScope com; // else each call would bring COM up, and hardly ever be met in the log
    for (;;)
        CallThatLogs(library);
}

HANDLE StartThread(LPTHREAD_START_ROUTINE routine, Library& library)
{
    return CreateThread(nullptr, 0, routine, &library, 0, nullptr);
}

// Stops the writer again and again, until it is met holding the flag: then another thread has to wait. Which it is,
// is told by events; the time limit only lets go of a writer that was stopped holding something else.
void StopInsideTheLog(Library& library, HANDLE writer)
{
    for (;;)
    {
        SuspendThread(writer);
        const HANDLE events[] = {somebodyWaits, StartThread(CallThatLogs, library)};
        if (WaitForMultipleObjects(2, events, FALSE, 1000) == WAIT_OBJECT_0)
            return;
        ResumeThread(writer);
        WaitForSingleObject(events[1], INFINITE);
        CloseHandle(events[1]);
        ResetEvent(somebodyWaits);
    }
}

TEST(ProcessEndTest, ThreadThatIsEndedInsideTheLogDoesNotKeepTheProcessFromEnding)
{
    if (const auto child = ResultOfFreshProcess())
    {
        EXPECT_EQ(static_cast<DWORD>(ended), child->exitCode) << child->output;
        return;
    }
    LogRecorder log;
    log.Pause();
    Library library;
    somebodyWaits = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const ImportPatch patch(library.Module(), "Sleep", TellOfWaiting);
    StopInsideTheLog(library, StartThread(CallForEver, library));
    ending = true;
    ExitProcess(ended);
}

} // namespace
} // namespace prodsweep::test
