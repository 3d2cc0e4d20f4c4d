#include "operations/operations.h"

#include "environment/log.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/process.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

constexpr char execDllMethod[] = "COperations::ExecDllMethod";
constexpr wchar_t traceVariable[] = L"PRODSWEEP_METHOD_TRACE";

UINT codePage = 0;
const test::ImportPatch* conversion = nullptr;

// Has the parameters of WideCharToMultiByte. NOLINTNEXTLINE(readability-function-size)
int WINAPI WatchCodePage(UINT page, DWORD flags, const wchar_t* wide, int length, char* narrow, int size,
                         const char* fallback, BOOL* usedFallback)
{
    codePage = page;
    return conversion->Original<decltype(WatchCodePage)>()(page, flags, wide, length, narrow, size, fallback,
                                                           usedFallback);
}

// Has them too. NOLINTNEXTLINE(readability-function-size)
int WINAPI ConvertNothing(UINT, DWORD, const wchar_t*, int, char*, int, const char*, BOOL*) { return 0; }

class ExecDllMethodTest : public testing::Test
{
public:
    ExecDllMethodTest() { SetEnvironmentVariableW(traceVariable, nullptr); }
    ~ExecDllMethodTest() override
    {
        SetThreadLocale(locale);
        SetEnvironmentVariableW(traceVariable, nullptr);
    }

protected:
    int Call(const wchar_t* method) { return operations.ExecDllMethod(module.c_str(), method); }
    // What the library went through.
    static std::wstring Trace()
    {
        wchar_t text[1024] = {};
        GetEnvironmentVariableW(traceVariable, text, 1024);
        return text;
    }
    std::wstring Names(const std::wstring& method) const
    {
        return L"ModuleName = \"" + module + L"\",  MethodName = \"" + method + L"\"";
    }

    const LCID locale = GetThreadLocale();
    const std::wstring module = test::ThisProgramsFolder() + L"method_dll.dll";
    test::LogRecorder log;
    COperations operations;
};

TEST_F(ExecDllMethodTest, MethodIsCalledOnceAndTheLibraryUnloaded)
{
    EXPECT_EQ(_ERROR_SUCCESS, Call(L"Succeed"));

    EXPECT_EQ(L"attach;Succeed;detach;", Trace());
    EXPECT_EQ(nullptr, GetModuleHandleW(L"method_dll.dll"));
    EXPECT_TRUE(log.Has(LogTrace, execDllMethod, L"->" + Names(L"Succeed")));
    EXPECT_TRUE(log.Has(LogTrace, execDllMethod, Names(L"Succeed") + L", return = 0x0"));
    EXPECT_EQ(2u, log.Records().size());
}

TEST_F(ExecDllMethodTest, WhatTheMethodReturnsIsOnlyLogged)
{
    EXPECT_EQ(_ERROR_SUCCESS, Call(L"Fail"));

    EXPECT_EQ(L"attach;Fail;detach;", Trace());
    EXPECT_TRUE(log.Has(LogTrace, execDllMethod, Names(L"Fail") + L", return = 0xdeadbeef"));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(ExecDllMethodTest, LibraryThatWasLoadedBeforeStaysLoaded)
{
    const HMODULE own = LoadLibraryW(module.c_str());
    ASSERT_NE(nullptr, own);

    EXPECT_EQ(_ERROR_SUCCESS, Call(L"Succeed"));

    EXPECT_EQ(L"attach;Succeed;", Trace());
    FreeLibrary(own);
    EXPECT_EQ(L"attach;Succeed;detach;", Trace());
}

TEST_F(ExecDllMethodTest, MissingMethodIsNotFoundAndTheLibraryUnloaded)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, Call(L"Absent"));

    EXPECT_EQ(L"attach;detach;", Trace());
    EXPECT_TRUE(log.Has(LogTrace, execDllMethod, L"->" + Names(L"Absent")));
    EXPECT_TRUE(log.Has(LogError, execDllMethod, L"GetProcAddress \"Absent\" failed 0x7f"));
    EXPECT_EQ(2u, log.Records().size());
}

TEST_F(ExecDllMethodTest, MethodNamesMatchExactly)
{
    for (const wchar_t* method : {L"succeed", L"Succeed ", L"Succ", L"", L"#1"})
        EXPECT_EQ(_ERROR_NOT_FOUND, Call(method)) << test::Narrow(method);
    EXPECT_EQ(_ERROR_NOT_FOUND, Call(std::wstring(32767, L'm').c_str()));
}

TEST_F(ExecDllMethodTest, MissingModuleIsNotFound)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.ExecDllMethod(L"B:\\absent.dll", L"Succeed"));

    EXPECT_TRUE(log.Has(LogError, execDllMethod, L"LoadLibrary \"B:\\absent.dll\" failed 0x7e"));
    EXPECT_EQ(2u, log.Records().size());
}

TEST_F(ExecDllMethodTest, NamesThatAreNoModuleAreNotFound)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.ExecDllMethod(L"", L"Succeed"));
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.ExecDllMethod(std::wstring(32767, L'm').c_str(), L"Succeed"));
}

TEST_F(ExecDllMethodTest, NameIsTurnedByTheThreadsCodePage)
{
    const test::ImportPatch patch(nullptr, "WideCharToMultiByte", WatchCodePage);
    conversion = &patch;

    EXPECT_EQ(_ERROR_SUCCESS, Call(L"Succeed"));

    EXPECT_EQ(3u, codePage);
}

// The library exports one name of the byte 0xD9, which is another letter in each code page.
TEST_F(ExecDllMethodTest, NonAsciiNameIsFoundInTheThreadsCodePage)
{
    SetThreadLocale(MAKELCID(MAKELANGID(LANG_GREEK, SUBLANG_DEFAULT), SORT_DEFAULT));
    EXPECT_EQ(_ERROR_SUCCESS, Call(L"Method\u03A9"));
    EXPECT_EQ(_ERROR_NOT_FOUND, Call(L"Method\u00D9"));

    SetThreadLocale(MAKELCID(MAKELANGID(LANG_FRENCH, SUBLANG_FRENCH), SORT_DEFAULT));
    EXPECT_EQ(_ERROR_SUCCESS, Call(L"Method\u00D9"));

    EXPECT_EQ(L"attach;NonAsciiName;detach;attach;detach;attach;NonAsciiName;detach;", Trace());
}

TEST_F(ExecDllMethodTest, MissingNonAsciiMethodIsLoggedAsItWasGiven)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, Call(L"Absent\u03A9\U0001F600"));
    EXPECT_TRUE(log.Has(LogError, execDllMethod, L"GetProcAddress \"Absent\u03A9\U0001F600\" failed 0x7f"));
}

TEST_F(ExecDllMethodTest, NameThatCannotBeTurnedIsNotFound)
{
    {
        const test::ImportPatch patch(nullptr, "WideCharToMultiByte", ConvertNothing);
        EXPECT_EQ(_ERROR_NOT_FOUND, Call(L"Succeed"));
    }
    EXPECT_EQ(L"attach;detach;", Trace());
}

TEST_F(ExecDllMethodTest, NoHandleIsLeft)
{
    Call(L"Succeed");
    const test::HandleCount handles;
    Call(L"Succeed");
    Call(L"Absent");
    operations.ExecDllMethod(L"B:\\absent.dll", L"Succeed");
    EXPECT_TRUE(handles.Unchanged());
}

} // namespace
} // namespace prodsweep
