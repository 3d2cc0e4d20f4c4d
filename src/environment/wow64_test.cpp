#include "environment/wow64.h"

#include "environment/log.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/process.h"
#include "support/wow64_mode.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace prodsweep {
namespace {

using Names = std::vector<std::string>;

// What the stand-in of GetProcAddress gives, and what it was asked for.
Names lookedUp;
FARPROC isWow64Process = nullptr;
FARPROC nativeSystemInfo = nullptr;
decltype(&GetProcAddress) realGetProcAddress = nullptr;

FARPROC WINAPI GiveStandIns(HMODULE module, const char* name)
{
    lookedUp.emplace_back(name);
    if (std::strcmp(name, "IsWow64Process") == 0)
        return isWow64Process;
    if (std::strcmp(name, "GetNativeSystemInfo") == 0 && nativeSystemInfo != nullptr)
        return nativeSystemInfo;
    return realGetProcAddress(module, name);
}

template <class Function>
FARPROC AsEntry(Function* function)
{
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

std::atomic<int> asked{0};
HANDLE askedFor = nullptr;

BOOL WINAPI SayYes(HANDLE process, BOOL* answer)
{
    ++asked;
    askedFor = process;
    *answer = 0x40; // anything but 0 is a yes
    return TRUE;
}

BOOL WINAPI SayNo(HANDLE, BOOL* answer)
{
    ++asked;
    *answer = FALSE;
    return TRUE;
}

BOOL WINAPI Fail(HANDLE, BOOL* answer)
{
    ++asked;
    *answer = TRUE; // not to be believed
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

class CWow64Test : public testing::Test
{
public:
    CWow64Test() : lookUp(nullptr, "GetProcAddress", GiveStandIns)
    {
        realGetProcAddress = lookUp.Original<FARPROC WINAPI(HMODULE, const char*)>();
        isWow64Process = AsEntry(SayNo);
        nativeSystemInfo = nullptr;
        asked = 0;
        lookedUp.clear();
        CWow64::Cleanup();
    }
    ~CWow64Test() override { CWow64::Cleanup(); }

protected:
    const test::LogRecorder log;

private:
    const test::ImportPatch lookUp;
};

TEST(CWow64InThisProcessTest, SixtyFourBitProcessIsNone)
{
    CWow64::Cleanup();
    const test::LogRecorder log;
    EXPECT_FALSE(CWow64::Instance().IsWow64Process());
    EXPECT_TRUE(CWow64::Instance().Is64BitSystem());
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(CWow64Test, OtherCallsAreBoundOnlyAfterAYes)
{
    (void)CWow64::Instance();
    EXPECT_EQ((Names{"IsWow64Process"}), lookedUp);

    lookedUp.clear();
    CWow64::Cleanup();
    isWow64Process = AsEntry(SayYes);
    (void)CWow64::Instance();
    EXPECT_EQ((Names{"IsWow64Process", "Wow64DisableWow64FsRedirection", "Wow64RevertWow64FsRedirection",
                     "GetNativeSystemInfo"}),
              lookedUp);
}

TEST_F(CWow64Test, AnswerIsAskedForOnceAboutThisProcessAndThenKept)
{
    isWow64Process = AsEntry(SayYes);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(CWow64::Instance().IsWow64Process());
    EXPECT_EQ(1, asked);
    EXPECT_EQ(GetCurrentProcess(), askedFor);

    CWow64::Cleanup();
    isWow64Process = AsEntry(SayNo);
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(CWow64::Instance().IsWow64Process());
    EXPECT_EQ(2, asked);
}

TEST_F(CWow64Test, MissingEntryPointMeansNoAndIsNotLogged)
{
    isWow64Process = nullptr;
    EXPECT_FALSE(CWow64::Instance().IsWow64Process());
    EXPECT_FALSE(CWow64::Instance().IsWow64Process());
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(CWow64Test, FailingCallMeansNoAndIsLoggedOnceAsTolerated)
{
    isWow64Process = AsEntry(Fail);
    EXPECT_FALSE(CWow64::Instance().IsWow64Process());
    EXPECT_FALSE(CWow64::Instance().IsWow64Process());

    EXPECT_EQ(1, asked);
    EXPECT_EQ((Names{"IsWow64Process"}), lookedUp);
    EXPECT_EQ(1u, log.Records().size());
    EXPECT_TRUE(log.Has(LogWarning, "CWow64::IsWow64Process", L"IsWow64Process failed error 0x5"));
}

HMODULE WINAPI RefuseToLoad(const wchar_t* name)
{
    EXPECT_STREQ(L"Kernel32.dll", name);
    return nullptr;
}

TEST_F(CWow64Test, WithoutTheSystemLibraryNothingIsBoundAndTheAnswerIsNo)
{
    isWow64Process = AsEntry(SayYes);
    const test::ImportPatch loading(nullptr, "LoadLibraryW", RefuseToLoad);
    void* oldValue = nullptr;

    EXPECT_FALSE(CWow64::Instance().IsWow64Process());
    EXPECT_TRUE(CWow64::Instance().Wow64DisableWow64FsRedirection(&oldValue));
    EXPECT_TRUE(CWow64::Instance().Wow64RevertWow64FsRedirection(oldValue));

    EXPECT_TRUE(lookedUp.empty());
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(CWow64Test, UnboundRedirectionCallsSucceedAndTouchNothing)
{
    int cell = 0;
    void* oldValue = &cell;
    EXPECT_TRUE(CWow64::Instance().Wow64DisableWow64FsRedirection(&oldValue));
    EXPECT_EQ(&cell, oldValue);
    EXPECT_TRUE(CWow64::Instance().Wow64RevertWow64FsRedirection(oldValue));
}

TEST(CWow64RedirectionTest, BoundCallsPassTheOldValueAndTheirFailureOn)
{
    test::Wow64Mode mode;
    CWow64& wow64 = CWow64::Instance();
    void* oldValue = nullptr;
    EXPECT_TRUE(wow64.Wow64DisableWow64FsRedirection(&oldValue));
    EXPECT_TRUE(wow64.Wow64RevertWow64FsRedirection(oldValue));
    EXPECT_EQ((Names{"disable", "revert"}), mode.Calls());
    EXPECT_TRUE(mode.Balanced());

    mode.FailDisable(ERROR_ACCESS_DENIED);
    EXPECT_FALSE(wow64.Wow64DisableWow64FsRedirection(&oldValue));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError());
    mode.FailRevert(ERROR_INVALID_FUNCTION);
    EXPECT_FALSE(wow64.Wow64RevertWow64FsRedirection(oldValue));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_FUNCTION), GetLastError());
}

WORD architecture = 0;
void WINAPI TellArchitecture(SYSTEM_INFO* info) { info->wProcessorArchitecture = architecture; }
void WINAPI TellNothing(SYSTEM_INFO*) { ADD_FAILURE() << "the other call is to be asked"; }

struct Architecture
{
    WORD number;
    bool is64Bit;
};
constexpr Architecture architectures[] = {{0, false}, {5, false}, {6, true}, {9, true}, {10, false}, {12, false}};

TEST_F(CWow64Test, SystemQueryTakesTheProcessViewWhenTheNativeOneIsNotBound)
{
    nativeSystemInfo = AsEntry(TellNothing);
    const test::ImportPatch patch(nullptr, "GetSystemInfo", TellArchitecture);
    for (const Architecture& row : architectures)
    {
        architecture = row.number;
        EXPECT_EQ(row.is64Bit, CWow64::Instance().Is64BitSystem()) << row.number;
    }
}

TEST_F(CWow64Test, SystemQueryTakesTheNativeViewWhereItIsBound)
{
    isWow64Process = AsEntry(SayYes);
    nativeSystemInfo = AsEntry(TellArchitecture);
    const test::ImportPatch patch(nullptr, "GetSystemInfo", TellNothing);
    for (const Architecture& row : architectures)
    {
        architecture = row.number;
        EXPECT_EQ(row.is64Bit, CWow64::Instance().Is64BitSystem()) << row.number;
    }
}

// Makes the others wait at the accessor; they must not make objects of their own.
BOOL WINAPI SayYesSlowly(HANDLE, BOOL* answer)
{
    ++asked;
    SleepEx(30, FALSE);
    *answer = TRUE;
    return TRUE;
}
std::atomic<int> waitsForTheObject{0};
void WINAPI CountWait(DWORD milliseconds)
{
    waitsForTheObject += milliseconds == 1 ? 1 : 0;
    SleepEx(milliseconds, FALSE);
}

TEST_F(CWow64Test, ThreadsThatAskAtOnceWaitForTheOneObject)
{
    isWow64Process = AsEntry(SayYesSlowly);
    waitsForTheObject = 0;
    const test::ImportPatch patch(nullptr, "Sleep", CountWait);
    std::vector<CWow64*> objects(16);
    std::vector<std::thread> threads;
    threads.reserve(objects.size());
    for (CWow64*& object : objects)
        threads.emplace_back([&object] { object = &CWow64::Instance(); });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(1u, std::set<CWow64*>(objects.begin(), objects.end()).size());
    EXPECT_EQ(1, asked);
    EXPECT_GT(waitsForTheObject, 0);
}

// Handlers run in reverse order, so this one runs after those that the test's own steps register.
int loadsAtExit = 0;
HMODULE WINAPI CountLoadAtExit(const wchar_t* name)
{
    ++loadsAtExit;
    return LoadLibraryExW(name, nullptr, 0);
}

TEST(CWow64AtExitTest, ObjectIsGoneAfterTheCleanUpAtProcessExit)
{
    if (test::PassesInFreshProcess())
        return;
    std::atexit([] {
        const test::ImportPatch patch(nullptr, "LoadLibraryW", CountLoadAtExit);
        (void)CWow64::Instance();
        if (loadsAtExit != 1) // the object was still there
            TerminateProcess(GetCurrentProcess(), 3);
    });
    (void)CWow64::Instance();
}

} // namespace
} // namespace prodsweep
