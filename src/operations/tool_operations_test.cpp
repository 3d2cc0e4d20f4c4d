#include "operations/operations.h"

#include "environment/log.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/process.h"
#include "support/temp_tree.h"

#include <gmock/gmock.h>

#include <optional>
#include <string_view>
#include <vector>

namespace prodsweep {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char execTool[] = "COperations::ExecTool";

// Sees the tool's start and the wait for it, and ends the tool when it ends itself.
class ToolWatch
{
public:
    ToolWatch() { current = this; }
    ~ToolWatch()
    {
        if (process != nullptr)
        {
            TerminateProcess(process, 1);
            WaitForSingleObject(process, endWait);
            CloseHandle(process);
        }
        current = nullptr;
    }
    ToolWatch(const ToolWatch&) = delete;
    ToolWatch& operator=(const ToolWatch&) = delete;

    // What the wait for the tool answers at once; without it, the wait is a real one.
    std::optional<DWORD> waitAnswer;
    // The tool starts, but the handle given out for its process is -1.
    bool processHandleIsMinusOne = false;

    [[nodiscard]] const STARTUPINFOW& Startup() const { return startup; }
    // No application, attributes, inheritance, flags, environment and folder were given.
    [[nodiscard]] bool OnlyACommandLine() const { return onlyACommandLine; }
    [[nodiscard]] const std::vector<DWORD>& Waits() const { return waits; }
    [[nodiscard]] bool Runs() const { return WaitForSingleObject(process, 0) == WAIT_TIMEOUT; }
    // What the start gave out.
    [[nodiscard]] const PROCESS_INFORMATION& Given() const { return info; }

private:
    static constexpr DWORD endWait = 10000;

    // The parameters of CreateProcessW. NOLINTNEXTLINE(readability-function-size)
    static BOOL WINAPI Create(const wchar_t* application, wchar_t* commandLine, SECURITY_ATTRIBUTES* ofProcess,
                              SECURITY_ATTRIBUTES* ofThread, BOOL inherit, DWORD flags, void* environment,
                              const wchar_t* folder, STARTUPINFOW* how, PROCESS_INFORMATION* out)
    {
        current->startup = *how;
        current->onlyACommandLine = application == nullptr && ofProcess == nullptr && ofThread == nullptr && !inherit &&
                                    flags == 0 && environment == nullptr && folder == nullptr;
        if (!current->create.Original<decltype(Create)>()(application, commandLine, ofProcess, ofThread, inherit, flags,
                                                          environment, folder, how, out))
            return FALSE;
        // The platform may write into the buffer, and so does this.
        commandLine[0] = L'!';
        current->info = *out;
        DuplicateHandle(GetCurrentProcess(), out->hProcess, GetCurrentProcess(), &current->process, 0, FALSE,
                        DUPLICATE_SAME_ACCESS);
        if (current->processHandleIsMinusOne)
            out->hProcess = INVALID_HANDLE_VALUE;
        return TRUE;
    }
    static DWORD WINAPI Wait(HANDLE handle, DWORD milliseconds)
    {
        const auto original = current->wait.Original<decltype(Wait)>();
        // Neither the watch's own waits nor those of another thread, such as GoogleTest's.
        if (handle == current->process || GetCurrentThreadId() != current->thread)
            return original(handle, milliseconds);
        current->waits.push_back(milliseconds);
        // A wait for this very process would have no end.
        const bool forever = handle == GetCurrentProcess();
        if (current->waitAnswer.has_value())
            return *current->waitAnswer;
        return forever ? WAIT_TIMEOUT : original(handle, milliseconds);
    }

    static inline ToolWatch* current = nullptr;
    const DWORD thread = GetCurrentThreadId();
    HANDLE process = nullptr; // the watch's own
    PROCESS_INFORMATION info{};
    STARTUPINFOW startup{};
    bool onlyACommandLine = false;
    std::vector<DWORD> waits;
    test::ImportPatch create{nullptr, "CreateProcessW", Create};
    test::ImportPatch wait{nullptr, "WaitForSingleObject", Wait};
};

// Expects that the tool's handles are still open, and closes them.
void TakeOpen(const PROCESS_INFORMATION& given)
{
    const bool processOpen = GetProcessId(given.hProcess) == given.dwProcessId;
    const bool threadOpen = GetThreadId(given.hThread) == given.dwThreadId;
    EXPECT_TRUE(processOpen);
    EXPECT_TRUE(threadOpen);
    if (processOpen)
        CloseHandle(given.hProcess);
    if (threadOpen)
        CloseHandle(given.hThread);
}

std::wstring ReadText(const std::wstring& path)
{
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, file) << test::Narrow(path);
    std::wstring text(2000, L'\0');
    DWORD read = 0;
    ReadFile(file, text.data(), static_cast<DWORD>(text.size() * sizeof(wchar_t)), &read, nullptr);
    CloseHandle(file);
    text.resize(read / sizeof(wchar_t));
    return text;
}

class ExecToolTest : public testing::Test
{
protected:
    ExecToolTest() { EXPECT_TRUE(CopyFileW((test::ThisProgramsFolder() + L"tool.exe").c_str(), tool.c_str(), FALSE)); }

    // The tool's quoted path, and what follows it.
    std::wstring Line(const std::wstring& rest) const { return L"\"" + tool + L"\"" + rest; }
    bool HasEnded() const { return test::Exists(tool + L".ended"); }

    test::LogRecorder log;
    test::TempTree tree;
    const std::wstring tool = tree.Path(L"my tool.exe");
    COperations operations;
};

TEST_F(ExecToolTest, ToolIsWaitedForAndItsExitCodeNotRead)
{
    const ToolWatch watch;

    EXPECT_EQ(_ERROR_SUCCESS, operations.ExecTool(Line(L" /remove").c_str(), true, false));

    EXPECT_TRUE(HasEnded());
    EXPECT_THAT(watch.Waits(), ElementsAre(300000u));
    EXPECT_TRUE(log.Has(LogTrace, execTool, L"->CmdLine = \"" + Line(L" /remove") + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, execTool, L"<-\"" + Line(L" /remove") + L"\", err = _ERROR_SUCCESS"));
    EXPECT_EQ(2u, log.Records().size());
    EXPECT_TRUE(tree.CanariesIntact());
}

TEST_F(ExecToolTest, NoHandleOfAnEndedToolIsLeft)
{
    operations.ExecTool(Line(L"").c_str(), true, false);
    const test::HandleCount handles;
    operations.ExecTool(Line(L"").c_str(), true, false);
    operations.ExecTool(L"", true, false);
    EXPECT_TRUE(handles.Unchanged());
}

TEST_F(ExecToolTest, WithoutTheFlagTheToolGoesOnAndItsHandlesStayOpen)
{
    const test::HandleCount handles;
    PROCESS_INFORMATION given{};
    {
        const ToolWatch watch;
        EXPECT_EQ(_ERROR_SUCCESS, operations.ExecTool(Line(L" linger").c_str(), false, false));
        EXPECT_TRUE(watch.Runs());
        EXPECT_THAT(watch.Waits(), IsEmpty());
        given = watch.Given();
    }
    EXPECT_EQ(2, handles.Growth());
    TakeOpen(given);
}

TEST_F(ExecToolTest, ToolThatOutlastsTheWaitRunsOnWithItsHandlesOpen)
{
    ToolWatch watch;
    watch.waitAnswer = WAIT_TIMEOUT;

    EXPECT_EQ(_ERROR_SUCCESS, operations.ExecTool(Line(L" linger").c_str(), true, false));

    EXPECT_THAT(watch.Waits(), ElementsAre(300000u));
    EXPECT_TRUE(watch.Runs());
    EXPECT_TRUE(log.Has(LogWarning, execTool, L"\"" + Line(L" linger") + L"\" wait timeout"));
    EXPECT_TRUE(log.Has(LogTrace, execTool, L"<-\"" + Line(L" linger") + L"\", err = _ERROR_SUCCESS"));
    TakeOpen(watch.Given());
}

// Whatever the reason, the tool may still run.
TEST_F(ExecToolTest, WaitThatFailsCountsAsTimeout)
{
    ToolWatch watch;
    watch.waitAnswer = WAIT_FAILED;

    EXPECT_EQ(_ERROR_SUCCESS, operations.ExecTool(Line(L"").c_str(), true, false));

    EXPECT_TRUE(log.Has(LogWarning, execTool, L"\"" + Line(L"") + L"\" wait timeout"));
    TakeOpen(watch.Given());
}

// It would name this very process, which never ends while it waits.
TEST_F(ExecToolTest, ProcessHandleOfMinusOneIsNotWaitedFor)
{
    ToolWatch watch;
    watch.processHandleIsMinusOne = true;

    EXPECT_EQ(_ERROR_SUCCESS, operations.ExecTool(Line(L"").c_str(), true, false));

    EXPECT_THAT(watch.Waits(), IsEmpty());
    EXPECT_TRUE(log.HasNoneAt(LogWarning));
    TakeOpen(watch.Given());
}

TEST_F(ExecToolTest, CommandLineArrivesLetterForLetter)
{
    // A descriptor without arguments leaves a blank behind the tool.
    for (const wchar_t* rest : {L" ", L"", L" /x \"a b\"  c ", L" \u03A9 \"unbalanced", L" 100%d%s"})
    {
        EXPECT_EQ(_ERROR_SUCCESS, operations.ExecTool(Line(rest).c_str(), true, false));
        const std::wstring started = ReadText(tool + L".started");
        EXPECT_EQ(Line(rest), started.substr(0, started.find(L'\n'))) << test::Narrow(rest);
    }
}

TEST_F(ExecToolTest, CallersTextIsNotWrittenInto)
{
    const ToolWatch watch;
    const std::wstring line = Line(L" /remove");

    operations.ExecTool(line.c_str(), true, false);

    EXPECT_EQ(Line(L" /remove"), line);
}

TEST_F(ExecToolTest, ShowFlagReachesTheTool)
{
    operations.ExecTool(Line(L"").c_str(), true, true);
    EXPECT_THAT(ReadText(tool + L".started"), testing::EndsWith(L"\nflags 1 show 5"));

    operations.ExecTool(Line(L"").c_str(), true, false);
    EXPECT_THAT(ReadText(tool + L".started"), testing::EndsWith(L"\nflags 1 show 0"));
}

// All of it, padding included.
std::string_view Bytes(const STARTUPINFOW& startup)
{
    return {reinterpret_cast<const char*>(&startup), sizeof(startup)};
}

TEST_F(ExecToolTest, NothingButTheCommandLineAndTheShowFlagIsGiven)
{
    const ToolWatch watch;
    STARTUPINFOW expected{};
    expected.cb = 0x68;
    expected.dwFlags = STARTF_USESHOWWINDOW;
    expected.wShowWindow = SW_SHOW;

    operations.ExecTool(Line(L"").c_str(), true, true);

    EXPECT_TRUE(watch.OnlyACommandLine());
    EXPECT_EQ(Bytes(expected), Bytes(watch.Startup()));
}

TEST_F(ExecToolTest, ToolThatCannotBeStartedIsUnknown)
{
    const std::wstring line = L"\"" + tree.Path(L"absent.exe") + L"\" /x";

    EXPECT_EQ(_ERROR_UNKNOWN, operations.ExecTool(line.c_str(), true, false));

    EXPECT_TRUE(log.Has(LogError, execTool, L"CreateProcess \"" + line + L"\" failed with 0x2"));
    EXPECT_TRUE(log.Has(LogTrace, execTool, L"<-\"" + line + L"\", err = _ERROR_UNKNOWN"));
}

TEST_F(ExecToolTest, CommandLinesThatNoProcessTakesAreUnknown)
{
    EXPECT_EQ(_ERROR_UNKNOWN, operations.ExecTool(L"", true, false));
    EXPECT_EQ(_ERROR_UNKNOWN, operations.ExecTool(std::wstring(32767, L'x').c_str(), true, false));
}

} // namespace
} // namespace prodsweep
