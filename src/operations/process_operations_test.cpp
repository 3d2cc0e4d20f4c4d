#include "operations/operations.h"

#include "environment/log.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/running_victim.h"
#include "support/system_answers.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <tlhelp32.h>

#include <algorithm>
#include <atomic>
#include <memory>

namespace prodsweep {
namespace {

// A name that no process of another test has.
std::wstring NewName()
{
    static std::atomic<int> next{0};
    return L"Prodsweep-Victim-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(next.fetch_add(1)) +
           L".exe";
}

// The process that nobody may open, whatever the privileges.
DWORD guardedProcess = 0;
constexpr DWORD everyProcess = 0xFFFFFFFF;
const test::ImportPatch* openProcess = nullptr;

HANDLE WINAPI OpenAllButGuarded(DWORD access, BOOL inherit, DWORD process)
{
    if (guardedProcess != everyProcess && process != guardedProcess)
        return openProcess->Original<decltype(OpenAllButGuarded)>()(access, inherit, process);
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

struct Guard
{
    explicit Guard(DWORD process)
    {
        guardedProcess = process;
        openProcess = &patch;
    }

    test::ImportPatch patch{nullptr, "OpenProcess", OpenAllButGuarded};
};

DWORD snapshotFlags = 0;
DWORD snapshotProcess = 1;
const test::ImportPatch* snapshotPatch = nullptr;

HANDLE WINAPI WatchedSnapshot(DWORD flags, DWORD process)
{
    snapshotFlags = flags;
    snapshotProcess = process;
    return snapshotPatch->Original<decltype(WatchedSnapshot)>()(flags, process);
}

DWORD entrySize = 0;

BOOL WINAPI NoProcesses(HANDLE, PROCESSENTRY32W* entry)
{
    entrySize = entry->dwSize;
    SetLastError(ERROR_NO_MORE_FILES);
    return FALSE;
}

class KillProcessTest : public testing::Test
{
protected:
    std::wstring Path(const std::wstring& file) const { return tree.Path(file); }
    static std::wstring IdAfter(const std::wstring& text, const test::RunningVictim& victim)
    {
        return text + L" " + std::to_wstring(victim.Id());
    }

    test::LogRecorder log;
    test::TempTree tree;
    const std::wstring name = NewName();
    COperations operations;
};

TEST_F(KillProcessTest, ProcessIsEndedAndTheBestAnswerIsNotFound)
{
    const test::RunningVictim victim(Path(name));

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.KillProcess(name.c_str()));

    EXPECT_EQ(0u, victim.ExitCode());
    EXPECT_TRUE(tree.CanariesIntact());
}

TEST_F(KillProcessTest, EndedProcessIsTraced)
{
    const test::RunningVictim victim(Path(name));

    operations.KillProcess(name.c_str());

    EXPECT_TRUE(log.Has(LogTrace, "COperations::KillProcess", L"-> Process : \"" + name + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, "COperations::KillProcess", IdAfter(L"try Kill process \"" + name + L"\"", victim)));
    EXPECT_TRUE(
        log.Has(LogTrace, "COperations::KillProcess", IdAfter(L"success Kill process \"" + name + L"\"", victim)));
    EXPECT_TRUE(log.Has(LogTrace, "COperations::KillProcess", L"<- _ERROR_NOT_FOUND"));
    EXPECT_EQ(4u, log.Records().size());
}

TEST_F(KillProcessTest, NameWithoutAProcessIsNotFoundAndNoError)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.KillProcess(name.c_str()));

    EXPECT_TRUE(log.Has(LogTrace, "COperations::KillProcess", L"<- _ERROR_NOT_FOUND"));
    EXPECT_EQ(2u, log.Records().size());
}

TEST_F(KillProcessTest, NameMatchesWithoutRegardToCase)
{
    std::wstring upper = name;
    std::transform(upper.begin(), upper.end(), upper.begin(), towupper);
    const test::RunningVictim victim(Path(name));

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.KillProcess(upper.c_str()));

    EXPECT_EQ(0u, victim.ExitCode());
    // The request is traced as it was made, the process by its own name.
    EXPECT_TRUE(log.Has(LogTrace, "COperations::KillProcess", L"-> Process : \"" + upper + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, "COperations::KillProcess", IdAfter(L"try Kill process \"" + name + L"\"", victim)));
    EXPECT_TRUE(
        log.Has(LogTrace, "COperations::KillProcess", IdAfter(L"success Kill process \"" + name + L"\"", victim)));
}

// With every process guarded: a name that matched too much would be answered by a failure, and not by
// the end of this program and all others.
TEST_F(KillProcessTest, OnlyTheWholeNameMatches)
{
    const test::RunningVictim victim(Path(name));
    const Guard guard(everyProcess);
    const std::wstring stem = name.substr(0, name.size() - 4);
    for (const std::wstring& other : {Path(name), std::wstring(L"*"), stem, stem + L"*", stem + L".???", name.substr(1),
                                      name + L" ", name + L".exe", L"\"" + name + L"\"", std::wstring(32767, L'x')})
    {
        log.Clear();
        EXPECT_EQ(_ERROR_NOT_FOUND, operations.KillProcess(other.c_str())) << test::Narrow(other);
        EXPECT_EQ(2u, log.Records().size()) << test::Narrow(other);
    }
    EXPECT_EQ(_ERROR_FAILED, operations.KillProcess(name.c_str()));
}

// Wine lists a process that is just being made without a name.
TEST_F(KillProcessTest, EmptyNameMatchesNoProcessThatHasOne)
{
    const test::RunningVictim victim(Path(name));
    const Guard guard(everyProcess);

    operations.KillProcess(L"");

    for (const test::LogRecord& record : log.Records())
        EXPECT_TRUE(record.text.starts_with(L"try Kill process \"\"") || !record.text.starts_with(L"try Kill process"))
            << test::Narrow(record.text);
    EXPECT_TRUE(victim.Runs());
}

TEST_F(KillProcessTest, ProcessWhoseNameBeginsAlikeRunsOn)
{
    const test::RunningVictim victim(Path(name));
    const test::RunningVictim neighbour(Path(name + L"-canary.exe"));

    operations.KillProcess(name.c_str());

    EXPECT_EQ(0u, victim.ExitCode());
    EXPECT_TRUE(neighbour.Runs());
}

TEST_F(KillProcessTest, NameBeyondAsciiMatches)
{
    const std::wstring greek = L"\u03A9-" + name;
    const test::RunningVictim victim(Path(greek));

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.KillProcess(greek.c_str()));

    EXPECT_EQ(0u, victim.ExitCode());
}

TEST_F(KillProcessTest, AllProcessesOfTheNameAreEnded)
{
    tree.AddFolder(L"other");
    const test::RunningVictim first(Path(name));
    const test::RunningVictim second(Path(L"other\\" + name));

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.KillProcess(name.c_str()));

    EXPECT_EQ(0u, first.ExitCode());
    EXPECT_EQ(0u, second.ExitCode());
}

// Once with the guarded process in front of the other, once behind it.
TEST_F(KillProcessTest, OneThatCannotBeEndedIsAFailureAndTheOtherIsEnded)
{
    tree.AddFolder(L"other");
    for (const bool guardFirst : {true, false})
    {
        log.Clear();
        const test::RunningVictim first(Path(name));
        const test::RunningVictim second(Path(L"other\\" + name));
        const test::RunningVictim& guarded = guardFirst ? first : second;
        const Guard guard(guarded.Id());

        EXPECT_EQ(_ERROR_FAILED, operations.KillProcess(name.c_str()));

        EXPECT_EQ(0u, (guardFirst ? second : first).ExitCode());
        EXPECT_TRUE(guarded.Runs());
        EXPECT_TRUE(
            log.Has(LogError, "COperations::KillProcess", IdAfter(L"failed Kill process \"" + name + L"\"", guarded)));
        EXPECT_TRUE(log.Has(LogTrace, "COperations::KillProcess", L"<- _ERROR_FAILED"));
    }
}

TEST_F(KillProcessTest, MissingSnapshotIsUnknown)
{
    const test::ImportPatch patch(nullptr, "CreateToolhelp32Snapshot", test::NoSnapshot);

    EXPECT_EQ(_ERROR_UNKNOWN, operations.KillProcess(name.c_str()));

    EXPECT_TRUE(log.Has(LogError, "COperations::KillProcess", L"failed CreateToolhelp32Snapshot 0x8"));
    EXPECT_TRUE(log.Has(LogTrace, "COperations::KillProcess", L"<- _ERROR_UNKNOWN"));
}

TEST_F(KillProcessTest, SnapshotIsOfAllProcesses)
{
    const test::ImportPatch patch(nullptr, "CreateToolhelp32Snapshot", WatchedSnapshot);
    snapshotPatch = &patch;
    const test::ImportPatch walk(nullptr, "Process32FirstW", NoProcesses);

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.KillProcess(name.c_str()));

    EXPECT_EQ(2u, snapshotFlags);
    EXPECT_EQ(0u, snapshotProcess);
    EXPECT_EQ(0x238u, entrySize);
}

TEST_F(KillProcessTest, NoHandleIsLeft)
{
    const test::RunningVictim victim(Path(name));
    const test::RunningVictim guarded(Path(L"guarded-" + name));
    const Guard guard(guarded.Id());
    const test::HandleCount handles;
    operations.KillProcess(name.c_str());
    operations.KillProcess((L"guarded-" + name).c_str());
    operations.KillProcess((L"absent-" + name).c_str());
    EXPECT_TRUE(handles.Unchanged());
}

} // namespace
} // namespace prodsweep
