// DLL methods when their list is carried out.
#include "interpreter/product_uninstall.h"

#include "environment/log.h"
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/process.h"
#include "support/removal_pass.h"
#include "support/system_answers.h"
#include "support/wow64_mode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace prodsweep {
namespace {

using test::Narrow;
using test::RemovalPass;
using testing::ElementsAre;

std::vector<DWORD>& Sleeps()
{
    static std::vector<DWORD> sleeps;
    return sleeps;
}

void WINAPI NoteSleep(DWORD milliseconds) { Sleeps().push_back(milliseconds); }

class RemovalDllMethodTest : public testing::Test
{
protected:
    RemovalDllMethodTest()
    {
        Sleeps().clear();
        SetEnvironmentVariableW(L"PRODSWEEP_METHOD_TRACE", nullptr);
    }
    static std::wstring Trace()
    {
        wchar_t trace[256] = {};
        GetEnvironmentVariableW(L"PRODSWEEP_METHOD_TRACE", trace, 256);
        return trace;
    }

    test::ComScope com;
    test::LogRecorder log;
    std::wstring module = test::ThisProgramsFolder() + L"method_dll.dll";
    CheckList checkList;
    RemovalPass pass{L"Product", L"C:\\none.xml", checkList, nullptr};
};

TEST_F(RemovalDllMethodTest, MethodIsCalledAndTheLibraryUnloaded)
{
    EXPECT_TRUE(pass.ProcessExecDllMethod({{L"module", module}, {L"method_name", L"Succeed"}}, L""));
    EXPECT_EQ(L"attach;Succeed;detach;", Trace());
}

TEST_F(RemovalDllMethodTest, PathKeywordLeadsToTheModule)
{
    const std::wstring folder = test::ThisProgramsFolder();
    EXPECT_TRUE(pass.ProcessExecDllMethod(
        {{L"module", L"method_dll.dll"}, {L"method_name", L"Succeed"}, {L"path", L"app_path"}}, folder));
    EXPECT_EQ(L"attach;Succeed;detach;", Trace());
}

TEST_F(RemovalDllMethodTest, EmptyModuleLeavesTheFolderWithoutASeparator)
{
    EXPECT_FALSE(pass.ProcessExecDllMethod({{L"module", L""}, {L"method_name", L"m"}, {L"path", L"app_path"}},
                                           L"C:\\prodsweep-none"));
    EXPECT_TRUE(log.Has(LogWarning, "CProductUninstall::ProcessExecDllMethod",
                        L"failed _ERROR_NOT_FOUND, \"C:\\prodsweep-none\" \"m\""));
}

TEST_F(RemovalDllMethodTest, RelativeModuleLiesBelowTheLibrary)
{
    EXPECT_TRUE(pass.ProcessExecDllMethod({{L"module", L"method_dll.dll"}, {L"method_name", L"Succeed"}}, L""));
    EXPECT_EQ(L"attach;Succeed;detach;", Trace());
}

TEST_F(RemovalDllMethodTest, SleepComesAfterASuccessOnlyAndReadsADecimalPrefix)
{
    const test::ImportPatch patch(nullptr, "Sleep", NoteSleep);
    AttributeMap attributes{{L"module", module}, {L"method_name", L"Succeed"}, {L"sleep_after_exec", L" 25ms"}};
    EXPECT_TRUE(pass.ProcessExecDllMethod(attributes, L""));
    EXPECT_THAT(Sleeps(), ElementsAre(25u));
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::ProcessSleep", L"SLEEP 25"));
    attributes[L"method_name"] = L"Missing";
    EXPECT_FALSE(pass.ProcessExecDllMethod(attributes, L""));
    EXPECT_THAT(Sleeps(), ElementsAre(25u));
}

TEST_F(RemovalDllMethodTest, NegativeSleepIsNoneInPlaceOfAnEndlessOne)
{
    const test::ImportPatch patch(nullptr, "Sleep", NoteSleep);
    EXPECT_TRUE(pass.ProcessExecDllMethod(
        {{L"module", module}, {L"method_name", L"Succeed"}, {L"sleep_after_exec", L"-1"}}, L""));
    EXPECT_TRUE(Sleeps().empty());
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::ProcessSleep", L"SLEEP -1"));
}

TEST_F(RemovalDllMethodTest, MethodFor64BitSystemsIsNotCalledOnOthers)
{
    const test::ImportPatch patch(nullptr, "GetSystemInfo", test::SayItIs32Bit);
    EXPECT_FALSE(
        pass.ProcessExecDllMethod({{L"module", module}, {L"method_name", L"Succeed"}, {L"os", L"x64"}}, L"C:\\App"));
    EXPECT_EQ(L"", Trace());
    EXPECT_TRUE(log.Has(LogSkipped, "CProductUninstall::ProcessExecDllMethod",
                        L"Will not execute x64 operation on x32 OS! AppPath=C:\\App"));
}

TEST_F(RemovalDllMethodTest, RelativeModuleWithoutTheLibrarysFolderIsNotCalled)
{
    const test::ImportPatch patch(nullptr, "GetModuleFileNameW", test::FailToNameTheModule);
    EXPECT_FALSE(pass.ProcessExecDllMethod({{L"module", L"method_dll.dll"}, {L"method_name", L"Succeed"}}, L""));
    EXPECT_EQ(L"", Trace());
}

TEST_F(RemovalDllMethodTest, MissingMethodFailsAndIsLogged)
{
    EXPECT_FALSE(pass.ProcessExecDllMethod({{L"module", module}, {L"method_name", L"Missing"}}, L""));
    EXPECT_TRUE(log.Has(LogWarning, "CProductUninstall::ProcessExecDllMethod",
                        L"failed _ERROR_NOT_FOUND, \"" + module + L"\" \"Missing\""));
}

TEST_F(RemovalDllMethodTest, MethodInUseIsLeftAloneAndThatIsASuccess)
{
    checkList.push_back(
        test::Staying("<s op_code='exec_tool'><e module='" + Narrow(module) + "' method_name='SUCCEED'/></s>"));
    EXPECT_TRUE(pass.ProcessExecDllMethod({{L"module", module}, {L"method_name", L"Succeed"}}, L""));
    EXPECT_EQ(L"", Trace());
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::ProcessExecDllMethod", L"in use"));
}

// The steps of a call as the system sees them; the method runs between the loading of its library and
// the unloading.
const test::ImportPatch* loading = nullptr;
const test::ImportPatch* unloading = nullptr;
HMODULE methodLibrary = nullptr;

HMODULE WINAPI NoteLoad(const wchar_t* name)
{
    const HMODULE loaded = loading->Original<decltype(NoteLoad)>()(name);
    if (std::wstring_view(name).ends_with(L"method_dll.dll"))
    {
        methodLibrary = loaded;
        test::Wow64Mode::Note("load");
    }
    return loaded;
}

BOOL WINAPI NoteUnload(HMODULE module)
{
    if (module == methodLibrary)
        test::Wow64Mode::Note("unload");
    return unloading->Original<decltype(NoteUnload)>()(module);
}

void WINAPI NoteSleepStep(DWORD milliseconds) { test::Wow64Mode::Note("sleep " + std::to_string(milliseconds)); }

TEST_F(RemovalDllMethodTest, CallAndSleepLieWithoutRedirectionWhenAskedFor)
{
    const test::Wow64Mode wow64;
    const test::ImportPatch load(nullptr, "LoadLibraryW", NoteLoad);
    loading = &load;
    const test::ImportPatch unload(nullptr, "FreeLibrary", NoteUnload);
    unloading = &unload;
    const test::ImportPatch sleep(nullptr, "Sleep", NoteSleepStep);
    EXPECT_TRUE(pass.ProcessExecDllMethod({{L"module", module},
                                           {L"method_name", L"Succeed"},
                                           {L"sleep_after_exec", L"25"},
                                           {L"disable_wow64_redir", L"yes"}},
                                          L""));
    EXPECT_EQ(L"attach;Succeed;detach;", Trace());
    EXPECT_THAT(wow64.Calls(), ElementsAre("disable", "load", "unload", "sleep 25", "revert"));
    EXPECT_TRUE(wow64.Balanced());
}

TEST_F(RemovalDllMethodTest, RedirectionThatCannotBeSwitchedIsToldOfAndNoFailure)
{
    test::Wow64Mode wow64;
    wow64.FailDisable(5);
    wow64.FailRevert(6);
    EXPECT_TRUE(pass.ProcessExecDllMethod(
        {{L"module", module}, {L"method_name", L"Succeed"}, {L"disable_wow64_redir", L"YES"}}, L""));
    EXPECT_EQ(L"attach;Succeed;detach;", Trace());
    EXPECT_THAT(wow64.Calls(), ElementsAre("disable", "revert"));
    EXPECT_TRUE(
        log.Has(LogWarning, "CProductUninstall::ProcessExecDllMethod", L"Wow64DisableWow64FsRedirection failed 0x5"));
    EXPECT_TRUE(
        log.Has(LogWarning, "CProductUninstall::ProcessExecDllMethod", L"Wow64RevertWow64FsRedirection failed 0x6"));
}

TEST_F(RemovalDllMethodTest, RedirectionStaysOnOtherwise)
{
    test::Wow64Mode wow64;
    EXPECT_TRUE(pass.ProcessExecDllMethod({{L"module", module}, {L"method_name", L"Succeed"}}, L""));
    EXPECT_TRUE(wow64.Calls().empty());
}

struct Refusal
{
    const char* name;
    AttributeMap attributes;
    int level;
    const wchar_t* text;
};

class DllMethodRefusalTest : public RemovalDllMethodTest, public testing::WithParamInterface<Refusal>
{};

TEST_P(DllMethodRefusalTest, NothingIsCalled)
{
    EXPECT_FALSE(pass.ProcessExecDllMethod(GetParam().attributes, L"C:\\App"));
    EXPECT_TRUE(log.Has(GetParam().level, "CProductUninstall::ProcessExecDllMethod", GetParam().text));
    EXPECT_EQ(L"", Trace());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DllMethodRefusalTest,
    testing::Values(Refusal{"NoModule", {{L"method_name", L"m"}}, LogError, L"module attributte is missing"},
                    Refusal{"NoMethod", {{L"module", L"m.dll"}}, LogError, L"method_name attributte is missing"},
                    Refusal{"UnknownFolder",
                            {{L"module", L"m.dll"}, {L"method_name", L"m"}, {L"path", L"x"}},
                            LogError,
                            L"unknown special folder \"x\""},
                    Refusal{"OtherKindOfSystemBeforeAnythingElse",
                            {{L"module", L"m.dll"}, {L"os", L"x32"}},
                            LogSkipped,
                            L"Will not execute x32 operation on x64 OS! AppPath=C:\\App"}),
    [](const auto& row) { return std::string(row.param.name); });

} // namespace
} // namespace prodsweep
