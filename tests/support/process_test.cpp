#include "support/process.h"

#include "support/handle_count.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

namespace prodsweep::test {
namespace {

TEST(ProcessTest, OutputOfBothStreamsAndExitCodeComeBack)
{
    const ProcessResult result = RunProcess(L"cmd /c echo one&echo two 1>&2&exit 7");

    EXPECT_TRUE(result.started);
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(7u, result.exitCode);
    EXPECT_EQ("one\r\ntwo \r\n", result.output);
}

TEST(ProcessTest, ProgramThatIsNotThereIsNotStarted)
{
    const ProcessResult result = RunProcess(L"no-such-program.exe");

    EXPECT_FALSE(result.started);
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), result.exitCode);
}

TEST(ProcessTest, RunsInTheFolderThatIsAskedFor)
{
    EXPECT_EQ("C:\\windows\r\n", RunProcess(L"cmd /c cd", L"C:\\windows").output);
}

TEST(ProcessTest, NoHandleIsLeft)
{
    (void)RunProcess(L"cmd /c exit");
    const HandleCount handles;
    (void)RunProcess(L"cmd /c exit");
    EXPECT_TRUE(handles.Unchanged());
}

TEST(FreshProcessTest, ChildIsAnotherProcess)
{
    static const bool inChild = !PassesInFreshProcess();
    if (!inChild)
        return;
    EXPECT_FALSE(PassesInFreshProcess()) << "the child must not start a child again";
}

TEST(FreshProcessTest, FailureOfTheChildIsTheParents)
{
    static bool inChild = false;
    EXPECT_NONFATAL_FAILURE(inChild = !PassesInFreshProcess(), "meant to fail");
    if (inChild)
        FAIL() << "meant to fail";
}

TEST(FreshProcessTest, ChildThatHangsIsEndedAndFails)
{
    static bool inChild = false;
    EXPECT_NONFATAL_FAILURE(
        {
            inChild = !PassesInFreshProcess(1500);
            if (inChild)
                Sleep(INFINITE);
        },
        "time is up");
}

TEST(FreshProcessTest, CrashOfTheChildFails)
{
    static bool inChild = false;
    EXPECT_NONFATAL_FAILURE(
        {
            inChild = !PassesInFreshProcess();
            if (inChild)
                TerminateProcess(GetCurrentProcess(), 0);
        },
        "failed in a process of its own");
}

} // namespace
} // namespace prodsweep::test
