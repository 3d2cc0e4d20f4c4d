#include "support/process.h"

#include "support/handle_count.h"
#include "support/temp_tree.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

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

// The number of a handle that a child could inherit.
constexpr wchar_t handleVariable[] = L"PRODSWEEP_TEST_HANDLE";

TEST(FreshProcessTest, ChildInheritsNothingButItsOutput)
{
    wchar_t number[32] = {};
    if (GetEnvironmentVariableW(handleVariable, number, 32) != 0)
    {
        wchar_t name[MAX_PATH] = {};
        GetFinalPathNameByHandleW(reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(std::stoull(number))), name,
                                  MAX_PATH, 0);
        EXPECT_FALSE(std::wstring(name).ends_with(L"inheritable.txt"));
        return;
    }
    const TempTree tree;
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    const HANDLE file =
        CreateFileW(tree.Path(L"inheritable.txt").c_str(), GENERIC_WRITE, 0, &inheritable, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, file);
    SetEnvironmentVariableW(handleVariable, std::to_wstring(reinterpret_cast<std::uintptr_t>(file)).c_str());

    EXPECT_TRUE(PassesInFreshProcess());

    SetEnvironmentVariableW(handleVariable, nullptr);
    CloseHandle(file);
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
